#include "Platform/Text/Shaping.h"

#include <gtest/gtest.h>

namespace orvex {
namespace {

ShapedLine shaped(std::string_view text) {
    return shapeLine(text, *Font::require("Helvetica"));
}

std::u32string textOf(const ShapedLine& line) {
    std::u32string text;
    for (const auto& run : line.runs) {
        for (const auto& glyph : run.glyphs) {
            text += glyph.text;
        }
    }
    return text;
}

TEST(Shaping, LatinKeepsItsOrderAndItsFace) {
    const auto font = Font::require("Helvetica");
    const auto line = shapeLine("Hamburg", *font);
    ASSERT_EQ(line.runs.size(), 1U);
    EXPECT_EQ(line.runs.front().font.path, font->path());
    EXPECT_EQ(textOf(line), U"Hamburg");
    EXPECT_NEAR(line.width, font->lineWidth("Hamburg"), 0.1);
}

TEST(Shaping, PairsAreKerned) {
    EXPECT_LT(shaped("AVAVAV").width, Font::require("Helvetica")->lineWidth("AVAVAV"));
}

TEST(Shaping, RightToLeftTextComesInTheOrderShown) {
    EXPECT_EQ(textOf(shaped("\u05d0\u05d1\u05d2")), U"\u05d2\u05d1\u05d0");
    EXPECT_EQ(textOf(shaped("abc \u05d0\u05d1")), U"abc \u05d1\u05d0");
}

TEST(Shaping, CharactersThatNoFaceHasShowAsABox) {
    const auto missing = shaped("\U0010FFFD");
    const auto box = shaped("\u25A1");
    ASSERT_EQ(missing.runs.size(), 1U);
    EXPECT_EQ(missing.runs.front().glyphs.front().id, box.runs.front().glyphs.front().id);
    EXPECT_EQ(textOf(missing), U"\U0010FFFD");
    EXPECT_GT(missing.width, 0);
}

TEST(Shaping, AnEmptyLineHasNoWidth) {
    EXPECT_EQ(shaped("").width, 0);
}

TEST(Shaping, MarksStayWithWhatTheyStandOn) {
    EXPECT_EQ(textOf(shaped("e\u0301x")), U"e\u0301x");
    EXPECT_LT(shaped("e\u0301x").width, shaped("eex").width);
}

TEST(Shaping, LinesAddUpInHeight) {
    const auto extent = measureShownText("one\ntwo longer", *Font::require("Helvetica"), 10);
    EXPECT_EQ(extent.height, 20);
    EXPECT_NEAR(extent.width, shaped("two longer").width * 10, 1e-9);
}

} // namespace
} // namespace orvex
