#include "Platform/Foundation/NotificationCenter.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace orvex {
namespace {

using Token = NotificationCenter::Token;

const NotificationName first{"first"};
const NotificationName second{"second"};

struct Calls {
    std::string text;
    NotificationCenter::Handler note(std::string name) {
        return [this, name = std::move(name)](const Notification&) { text += name; };
    }
};

TEST(NotificationCenter, FiltersByNameAndSender) {
    NotificationCenter center;
    Calls calls;
    const std::shared_ptr<void> a = std::make_shared<int>(1);
    const std::shared_ptr<void> b = std::make_shared<int>(1);
    const Token tokens[] = {center.addObserver(first, calls.note("n")), center.addObserver(first, a, calls.note("a")),
                            center.addObserver(first, nullptr, calls.note("0")), center.addObserver(calls.note("*"))};
    center.post(first, a);
    EXPECT_EQ(std::exchange(calls.text, ""), "na0*");
    center.post(first, b);
    EXPECT_EQ(std::exchange(calls.text, ""), "n0*");
    center.post(second, a);
    EXPECT_EQ(std::exchange(calls.text, ""), "*");
    center.post(first, nullptr);
    EXPECT_EQ(std::exchange(calls.text, ""), "n0*");
}

TEST(NotificationCenter, HandsOutNameAndSender) {
    NotificationCenter center;
    Notification got;
    const Token token = center.addObserver([&](const Notification& n) { got = n; });
    const auto sender = std::make_shared<int>(7);
    center.post(second, sender);
    EXPECT_EQ(got.name, second);
    EXPECT_EQ(got.object, sender);
}

TEST(NotificationCenter, ASenderIsTheSameThroughABaseClassPointer) {
    struct Base {
        int value = 0;
    };
    struct Derived : Base {};
    NotificationCenter center;
    Calls calls;
    const auto derived = std::make_shared<Derived>();
    const std::shared_ptr<Base> base = derived;
    const Token token = center.addObserver(first, base, calls.note("x"));
    center.post(first, derived);
    EXPECT_EQ(calls.text, "x");
}

TEST(NotificationCenter, CallsInOrderOfRegistrationAcrossFilters) {
    NotificationCenter center;
    Calls calls;
    const auto sender = std::make_shared<int>();
    const Token tokens[] = {center.addObserver(calls.note("1")), center.addObserver(first, sender, calls.note("2")),
                            center.addObserver(first, calls.note("3")), center.addObserver(calls.note("4"))};
    center.post(first, sender);
    EXPECT_EQ(calls.text, "1234");
}

TEST(NotificationCenter, RegisteringTwiceDeliversTwice) {
    NotificationCenter center;
    Calls calls;
    const auto handler = calls.note("x");
    const Token tokens[] = {center.addObserver(first, handler), center.addObserver(first, handler)};
    center.post(first, nullptr);
    EXPECT_EQ(calls.text, "xx");
}

TEST(NotificationCenter, RemovingEndsDeliveryAndMayBeRepeated) {
    NotificationCenter center;
    Calls calls;
    Token token = center.addObserver(first, calls.note("x"));
    Token copy = token;
    token.remove();
    token.remove();
    center.post(first, nullptr);
    copy.remove();
    EXPECT_EQ(calls.text, "");
    Token().remove();
}

TEST(NotificationCenter, DroppingTheLastTokenEndsDelivery) {
    NotificationCenter center;
    Calls calls;
    Token kept;
    {
        const Token token = center.addObserver(first, calls.note("x"));
        kept = token;
    }
    center.post(first, nullptr);
    EXPECT_EQ(calls.text, "x");
    kept = Token();
    center.post(first, nullptr);
    EXPECT_EQ(calls.text, "x");
}

TEST(NotificationCenter, AnObserverAddedDuringAPostWaitsForTheNext) {
    NotificationCenter center;
    Calls calls;
    Token added;
    const Token token = center.addObserver(first, [&](const Notification&) {
        calls.text += "a";
        added = center.addObserver(first, calls.note("b"));
    });
    center.post(first, nullptr);
    EXPECT_EQ(calls.text, "a");
    center.post(second, nullptr);
    EXPECT_EQ(calls.text, "a");
}

TEST(NotificationCenter, AnObserverRemovedDuringAPostIsNotCalled) {
    NotificationCenter center;
    Calls calls;
    Token victim;
    const Token token = center.addObserver(first, [&](const Notification&) { victim.remove(); });
    victim = center.addObserver(first, calls.note("victim"));
    center.post(first, nullptr);
    EXPECT_EQ(calls.text, "");
}

TEST(NotificationCenter, AnObserverMayRemoveItselfAndPostAgain) {
    NotificationCenter center;
    Calls calls;
    Token self;
    self = center.addObserver(first, [&](const Notification&) {
        calls.text += "1";
        self.remove();
        center.post(second, nullptr);
    });
    const Token other = center.addObserver(second, calls.note("2"));
    center.post(first, nullptr);
    center.post(first, nullptr);
    EXPECT_EQ(calls.text, "12");
}

TEST(NotificationCenter, DoesNotKeepTheSenderAlive) {
    NotificationCenter center;
    Calls calls;
    auto sender = std::make_shared<int>();
    const std::weak_ptr<int> watch = sender;
    const Token token = center.addObserver(first, sender, calls.note("x"));
    sender.reset();
    EXPECT_TRUE(watch.expired());
    for (int i = 0; i < 100; ++i) { // some of these are likely to stand where the old sender stood
        center.post(first, std::make_shared<int>());
    }
    center.post(first, nullptr);
    EXPECT_EQ(calls.text, "");
}

TEST(NotificationCenter, AnExceptionOfAnObserverReachesThePoster) {
    NotificationCenter center;
    const Token token = center.addObserver(first, [](const Notification&) { throw std::runtime_error("no"); });
    EXPECT_THROW(center.post(first, nullptr), std::runtime_error);
}

TEST(NotificationCenter, PostsOnThePostingThread) {
    NotificationCenter center;
    std::thread::id where;
    const Token token = center.addObserver(first, [&](const Notification&) { where = std::this_thread::get_id(); });
    std::thread poster([&] { center.post(first, nullptr); });
    const auto posted = poster.get_id();
    poster.join();
    EXPECT_EQ(where, posted);
}

TEST(NotificationCenter, ThreadsMayPostAddAndRemoveTogether) {
    NotificationCenter center;
    std::atomic<int> calls = 0;
    const Token steady = center.addObserver(first, [&](const Notification&) { ++calls; });
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                Token token = center.addObserver(first, [&](const Notification&) { ++calls; });
                center.post(first, nullptr);
                token.remove();
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_GE(calls, 2 * 4 * 200);
}

TEST(NotificationCenter, TheDefaultCentreIsOne) {
    EXPECT_EQ(&NotificationCenter::defaultCenter(), &NotificationCenter::defaultCenter());
}

} // namespace
} // namespace orvex
