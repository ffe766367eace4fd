// Events end in destructors, which nothing may leave.
#include "Memory/FailingMemory.h"
#include "Platform/Foundation/MainQueue.h"

#include <gtest/gtest.h>

namespace orvex {
namespace {

TEST(FailingQueue, EndsEventsWithoutMemory) {
    auto& queue = MainQueue::shared();
    int ends = 0;
    const auto token = queue.onEventEnd([&ends] { ++ends; });
    bool ran = false;
    queue.async([&ran] { ran = true; });
    test::failAllocationsFrom(1);
    queue.runPending();
    test::stopFailing();
    EXPECT_TRUE(ran);
    EXPECT_EQ(ends, 2);
}

} // namespace
} // namespace orvex
