#include "Platform/Foundation/KeyedList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

namespace orvex {
namespace {

struct Item {
    std::string key;
    int value = 0;
    friend bool operator==(const Item&, const Item&) = default;
};
struct ItemKey {
    const std::string& operator()(const Item& item) const { return item.key; }
};
using Items = KeyedList<Item, ItemKey>;

std::optional<std::size_t> firstWith(const std::vector<Item>& model, const std::string& key) {
    const auto found = std::ranges::find(model, key, &Item::key);
    return found == model.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - model.begin()));
}

Items numbered(std::size_t count) {
    Items items;
    for (std::size_t i = 0; i < count; ++i) {
        items.push_back({std::to_string(i), static_cast<int>(i)});
    }
    return items;
}

TEST(KeyedList, IsAVectorWhateverIsInsertedAndTaken) {
    std::mt19937 random(1);
    Items list;
    std::vector<Item> model;
    for (int i = 0; i < 6000; ++i) {
        const bool grows = i < 2500 || (i > 4500 && i % 3 != 0);
        if (grows || model.empty()) {
            const auto at = i % 7 == 0 ? model.size() : random() % (model.size() + 1);
            const Item item{std::to_string(random() % 900), i};
            list.insert(at, item);
            model.insert(model.begin() + static_cast<std::ptrdiff_t>(at), item);
        } else {
            const auto at = random() % model.size();
            ASSERT_EQ(*list.take(at), model[at]);
            model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
        }
        ASSERT_EQ(list.size(), model.size());
        if (i % 100 == 0) {
            const auto key = std::to_string(random() % 900);
            ASSERT_EQ(list.position(key), firstWith(model, key));
            ASSERT_EQ(std::as_const(list).at(model.size() / 2), model[model.size() / 2]);
        }
        if (i % 1000 == 0) {
            ASSERT_TRUE(std::ranges::equal(std::as_const(list), model));
        }
    }
}

TEST(KeyedList, FindsTheFirstOfEqualKeys) {
    Items list = numbered(600);
    list.insert(500, {"7", -1});
    EXPECT_EQ(list.position("7"), 7U);
    list.take(7);
    EXPECT_EQ(list.position("7"), 499U);
    list.insert(0, {"7", -2});
    EXPECT_EQ(list.position("7"), 0U);
    EXPECT_EQ(list.position("unknown"), std::nullopt);
}

TEST(KeyedList, NoticesKeysThatWereChangedInPlace) {
    Items list = numbered(600);
    EXPECT_EQ(list.position("300"), 300U);
    list[300].key = "new";
    EXPECT_EQ(list.position("300"), std::nullopt);
    EXPECT_EQ(list.position("new"), 300U);
    for (auto& item : list) {
        item.key += "!";
    }
    EXPECT_EQ(list.position("new"), std::nullopt);
    EXPECT_EQ(list.position("599!"), 599U);
    for (std::size_t i = 0; i < 600; ++i) {
        list[i].key = "again " + std::to_string(i);
    }
    EXPECT_EQ(list.position("again 411"), 411U);
    list[5].key = "gone";
    list.take(5);
    EXPECT_EQ(list.position("gone"), std::nullopt);
}

TEST(KeyedList, ValuesStayWhereTheyAre) {
    Items list = numbered(10);
    const Item* fifth = &list[5];
    for (int i = 0; i < 2000; ++i) {
        list.insert(5, {"more", i});
    }
    EXPECT_EQ(&list[2005], fifth);
    EXPECT_EQ(list.position("5"), 2005U);
}

TEST(KeyedList, WhatWasKeptStaysAsItWas) {
    Items list = numbered(3);
    const auto kept = list.shared(1);
    list[1].value = -1;
    EXPECT_EQ(kept->value, 1);
    EXPECT_EQ(std::as_const(list)[1].value, -1);
    const auto keptAgain = list.shared(1);
    for (auto& item : list) {
        item.key += "!";
    }
    EXPECT_EQ(keptAgain->key, "1");
    EXPECT_EQ(list.position("1!"), 1U);
}

TEST(KeyedList, ExchangesOneValueForAnother) {
    Items list = numbered(300);
    EXPECT_EQ(list.position("200"), 200U);
    const auto old = list.exchange(200, std::make_shared<Item>(Item{"new", -1}));
    EXPECT_EQ(old->value, 200);
    EXPECT_EQ(list.position("200"), std::nullopt);
    EXPECT_EQ(list.position("new"), 200U);
    list.insert(0, old);
    EXPECT_EQ(list.position("200"), 0U);
    EXPECT_EQ(list.position("new"), 201U);
    EXPECT_THROW(list.exchange(301, old), std::out_of_range);
}

TEST(KeyedList, FindsEveryValueOfManyThatShareOneKey) {
    Items list;
    for (int i = 0; i < 500; ++i) {
        list.push_back({i % 2 == 0 ? "even" : "odd", i});
    }
    EXPECT_EQ(list.position("odd"), 1U);
    for (std::size_t i = 1; i < 500; i += 2) {
        list[i].key = i < 499 ? "even" : "odd";
    }
    EXPECT_EQ(list.position("odd"), 499U);
    while (list.size() > 1) {
        list.take(list.size() / 2 - 1);
    }
    EXPECT_EQ(list.position("odd"), 0U);
}

TEST(KeyedList, CopiesAreOfTheirOwn) {
    Items list = numbered(300);
    Items copy = list;
    copy[3].value = -3;
    copy.take(0);
    EXPECT_EQ(list[3].value, 3);
    EXPECT_EQ(list.size(), 300U);
    EXPECT_EQ(copy.position("299"), 298U);
    const Items moved = std::move(copy);
    EXPECT_EQ(moved.position("299"), 298U);
    list = moved;
    EXPECT_TRUE(std::ranges::equal(list, moved));
    list.clear();
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.position("7"), std::nullopt);
    EXPECT_EQ(list.emplace_back("only", 1).key, "only");
    EXPECT_EQ(list.front(), list.back());
    list.pop_back();
    EXPECT_EQ(list.begin(), list.end());
}

TEST(KeyedList, IteratorsReachEveryPosition) {
    const Items list = numbered(1000);
    EXPECT_EQ(list.end() - list.begin(), 1000);
    EXPECT_EQ((list.begin() + 500)->value, 500);
    EXPECT_EQ((*(list.end() - 1)).value, 999);
    EXPECT_EQ(list.begin()[123].value, 123);
    auto backwards = list.end();
    for (int i = 999; i >= 0; --i) {
        ASSERT_EQ((--backwards)->value, i);
    }
    const auto sum =
        std::accumulate(list.begin(), list.end(), 0, [](int s, const Item& item) { return s + item.value; });
    EXPECT_EQ(sum, 999 * 1000 / 2);
    EXPECT_TRUE(std::ranges::is_sorted(list, {}, &Item::value));
}

TEST(KeyedList, RefusesPositionsThatHoldNothing) {
    Items list = numbered(3);
    EXPECT_THROW((void)list.at(3), std::out_of_range);
    EXPECT_THROW((void)list[99], std::out_of_range);
    EXPECT_THROW(list.take(3), std::out_of_range);
    EXPECT_THROW(list.insert(4, Item{}), std::out_of_range);
    EXPECT_THROW((void)Items().back(), std::out_of_range);
}

} // namespace
} // namespace orvex
