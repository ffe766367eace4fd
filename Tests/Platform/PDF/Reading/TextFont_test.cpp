// Fonts of files as the reader of text sees them.
#include "Platform/PDF/Reading/TextFont_p.h"

#include <qpdf/QPDF.hh>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
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
    while (!string.empty()) {
        text += font.next(string).text;
    }
    return text;
}

std::vector<float> advances(const TextFont& font, std::string_view string) {
    std::vector<float> all;
    while (!string.empty()) {
        all.push_back(font.next(string).advance);
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
              "Straße é ﬁ");
    EXPECT_EQ(read1("/StandardEncoding", "'\xAE`\xE1"), "’ﬁ‘Æ");
    EXPECT_EQ(read1("/MacExpertEncoding", "abc\x30"), "ABC0");
    EXPECT_EQ(read1("null", "'\xAE"), "’ﬁ");
}

TEST(TextFont, DifferencesNameGlyphs) {
    FontFixture file;
    const auto font = file.make("<< /Type /Font /Subtype /Type1 /BaseFont /X /Encoding << /BaseEncoding "
                                "/WinAnsiEncoding /Differences [65 /Aacute /uni0416 /u1F600 /f_f_i /a.sc 200 "
                                "/afii10017 /ohorn /Abreveacute /.notdef /a10 /uni00410042] >> >>");
    EXPECT_EQ(read(*font, "ABCDE"), "ÁЖ😀ffia");
    EXPECT_EQ(read(*font, "\xC8\xC9\xCA\xCB\xCC\xCD"), "АơẮ✡AB");
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

TEST(TextFont, SomethingThatIsNoFontReadsAsNothingOrAsPlainText) {
    FontFixture file;
    for (const char* object : {"null", "[1 2]", "<< /Subtype /Type0 >>", "<< /Subtype /Type0 /DescendantFonts 7 >>"}) {
        std::string_view string = "abc";
        const auto font = file.make(object);
        while (!string.empty()) {
            EXPECT_GE(font->next(string).length, 1) << object;
        }
    }
}

} // namespace
} // namespace orvex
