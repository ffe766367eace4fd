#include "ManagerSupport.h"

namespace orvex::test {
namespace {

using testing::Contains;
using testing::ElementsAre;

constexpr auto notified = "Manager didChangeDocument() debug: Did change document (will notify!)";

// Inserting

TEST(ManagerInsert, AppendsToAnEmptyDocument) {
    const auto manager = managerOfPages(0);
    std::string id;
    editUndoRedo(*manager, [&] { id = manager->append(pageOfWidth(101)); });
    EXPECT_EQ(letters(*manager), "A");
    EXPECT_EQ(manager->pageIndex(id), 0);
    EXPECT_TRUE(manager->pagesMeta[0].fresh);
}

TEST(ManagerInsert, LogsWhereAndHowItWasUndone) {
    const auto manager = managerOfPages(2);
    const ManagerLog log;
    manager->append(pageOfWidth(103));
    manager->undoManager->undo();
    manager->undoManager->redo();
    EXPECT_THAT(log.texts(), ElementsAre("Manager _insert(page:atIndex:meta:) debug: Insert at: -1", notified,
                                         "Manager _insert(page:atIndex:meta:) debug: Undo step insert at:2",
                                         "Manager _remove(pageAt:) debug: Remove at: 2", notified,
                                         "Manager _remove(pageAt:) debug: Undo step remove at:2",
                                         "Manager _insert(page:atIndex:meta:) debug: Insert at: 2", notified));
}

TEST(ManagerInsert, AtTheCountAppends) {
    const auto manager = managerOfPages(3);
    editUndoRedo(*manager, [&] { manager->insert(pageOfWidth(104), 3, {}); });
    EXPECT_EQ(letters(*manager), "ABCD");
}

TEST(ManagerInsert, InTheMiddleAndInFront) {
    const auto manager = managerOfPages(3);
    editUndoRedo(*manager, [&] { manager->insert(pageOfWidth(126), 1, {}); });
    EXPECT_EQ(letters(*manager), "AZBC");
    editUndoRedo(*manager, [&] { manager->insert(pageOfWidth(125), 0, {}); });
    EXPECT_EQ(letters(*manager), "YAZBC");
}

TEST(ManagerInsert, OutOfRangeChangesNothingAndStillReturnsTheId) {
    for (const std::int64_t index : {5, -2, 4}) {
        const auto manager = managerOfPages(3);
        const News news;
        const ManagerLog log;
        const OrvexPDFPageMeta meta;
        EXPECT_EQ(manager->insert(pageOfWidth(110), index, meta), meta.id);
        const auto text = std::to_string(index);
        EXPECT_THAT(log.texts(), ElementsAre("Manager _insert(page:atIndex:meta:) debug: Insert at: " + text,
                                             "Manager _insert(page:atIndex:meta:) debug: "
                                             "Tried to insert a page out of index: " +
                                                 text));
        EXPECT_EQ(letters(*manager), "ABC");
        expectOneRecordPerPage(*manager);
        EXPECT_FALSE(manager->undoManager->canUndo());
        EXPECT_FALSE(manager->needsUpdateDocumentBytes);
        EXPECT_EQ(news.content, 0);
    }
}

TEST(ManagerInsert, RemembersThePageUnlessTheRecordHasAnImage) {
    const auto manager = managerOfPages(0);
    const auto page = pageOfWidth(101);
    manager->append(page);
    EXPECT_EQ(manager->pagesMeta[0].originalPage, page);

    OrvexPDFPageMeta meta;
    meta.originalImage = grayImage(10, 10);
    manager->insert(pageOfWidth(102), -1, meta);
    EXPECT_EQ(manager->pagesMeta[1].originalPage, nullptr);
    EXPECT_EQ(manager->pagesMeta[1].originalImage, meta.originalImage);
    EXPECT_EQ(manager->pagesMeta[1].id, meta.id);
}

TEST(ManagerInsert, ANullPageInsertsNothing) {
    const auto manager = managerOfPages(1);
    EXPECT_FALSE(manager->append(OrvexPDFPagePtr()).empty());
    EXPECT_EQ(letters(*manager), "A");
}

TEST(ManagerInsert, LeavesTheDocumentThatThePageCameFromAlone) {
    const auto source = OrvexPDFDocument::fromData(fileOfPages(2));
    const auto manager = managerOfPages(0);
    manager->append(source->orvexPage(0));
    EXPECT_EQ(source->pageCount(), 2);
}

TEST(ManagerInsert, WithoutAnUndoManagerJustInserts) {
    const auto manager = managerOfPages(1);
    manager->undoManager.reset();
    manager->append(pageOfWidth(102));
    EXPECT_EQ(letters(*manager), "AB");
}

using ManagerEditDeathTest = testing::Test;

TEST(ManagerEditDeathTest, InsertingBehindMissingRecordsIsFatal) {
    const auto manager = managerOfPages(3);
    manager->pagesMeta.clear();
    EXPECT_DEATH(manager->append(pageOfWidth(110)), "fewer page records");
}

// Inserting images

TEST(ManagerInsertImage, MakesAPageOfTheImagesSize) {
    const auto manager = managerOfPages(0);
    const auto image = grayImage(120, 80);
    const OrvexPDFPageMeta meta;
    std::string id;
    editUndoRedo(*manager, [&] { id = manager->insert(image, -1, meta); });
    EXPECT_EQ(id, meta.id);
    ASSERT_EQ(manager->pdfDoc->pageCount(), 1);
    EXPECT_EQ(manager->page(0)->bounds(PDFDisplayBox::media), (Rect{0, 0, 120, 80}));
    EXPECT_EQ(manager->pagesMeta[0].originalImage, image);
    EXPECT_EQ(manager->pagesMeta[0].originalPage, nullptr);
}

TEST(ManagerInsertImage, KeepsASourceThatTheRecordHasAlready) {
    const auto manager = managerOfPages(0);
    OrvexPDFPageMeta meta;
    meta.originalImage = grayImage(300, 300);
    const auto shown = grayImage(50, 60);
    manager->append(shown, meta);
    EXPECT_EQ(manager->pagesMeta[0].originalImage, meta.originalImage);
    EXPECT_EQ(manager->page(0)->bounds(PDFDisplayBox::media).size(), (Size{50, 60}));
}

TEST(ManagerInsertImage, ThatCannotFillAPageInsertsNothingAndReturnsTheId) {
    const auto manager = managerOfPages(1);
    const OrvexPDFPageMeta meta;
    EXPECT_EQ(manager->append(std::make_shared<Image>(), meta), meta.id);
    EXPECT_EQ(manager->append(ImagePtr(), meta), meta.id);
    EXPECT_EQ(letters(*manager), "A");
    EXPECT_FALSE(manager->undoManager->canUndo());
}

TEST(ManagerInsertImage, OutOfRangeInsertsNothing) {
    const auto manager = managerOfPages(1);
    const OrvexPDFPageMeta meta;
    EXPECT_EQ(manager->insert(grayImage(5, 5), 7, meta), meta.id);
    EXPECT_EQ(letters(*manager), "A");
}

// Removing

TEST(ManagerRemove, TakesPageAndRecord) {
    for (const std::int64_t index : {0, 1, 2}) {
        const auto manager = managerOfPages(3);
        const auto id = manager->pagesMeta[static_cast<std::size_t>(index)].id;
        editUndoRedo(*manager, [&] { manager->remove(index); });
        EXPECT_EQ(manager->pdfDoc->pageCount(), 2);
        EXPECT_EQ(manager->pageIndex(id), notFound);
    }
}

TEST(ManagerRemove, BringsBackTheVeryPageAndRecord) {
    const auto manager = managerOfPages(2);
    const auto page = manager->page(1);
    manager->pagesMeta[1].watermarkText = "DRAFT";
    manager->remove(1);
    manager->undoManager->undo();
    EXPECT_EQ(manager->page(1), page);
    EXPECT_EQ(manager->pagesMeta[1].watermarkText, "DRAFT");
    EXPECT_FALSE(manager->pagesMeta[1].fresh);
}

TEST(ManagerRemove, RefusesAnIndexWithoutAPage) {
    for (const std::int64_t index : {3, 4, -1}) {
        const auto manager = managerOfPages(3);
        const ManagerLog log;
        manager->remove(index);
        const auto text = std::to_string(index);
        EXPECT_THAT(log.texts(),
                    ElementsAre("Manager _remove(pageAt:) debug: Remove at: " + text,
                                "Manager _remove(pageAt:) debug: Tried to remove a page out of index: " + text));
        EXPECT_EQ(letters(*manager), "ABC");
        EXPECT_FALSE(manager->undoManager->canUndo());
    }
}

TEST(ManagerRemove, ByPage) {
    const auto manager = managerOfPages(3);
    editUndoRedo(*manager, [&] { manager->remove(manager->page(1)); });
    EXPECT_EQ(letters(*manager), "AC");
}

TEST(ManagerRemove, RefusesAPageThatIsNotInTheDocument) {
    const auto manager = managerOfPages(3);
    const ManagerLog log;
    manager->remove(pageOfWidth(101));
    EXPECT_THAT(log.texts(), Contains("Manager _remove(pageAt:) debug: Tried to remove a page out of index: "
                                      "9223372036854775807"));
    EXPECT_EQ(letters(*manager), "ABC");
}

TEST(ManagerRemove, RefusesAForeignPage) {
    const auto manager = managerOfPages(1);
    manager->pdfDoc->insertPage(std::make_shared<PDFPage>(), 1);
    manager->pagesMeta.emplace_back();
    const ManagerLog log;
    manager->remove(1);
    EXPECT_THAT(log.texts(), ElementsAre("Manager _remove(pageAt:) debug: Remove at: 1",
                                         "Manager _remove(pageAt:) debug: Tried to remove a page out of index: 1"));
    EXPECT_EQ(manager->pdfDoc->pageCount(), 2);
    expectOneRecordPerPage(*manager);
    EXPECT_FALSE(manager->undoManager->canUndo());
}

// Replacing

TEST(ManagerReplace, SwapsPageAndRecord) {
    const auto manager = managerOfPages(3);
    const auto page = pageOfWidth(126);
    const OrvexPDFPageMeta meta;
    const News news;
    editUndoRedo(*manager, [&] { manager->replace(1, page, meta, false); });
    EXPECT_EQ(letters(*manager), "AZC");
    EXPECT_EQ(manager->page(1), page);
    EXPECT_EQ(manager->pagesMeta[1].id, meta.id);
    EXPECT_EQ(news.content, 5);
}

TEST(ManagerReplace, BringsBackTheVeryPage) {
    const auto manager = managerOfPages(2);
    const auto page = manager->page(0);
    manager->replace(0, pageOfWidth(126), {}, false);
    manager->undoManager->undo();
    EXPECT_EQ(manager->page(0), page);
}

TEST(ManagerReplace, ByForcePutsACopyIn) {
    const auto manager = managerOfPages(2);
    const auto page = pageOfWidth(126);
    page->textRotation = 90;
    editUndoRedo(*manager, [&] { manager->replace(1, page, {}, true); });
    EXPECT_EQ(letters(*manager), "AZ");
    EXPECT_NE(manager->page(1), page);
    EXPECT_EQ(manager->page(1)->textRotation, 0); // settings go with the object; what they drew is content now
    EXPECT_EQ(page->textRotation, 90);            // and the caller's page is left as it was
}

TEST(ManagerReplace, ByForceFallsBackToThePageItselfWhenItCannotBeWritten) {
    class Unwritable final : public OrvexPDFPage {
    public:
        using OrvexPDFPage::OrvexPDFPage;
        void draw(PDFDisplayBox /*box*/, GraphicsContext& /*context*/) override { throw PDFWriteError("no"); }
    };
    const auto manager = managerOfPages(1);
    const auto page = std::make_shared<Unwritable>();
    manager->replace(0, page, {}, true);
    EXPECT_EQ(manager->page(0), page);
    EXPECT_EQ(manager->dataRepresentation(), std::nullopt);
}

TEST(ManagerReplace, LogsWhereAndHowItWasUndone) {
    const auto manager = managerOfPages(2);
    const auto page = pageOfWidth(126);
    const ManagerLog log;
    manager->replace(1, page, {}, false);
    manager->undoManager->undo();
    constexpr auto label = "Manager replace(pageAt:withPage:withMeta:force:) debug: ";
    EXPECT_THAT(log.texts(), ElementsAre(std::string(label) + "Replace at:1", notified,
                                         std::string(label) + "Undo step replace at:1",
                                         std::string(label) + "Replace at:1", notified));
}

TEST(ManagerReplace, WithThePageThatIsThereChangesNothing) {
    const auto manager = managerOfPages(2);
    const auto id = manager->pagesMeta[1].id;
    const auto page = manager->page(1);
    for (const bool force : {false, true}) {
        const ManagerLog log;
        manager->replace(1, page, {}, force);
        EXPECT_THAT(log.texts(),
                    ElementsAre("Manager replace(pageAt:withPage:withMeta:force:) debug: Replace at:1",
                                "Manager replace(pageAt:withPage:withMeta:force:) debug: Replacing pages only "
                                "allowed with different page object, not equal ones!"));
        EXPECT_EQ(manager->page(1), page);
        EXPECT_EQ(manager->pagesMeta[1].id, id);
        EXPECT_FALSE(manager->undoManager->canUndo());
    }
}

TEST(ManagerReplace, OutOfRangeOnlyLogsTheAttempt) {
    for (const std::int64_t index : {-1, 2, 3}) {
        const auto manager = managerOfPages(2);
        const auto page = pageOfWidth(126);
        const ManagerLog log;
        manager->replace(index, page, {}, false);
        EXPECT_THAT(log.texts(), ElementsAre("Manager replace(pageAt:withPage:withMeta:force:) debug: Replace at:" +
                                             std::to_string(index)));
        EXPECT_EQ(letters(*manager), "AB");
        EXPECT_FALSE(manager->undoManager->canUndo());
    }
}

TEST(ManagerReplace, OfAForeignPageDoesNothing) {
    const auto manager = managerOfPages(0);
    manager->pdfDoc->insertPage(std::make_shared<PDFPage>(), 0);
    manager->pagesMeta.emplace_back();
    const auto page = pageOfWidth(126);
    const ManagerLog log;
    manager->replace(0, page, {}, false);
    EXPECT_THAT(log.texts(), ElementsAre("Manager replace(pageAt:withPage:withMeta:force:) debug: Replace at:0"));
    EXPECT_EQ(manager->pdfDoc->page(0)->bounds(PDFDisplayBox::media).width, 612);
    EXPECT_FALSE(manager->undoManager->canUndo());
}

TEST(ManagerEditDeathTest, ReplacingAPageWithoutARecordIsFatal) {
    const auto manager = managerOfPages(2);
    manager->pagesMeta.pop_back();
    EXPECT_DEATH(manager->replace(1, pageOfWidth(126), {}, false), "page record 1");
}

} // namespace
} // namespace orvex::test
