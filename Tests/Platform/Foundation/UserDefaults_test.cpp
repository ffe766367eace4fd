#include "Platform/Foundation/UserDefaults.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>

namespace orvex {
namespace {

struct TextCase {
    std::string text;
    bool value;
};

TEST(UserDefaults, TextCountsAsTrueByItsBeginning) {
    auto& defaults = UserDefaults::standard();
    for (const auto& [text, value] : {TextCase{"YES", true},
                                      {"y", true},
                                      {"true", true},
                                      {"T", true},
                                      {"  \tYes", true},
                                      {"1", true},
                                      {"+007", true},
                                      {"-3", true},
                                      {"9x", true},
                                      {"", false},
                                      {"NO", false},
                                      {"0", false},
                                      {"000", false},
                                      {"-0", false},
                                      {"x1", false},
                                      {"+ 1", false},
                                      {"on", false}}) {
        defaults.set("flag", text);
        EXPECT_EQ(defaults.boolForKey("flag"), value) << text;
    }
    defaults.remove("flag");
}

TEST(UserDefaults, NumbersCountAsTrueUnlessZeroAndMissingKeysAreFalse) {
    auto& defaults = UserDefaults::standard();
    EXPECT_FALSE(defaults.boolForKey("flag"));
    defaults.set("flag", 0.5);
    EXPECT_TRUE(defaults.boolForKey("flag"));
    defaults.set("flag", -0.0);
    EXPECT_FALSE(defaults.boolForKey("flag"));
    defaults.set("flag", true);
    EXPECT_TRUE(defaults.boolForKey("flag"));
    defaults.remove("flag");
    EXPECT_FALSE(defaults.boolForKey("flag"));
}

TEST(UserDefaults, TheEnvironmentStandsBehindTheStore) {
    auto& defaults = UserDefaults::standard();
    ::setenv("ORVEX_SOME_FLAG", "YES", 1);
    EXPECT_TRUE(defaults.boolForKey("some.flag"));
    defaults.set("some.flag", false);
    EXPECT_FALSE(defaults.boolForKey("some.flag"));
    defaults.remove("some.flag");
    ::unsetenv("ORVEX_SOME_FLAG");
    EXPECT_FALSE(defaults.boolForKey("some.flag"));
}

TEST(LocalizedString, IsTheHostsTextOrTheKeyItself) {
    EXPECT_EQ(localizedString("Strong Compression"), "Strong Compression");
    setLocalizedStringTable([](std::string_view key) { return key == "a" ? std::string("ein A") : std::string(); });
    EXPECT_EQ(localizedString("a"), "ein A");
    EXPECT_EQ(localizedString("b"), "b");
    setLocalizedStringTable({});
    EXPECT_EQ(localizedString("a"), "a");
}

} // namespace
} // namespace orvex
