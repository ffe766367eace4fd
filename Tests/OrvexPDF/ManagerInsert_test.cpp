#include "ManagerSupport.h"

namespace orvex::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A document whose pages are called X, Y, Z.
OrvexPDFDocumentPtr documentOfPages(const std::string& names = "XYZ") {
    std::vector<FixturePage> pages;
    for (const char name : names) {
        pages.push_back({"", "[0 0 " + std::to_string(101 + name - 'A') + " 200]", ""});
    }
    return OrvexPDFDocument::fromData(pdfFromPages(pages));
}

/// What `work` printed on standard output.
template <class Work> std::string printed(Work&& work) {
    testing::internal::CaptureStdout();
    work();
    return testing::internal::GetCapturedStdout();
}

TEST(ManagerInsertDocument, AppendsEveryPageInOneStep) {
    const auto manager = managerOfPages(2);
    const auto host = std::make_shared<Host>();
    manager->delegate = host;
    const News news;
    std::vector<std::string> inserted;
    editUndoRedo(*manager, [&] { inserted = manager->append(documentOfPages()); });
    EXPECT_EQ(letters(*manager), "ABXYZ");
    ASSERT_EQ(inserted.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(manager->pageIndex(inserted[i]), static_cast<std::int64_t>(i) + 2);
    }
    EXPECT_EQ(news.content, 5); // the insertion, two undos, two redos
    EXPECT_EQ(host->news.size(), 5U);
    manager->undoManager->undo();
    EXPECT_EQ(letters(*manager), "AB");
    EXPECT_FALSE(manager->undoManager->canUndo());
}

TEST(ManagerInsertDocument, InsertsBeforeTheIndex) {
    struct Case {
        std::int64_t index;
        std::string result;
    };
    for (const auto& [index, result] : {Case{0, "XYZAB"}, Case{1, "AXYZB"}, Case{2, "ABXYZ"}, Case{-1, "ABXYZ"}}) {
        const auto manager = managerOfPages(2);
        editUndoRedo(*manager, [&, at = index] { manager->insert(documentOfPages(), at); });
        EXPECT_EQ(letters(*manager), result);
    }
}

TEST(ManagerInsertDocument, AtTheEndOfNothingStartsAtZero) {
    const auto manager = managerOfPages(0);
    editUndoRedo(*manager, [&] { manager->insert(documentOfPages(), -1); });
    EXPECT_EQ(letters(*manager), "XYZ");
}

TEST(ManagerInsertDocument, TakesThePagesThemselvesWithNewRecords) {
    const auto manager = managerOfPages(1);
    const auto document = documentOfPages();
    const auto inserted = manager->append(document);
    EXPECT_EQ(document->pageCount(), 3);
    for (std::int64_t i = 0; i < 3; ++i) {
        EXPECT_EQ(manager->page(i + 1), document->orvexPage(i));
        const auto meta = manager->meta(i + 1);
        EXPECT_EQ(meta->id, inserted[static_cast<std::size_t>(i)]);
        EXPECT_TRUE(meta->fresh);
        EXPECT_EQ(meta->originalPage, nullptr);
        EXPECT_EQ(meta->originalImage, nullptr);
    }
}

TEST(ManagerInsertDocument, LogsItselfAndItsPages) {
    const auto manager = managerOfPages(2);
    const ManagerLog log;
    manager->insert(documentOfPages("XY"), 1);
    constexpr auto silently = "Manager didChangeDocument() debug: Did change document (silently)";
    EXPECT_THAT(log.texts(), ElementsAre("Manager insert(document:atIndex:) debug: Insert document at: 1",
                                         "Manager _insert(page:atIndex:meta:) debug: Insert at: 1", silently,
                                         "Manager _insert(page:atIndex:meta:) debug: Insert at: 2", silently,
                                         "Manager didChangeDocument() debug: Did change document (will notify!)"));
}

TEST(ManagerInsertDocument, OutOfRangePrintsALineAndReturnsNothing) {
    for (const std::int64_t index : {7, 3, -2}) {
        const auto manager = managerOfPages(2);
        const News news;
        const ManagerLog log;
        std::vector<std::string> inserted{"something"};
        const auto output = printed([&] { inserted = manager->insert(documentOfPages(), index); });
        EXPECT_EQ(output, "Tried to insert a page out of index: " + std::to_string(index) + "\n");
        EXPECT_THAT(inserted, IsEmpty());
        EXPECT_EQ(letters(*manager), "AB");
        EXPECT_FALSE(manager->undoManager->canUndo());
        EXPECT_EQ(news.content, 0);
        EXPECT_THAT(log.texts(), ElementsAre("Manager insert(document:atIndex:) debug: Insert document at: " +
                                             std::to_string(index)));
    }
}

TEST(ManagerInsertDocument, InRangePrintsNothing) {
    const auto manager = managerOfPages(2);
    EXPECT_EQ(printed([&] { manager->append(documentOfPages()); }), "");
}

TEST(ManagerInsertDocument, PassesForeignPagesOver) {
    const auto manager = managerOfPages(1);
    const auto document = documentOfPages("XZ");
    document->insertPage(std::make_shared<PDFPage>(), 1);
    EXPECT_EQ(manager->append(document).size(), 2U);
    EXPECT_EQ(letters(*manager), "AXZ");
}

TEST(ManagerInsertDocument, OfNothingIsNoStepButNews) {
    const auto manager = managerOfPages(1);
    const News news;
    EXPECT_THAT(manager->append(std::make_shared<OrvexPDFDocument>()), IsEmpty());
    EXPECT_THAT(manager->append(OrvexPDFDocumentPtr()), IsEmpty());
    EXPECT_FALSE(manager->undoManager->canUndo());
    EXPECT_EQ(news.content, 2);
}

TEST(ManagerInsertDocument, IntoItselfDoublesIt) {
    const auto manager = managerOfPages(3);
    editUndoRedo(*manager, [&] { manager->insert(manager->pdfDoc, 1); });
    EXPECT_EQ(letters(*manager), "AABCBC");
}

TEST(ManagerInsertDocument, InsideABatchIsPartOfIt) {
    const auto manager = managerOfPages(3);
    const News news;
    manager->batch([&] {
        manager->remove(0);
        manager->append(documentOfPages());
    });
    EXPECT_EQ(news.content, 1);
    manager->undoManager->undo();
    EXPECT_EQ(letters(*manager), "ABC");
}

TEST(ManagerInsertDocument, WithoutAnUndoManagerJustInserts) {
    const auto manager = managerOfPages(1);
    manager->undoManager.reset();
    EXPECT_EQ(manager->append(documentOfPages()).size(), 3U);
    EXPECT_EQ(letters(*manager), "AXYZ");
}

} // namespace
} // namespace orvex::test
