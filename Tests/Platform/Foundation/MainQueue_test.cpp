#include "Platform/Foundation/MainQueue.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace orvex {
namespace {

class MainQueueTest : public testing::Test {
protected:
    void SetUp() override { queue.detach(); }
    void TearDown() override {
        queue.runPending();
        queue.detach();
    }
    MainQueue& queue = MainQueue::shared();
};

using MainQueueDeathTest = MainQueueTest;

TEST_F(MainQueueTest, TheAttachingThreadIsTheMainThread) {
    EXPECT_TRUE(queue.isMainThread());
    std::thread([&] {
        EXPECT_FALSE(queue.isMainThread());
        queue.attach();
        EXPECT_TRUE(queue.isMainThread());
        EXPECT_TRUE(queue.isAttached());
    }).join();
    EXPECT_FALSE(queue.isMainThread());
    queue.detach();
    EXPECT_TRUE(queue.isMainThread());
    EXPECT_FALSE(queue.isAttached());
}

TEST_F(MainQueueTest, RunsBlocksInOrderAndWhatTheyQueueAfterThem) {
    std::string order;
    queue.async([&] {
        order += "1";
        queue.async([&] { order += "3"; });
    });
    queue.async([&] { order += "2"; });
    EXPECT_EQ(order, "");
    EXPECT_TRUE(queue.runPending());
    EXPECT_EQ(order, "123");
    EXPECT_FALSE(queue.runPending());
}

TEST_F(MainQueueTest, WakesTheLoopWheneverWorkArrives) {
    int wakes = 0;
    queue.attach([&] { ++wakes; });
    queue.async([] {});
    queue.async([] {});
    EXPECT_EQ(wakes, 2);
    queue.detach();
    queue.async([] {});
    EXPECT_EQ(wakes, 2);
}

TEST_F(MainQueueTest, AttachingWithWorkWaitingWakesAtOnce) {
    queue.async([] {});
    int wakes = 0;
    queue.attach([&] { ++wakes; });
    EXPECT_EQ(wakes, 1);
}

TEST_F(MainQueueTest, TheWakeCallbackMayUseTheQueue) {
    int nested = 0;
    queue.attach([&] { nested += queue.isMainThread() ? 1 : 0; });
    queue.async([] {});
    EXPECT_EQ(nested, 1);
}

TEST_F(MainQueueTest, SyncRunsOnTheMainThreadBehindWhatIsQueued) {
    std::string order;
    const auto mainThread = std::this_thread::get_id();
    std::thread::id where;
    queue.async([&] { order += "1"; });
    std::thread worker([&] {
        queue.sync([&] {
            order += "2";
            where = std::this_thread::get_id();
        });
        order += "3";
        queue.stop();
    });
    queue.run();
    worker.join();
    EXPECT_EQ(order, "123");
    EXPECT_EQ(where, mainThread);
}

TEST_F(MainQueueTest, SyncCarriesAnExceptionToItsCaller) {
    std::string caught;
    std::thread worker([&] {
        try {
            queue.sync([] { throw std::runtime_error("from the block"); });
        } catch (const std::runtime_error& e) {
            caught = e.what();
        }
        queue.stop();
    });
    queue.run();
    worker.join();
    EXPECT_EQ(caught, "from the block");
}

TEST_F(MainQueueTest, AnExceptionOfAnAsyncBlockComesOutOfRunPendingAndTheRestStays) {
    bool ran = false;
    queue.async([] { throw std::runtime_error("no"); });
    queue.async([&] { ran = true; });
    EXPECT_THROW(queue.runPending(), std::runtime_error);
    EXPECT_FALSE(ran);
    EXPECT_TRUE(queue.runPending());
    EXPECT_TRUE(ran);
}

TEST_F(MainQueueTest, ManyThreadsSyncAndEachKeepsItsOrder) {
    constexpr int each = 200;
    std::vector<std::vector<int>> seen(4);
    std::atomic<int> running = 4;
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < seen.size(); ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < each; ++i) {
                syncOnMain([&, t, i] { seen[t].push_back(i); });
            }
            if (--running == 0) {
                queue.stop();
            }
        });
    }
    queue.run();
    for (auto& thread : threads) {
        thread.join();
    }
    for (const auto& numbers : seen) {
        ASSERT_EQ(numbers.size(), static_cast<std::size_t>(each));
        EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    }
}

