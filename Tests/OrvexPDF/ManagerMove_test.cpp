#include "ManagerSupport.h"

#include <limits>

namespace orvex::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using ManagerMoveDeathTest = testing::Test;

// Moving

TEST(ManagerMove, PutsTheListedPagesInTheirOrderBeforeTheTarget) {
    struct Case {
        std::vector<std::int64_t> pages;
        std::int64_t to;
        std::string result;
    };
    const std::vector<Case> cases = {
        {{4, 0}, 2, "BEACD"},    {{0}, 5, "BCDEA"}, {{4}, 0, "EABCD"},  {{1, 2}, 2, "ABCDE"},     {{2, 1}, 2, "ACBDE"},
        {{0, 2, 4}, 3, "BACED"}, {{}, 3, "ABCDE"},  {{0}, -1, "BCDEA"}, {{3, 1, 4}, -1, "ACDBE"}, {{4, 0}, 5, "BCDEA"},
    };
    for (const auto& one : cases) {
        const auto manager = managerOfPages(5);
        const News news;
        if (one.pages.empty()) {
            manager->move(one.pages, one.to);
            EXPECT_FALSE(manager->undoManager->canUndo());
        } else {
            editUndoRedo(*manager, [&] { manager->move(one.pages, one.to); });
        }
        EXPECT_EQ(letters(*manager), one.result);
        EXPECT_EQ(news.content, one.pages.empty() ? 1 : 5);
    }
}

TEST(ManagerMove, IsOneStepAndOnePieceOfNewsBothWays) {
    const auto manager = managerOfPages(5);
    const auto host = std::make_shared<Host>();
    manager->delegate = host;
    const News news;
    manager->move({4, 0}, 2);
    EXPECT_EQ(news.content, 1);
    manager->undoManager->undo();
    EXPECT_EQ(letters(*manager), "ABCDE");
    EXPECT_EQ(news.content, 2);
    EXPECT_FALSE(manager->undoManager->canUndo());
    manager->undoManager->redo();
    EXPECT_EQ(letters(*manager), "BEACD");
    EXPECT_EQ(news.content, 3);
    EXPECT_EQ(host->news.size(), 3U);
    EXPECT_EQ(manager->silent, 0);
}

TEST(ManagerMove, ToAPlaceOutsideTheDocumentMovesNothing) {
    for (const std::int64_t to : {std::int64_t{4}, std::int64_t{9}, std::int64_t{-2},
                                  std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()}) {
        for (const std::vector<std::int64_t>& pages : {std::vector<std::int64_t>{0}, {2, 1}, {}}) {
            const auto manager = managerOfPages(3);
            const auto before = ids(*manager);
            const ManagerLog log;
            manager->move(pages, to);
            EXPECT_EQ(letters(*manager), "ABC");
            EXPECT_EQ(ids(*manager), before);
            EXPECT_FALSE(manager->undoManager->canUndo());
            EXPECT_EQ(manager->silent, 0);
            EXPECT_THAT(
                log.texts(),
                ElementsAre("Manager move(pagesAt:to:) debug: Tried to move pages out of index: " + std::to_string(to),
                            "Manager didChangeDocument() debug: Did change document (will notify!)"));
        }
    }
}

TEST(ManagerMove, OfAPageListedTwiceMovesNothing) {
    for (const std::vector<std::int64_t>& pages : {std::vector<std::int64_t>{1, 1}, {1, 2, 0, 1}}) {
        const auto manager = managerOfPages(3);
        const ManagerLog log;
        manager->move(pages, 0);
        EXPECT_EQ(letters(*manager), "ABC");
        EXPECT_FALSE(manager->undoManager->canUndo());
        EXPECT_THAT(log.texts(), ElementsAre("Manager move(pagesAt:to:) debug: Tried to move a page twice: 1",
                                             "Manager didChangeDocument() debug: Did change document (will notify!)"));
    }
}

