// What holds for every kind of edit alike.
#include "ManagerSupport.h"

#include <functional>

namespace orvex::test {
namespace {

struct NamedEdit {
    const char* name;
    std::function<void(OrvexPDFDocumentManager&)> make; ///< on the pages A, B and C
    std::string result;
};

OrvexPDFDocumentPtr documentOfPages(int count) {
    return OrvexPDFDocument::fromData(fileOfPages(count));
}

void turnByItsRecord(OrvexPDFDocumentManager& manager) {
    auto meta = *manager.meta(1);
    meta.rotation = 180;
    manager.updateMeta(meta, false);
}

const std::vector<NamedEdit> edits = {
    {"insert a page", [](auto& manager) { manager.insert(pageOfWidth(126), 1, {}); }, "AZBC"},
    {"append a page", [](auto& manager) { manager.append(pageOfWidth(126)); }, "ABCZ"},
    {"remove by index", [](auto& manager) { manager.remove(1); }, "AC"},
    {"remove by page", [](auto& manager) { manager.remove(manager.page(1)); }, "AC"},
    {"replace", [](auto& manager) { manager.replace(1, pageOfWidth(126), {}, false); }, "AZC"},
    {"replace by force", [](auto& manager) { manager.replace(1, pageOfWidth(126), {}, true); }, "AZC"},
    {"move",
     [](auto& manager) {
         manager.move({2, 0}, 1);
     },
     "CAB"},
    {"rotate", [](auto& manager) { manager.rotate(1, true); }, "ABC"},
    {"update a record", turnByItsRecord, "ABC"},
    {"insert an image", [](auto& manager) { manager.insert(grayImage(126, 200), 0, {}); }, "ZABC"},
    {"append an image", [](auto& manager) { manager.append(grayImage(126, 200), {}); }, "ABCZ"},
    {"insert a document", [](auto& manager) { manager.insert(documentOfPages(2), 1); }, "AABBC"},
    {"append a document", [](auto& manager) { manager.append(documentOfPages(2)); }, "ABCAB"},
};

TEST(ManagerEveryEdit, KeepsARecordPerPageMarksTheSizeStaleAndTellsOnceEachWay) {
    for (const auto& [name, make, result] : edits) {
        const auto manager = managerOfPages(3);
        const auto host = std::make_shared<Host>();
        manager->delegate = host;
        const News news;
        int told = 0;
        const auto expectTold = [&, what = name] {
            expectOneRecordPerPage(*manager);
            EXPECT_TRUE(manager->needsUpdateDocumentBytes) << what;
            manager->needsUpdateDocumentBytes = false;
            EXPECT_EQ(news.content, ++told) << what;
            EXPECT_EQ(host->news.size(), static_cast<std::size_t>(told)) << what;
            EXPECT_EQ(news.object, manager->pdfDoc) << what;
        };
        ASSERT_FALSE(manager->needsUpdateDocumentBytes) << name;
        make(*manager);
        EXPECT_EQ(letters(*manager), result) << name;
        expectTold();
        manager->undoManager->undo();
        EXPECT_EQ(letters(*manager), "ABC") << name;
        EXPECT_FALSE(manager->undoManager->canUndo()) << name;
        expectTold();
        manager->undoManager->redo();
        EXPECT_EQ(letters(*manager), result) << name;
        expectTold();
        EXPECT_EQ(news.bytes, 0) << name;
    }
}

TEST(ManagerEveryEdit, HappensWithoutAnUndoManagerToo) {
    for (const auto& [name, make, result] : edits) {
        const auto manager = managerOfPages(3);
        const auto history = std::exchange(manager->undoManager, nullptr);
        const News news;
        make(*manager);
        EXPECT_EQ(letters(*manager), result) << name;
        expectOneRecordPerPage(*manager);
        EXPECT_EQ(news.content, 1) << name;
        EXPECT_EQ(manager->silent, 0) << name;
        EXPECT_FALSE(history->canUndo()) << name;
    }
}

} // namespace
} // namespace orvex::test
