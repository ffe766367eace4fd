// Callers on other threads: what they ask for happens on the main thread, one thing after the other.
#include "ManagerSupport.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orvex::test {
namespace {

/// Runs `work` on a thread of its own while this one pumps the main queue.
void pumpWhile(const std::function<void()>& work) {
    MainQueue::shared().attach();
    std::thread background([&] {
        work();
        MainQueue::shared().async([] { MainQueue::shared().stop(); });
    });
    MainQueue::shared().run();
    background.join();
    MainQueue::shared().detach();
}

TEST(ManagerThreads, EditsFromAnotherThreadHappenOnTheMainThread) {
    const auto manager = managerOfPages(3);
    struct MainThreadHost final : OrvexPDFDocumentManagerDelegate {
        void documentDidChange() override { onMain = onMain && MainQueue::shared().isMainThread(), ++changes; }
        void didGenerate(OrvexPDFPage& /*page*/) override { onMain = onMain && MainQueue::shared().isMainThread(); }
        bool onMain = true;
        int changes = 0;
    };
    const auto host = std::make_shared<MainThreadHost>();
    manager->delegate = host;
    pumpWhile([&] {
        manager->append(pageOfWidth(104));
        manager->append(grayImage(105, 20), {});
        manager->append(OrvexPDFDocument::fromData(fileOfPages(1)));
        manager->remove(5);
        manager->remove(0);
        manager->replace(0, pageOfWidth(126), {}, true);
        manager->move({0}, 4);
        manager->rotate(1, true);
        manager->updateDocumentBytes();
        manager->wait();
    });
    EXPECT_EQ(letters(*manager), "CDEZ");
    expectOneRecordPerPage(*manager);
    EXPECT_TRUE(host->onMain);
    EXPECT_EQ(host->changes, 8);
    EXPECT_FALSE(manager->needsUpdateDocumentBytes);
}

TEST(ManagerThreads, WaitReturnsAfterWhatWasQueuedBefore) {
    const auto manager = managerOfPages(1);
    bool ran = false;
    bool seen = false;
    pumpWhile([&] {
        MainQueue::shared().async([&] { ran = true; });
        manager->wait();
        seen = ran;
    });
    EXPECT_TRUE(seen);
}

TEST(ManagerThreads, NothingHappensInTheMiddleOfAMove) {
    const auto manager = managerOfPages(5);
    bool isArmed = true;
    std::shared_ptr<void> observer;
    pumpWhile([&] {
        syncOnMain([&] {
            observer = MainQueue::shared().onEventEnd([&] {
                const bool isBegun = letters(*manager) != "ABCDE" || manager->silent > 0;
                if (isBegun && std::exchange(isArmed, false)) {
                    manager->insert(pageOfWidth(124), 0, {});
                }
            });
        });
        manager->move({4, 2}, 0);
        manager->wait();
    });
    observer.reset();
    EXPECT_EQ(letters(*manager), "XECABD");
    expectOneRecordPerPage(*manager);
}

TEST(ManagerThreads, AnEditFindsWhatItNamesWhenItsTurnComes) {
    const std::vector<std::pair<std::function<void(OrvexPDFDocumentManager&)>, std::string>> cases = {
        {[](auto& manager) { manager.remove(manager.page(2)); }, "XAB"},
        {[](auto& manager) { manager.updateMeta(*manager.meta(2), false); }, "XABC"},
        {[](auto& manager) { manager.rotate(2, true); }, "XABC"},
    };
    for (const auto& [edit, expected] : cases) {
        const auto manager = managerOfPages(3);
        const auto before = manager->pdfDoc->orvexPages();
        pumpWhile([&] {
            std::promise<void> isBusy;
            MainQueue::shared().async([&] {
                isBusy.set_value();
                std::this_thread::sleep_for(std::chrono::milliseconds(30)); // the edit is asked for meanwhile
                manager->insert(pageOfWidth(124), 0, {});
            });
            isBusy.get_future().wait();
            edit(*manager);
        });
        EXPECT_EQ(letters(*manager), expected);
        EXPECT_EQ(manager->page(1), before[0]);
        expectOneRecordPerPage(*manager);
    }
}

/// What one caller does over and over; the order in which callers get their turns differs from run to run.
void hammer(OrvexPDFDocumentManager& manager, int number, std::atomic<int>& added) {
    constexpr int rounds = 40;
    OrvexPDFPageMeta own;
    own.originalImage = grayImage(30, 20);
    manager.insert(own.originalImage, 0, own);
    ++added;
    for (int i = 0; i < rounds; ++i) {
        switch ((i + number) % 9) {
        case 0:
            manager.append(pageOfWidth(110 + number));
            ++added;
            break;
        case 1:
            manager.insert(grayImage(30, 20), 0, {});
            ++added;
            break;
        case 2:
            manager.rotate(0, i % 2 == 0);
            manager.move({0, 2}, -1);
            break;
        case 3:
            manager.batch([&] { manager.rotate(1, true); });
            break;
        case 4:
            MainQueue::shared().async([&] { manager.updateDocumentBytes(); });
            break;
        case 5:
            own.rotation += 90;
            manager.updateMeta(own, true);
            break;
        case 6:
            manager.replace(2, pageOfWidth(130), {}, i % 2 == 0);
            break;
        case 7: {
            const auto page = pageOfWidth(140);
            manager.append(page);
            manager.remove(page);
            break;
        }
        default:
            manager.wait();
        }
    }
}

TEST(ManagerThreads, ManyCallersAtOnceLoseNothing) {
    const auto manager = managerOfPages(3);
    const auto before = manager->pdfDoc->orvexPages();
    std::atomic<int> added = 0;
    std::atomic<bool> isRead = false;
    const Bytes file = fileOfPages(5);
    pumpWhile([&] {
        std::vector<std::thread> callers;
        for (int number = 0; number < 4; ++number) {
            callers.emplace_back([&, number] { hammer(*manager, number, added); });
        }
        callers.emplace_back([&] { // somebody else's documents meanwhile
            for (int i = 0; i < 20; ++i) {
                const auto other = OrvexPDFDocument::fromData(file);
                isRead = other->orvexPage(i % 5)->extractFoundPage().items->empty() && other->dataRepresentation();
            }
        });
        for (auto& caller : callers) {
            caller.join();
        }
    });
    EXPECT_TRUE(isRead);
    EXPECT_GT(added, 30);
    EXPECT_EQ(manager->pdfDoc->pageCount(), 3 + added);
    expectOneRecordPerPage(*manager);
    EXPECT_EQ(manager->silent, 0);
    while (manager->undoManager->canUndo()) {
        manager->undoManager->undo();
    }
    EXPECT_EQ(manager->pdfDoc->orvexPages(), before);
    expectOneRecordPerPage(*manager);
}

TEST(ManagerThreads, WhatAnEditThrowsReachesTheCallerAndTheNextGetsItsTurn) {
    const auto manager = managerOfPages(2);
    int caught = 0;
    pumpWhile([&] {
        std::vector<std::thread> callers;
        std::atomic<int> failures = 0;
        for (int number = 0; number < 4; ++number) {
            callers.emplace_back([&] {
                try {
                    syncOnMain([&] { manager->batch([] { throw std::runtime_error("asked for"); }); });
                } catch (const std::runtime_error&) {
                    ++failures;
                }
                manager->append(pageOfWidth(120));
            });
        }
        for (auto& caller : callers) {
            caller.join();
        }
        caught = failures;
    });
    EXPECT_EQ(caught, 4);
    EXPECT_EQ(manager->pdfDoc->pageCount(), 6);
    EXPECT_EQ(manager->silent, 0);
    expectOneRecordPerPage(*manager);
}

} // namespace
} // namespace orvex::test