TEST(ManagerMove, TakesThePagesOutFromTheLastOnAndPutsThemInAsListed) {
    const auto manager = managerOfPages(5);
    const ManagerLog log;
    manager->move({4, 0}, 2);
    const auto silently = "Manager didChangeDocument() debug: Did change document (silently)";
    EXPECT_THAT(log.texts(), ElementsAre("Manager _remove(pageAt:) debug: Remove at: 4", silently,
                                         "Manager _remove(pageAt:) debug: Remove at: 0", silently,
                                         "Manager _insert(page:atIndex:meta:) debug: Insert at: 1", silently,
                                         "Manager _insert(page:atIndex:meta:) debug: Insert at: 2", silently,
                                         "Manager didChangeDocument() debug: Did change document (will notify!)"));
}

TEST(ManagerMove, CarriesEachRecordWithItsPage) {
    const auto manager = managerOfPages(5);
    const auto before = ids(*manager);
    manager->move({4, 0}, 2);
    EXPECT_THAT(ids(*manager), ElementsAre(before[1], before[4], before[0], before[2], before[3]));
}

TEST(ManagerMove, UndoneGivesTheRecordsBackAsTheyWere) {
    const auto manager = managerOfPages(3);
    manager->move({0}, 3);
    manager->pagesMeta[2].watermarkText = "written in place";
    EXPECT_EQ(manager->meta(2)->watermarkText, "written in place");
    manager->undoManager->undo();
    EXPECT_EQ(manager->meta(0)->watermarkText, std::nullopt);
    manager->undoManager->redo();
    EXPECT_EQ(manager->meta(2)->watermarkText, "written in place");
}

TEST(ManagerMoveDeathTest, MovingAPageThatDoesNotExistIsFatal) {
    const auto manager = managerOfPages(3);
    EXPECT_DEATH(manager->move({0, 9}, 1), "does not exist");
    EXPECT_DEATH(manager->move({3}, 1), "page record 3");
    EXPECT_DEATH(manager->move({-1}, 1), "does not exist");
    manager->pdfDoc->insertPage(std::make_shared<PDFPage>(), 1); // not one of the library's
    manager->pagesMeta.insert(1, std::make_shared<OrvexPDFPageMeta>());
    EXPECT_DEATH(manager->move({1}, 0), "does not exist");
}

// Turning

TEST(ManagerRotate, CountsQuarterTurnsWithoutReducingThem) {
    const auto manager = managerOfPages(2);
    editUndoRedo(*manager, [&] { manager->rotate(1, true); });
    editUndoRedo(*manager, [&] { manager->rotate(1, true); });
    EXPECT_EQ(manager->pagesMeta[1].rotation, -180);
    EXPECT_EQ(manager->page(1)->rotation(), 180);
    for (int i = 0; i < 5; ++i) {
        editUndoRedo(*manager, [&] { manager->rotate(0, false); });
    }
    EXPECT_EQ(manager->pagesMeta[0].rotation, 450);
    EXPECT_EQ(manager->page(0)->rotation(), 90);
}

TEST(ManagerRotate, AddsToTheTurnThatTheFileGaveThePage) {
    const auto manager = OrvexPDFDocumentManager::create();
    manager->load(pdfFromPages({{"", "[0 0 100 200]", "/Rotate 270"}}));
    manager->rotate(0, false);
    EXPECT_EQ(manager->page(0)->rotation(), 0);
    EXPECT_EQ(manager->pagesMeta[0].rotation, 90);
    EXPECT_EQ(manager->pagesMeta[0].originalPageRotation, 270);
}

TEST(ManagerRotate, OutOfRangeDoesNothing) {
    const auto manager = managerOfPages(2);
    const ManagerLog log;
    manager->rotate(-1, true);
    manager->rotate(3, true);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(ManagerMoveDeathTest, RotatingAtTheCountIsFatal) {
    const auto manager = managerOfPages(2);
    EXPECT_DEATH(manager->rotate(2, true), "page record 2");
}

TEST(ManagerMoveDeathTest, RotatingBeyondTheIntegersIsFatal) {
    const auto manager = managerOfPages(1);
    manager->pagesMeta[0].rotation = std::numeric_limits<std::int64_t>::max();
    EXPECT_DEATH(manager->rotate(0, false), "rotation");
}

} // namespace
} // namespace orvex::test
