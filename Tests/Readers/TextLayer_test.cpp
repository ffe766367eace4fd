// The table of what readers make of the invisible text layer. One document, a page per case; every reader reads it
// once. Where a reader cannot be right the table says what it makes of the text instead.
#include "OrvexPDF/Document.h"
#include "OrvexPDF/Page.h"
#include "Platform/Foundation/Strings.h"
#include "Platform/Text/Bidi.h"
#include "Platform/Text/Font.h"
#include "Support/Command.h"
#include "Support/SavedDocument.h"
#include "Support/TextLayerCase.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

namespace orvex {
namespace {

using test::ExpectedItem;
using test::Lines;
using test::naturalWidth;
using test::Reader;
using Case = test::TextLayerCase;

constexpr double pageWidth = 600;
constexpr double pageHeight = 800;

/// One item per line, a little narrower than Helvetica.
Case lineItems(const std::string& name, const Lines& lines, std::map<Reader, Lines> others = {}) {
    Case result{name, {}, lines, std::move(others)};
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const Rect box{60, 60 + 34 * static_cast<double>(i), naturalWidth(lines[i], 19), 20};
        result.items.push_back({lines[i], box});
    }
    return result;
}

struct WordLayout {
    double gap = 6;
    double height = 20;
    double stretch = 1;
};

/// One item per word; lines that start with a Hebrew or Arabic letter run from right to left.
Case wordItems(const std::string& name, const Lines& lines, WordLayout layout = {},
               std::map<Reader, Lines> others = {}) {
    Case result{name, {}, lines, std::move(others)};
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const bool backwards =
            static_cast<unsigned char>(lines[i][0]) >= 0xD6 && static_cast<unsigned char>(lines[i][0]) <= 0xDB;
        double x = backwards ? pageWidth - 60 : 60;
        std::istringstream words(lines[i]);
        for (std::string word; words >> word;) {
            const double width = naturalWidth(word, layout.height) * layout.stretch;
            x -= backwards ? width : 0;
            result.items.push_back({word, {x, 60 + 34 * static_cast<double>(i), width, layout.height}});
            x += backwards ? -layout.gap : width + layout.gap;
        }
    }
    return result;
}

/// One item per character, twenty points wide and high.
Case characterItems(const std::string& name, const std::vector<std::string>& characters, double gap) {
    Case result{name, {}, {""}};
    for (std::size_t i = 0; i < characters.size(); ++i) {
        result.items.push_back({characters[i], {60 + (20 + gap) * static_cast<double>(i), 60, 20, 20}});
        result.lines[0] += characters[i];
    }
    return result;
}

Case tiny(Case c) {
    c.overlaps = false;
    return c;
}

Case flatLines(const std::string& name, const Lines& lines, double height) {
    Case result{name, {}, lines};
    for (std::size_t i = 0; i < lines.size(); ++i) {
        result.items.push_back({lines[i], {60, 60 + 34 * static_cast<double>(i), 300, height}});
    }
    return result;
}

std::vector<Case> scriptCases() {
    return {
        lineItems("LatinWithAccents", {"Žluťoučký kůň příliš", "Ænima œuvre Straße naïve", "The quick brown fox"}),
        lineItems("Ligatures", {"ﬁnal oﬃce ﬂow"},
                  {{Reader::mupdf, {"final office flow"}}, {Reader::pdfium, {"final office flow"}}}),
        lineItems("Cyrillic", {"Съешь же ещё этих мягких", "французских булок, да выпей чаю"}),
        lineItems("Greek", {"Ξεσκεπάζω την ψυχοφθόρα", "βδελυγμία ᾳ ὥρα"}),
        lineItems("CJK", {"永和九年歲在癸丑", "暮春之初、会于會稽。", "日本語のテキスト", "日本 Tokyo 東京 123"}),
        lineItems("Hangul", {"다람쥐 헌 쳇바퀴에 타고파", "한국어"}),
        lineItems("Devanagari", {"ऋषियों को सताने वाले", "हिन्दी क्षेत्र"}),
        lineItems("Thai", {"เป็นมนุษย์สุดประเสริฐ", "น้ำใจ ภาษาไทย"}),
        lineItems("CombiningMarks", {"e\u0301a\u0308o\u0302 n\u0303 test", "x\u0305y\u0336z"}),
        lineItems("OutsideTheBasicPlane", {"𝒜𝒷𝒸 math", "😀 smile 👍🏽", "𠮷野家 𐍈"}, {{Reader::ghostscript, {}}}),
    };
}

