// A list without memory: what was taken can be put back.
#include "Memory/FailingMemory.h"
#include "Platform/Foundation/KeyedList.h"

#include <gtest/gtest.h>

#include <random>

namespace orvex {
namespace {

struct Same {
    const int& operator()(const int& value) const { return value; }
};
using Numbers = KeyedList<int, Same>;

/// Blocks that are full to different degrees.
Numbers shuffledNumbers(int count, std::mt19937& random) {
    Numbers list;
    for (int i = 0; i < count; ++i) {
        const bool isAnywhere = i % 3 != 0;
        list.insert(isAnywhere ? random() % (list.size() + 1) : list.size() / 2, i);
    }
    return list;
}

std::vector<int> inOrder(const Numbers& list) {
    return {list.begin(), list.end()};
}

void expectFound(const Numbers& list) {
    for (std::size_t i = 0; i < list.size(); ++i) {
        ASSERT_EQ(list.position(list[i]), i);
    }
}

TEST(KeyedListWithoutMemory, TakesBackWhatWasTakenInAnyOrder) {
    std::mt19937 random(7);
    for (const int count : {1, 2, 64, 65, 129, 700, 2000}) {
        auto list = shuffledNumbers(count, random);
        (void)list.position(0);
        const auto before = inOrder(list);
        for (int round = 0; round < 40; ++round) {
            std::vector<std::pair<std::size_t, std::shared_ptr<int>>> taken(1 + random() % before.size());
            test::failAllocationsFrom(1);
            for (auto& [position, value] : taken) {
                position = round % 4 == 0 ? list.size() / 2 : random() % list.size();
                value = list.take(position);
            }
            for (auto one = taken.rbegin(); one != taken.rend(); ++one) {
                list.insert(one->first, std::move(one->second));
            }
            test::stopFailing();
            ASSERT_EQ(inOrder(list), before) << count;
        }
        expectFound(list);
    }
}

/// Everything gathers at one end, again and again: blocks fill up there although no new one can be had.
TEST(KeyedListWithoutMemory, HoldsAsManyValuesAsBeforeWhereverTheyGo) {
    std::mt19937 random(8);
    auto list = shuffledNumbers(1500, random);
    (void)list.position(0);
    auto model = inOrder(list);
    std::shared_ptr<int> moving;
    for (int i = 0; i < 6000; ++i) {
        const auto from = random() % model.size();
        const auto ends = i / 2000; // the front, the end, the middle
        const auto to = ends == 0 ? 0 : (model.size() - 1) / static_cast<std::size_t>(ends);
        test::failAllocationsFrom(1);
        moving = list.take(from);
        list.insert(to, std::move(moving));
        test::stopFailing();
        const int value = model[from];
        model.erase(model.begin() + static_cast<std::ptrdiff_t>(from));
        model.insert(model.begin() + static_cast<std::ptrdiff_t>(to), value);
        if (i % 500 == 0) {
            ASSERT_EQ(inOrder(list), model) << i;
        }
    }
    ASSERT_EQ(inOrder(list), model);
    expectFound(list);
}

TEST(KeyedListWithoutMemory, SaysThatItCannotGrow) {
    Numbers list;
    for (int i = 0; i < 64; ++i) {
        list.push_back(i);
    }
    const auto more = std::make_shared<int>(64);
    auto grown = list;
    int refused = 0;
    for (int i = 0; i < 200; ++i) {
        test::failAllocationsFrom(1);
        try {
            grown.insert(i % 2 == 0 ? 0 : grown.size(), more);
        } catch (const std::bad_alloc&) {
            ++refused;
        }
        test::stopFailing();
    }
    EXPECT_GT(refused, 0);
    EXPECT_EQ(grown.size() + static_cast<std::size_t>(refused), 264U);
}

} // namespace
} // namespace orvex
