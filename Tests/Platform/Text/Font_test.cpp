#include "Platform/Text/Font.h"

#include "Platform/Text/Bidi.h"
#include "Platform/Text/Scripts.h"
#include "Support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace orvex {
namespace {

using testing::ElementsAre;

TEST(Font, HelveticaHasItsStandardAdvancesWhateverStandsIn) {
    const auto font = Font::require("Helvetica");
    EXPECT_EQ(font->advance(U'W'), 0.944);
    EXPECT_EQ(font->advance(U'i'), 0.222);
    EXPECT_EQ(font->advance(U'7'), 0.556);
    EXPECT_EQ(font->advance(U'\u00C6'), 1.0);
    EXPECT_FALSE(font->isBold());
    EXPECT_FALSE(font->path().empty());
}

TEST(Font, TheBoldFaceIsAnother) {
    const auto font = Font::require("Helvetica Bold");
    EXPECT_EQ(font->advance(U'i'), 0.278);
    EXPECT_EQ(font->advance(U'b'), 0.611);
    EXPECT_TRUE(font->isBold());
}

TEST(Font, OtherNamesResolveToNothing) {
    EXPECT_EQ(Font::named("Times"), nullptr);
    EXPECT_EQ(Font::named(""), nullptr);
}

TEST(Font, IsLookedUpOnce) {
    EXPECT_EQ(Font::named("Helvetica"), Font::named("Helvetica"));
}

TEST(FontDeathTest, AMissingFaceIsFatalAndNamesThePackage) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process in which nothing was looked up yet
    const test::TempFolder folder;
    const auto configuration = folder.path() / "no-fonts.conf";
    std::ofstream(configuration) << "<fontconfig/>";
    for (const std::string name : {"Helvetica", "Helvetica Bold"}) {
        EXPECT_DEATH(
            {
                ::setenv("FONTCONFIG_FILE", configuration.c_str(), 1);
                (void)Font::require(name);
            },
            name + ".*apt-get install fonts-urw-base35");
    }
}

TEST(Font, CharactersThatTheFaceLacksHaveTheWidthOfTheirKind) {
    const auto font = Font::require("Helvetica");
    for (const char32_t wide : {U'永', U'の', U'한', U'、', U'Ａ', U'😀', U'𠮷'}) {
        EXPECT_EQ(font->advance(wide), 1) << static_cast<unsigned>(wide);
    }
    for (const char32_t other : {U'ก', U'अ', U'𝒜', U'\uE000'}) {
        EXPECT_EQ(font->advance(other), 0.556) << static_cast<unsigned>(other);
    }
}

TEST(Font, MarksJoinersAndControlsTakeNoRoom) {
    const auto font = Font::require("Helvetica");
    for (const char32_t mark : {U'\u0301', U'\u05B0', U'\u064E', U'\u0E49', U'\u094D', U'\u200B', U'\u200D', U'\u200F',
                                U'\u202B', U'\uFE0F', U'\uFEFF', U'\t', U'\x7F', U'\u1161', U'\U000E0100'}) {
        EXPECT_EQ(font->advance(mark), 0) << static_cast<unsigned>(mark);
    }
    EXPECT_GT(font->advance(U'\u00AD'), 0) << "a soft hyphen that was found is a hyphen";
    EXPECT_GT(font->advance(U'\u00A0'), 0);
}

TEST(Font, ALineIsAsWideAsItsAdvances) {
    const auto font = Font::require("Helvetica");
    EXPECT_NEAR(font->lineWidth("AVW"), 0.667 + 0.667 + 0.944, 1e-12) << "without kerning";
    EXPECT_EQ(font->lineWidth(""), 0);
    EXPECT_NEAR(font->lineWidth("a\u0301"), font->lineWidth("a"), 1e-12);
    EXPECT_GT(font->lineWidth("\xFF\xFE"), 0) << "what is not UTF-8 counts as replacement characters";
}

TEST(Text, LinesEndAtEveryKindOfBreak) {
    const auto lines = [](std::string_view text) {
        std::vector<std::string> found;
        for (const auto line : TextLines(text)) {
            found.emplace_back(line);
        }
        return found;
    };
    EXPECT_THAT(lines("a\nb\r\nc\rd\u2028e\u2029f\u0085g"), ElementsAre("a", "b", "c", "d", "e", "f", "g"));
    EXPECT_THAT(lines("\n"), ElementsAre("", ""));
    EXPECT_THAT(lines(""), ElementsAre(""));
    EXPECT_THAT(lines("\xC2\u00E2 end\r\n"), ElementsAre("\xC2\u00E2 end", ""));
}

TEST(Text, IsAsWideAsItsWidestLineAndOneSizeHighPerLine) {
    const auto font = Font::require("Helvetica");
    const TextExtent extent = measureText("a\nwide\nb", *font, 10);
    EXPECT_NEAR(extent.width, font->lineWidth("wide") * 10, 1e-9);
    EXPECT_EQ(extent.height, 30);
}

TEST(Bidi, LeftToRightLinesStayAsTheyAre) {
    EXPECT_EQ(visualOrder(U"plain (text) 1,2"), U"plain (text) 1,2");
    EXPECT_EQ(visualOrder(U""), U"");
}

TEST(Bidi, RightToLeftLinesAreTurnedAndTheirNumbersAreNot) {
    EXPECT_EQ(visualOrder(U"שלום עולם"), U"םלוע םולש");
    EXPECT_EQ(visualOrder(U"שלום 123 עולם"), U"םלוע 123 םולש");
    EXPECT_EQ(visualOrder(U"The word שלום means"), U"The word םולש means");
}

TEST(Bidi, MarksStayBehindWhatTheyStandOn) {
    EXPECT_EQ(visualOrder(U"בְּג"), U"גבְּ");
}

TEST(Scripts, ThoseWithoutBlanksAreKnown) {
    for (const char32_t c : {U'永', U'。', U'カ', U'ก', U'ក', U'𠮷'}) {
        EXPECT_TRUE(isWrittenWithoutSpaces(c)) << static_cast<unsigned>(c);
    }
    for (const char32_t c : {U'a', U'한', U'ш', U'א', U'अ', U'1', U'.'}) {
        EXPECT_FALSE(isWrittenWithoutSpaces(c)) << static_cast<unsigned>(c);
    }
}

} // namespace
} // namespace orvex