std::vector<Case> shapeCases() {
    const Lines fox = {"The quick brown fox", "jumps over a lazy dog"};
    return {
        wordItems("Words", fox),
        wordItems("CyrillicWords", {"Съешь же ещё этих", "мягких французских"}),
        wordItems("GreekWords", {"Ξεσκεπάζω την", "ψυχοφθόρα"}),
        wordItems("HangulWords", {"다람쥐 헌 쳇바퀴에", "타고파"}),
        wordItems("TouchingWords", fox, {.gap = 0}),
        wordItems("NearlyTouchingWords", fox, {.gap = 0.3}),
        wordItems("TouchingStretchedWords", fox, {.gap = 0, .stretch = 1.8}),
        wordItems("TouchingSqueezedWords", fox, {.gap = 0, .stretch = 0.6}),
        wordItems("StretchedWords", fox, {.stretch = 1.5}),
        wordItems("SqueezedWords", fox, {.gap = 3, .stretch = 0.6}),
        characterItems("Ideographs", {"永", "和", "九", "年", "歲", "在"}, 2),
        characterItems("IdeographsFarApart", {"永", "和", "九", "年", "歲", "在"}, 3.6),
        characterItems("TouchingIdeographs", {"永", "和", "九", "年", "歲", "在"}, 0),
        tiny(flatLines("LinesOnePixelHigh", {"The quick brown fox jumps over", "second line of text here"}, 0.24)),
        tiny(wordItems("WordsOnePixelHigh", fox, {.height = 0.24, .stretch = 75})),
        wordItems("SmallWords", fox, {.gap = 0.4, .height = 1.5}),
    };
}

std::string asItStands(const std::string& line) {
    std::u32string text;
    for (std::size_t at = 0; at < line.size();) {
        text += nextCodePoint(line, at);
    }
    std::string shown;
    for (const char32_t c : visualOrder(text)) {
        appendUTF8(shown, c);
    }
    return shown;
}

/// MuPDF and Ghostscript do not turn right-to-left text round: they read it as it stands on the page.
Case backwards(Case c) {
    Lines shown;
    std::ranges::transform(c.lines, std::back_inserter(shown), asItStands);
    c.others = {{Reader::mupdf, shown}, {Reader::ghostscript, shown}};
    return c;
}

/// Words of such lines stay in their order in MuPDF, and lose the blanks between them in pdf.js.
Case backwardWords(Case c) {
    c = backwards(std::move(c));
    for (std::size_t i = 0; i < c.lines.size(); ++i) {
        std::istringstream words(c.lines[i]);
        std::string line;
        for (std::string word; words >> word;) {
            line += (line.empty() ? "" : " ") + asItStands(word);
        }
        c.others[Reader::mupdf][i] = line;
    }
    c.butForBlanks = {Reader::pdfjs};
    return c;
}

/// poppler moves blanks where directions or kinds of characters meet.
Case mixed(Case c) {
    c = backwards(std::move(c));
    c.butForBlanks = {Reader::poppler, Reader::popplerLayout};
    return c;
}

/// No encoding is right everywhere; Docs/text-layer.md has the table.
std::vector<Case> rightToLeftCases() {
    const Lines hebrew = {"שלום עולם טוב", "ספר לימוד"};
    const Lines arabic = {"مرحبا بالعالم", "اللغة العربية جميلة"};
    return {
        backwards(lineItems("Hebrew", hebrew)),
        backwards(lineItems("Arabic", arabic)),
        backwardWords(wordItems("HebrewWords", hebrew)),
        backwardWords(wordItems("ArabicWords", arabic)),
        backwardWords(wordItems("TouchingHebrewWords", hebrew, {.gap = 0})),
        mixed(lineItems("HebrewWithPunctuation", {"שלום עולם, טוב מאוד!", "ספר לימוד."})),
        mixed(lineItems("HebrewWithLatinAndDigits", {"שלום World עולם", "שלום 123 עולם טוב"})),
        mixed(lineItems("ArabicWithLatinAndDigits", {"مرحبا World بالعالم", "سعر 50 درهم"})),
        mixed(lineItems("LatinWithHebrew", {"The word שלום means peace", "and עולם is the world"})),
    };
}

