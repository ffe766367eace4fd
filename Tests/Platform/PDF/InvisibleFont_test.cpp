// The invisible font as other people's tools see it.
#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/GraphicsContext.h"
#include "Platform/PDF/PDFDocument.h"
#include "Support/Command.h"
#include "Support/SavedDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

namespace orvex {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

/// A page that shows one line.
class LinePage : public PDFPage {
public:
    explicit LinePage(std::string line) : line_(std::move(line)) {}
    void draw(PDFDisplayBox box, GraphicsContext& context) override {
        PDFPage::draw(box, context);
        const auto font = Font::require("Helvetica");
        context.drawText(line_, font, 20, {60, 600, 0, 20}, TextMode::invisible);
    }

private:
    std::string line_;
};

test::SavedDocument saved(const std::vector<std::string>& lines) {
    PDFDocument document;
    for (const auto& line : lines) {
        document.insertPage(std::make_shared<LinePage>(line), document.pageCount());
    }
    return test::SavedDocument(document);
}

TEST(InvisibleFont, IsOneEmbeddedTrueTypeWithAMapToUnicode) {
    const auto document = saved({"one page", "another page", "третья"});
    const std::string fonts = document.tool("pdffonts");
    EXPECT_THAT(fonts, ContainsRegex("CID TrueType +Identity-H +yes +(yes|no) +yes"));
    EXPECT_EQ(std::ranges::count(fonts, '\n'), 3) << fonts;
}

TEST(InvisibleFont, AProgramThatFontToolsRead) {
    const auto document = saved({"abc"});
    const std::string shown = document.tool("mutool info -F");
    EXPECT_THAT(shown, HasSubstr("Type0"));
    const auto drawn = test::run("mutool draw -q -F txt " + test::quoted(document.path()) + " 2>&1");
    EXPECT_THAT(drawn.output, HasSubstr("abc"));
    EXPECT_THAT(drawn.output, Not(ContainsRegex("error|cannot|FT_")));
}

TEST(InvisibleFont, HoldsOnlyTheCharactersThatAreShown) {
    const auto few = saved({"abc"});
    const auto many = saved({"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"});
    EXPECT_LT(few.bytes.size(), 3500U);
    EXPECT_LT(few.bytes.size(), many.bytes.size());
}

TEST(InvisibleFont, ShowsEveryCodeThatWouldEndOrChangeAStringOfItsBytes) {
    std::vector<std::string> lines; // of more characters than the highest such code, the backslash
    for (const char32_t first : {U'A', U'a', U'\u0400', U'\u0420', U'\u0440'}) {
        lines.emplace_back();
        for (char32_t c = first; c < first + 26; ++c) {
            appendUTF8(lines.back(), c);
        }
    }
    const auto document = saved(lines);
    for (const auto& line : lines) {
        EXPECT_THAT(document.words(), HasSubstr(line));
        EXPECT_THAT(document.tool("mutool draw -q -F txt"), HasSubstr(line));
    }
}

TEST(InvisibleFont, TakesMoreCharactersThanCodesWithoutHarm) {
    std::string everything;
    for (char32_t c = 0x4E00; c < 0x9FFF; ++c) {
        everything += {static_cast<char>(0xE0 | (c >> 12)), static_cast<char>(0x80 | ((c >> 6) & 0x3F)),
                       static_cast<char>(0x80 | (c & 0x3F))};
    }
    for (char32_t c = 0x20000; c < 0x2FFFF; ++c) {
        everything += {static_cast<char>(0xF0 | (c >> 18)), static_cast<char>(0x80 | ((c >> 12) & 0x3F)),
                       static_cast<char>(0x80 | ((c >> 6) & 0x3F)), static_cast<char>(0x80 | (c & 0x3F))};
    }
    EXPECT_THAT(saved({everything, "永"}).words(), HasSubstr("永"));
}

TEST(InvisibleFont, TextThatIsNotUTF8IsShownAsReplacementCharacters) {
    EXPECT_THAT(saved({"bad \xFF\xC3 bytes"}).words(), HasSubstr("bad \uFFFD\uFFFD bytes"));
}

TEST(InvisibleFont, TheSameLinesGiveTheSameBytes) {
    EXPECT_TRUE(saved({"Straße", "永和"}).bytes == saved({"Straße", "永和"}).bytes);
}

} // namespace
} // namespace orvex
