#include "Platform/PDF/Saving/FreeNames_p.h"

#include <gtest/gtest.h>

namespace orvex {
namespace {

TEST(FreeNames, AreCountedOnFromTheNameThatIsTaken) {
    FreeNames names;
    names.take("a");
    names.take("a_3");
    EXPECT_EQ(names.takeFree("a"), "a_2");
    EXPECT_EQ(names.takeFree("a"), "a_4");
    EXPECT_EQ(names.takeFree("b"), "b");
    EXPECT_EQ(names.takeFree("a_2"), "a_2_2");
    EXPECT_EQ(names.takeFree(""), "");
    EXPECT_EQ(names.takeFree(""), "_2");
}

TEST(FreeNames, OfManyThatAreAlikeTheLastIsFoundAsSoonAsTheFirst) {
    constexpr int count = 50'000; // which would take minutes if each were counted from the beginning
    FreeNames names;
    std::string last;
    for (int i = 0; i < count; ++i) {
        last = names.takeFree("a");
    }
    EXPECT_EQ(last, "a_" + std::to_string(count));
}

} // namespace
} // namespace orvex