std::vector<Case> allCases() {
    auto cases = scriptCases();
    std::ranges::move(shapeCases(), std::back_inserter(cases));
    std::ranges::move(rightToLeftCases(), std::back_inserter(cases));
    return cases;
}

ImagePtr whiteImage() {
    auto bitmap = std::make_shared<Bitmap>();
    bitmap->width = static_cast<std::int64_t>(pageWidth);
    bitmap->height = static_cast<std::int64_t>(pageHeight);
    bitmap->colorSpace.model = ColorModel::gray;
    bitmap->bytesPerRow = static_cast<std::size_t>(bitmap->width);
    bitmap->samples.assign(static_cast<std::size_t>(bitmap->width * bitmap->height), 255);
    return Image::fromBitmap(bitmap);
}

std::shared_ptr<OrvexPDFDocument> documentOf(const std::vector<Case>& cases) {
    auto document = std::make_shared<OrvexPDFDocument>();
    const ImagePtr image = whiteImage();
    for (const auto& c : cases) {
        const auto page = OrvexPDFPage::fromImage(image);
        page->foundPage = test::foundPage(c.items, {pageWidth, pageHeight});
        document->insertPage(page, document->pageCount());
    }
    return document;
}

class TextLayer : public testing::TestWithParam<Reader> {};

TEST_P(TextLayer, IsReadBackExactly) {
    ASSERT_TRUE(test::hasReader(GetParam())) << test::name(GetParam()) << " is not installed";
    const auto cases = allCases();
    const test::SavedDocument saved(*documentOf(cases));
    const auto pages = test::read(GetParam(), saved.path());
    ASSERT_GE(pages.size(), cases.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        test::expectReads(cases[i], GetParam(), pages[i]);
    }
}

INSTANTIATE_TEST_SUITE_P(InEveryReader, TextLayer,
                         testing::Values(Reader::poppler, Reader::popplerLayout, Reader::mupdf, Reader::ghostscript,
                                         Reader::pdfium, Reader::pdfjs),
                         [](const auto& instance) {
                             std::string name = test::name(instance.param);
                             std::erase(name, '-');
                             return name;
                         });
TEST(TextLayerLook, IsTheSameWithAndWithoutIt) {
    ASSERT_TRUE(test::hasReader(Reader::poppler) && test::hasReader(Reader::mupdf));
    auto cases = allCases();
    const auto with = documentOf(cases);
    for (auto& c : cases) {
        c.items.clear();
    }
    test::expectSamePixels(*with, *documentOf(cases));
}

class PDFAConversion : public testing::TestWithParam<int> {};

TEST_P(PDFAConversion, KeepsTheLayerAndKeepsItInvisible) {
    ASSERT_TRUE(test::hasReader(Reader::ghostscript) && test::hasReader(Reader::poppler));
    auto cases = scriptCases();
    std::erase_if(cases,
                  [](const Case& c) { return c.others.contains(Reader::ghostscript); }); // it writes what it reads
    const test::SavedDocument saved(*documentOf(cases));
    const test::TempFolder folder;
    const std::string converted = (folder.path() / "converted.pdf").string();
    const auto result =
        test::run("gs -q -dBATCH -dNOPAUSE -sDEVICE=pdfwrite -sColorConversionStrategy=RGB"
                  " -dPDFACompatibilityPolicy=1 -dPDFA=" +
                  std::to_string(GetParam()) + " -o " + test::quoted(converted) + " " + test::quoted(saved.path()));
    ASSERT_EQ(result.exitCode, 0) << result.output << result.errors;
    const auto pages = test::read(Reader::poppler, converted);
    ASSERT_GE(pages.size(), cases.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        test::expectReads(cases[i], Reader::poppler, pages[i]);
    }
    const auto image = test::run("pdftoppm -r 40 -gray " + test::quoted(converted) + " | tail -c 100000");
    EXPECT_EQ(std::ranges::count(image.output, '\xFF'), std::ssize(image.output)) << "something shows";
}

INSTANTIATE_TEST_SUITE_P(ByGhostscript, PDFAConversion, testing::Values(1, 2));

} // namespace
} // namespace orvex
