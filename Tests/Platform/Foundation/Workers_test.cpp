#include "Platform/Foundation/Workers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace orvex {
namespace {

TEST(ForEachInParallel, DoesEveryPieceOnce) {
    for (const std::size_t count : {0U, 1U, 2U, 1000U}) {
        std::vector<std::atomic<int>> done(count);
        forEachInParallel(count, [&](std::size_t i) { ++done[i]; });
        for (const auto& times : done) {
            EXPECT_EQ(times, 1);
        }
    }
}

TEST(ForEachInParallel, ThrowsTheFailureOfTheFirstPieceThatFailed) {
    std::atomic<int> atWork{0};
    const auto work = [&](std::size_t i) {
        ++atWork;
        while (atWork < 2 && std::thread::hardware_concurrency() > 1) {
            std::this_thread::yield(); // so that both have started when the first fails
        }
        throw std::runtime_error(std::to_string(i));
    };
    try {
        forEachInParallel(2, work);
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "0");
    }
}

TEST(ForEachInParallel, StartsNothingAfterAFailure) {
    std::atomic<std::size_t> started{0};
    const auto work = [&](std::size_t) {
        ++started;
        throw std::runtime_error("no");
    };
    EXPECT_THROW(forEachInParallel(100'000, work), std::runtime_error);
    EXPECT_LE(started, std::max(1U, std::thread::hardware_concurrency()));
}

TEST(ForEachInOrder, ConsumesInOrderOnTheCallingThread) {
    for (const std::size_t count : {0U, 1U, 2000U}) {
        const auto caller = std::this_thread::get_id();
        std::size_t next = 0;
        forEachInOrder(
            count, [](std::size_t i) { return std::to_string(i); },
            [&](const std::string& text) {
                EXPECT_EQ(text, std::to_string(next++));
                EXPECT_EQ(std::this_thread::get_id(), caller);
            });
        EXPECT_EQ(next, count);
    }
}

TEST(ForEachInOrder, ProducesNoMoreAheadThanItMay) {
    for (const std::size_t ahead : {1U, 2U, 5U}) {
        std::atomic<std::size_t> consumed{0};
        std::atomic<bool> ranAhead{false};
        const auto produce = [&](std::size_t i) {
            ranAhead = ranAhead || i > consumed + ahead; // the last one taken may not be counted yet
            return std::string();
        };
        forEachInOrder(
            500, produce, [&](const std::string&) { ++consumed; }, ahead);
        EXPECT_FALSE(ranAhead) << ahead;
        EXPECT_EQ(consumed, 500U);
    }
}

TEST(ForEachInOrder, FailuresOfEitherSideEndTheWork) {
    const auto fails = [](std::size_t i) {
        return i == 500 ? throw std::runtime_error("produced") : std::to_string(i);
    };
    std::size_t consumed = 0;
    EXPECT_THROW(forEachInOrder(1000, fails, [&](const std::string&) { ++consumed; }), std::runtime_error);
    EXPECT_EQ(consumed, 500U);
    const auto refuses = [](const std::string&) { throw std::logic_error("consumed"); };
    EXPECT_THROW(forEachInOrder(
                     1000, [](std::size_t) { return std::string(); }, refuses),
                 std::logic_error);
}

} // namespace
} // namespace orvex
