#include "ManagerSupport.h"

#include <limits>

namespace orvex::test {
namespace {

using testing::ElementsAre;

// News and batches

TEST(ManagerNews, TellTheDelegateBeforeTheObservers) {
    const auto manager = managerOfPages(1);
    const auto host = std::make_shared<Host>();
    manager->delegate = host;
    const auto token = NotificationCenter::defaultCenter().addObserver(
        PDFDocumentContentChanged, manager->pdfDoc, [&](const Notification&) { host->news.emplace_back("observer"); });
    const ManagerLog log;
    manager->didChangeDocument();
    EXPECT_THAT(host->news, ElementsAre("delegate", "observer"));
    EXPECT_TRUE(manager->needsUpdateDocumentBytes);
    EXPECT_THAT(log.texts(), ElementsAre("Manager didChangeDocument() debug: Did change document (will notify!)"));
}

TEST(ManagerNews, HaveNamesThatHostsObserve) {
    const auto manager = managerOfPages(2);
    std::vector<std::string> names;
    const auto token = NotificationCenter::defaultCenter().addObserver([&](const Notification& note) {
        names.push_back(note.name.value);
        EXPECT_EQ(note.object, manager->pdfDoc);
    });
    manager->remove(0);
    manager->updateDocumentBytes();
    EXPECT_THAT(names, ElementsAre("OrvexPDFDocumentContentChanged", "OrvexPDFDocumentBytesChanged"));
}

TEST(ManagerNews, AreStillPostedWhenTheDelegateIsGone) {
    const auto manager = managerOfPages(1);
    manager->delegate = std::make_shared<Host>();
    const News news;
    manager->didChangeDocument();
    EXPECT_EQ(news.content, 1);
}

TEST(ManagerNews, WaitOnTheMainThreadOnlyLogs) {
    const auto manager = managerOfPages(0);
    const ManagerLog log;
    manager->wait();
    EXPECT_THAT(log.texts(), ElementsAre("Manager wait() debug: Wait until PDF manipulations are done"));
}

TEST(ManagerBatch, NotifiesOnceWhenItEnds) {
    const auto manager = managerOfPages(1);
    const auto host = std::make_shared<Host>();
    manager->delegate = host;
    const News news;
    const ManagerLog log;
    manager->batch([&] {
        manager->didChangeDocument();
        EXPECT_EQ(manager->silent, 1);
        EXPECT_TRUE(manager->needsUpdateDocumentBytes);
        EXPECT_EQ(news.content, 0);
    });
    EXPECT_EQ(manager->silent, 0);
    EXPECT_EQ(news.content, 1);
    EXPECT_EQ(host->news.size(), 1U);
    EXPECT_THAT(log.texts(), ElementsAre("Manager didChangeDocument() debug: Did change document (silently)",
                                         "Manager didChangeDocument() debug: Did change document (will notify!)"));
}

TEST(ManagerBatch, NestedNotifiesWhenTheOuterOneEnds) {
    const auto manager = managerOfPages(3);
    const auto host = std::make_shared<Host>();
    manager->delegate = host;
    const News news;
    editUndoRedo(*manager, [&] {
        manager->batch([&] {
            manager->remove(0);
            manager->batch([&] { manager->remove(0); });
            EXPECT_EQ(news.content, 0);
        });
        EXPECT_EQ(news.content, 1);
        EXPECT_EQ(host->news.size(), 1U);
    });
    EXPECT_EQ(news.content, 5); // two undos and two redos, one each
    EXPECT_EQ(manager->silent, 0);
}

TEST(ManagerBatch, WithoutEditsLeavesNoStep) {
    const auto manager = managerOfPages(1);
    const News news;
    manager->batch([] {});
    EXPECT_EQ(news.content, 1);
    EXPECT_FALSE(manager->undoManager->canUndo());
}

TEST(ManagerBatch, WorksWithoutAnUndoManager) {
    const auto manager = managerOfPages(2);
    manager->undoManager.reset();
    manager->batch([&] { manager->remove(0); });
    EXPECT_EQ(letters(*manager), "B");
    EXPECT_EQ(manager->silent, 0);
}

TEST(ManagerBatch, SurvivesALoadInside) {
    const auto manager = managerOfPages(2);
    manager->batch([&] {
        manager->remove(0);
        manager->pagesMeta.clear();
        manager->load(fileOfPages(3));
    });
    EXPECT_EQ(manager->silent, 0);
    EXPECT_FALSE(manager->undoManager->canUndo());
    editUndoRedo(*manager, [&] { manager->batch([&] { manager->remove(1); }); });
    EXPECT_EQ(manager->silent, 0);
}

TEST(ManagerBatch, KeepsWhatWasDoneAsOneStepWhenTheBlockThrows) {
    const auto manager = managerOfPages(3);
    const News news;
    EXPECT_THROW(manager->batch([&] {
        manager->remove(0);
        manager->rotate(0, true);
        throw std::runtime_error("host");
    }),
                 std::runtime_error);
    EXPECT_EQ(letters(*manager), "BC");
    EXPECT_EQ(manager->silent, 0);
    EXPECT_EQ(news.content, 1);
    manager->undoManager->undo();
    EXPECT_EQ(letters(*manager), "ABC");
    EXPECT_EQ(manager->silent, 0);
    EXPECT_EQ(news.content, 2);
    EXPECT_FALSE(manager->undoManager->canUndo());
    manager->undoManager->redo();
    EXPECT_EQ(letters(*manager), "BC");
}

TEST(ManagerBatch, UnderAnAttachedLoopIsStillOneStepAndOnePieceOfNews) {
    MainQueue::shared().attach();
    const auto manager = managerOfPages(4);
    const News news;
    manager->batch([&] {
        manager->remove(3);
        manager->remove(0);
    });
    MainQueue::shared().async([] {});
    MainQueue::shared().runPending(); // ends the event
    manager->undoManager->undo();
    EXPECT_EQ(letters(*manager), "ABCD");
    EXPECT_EQ(news.content, 2);
    manager->undoManager->redo();
    EXPECT_EQ(letters(*manager), "BC");
    EXPECT_EQ(news.content, 3);
    MainQueue::shared().detach();
}

using ManagerNewsDeathTest = testing::Test;

TEST(ManagerNewsDeathTest, TooManyBatchesAreFatal) {
    const auto manager = managerOfPages(0);
    manager->silent = std::numeric_limits<std::int64_t>::max();
    EXPECT_DEATH(manager->batch([] {}), "depth of batches");
}

TEST(ManagerNewsDeathTest, TooFewBatchesAreFatal) {
    const auto manager = managerOfPages(0);
    EXPECT_DEATH(manager->batch([&] { manager->silent = std::numeric_limits<std::int64_t>::min(); }),
                 "depth of batches");
}

// Diagnostics

using Dictionary = std::map<std::string, std::any>;

TEST(ManagerDebugInfo, DescribesTheFirstPageForEveryPage) {
    const auto manager = OrvexPDFDocumentManager::create();
    manager->load(pdfFromPages({{showing("Hello")}, {showing("Another page")}}));
    const auto info = manager->debugInfo();
    ASSERT_EQ(info.size(), 2U);
    EXPECT_EQ(std::any_cast<std::int64_t>(info.at("count")), 2);
    const auto pages = std::any_cast<std::vector<Dictionary>>(info.at("pages"));
    ASSERT_EQ(pages.size(), 2U);
    for (const auto& page : pages) {
        EXPECT_EQ(std::any_cast<OrvexPDFPageMeta>(page.at("meta")).id, manager->pagesMeta[0].id);
        const auto details = std::any_cast<Dictionary>(page.at("page"));
        EXPECT_EQ(details.size(), 1U);
        EXPECT_EQ(std::any_cast<std::int64_t>(details.at("stringCount")), 5);
    }
}

TEST(ManagerDebugInfo, HasAnEmptyEntryForAForeignPage) {
    const auto manager = OrvexPDFDocumentManager::create();
    manager->pdfDoc->insertPage(std::make_shared<PDFPage>(), 0);
    const auto info = manager->debugInfo();
    const auto pages = std::any_cast<std::vector<Dictionary>>(info.at("pages"));
    ASSERT_EQ(pages.size(), 1U);
    EXPECT_TRUE(pages[0].empty());
}

TEST(ManagerNewsDeathTest, DebugInfoOfPagesWithoutRecordsIsFatal) {
    const auto manager = managerOfPages(1);
    manager->pagesMeta.clear();
    EXPECT_DEATH((void)manager->debugInfo(), "page record 0");
}

} // namespace
} // namespace orvex::test