TEST_F(MainQueueTest, SyncOnMainRunsInlineOnTheMainThread) {
    std::string order;
    queue.async([&] { order += "queued"; });
    syncOnMain([&] { order += "inline "; });
    EXPECT_EQ(order, "inline ");
    queue.runPending();
    EXPECT_EQ(order, "inline queued");
}

TEST_F(MainQueueTest, SyncOnMainInsideASyncedBlockRunsInline) {
    bool ran = false;
    std::thread worker([&] {
        queue.sync([&] { syncOnMain([&] { ran = true; }); });
        queue.stop();
    });
    queue.run();
    worker.join();
    EXPECT_TRUE(ran);
}

TEST_F(MainQueueTest, StopBeforeRunEndsTheNextRun) {
    queue.stop();
    queue.run();
    SUCCEED();
}

TEST_F(MainQueueTest, StopFromABlockEndsRunAndLeavesWhatIsQueued) {
    std::string order;
    queue.async([&] { queue.stop(); });
    queue.async([&] { order += "later"; });
    queue.run();
    EXPECT_EQ(order, "");
    EXPECT_TRUE(queue.runPending());
    EXPECT_EQ(order, "later");
}

TEST_F(MainQueueTest, StopEndsRunAlsoWhileABlockQueuesItselfAgain) {
    std::atomic<int> runs = 0;
    std::function<void()> again = [&] {
        ++runs;
        queue.async(again);
    };
    queue.async(again);
    std::thread worker([&] {
        while (runs < 10) {
            std::this_thread::yield();
        }
        queue.stop();
    });
    queue.run();
    worker.join();
    EXPECT_GE(runs, 10);
    again = [] {};
    queue.runPending(); // the copy that is queued queues what is in its place now
}

TEST_F(MainQueueTest, AnExceptionOfAnAsyncBlockComesOutOfRun) {
    queue.async([] { throw std::runtime_error("no"); });
    EXPECT_THROW(queue.run(), std::runtime_error);
}

TEST_F(MainQueueTest, ObserversThatComeAndGoDuringAnEventsEndDisturbNobody) {
    std::string order;
    std::vector<std::shared_ptr<void>> tokens(3);
    tokens[0] = queue.onEventEnd([&] {
        order += "0";
        tokens[1].reset();
        tokens[2] = queue.onEventEnd([&] { order += "2"; });
    });
    tokens[1] = queue.onEventEnd([&] { order += "1"; });
    const auto last = queue.onEventEnd([&] { order += "3"; });
    queue.runPending();
    EXPECT_EQ(order, "03"); // who came during it waits for the next
    tokens[0].reset();
    queue.runPending();
    EXPECT_EQ(order, "0332");
}

TEST_F(MainQueueTest, AnObserverMayPump) {
    std::string order;
    const auto first = queue.onEventEnd([&] {
        order += "(";
        if (order.size() < 3) {
            queue.runPending();
        }
        order += ")";
    });
    const auto second = queue.onEventEnd([&] { order += "."; });
    queue.runPending();
    EXPECT_EQ(order, "((().).).");
}

TEST_F(MainQueueTest, EveryBlockEndsAnEventAlsoOneThatThrows) {
    std::string order;
    const auto token = queue.onEventEnd([&] { order += "."; });
    queue.async([&] { order += "a"; });
    queue.async([&] { order += "b"; });
    queue.runPending();
    EXPECT_EQ(std::exchange(order, ""), ".a.b.");
    queue.async([] { throw std::runtime_error("no"); });
    EXPECT_THROW(queue.runPending(), std::runtime_error);
    EXPECT_EQ(order, "..");
}

TEST_F(MainQueueTest, AnInnerPumpDoesNotEndTheEventAroundIt) {
    std::string order;
    const auto token = queue.onEventEnd([&] { order += "."; });
    queue.async([&] {
        order += "(";
        queue.runPending();
        order += ")";
    });
    queue.runPending();
    EXPECT_EQ(order, ".().");
}

TEST_F(MainQueueTest, DroppingTheTokenRemovesTheObserver) {
    int ends = 0;
    auto token = queue.onEventEnd([&] { ++ends; });
    token.reset();
    queue.async([] {});
    queue.runPending();
    EXPECT_EQ(ends, 0);
}

TEST_F(MainQueueDeathTest, SyncOnTheMainThreadIsFatal) {
    EXPECT_DEATH(queue.sync([] {}), "sync called on the main thread");
}

TEST_F(MainQueueDeathTest, PumpingOffTheMainThreadIsFatal) {
    EXPECT_DEATH(std::thread([&] { queue.runPending(); }).join(), "runPending called away from the main thread");
}

} // namespace
} // namespace orvex
