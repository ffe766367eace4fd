// What reading costs stays bounded, whatever a file has: what a small file says again and again is looked up once, and
// there is a limit to what it may amount to.
#include "Platform/PDF/PDFPage.h"
#include "Platform/PDF/PDFSource_p.h"
#include "Platform/PDF/Reading/CMap_p.h"
#include "Platform/PDF/Reading/CompositeGlyphs_p.h"
#include "Platform/PDF/Reading/ContentReader_p.h"
#include "Platform/PDF/Reading/TextFragments_p.h"
#include "Support/OpenDocument.h"

#include <gtest/gtest.h>

#include <array>

namespace orvex {
namespace {

using test::pdfFromObjects;
using test::streamBody;

std::string repeated(std::string_view text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

/// A page with the resources given besides Helvetica as /F1; `objects` are numbered from 6.
Bytes pageOf(const std::string& content, const std::string& resources, const std::vector<std::string>& objects = {}) {
    std::vector<std::string> bodies{"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                                    "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents 4 0 R /Resources "
                                    "<< /Font << /F1 5 0 R /F2 << /Type /Font /Subtype /Type1 /BaseFont /Courier >> "
                                    ">> " +
                                        resources + " >> >>",
                                    streamBody(content), "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"};
    bodies.insert(bodies.end(), objects.begin(), objects.end());
    return Bytes(pdfFromObjects(bodies));
}

/// Such a page, open for reading.
class OpenPage {
public:
    explicit OpenPage(const std::string& resources, const std::vector<std::string>& objects = {})
        : source_(PDFSource::open(pageOf("", resources, objects), {})),
          resources_(*source_, source_->readingCache(), source_->page(0).getKey("/Resources")) {}

    /// The glyphs, and behind them what was kept for them.
    PageGlyphs read(const std::string& content, const ReadingLimits& limits = {}) {
        PageGlyphs glyphs;
        ContentBuffer buffer;
        buffer.append(content);
        ContentReader(*source_, source_->readingCache(), {0, 0, 612, 792}, glyphs, limits).read(buffer, resources_);
        return glyphs;
    }

    std::shared_ptr<const TextFont> font(int object) { return TextFont::make(source_->pdf().getObject(object, 0)); }
    ContentResources& resources() { return resources_; }

private:
    std::shared_ptr<PDFSource> source_;
    ContentResources resources_;
};

std::string textOf(const PageGlyphs& page) {
    std::string text;
    for (const Glyph& glyph : page.glyphs) {
        text += glyph.text;
    }
    return text;
}

TEST(ReadingLimits, AFontWithinAGraphicsStateIsMadeOnce) {
    OpenPage page("/ExtGState << /G << /Font [<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> 12] >> >>");
    const auto first = page.resources().graphicsStateFont("G");
    ASSERT_TRUE(first && first->font.font);
    EXPECT_EQ(page.resources().graphicsStateFont("G")->font.font, first->font.font);
    const auto glyphs = page.read("BT 72 700 Td " + repeated("/G gs ", 1000) + "(a) Tj ET");
    EXPECT_EQ(textOf(glyphs), "a");
    EXPECT_EQ(glyphs.fonts.size(), 1U);
}

TEST(ReadingLimits, APageKeepsSoManyFonts) {
    OpenPage page("");
    const std::string content = "BT 72 700 Td /F1 9 Tf (a) Tj /F2 9 Tf (b) Tj /F1 9 Tf (c) Tj ET";
    EXPECT_EQ(textOf(page.read(content)), "abc");
    EXPECT_EQ(textOf(page.read(content, {.fonts = 1})), "ac");
    EXPECT_EQ(textOf(page.read(content, {.fontBytes = 1})), "ac");
}

TEST(ReadingLimits, NewFontsMayBeLeft) {
    OpenPage page("/ExtGState << /G << /Font [<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> 12] >> >>");
    constexpr auto leave = TextFontCache::IfNew::leave;
    EXPECT_EQ(page.resources().font("F1", leave).font, nullptr);
    EXPECT_EQ(page.resources().graphicsStateFont("G", leave)->font.font, nullptr);
    OpenPage other("");
    const auto known = other.resources().font("F1").font;
    EXPECT_NE(known, nullptr);
    EXPECT_EQ(other.resources().font("F1", leave).font, known);
}

TEST(ReadingLimits, FontsCostWhatTheyTakeOfTheFile) {
    const auto cost = [](const std::string& widths, const std::string& map) {
        return OpenPage("", {"<< /Type /Font /Subtype /Type0 /BaseFont /X /Encoding 7 0 R /DescendantFonts [<< /W " +
                                 widths + " >>] >>",
                             streamBody(map)})
            .font(6)
            ->cost();
    };
    const std::size_t least = cost("[]", "");
    EXPECT_GE(cost("[0 [" + repeated("500 ", 1000) + "]]", ""), least + 12'000);
    EXPECT_GE(cost("[]", std::string(1000, ' ')), least + 1000);
    EXPECT_GE(cost("[]", "begincidrange " + repeated("<00> <00> 0 ", 100)), least + 100 * 32);
}

TEST(ReadingLimits, NamesBeyondTheLimitLeadNowhere) {
    OpenPage page("");
    for (std::size_t i = 1; i < ContentResources::mostNames; ++i) {
        EXPECT_EQ(page.resources().font("N" + std::to_string(i)).font, nullptr);
    }
    EXPECT_NE(page.resources().font("F1").font, nullptr);
    EXPECT_EQ(page.resources().font("F2").font, nullptr);
    EXPECT_NE(page.resources().font("F1").font, nullptr);
}

TEST(ReadingLimits, ATextThatManyMarksNameIsKeptOnce) {
    OpenPage page("/Properties << /P 6 0 R >>", {"<< /ActualText (instead) >>"});
    const Operand tag{OperandKind::name, 0, "Span"};
    const std::array<Operand, 2> operands{tag, {OperandKind::name, 0, "P"}};
    const ContentScanner scanner("");
    const auto first = page.resources().markedContent(operands, scanner);
    ASSERT_NE(first.actualText, nullptr);
    EXPECT_EQ(*first.actualText, "instead");
    EXPECT_EQ(page.resources().markedContent(operands, scanner).actualText, first.actualText);
}

TEST(ReadingLimits, ReplacingTextEndsWithItsLimit) {
    OpenPage page("/Properties << /P << /ActualText (" + std::string(100, 'x') + ") >> >>");
    const auto glyphs =
        page.read("BT /F1 1 Tf 72 700 Td " + repeated("/Span /P BDC (a) Tj EMC ", 1000) + "ET", {.textBytes = 1000});
    EXPECT_LE(textOf(glyphs).size(), 1000U);
    EXPECT_GE(textOf(glyphs).size(), 800U);
}

TEST(ReadingLimits, MarksThatReplaceNothingCountAsWell) {
    OpenPage page("/Properties << /P << /ActualText (same) >> >>");
    const std::string content = "BT /F1 9 Tf 72 700 Td " + repeated("/Span /P BDC ", 100) + "(same) Tj " +
                                repeated("EMC ", 100) + "(behind) Tj ET";
    EXPECT_EQ(textOf(page.read(content)), "samebehind");
    EXPECT_EQ(textOf(page.read(content, {.textBytes = 500})), "same");
}

TEST(ReadingLimits, WidthsThatAreOneArrayAgainAndAgainEnd) {
    const auto advance = [](int times) {
        OpenPage page("", {"<< /Type /Font /Subtype /Type0 /BaseFont /X /Encoding /Identity-H /DescendantFonts "
                           "[<< /DW 500 /W 7 0 R >>] >>",
                           "[" + repeated("0 8 0 R ", times) + "2000 [700]]", "[" + repeated("250 ", 1000) + "]"});
        const auto font = page.font(6);
        std::string_view string("\x07\xD0", 2);
        std::string spare;
        return font->next(string, spare).advance;
    };
    EXPECT_FLOAT_EQ(advance(10), 0.7F);
    EXPECT_FLOAT_EQ(advance(300), 0.5F);
}

TEST(ReadingLimits, GlyphsThatAreNotKeptHaveTheirText) {
    CompositeFontParts parts;
    parts.encoding = CMap::identity(false);
    parts.toUnicode = CMap::parse("1 beginbfrange <0041> <005A> <0061> endbfrange");
    parts.widths = {{0x41, 0x5A, 0.25F}};
    const CompositeGlyphs glyphs(std::move(parts), 0);
    std::string_view string("\0A\0B", 4);
    std::string spare;
    EXPECT_EQ(glyphs.next(string, spare).text, "a");
    const TextGlyph last = glyphs.next(string, spare);
    EXPECT_EQ(last.text, "b");
    EXPECT_EQ(last.text.data(), spare.data());
    EXPECT_FLOAT_EQ(last.advance, 0.25F);
}

TEST(ReadingLimits, ATextOfACodeIsCut) {
    const auto map = CMap::parse("1 beginbfrange <00> <FF> <" + repeated("0041", 1000) +
                                 "> endbfrange 1 beginbfchar "
                                 "<01> <" +
                                 repeated("0042", 64) + "> endbfchar");
    std::string text;
    map->appendText(text, 0);
    EXPECT_EQ(text, std::string(64, 'A'));
    text.clear();
    map->appendText(text, 1);
    EXPECT_EQ(text, std::string(64, 'B'));
}

TEST(ReadingLimits, CodeSpacesBeyondTheLimitDoNotCount) {
    const auto length = [](int times) {
        const auto map =
            CMap::parse("begincodespacerange " + repeated("<0000> <0000> ", times) + "<FF> <FF> endcodespacerange");
        return map->next("\xFF\x01").length;
    };
    EXPECT_EQ(length(99), 1);
    EXPECT_EQ(length(100), 2);
}

TEST(ReadingLimits, WhatIsPrintedTwiceIsSoughtWithSoManyLooks) {
    const auto lines = [](std::size_t looks) {
        OpenPage page("");
        auto glyphs = page.read("BT /F1 10 Tf 72 700 Td (abc) Tj 0 -100 Td (x) Tj 0.3 100 Td (abc) Tj ET");
        auto fragments = makeFragments(glyphs);
        EXPECT_EQ(fragments.size(), 3U);
        return joinFragments(glyphs, fragments, looks).size();
    };
    EXPECT_EQ(lines(1000), 2U);
    EXPECT_EQ(lines(0), 3U);
}

TEST(ReadingLimits, SavesOfAFormBeyondTheLimitEndWithIt) {
    const auto lines =
        test::opened(pageOf("q 1 0 0 1 0 -500 cm /X Do Q BT /F1 10 Tf 72 700 Td (hi) Tj ET", "/XObject << /X 6 0 R >>",
                            {streamBody(repeated("q ", 10'005), "/Type /XObject /Subtype /Form /BBox [0 0 612 792]")}))
            ->page(0)
            ->textLines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NEAR(lines[0].box.y, 698, 3);
}

} // namespace
} // namespace orvex
