#include "Platform/Foundation/Strings.h"

#include <gtest/gtest.h>
#include <vector>

namespace orvex {
namespace {

std::string utf8(char32_t c) {
    std::string text;
    appendUTF8(text, c);
    return text;
}

TEST(CodePoints, FirstAndLastOfATextAreFoundWithoutReadingWhatIsBetween) {
    struct Case {
        std::string_view text;
        char32_t first;
        char32_t last;
    };
    for (const Case& c : {Case{"a", 'a', 'a'}, Case{"ab", 'a', 'b'}, Case{"é–ж", U'é', U'ж'},
                          Case{"漢a字", U'漢', U'字'}, Case{"x😀", 'x', U'😀'}, Case{"\xC3", 0xFFFD, 0xFFFD},
                          Case{"\x80z\xA9", 0xFFFD, 0xFFFD}, Case{"\xE6\xBC", 0xFFFD, 0xFFFD}}) {
        EXPECT_EQ(firstCodePoint(c.text), c.first) << c.text;
        EXPECT_EQ(lastCodePoint(c.text), c.last) << c.text;
    }
}

TEST(Trim, RemovesUnicodeWhiteSpaceAndLineEndsFromBothEnds) {
    const std::vector<char32_t> blanks = {0x09,   0x0A,   0x0B,   0x0C,   0x0D,   0x20,   0x85,   0xA0,   0x1680,
                                          0x2000, 0x2005, 0x200A, 0x200B, 0x2028, 0x2029, 0x202F, 0x205F, 0x3000};
    std::string all;
    for (const char32_t c : blanks) {
        EXPECT_EQ(trimWhitespaceAndNewlines(utf8(c)), "") << std::hex << static_cast<unsigned>(c);
        all += utf8(c);
    }
    EXPECT_EQ(trimWhitespaceAndNewlines(all + "a b" + all), "a b");
    EXPECT_EQ(trimWhitespaceAndNewlines(all), "");
    EXPECT_EQ(trimWhitespaceAndNewlines(""), "");
}

TEST(Trim, KeepsWhatOnlyLooksEmpty) {
    for (const char32_t c : {0xFEFFU, 0x2060U, 0x180EU, 0x200CU, 0x00U, 0x1FU}) {
        EXPECT_EQ(trimWhitespaceAndNewlines(utf8(c)), utf8(c)) << std::hex << static_cast<unsigned>(c);
    }
}

TEST(Trim, TakesInvalidBytesForText) {
    for (const std::string_view text : {"\x80", "\xC2", "\xE2\x80", "a\xA0", "\x85\x85", "\xE3\x80"}) {
        EXPECT_EQ(trimWhitespaceAndNewlines(" " + std::string(text) + "\n"), text);
    }
}

struct UTF8Case {
    std::string_view text;
    bool valid;
};

constexpr UTF8Case utf8Cases[] = {
    {"", true},
    {"plain", true},
    {"\xC3\xA9", true},
    {"\xF0\x9F\x98\x80", true},
    {"\xF4\x8F\xBF\xBF", true},
    {"\xC0\x80", false}, // longer than needed
    {"\xC1\xBF", false},
    {"\xE0\x9F\xBF", false},
    {"\xF0\x8F\xBF\xBF", false},
    {"\xED\xA0\x80", false},     // a surrogate
    {"\xF4\x90\x80\x80", false}, // beyond the last code point
    {"\xF5\x80\x80\x80", false},
    {"\x80", false}, // nothing to continue
    {"\xC3", false}, // cut short
    {"\xE2\x82", false},
    {"\xC3(", false},
    {"\xFF", false},
};

TEST(UTF8, ValidityFollowsTheStandard) {
    for (const auto& [text, valid] : utf8Cases) {
        EXPECT_EQ(isValidUTF8(text), valid) << testing::PrintToString(text);
        EXPECT_EQ(isValidUTF8("x" + std::string(text)), valid) << testing::PrintToString(text);
    }
}

TEST(UTF8, EveryCodePointSurvivesWritingAndReading) {
    for (char32_t c = 0; c <= 0x10FFFF; c += c < 0x3000 ? 1 : 97) {
        if (c < 0xD800 || c > 0xDFFF) {
            ASSERT_EQ(codePoints(utf8(c)), std::u32string(1, c)) << static_cast<unsigned>(c);
        }
    }
}

TEST(UTF8, WhatIsNoCodePointIsWrittenAsTheReplacement) {
    EXPECT_EQ(utf8(0xD800), "\xEF\xBF\xBD");
    EXPECT_EQ(utf8(0x110000), "\xEF\xBF\xBD");
}

TEST(UTF8, InvalidBytesReadAsReplacementsOneByOne) {
    EXPECT_EQ(codePoints("a\xE2\x82z"), U"a\uFFFD\uFFFDz");
    EXPECT_EQ(codePoints("\xED\xA0\x80"), U"\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(codePoints("\xC3"), U"\uFFFD");
}

struct CountCase {
    std::string_view text;
    std::size_t count;
};

constexpr CountCase counts[] = {
    {"", 0},
    {"abc", 3},
    {"\r\n", 1},
    {"a\n\r\nb", 4},
    {"\n\r", 2},
    {"e\xCC\x81", 1},          // a letter and its accent
    {"\xCC\x81", 1},           // an accent alone
    {"नि", 1},                 // Devanagari with a vowel sign
    {"ที่", 1},                  // Thai with two marks
    {"각", 1},                 // Hangul in three pieces
    {"👍🏽", 1},           // with a skin tone
    {"👩‍👩‍👧", 1}, // joined
    {"🇩🇪🇫🇷", 2},               // flags
    {"🇩🇪🇫", 2},                // a flag and a half
    {"❤️", 1},             // with a variation selector
    {"日本語", 3},
};

TEST(CountCharacters, CountsWhatPeopleWouldCount) {
    for (const auto& [text, count] : counts) {
        EXPECT_EQ(countCharacters(text), count) << text;
    }
}

} // namespace
} // namespace orvex
