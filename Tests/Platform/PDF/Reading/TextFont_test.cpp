// Fonts of files as the reader of text sees them.
#include "Platform/Foundation/Bytes.h"
#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/Reading/CMap_p.h"
#include "Platform/PDF/Reading/TextFont_p.h"
#include "Platform/Text/Font.h"
#include "Support/Places.h"

#include <qpdf/QPDF.hh>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace orvex {
namespace {

using testing::FloatEq;
using testing::Pointwise;

/// A font of a file that holds nothing else.
class FontFixture {
public:
    FontFixture() { pdf_->emptyPDF(); }
    std::shared_ptr<const TextFont> make(const std::string& dictionary) {
        return TextFont::make(QPDFObjectHandle::parse(pdf_.get(), dictionary));
    }
    /// "id 0 R" of a stream.
    std::string stream(const std::string& data, const std::string& dictionary = "<< >>") {
        auto object = QPDFObjectHandle::newStream(pdf_.get(), data);
        object.replaceDict(QPDFObjectHandle::parse(pdf_.get(), dictionary));
        return pdf_->makeIndirectObject(object).unparse();
    }

private:
    std::shared_ptr<QPDF> pdf_ = QPDF::create();
};

std::string read(const TextFont& font, std::string_view string) {
    std::string text;
    std::string spare;
    while (!string.empty()) {
        text += font.next(string, spare).text;
    }
    return text;
}

std::vector<float> advances(const TextFont& font, std::string_view string) {
    std::vector<float> all;
    std::string spare;
    while (!string.empty()) {
        all.push_back(font.next(string, spare).advance);
    }
    return all;
}

TEST(TextFont, SimpleFontsReadByTheirBaseEncoding) {
    FontFixture file;
    const auto read1 = [&](const std::string& encoding, std::string_view string) {
        return read(*file.make("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding " + encoding + " >>"),
                    string);
    };
    EXPECT_EQ(read1("/WinAnsiEncoding", "Stra\xDF"
                                        "e \x80 \x93q\x94"),
              "Straße € “q”");
    EXPECT_EQ(read1("/MacRomanEncoding", "Stra\xA7"
                                         "e \x8E \xDE"),
              "Straße é fi");
    EXPECT_EQ(read1("/StandardEncoding", "'\xAE`\xE1"), "’fi‘Æ");
    EXPECT_EQ(read1("/MacExpertEncoding", "abc\x30"), "ABC0");
    EXPECT_EQ(read1("null", "'\xAE"), "’fi");
}

TEST(TextFont, DifferencesNameGlyphs) {
    FontFixture file;
    const auto font = file.make("<< /Type /Font /Subtype /Type1 /BaseFont /X /Encoding << /BaseEncoding "
                                "/WinAnsiEncoding /Differences [65 /Aacute /uni0416 /u1F600 /f_f_i /a.sc 200 "
                                "/afii10017 /ohorn /Abreveacute /.notdef /uni00410042 /dalet] >> >>");
    EXPECT_EQ(read(*font, "ABCDE"), "ÁЖ😀ffia");
    EXPECT_EQ(read(*font, "\xC8\xC9\xCA\xCB\xCC\xCD"), "АơẮABד");
    EXPECT_EQ(read(*font, "xyz"), "xyz");
}

TEST(TextFont, WidthsAreInTextSpace) {
    FontFixture file;
    const auto font = file.make("<< /Type /Font /Subtype /TrueType /BaseFont /X /FirstChar 65 /LastChar 67 /Widths "
                                "[500 250.5 /no 1000] /FontDescriptor << /MissingWidth 300 >> >>");
    EXPECT_THAT(advances(*font, "ABCDE"), Pointwise(FloatEq(), std::vector<float>{0.5F, 0.2505F, 0.3F, 1, 0.3F}));
}

TEST(TextFont, AMapToUnicodeWinsOverTheEncoding) {
    FontFixture file;
    const auto map = file.stream("1 begincodespacerange <00> <FF> endcodespacerange\n"
                                 "2 beginbfchar <41> <0416> <42> <D83DDE00> endbfchar\n"
                                 "2 beginbfrange <43> <45> <0061> <46> <47> [<00660066> <0041>] endbfrange\n"
                                 "1 beginbfchar <48> <0000> endbfchar\n");
    const auto font = file.make("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /ToUnicode " + map + " >>");
    EXPECT_EQ(read(*font, "ABCDEFGHI"), "Ж😀abcffAHI");
}

TEST(TextFont, CompositeFontsReadTwoByteCodes) {
    FontFixture file;
    const auto map = file.stream("1 begincodespacerange <0000> <FFFF> endcodespacerange\n"
                                 "1 beginbfrange <0001> <0003> <0061> endbfrange\n");
    const auto font =
        file.make("<< /Type /Font /Subtype /Type0 /BaseFont /X /Encoding /Identity-H /DescendantFonts [<< "
                  "/Subtype /CIDFontType2 /DW 700 /W [1 [500 600] 3 10 250] >>] /ToUnicode " +
                  map + " >>");
    using namespace std::string_view_literals;
    EXPECT_EQ(read(*font, "\0\1\0\2\0\3\0\4"sv), "abc");
    EXPECT_THAT(advances(*font, "\0\1\0\2\0\3\0\x0A\0\x0B\1\1"sv),
                Pointwise(FloatEq(), std::vector<float>{0.5F, 0.6F, 0.25F, 0.25F, 0.7F, 0.7F}));
}

TEST(TextFont, StandardFontsKnowTheirWidthsAndEncodings) {
    FontFixture file;
    const auto of = [&](const std::string& name) {
        return file.make("<< /Type /Font /Subtype /Type1 /BaseFont /" + name + " >>");
    };
    EXPECT_THAT(advances(*of("Helvetica"), "Ai\xAE"), Pointwise(FloatEq(), {0.667F, 0.222F, 0.5F}));
    EXPECT_THAT(advances(*of("Arial,Bold"), "Ai"), Pointwise(FloatEq(), {0.722F, 0.278F}));
    EXPECT_THAT(advances(*of("TimesNewRomanPS-BoldItalicMT"), "Ai"), Pointwise(FloatEq(), {0.667F, 0.278F}));
    EXPECT_THAT(advances(*of("CourierNew"), "Ai"), Pointwise(FloatEq(), {0.6F, 0.6F}));
    EXPECT_EQ(read(*of("Symbol"), "abGW\xA5"), "αβΓΩ∞");
    EXPECT_THAT(advances(*of("Symbol"), "a"), Pointwise(FloatEq(), {0.631F}));
    EXPECT_EQ(read(*of("ZapfDingbats"), "4n"), "✔■");
    EXPECT_THAT(advances(*of("ZapfDingbats"), "4n"), Pointwise(FloatEq(), {0.846F, 0.761F}));
}

TEST(TextFont, AnEmbeddedProgramTellsWhatTheFileDoesNot) {
    FontFixture file;
    const std::string program = std::string(readFile(Font::require("Helvetica")->path()).text());
    const std::string descriptor = "<< /Flags 4 /FontFile " + file.stream(program) + " >>";
    const auto simple = file.make("<< /Type /Font /Subtype /Type1 /BaseFont /X /FontDescriptor " + descriptor + " >>");
    EXPECT_EQ(read(*simple, "Aiz"), "Aiz");
    EXPECT_THAT(advances(*simple, "Ai"), Pointwise(testing::FloatNear(0.001F), {0.667F, 0.222F}));
    EXPECT_GT(simple->ascent(), 0.6F);
    const auto composite =
        file.make("<< /Type /Font /Subtype /Type0 /Encoding /Identity-H /DescendantFonts [<< /Subtype "
                  "/CIDFontType2 /FontDescriptor " +
                  descriptor + " >>] >>");
    std::string all;
    for (int glyph = 0; glyph < 512; ++glyph) {
        all += read(*composite, std::string{static_cast<char>(glyph >> 8), static_cast<char>(glyph & 0xFF)});
    }
    EXPECT_THAT(all, testing::HasSubstr("ABCDEFGHIJKLMNOPQRSTUVWXYZ"));
}

TEST(TextFont, GlyphNumbersOfFontsThatEverybodyHasAreRead) {
    FontFixture file;
    const auto font = file.make("<< /Type /Font /Subtype /Type0 /BaseFont /Arial,Bold /Encoding /Identity-H "
                                "/DescendantFonts [<< /Subtype /CIDFontType2 >>] >>");
    EXPECT_EQ(read(*font, {"\0\x24\0\x64\0\xE3\2\x4E\1\xFF", 10}), "AÇšФ");
    const auto unknown = file.make("<< /Type /Font /Subtype /Type0 /BaseFont /Own /Encoding /Identity-H "
                                   "/DescendantFonts [<< /Subtype /CIDFontType2 >>] >>");
    EXPECT_EQ(read(*unknown, {"\0\x24", 2}), "");
}

TEST(TextFont, HeightsAreThoseOfTheDescriptorWhenTheyCanBe) {
    FontFixture file;
    const auto heights = [&](const std::string& dictionary) {
        const auto font = file.make(dictionary);
        return std::vector<float>{font->ascent(), font->descent()};
    };
    EXPECT_THAT(heights("<< /Subtype /TrueType /FontDescriptor << /Ascent 905 /Descent -212 >> >>"),
                Pointwise(FloatEq(), {0.905F, -0.212F}));
    EXPECT_THAT(heights("<< /Subtype /TrueType /FontDescriptor << /Ascent 905 /Descent 212 >> >>"),
                Pointwise(FloatEq(), {0.905F, -0.212F}));
    EXPECT_THAT(
        heights("<< /Subtype /TrueType /FontDescriptor << /Ascent 0 /Descent 0 /FontBBox [0 -200 1000 800] >> >>"),
        Pointwise(FloatEq(), {0.8F, -0.2F}));
    EXPECT_THAT(heights("<< /Subtype /TrueType /FontDescriptor << /Ascent 32768 /Descent -32768 >> >>"),
                Pointwise(FloatEq(), {0.9F, -0.22F}));
    EXPECT_THAT(heights("<< /Subtype /TrueType /FontDescriptor << /Ascent 700 /Descent 0 >> >>"),
                Pointwise(FloatEq(), {0.7F, -0.22F}));
    EXPECT_THAT(heights("<< /Subtype /TrueType /FontDescriptor << /Ascent 1232 /Descent -793 "
                        "/FontBBox [-779 -793 1665 1232] >> >>"),
                Pointwise(FloatEq(), {0.9F, -0.22F}))
        << "the reach of all glyphs is no line's height";
    EXPECT_THAT(heights("<< /Subtype /Type1 /BaseFont /Helvetica >>"), Pointwise(FloatEq(), {0.718F, -0.207F}));
    EXPECT_THAT(heights("<< /Subtype /Type3 /FontMatrix [0.1 0 0 -0.1 0 0] /FontBBox [0 -8 10 2] >>"),
                Pointwise(FloatEq(), {0.8F, -0.2F}));
    const auto glyph = file.stream("500 0 0 -100 400 700 d1 0 0 1 1 re f");
    EXPECT_THAT(heights("<< /Subtype /Type3 /FontMatrix [0.001 0 0 0.001 0 0] /FontBBox [0 0 0 0] /CharProcs << /a " +
                        glyph + " >> >>"),
                Pointwise(FloatEq(), {0.7F, -0.1F}));
    EXPECT_THAT(heights("<< /Subtype /Type3 /FontMatrix [1 0 0 1 0 0] /FirstChar 1 /Widths [40 60] >>"),
                Pointwise(FloatEq(), {90, -22}));
}

TEST(TextFont, ACacheMakesAFontOfTheFileOnce) {
    const auto pdf = QPDF::create();
    pdf->emptyPDF();
    const auto font = pdf->makeIndirectObject(QPDFObjectHandle::parse("<< /Type /Font /Subtype /Type1 >>"));
    TextFontCache cache;
    EXPECT_EQ(cache.font(font), cache.font(font));
    EXPECT_NE(cache.font(QPDFObjectHandle::newNull()), nullptr);
}

TEST(TextFont, SeveralThreadsReadOneFont) {
    FontFixture file;
    const auto map =
        file.stream("1 begincodespacerange <0000> <7FFF> endcodespacerange 1 begincodespacerange <80000000> "
                    "<FFFFFFFF> endcodespacerange 1 begincidrange <0000> <7FFF> 0 endcidrange");
    const auto texts = file.stream("1 beginbfrange <0000> <FFFF> <0000> endbfrange");
    const auto font = file.make("<< /Subtype /Type0 /Encoding " + map + " /ToUnicode " + texts +
                                " /DescendantFonts [<< /DW 300 >>] >>");
    std::string codes;
    for (int code = 0x20; code < 0x7FFF; code += 7) {
        codes += {static_cast<char>(code >> 8),  static_cast<char>(code & 0xFF), '\x80', '\0', '\0',
                  static_cast<char>(code & 0xFF)};
    }
    std::vector<std::string> found(4);
    std::vector<std::thread> threads;
    for (auto& text : found) {
        threads.emplace_back([&] { text = read(*font, codes); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_GT(found[0].size(), 4000U);
    for (const auto& text : found) {
        EXPECT_EQ(text, found[0]);
    }
}

TEST(TextFont, CyclesAndHugeRangesAreBounded) {
    const auto pdf = QPDF::create();
    pdf->emptyPDF();
    auto map = pdf->makeIndirectObject(QPDFObjectHandle::newStream(pdf.get(), "1 begincidrange <0000> <FFFFFFFF> 0 "
                                                                              "<00000000> <FFFFFFFF> 5 endcidrange "
                                                                              "1 beginbfrange <00> <FFFFFFFF> <0041> "
                                                                              "endbfrange"));
    map.getDict().replaceKey("/UseCMap", map);
    auto font = pdf->makeIndirectObject(QPDFObjectHandle::parse("<< /Subtype /Type0 >>"));
    font.replaceKey("/Encoding", map);
    font.replaceKey("/ToUnicode", map);
    font.replaceKey("/DescendantFonts", QPDFObjectHandle::newArray({font}));
    const auto made = TextFont::make(font);
    EXPECT_EQ(read(*made, {"\0\1", 2}), "B");
}

TEST(TextFont, GlyphsThatAreNumberedAreCharacters) {
    FontFixture file;
    const auto font = file.make("<< /Type /Font /Subtype /Type3 /FontMatrix [0.01 0 0 0.01 0 0] /FirstChar 1 /Widths "
                                "[50 60] /Encoding << /Differences [1 /g65 /a100] >> >>");
    EXPECT_EQ(read(*font, "\1\2"), "Ad");
    EXPECT_THAT(advances(*font, "\1\2"), Pointwise(FloatEq(), {0.5F, 0.6F}));
    const auto hexadecimal = file.make("<< /Type /Font /Subtype /Type3 /Encoding << /Differences [1 /C41 /C4B] >> >>");
    EXPECT_EQ(read(*hexadecimal, "\1\2"), "AK");
}

TEST(TextFont, VerticalWritingMovesDownFromAPositionAboveTheGlyph) {
    FontFixture file;
    const auto font =
        file.make("<< /Type /Font /Subtype /Type0 /Encoding /Identity-V /DescendantFonts [<< /DW 800 /DW2 "
                  "[900 -1100] /W2 [5 [-500 250 700] 6 9 -600 300 710] >>] >>");
    EXPECT_TRUE(font->isVertical());
    std::string_view string("\0\4\0\5\0\7", 6);
    std::string spare;
    const auto plain = font->next(string, spare);
    EXPECT_FLOAT_EQ(plain.advance, -1.1F);
    EXPECT_FLOAT_EQ(plain.originX, 0.4F);
    EXPECT_FLOAT_EQ(plain.originY, 0.9F);
    const auto listed = font->next(string, spare);
    EXPECT_FLOAT_EQ(listed.advance, -0.5F);
    EXPECT_FLOAT_EQ(listed.originX, 0.25F);
    EXPECT_FLOAT_EQ(listed.originY, 0.7F);
    EXPECT_FLOAT_EQ(font->next(string, spare).advance, -0.6F);
}

TEST(TextFont, NamedMapsReadEastAsianCodes) {
    struct Case {
        const char* encoding;
        const char* ordering;
        std::string_view string;
        const char* text;
    };
    using namespace std::string_view_literals;
    const std::vector<Case> cases = {
        {"90ms-RKSJ-H", "Japan1", "\x93\xFA\x96{A", "日本A"},
        {"90ms-RKSJ-V", "Japan1", "\x93\xFA\x96{", "日本"},
        {"EUC-H", "Japan1", "\xC6\xFC\xCB\xDC", "日本"},
        {"UniJIS-UTF16-H", "Japan1", "\x65\xE5\xD8\x40\xDC\x0B", "日𠀋"},
        {"UniJIS-UCS2-H", "Japan1", "\x65\xE5\x67\x2C", "日本"},
        {"GBK-EUC-H", "GB1", "\xD6\xD0\xCE\xC4", "中文"},
        {"UniGB-UCS2-H", "GB1", "\x4E\x2D\x65\x87", "中文"},
        {"ETen-B5-H", "CNS1", "\xA4\xA4\xA4\xE5", "中文"},
        {"KSCms-UHC-H", "Korea1", "\xC7\xD1\xB1\xDB", "한글"},
        {"UniKS-UTF8-H", "Korea1", "한글", "한글"},
        {"Identity-H", "Japan1", "\x04\x65"sv, "亜"},
    };
    ASSERT_NE(CMap::named("90ms-RKSJ-H"), nullptr) << "Adobe's character maps (poppler-data) are not installed";
    FontFixture file;
    for (const auto& it : cases) {
        const auto font = file.make("<< /Type /Font /Subtype /Type0 /Encoding /" + std::string(it.encoding) +
                                    " /DescendantFonts [<< /CIDSystemInfo << /Registry (Adobe) /Ordering (" +
                                    it.ordering + ") /Supplement 2 >> >>] >>");
        EXPECT_EQ(read(*font, it.string), it.text) << it.encoding;
    }
}

TEST(TextFont, AnEmbeddedMapMayBuildUponOthers) {
    ASSERT_NE(CMap::named("90ms-RKSJ-H"), nullptr) << "Adobe's character maps (poppler-data) are not installed";
    FontFixture file;
    const auto inner = file.stream("/90ms-RKSJ-H usecmap\n1 begincidchar <41> 1125 endcidchar");
    const auto outer = file.stream("/WMode 1 def", "<< /UseCMap " + inner + " >>");
    const auto font = file.make("<< /Type /Font /Subtype /Type0 /Encoding " + outer + " /DescendantFonts [<< >>] >>");
    EXPECT_TRUE(font->isVertical());
    EXPECT_EQ(read(*font, "\x93\xFA\x41\x42"), read(*font, "\x93\xFA") + "亜B");
}

TEST(TextFont, SomethingThatIsNoFontReadsAsNothingOrAsPlainText) {
    FontFixture file;
    for (const char* object : {"null", "[1 2]", "<< /Subtype /Type0 >>", "<< /Subtype /Type0 /DescendantFonts 7 >>"}) {
        std::string_view string = "abc";
        std::string spare;
        const auto font = file.make(object);
        while (!string.empty()) {
            EXPECT_GE(font->next(string, spare).length, 1) << object;
        }
    }
}

/// Bytes that no writer would show.
std::string anyBytes() {
    std::string bytes;
    unsigned state = 1;
    for (int i = 0; i < 512; ++i) {
        state = state * 1664525U + 1013904223U;
        bytes += static_cast<char>(state >> 24U);
    }
    return bytes;
}

/// Reads `bytes` in every font of a file; the number of fonts.
int readInAllFonts(const std::filesystem::path& path, std::string_view bytes) {
    const auto pdf = QPDF::create();
    pdf->setSuppressWarnings(true);
    int fonts = 0;
    std::string spare;
    try {
        pdf->processFile(path.c_str());
        for (auto& object : pdf->getAllObjects()) {
            if (object.isDictionary() && object.getKey("/Type").isNameAndEquals("/Font")) {
                const auto font = TextFont::make(object);
                for (std::string_view rest = bytes; !rest.empty();) {
                    const auto before = rest.size();
                    const auto glyph = font->next(rest, spare);
                    EXPECT_EQ(rest.size(), before - glyph.length);
                    EXPECT_TRUE(isValidUTF8(glyph.text)) << path;
                    EXPECT_TRUE(std::isfinite(glyph.advance)) << path;
                }
                EXPECT_GT(font->ascent(), 0);
                EXPECT_LT(font->descent(), font->ascent());
                ++fonts;
            }
        }
    } catch (const QPDFExc&) {
        // no file that qpdf reads
    }
    return fonts;
}

TEST(TextFont, EveryFontOfRealFilesTakesAnyBytes) {
    const auto folder = test::sharedFolder() / "corpus/mixed";
    if (!std::filesystem::is_directory(folder)) {
        GTEST_SKIP() << "the shared collection of mixed files is absent";
    }
    const std::string bytes = anyBytes();
    int fonts = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        fonts += readInAllFonts(entry.path(), bytes);
    }
    EXPECT_GT(fonts, 500);
}

} // namespace
} // namespace orvex
