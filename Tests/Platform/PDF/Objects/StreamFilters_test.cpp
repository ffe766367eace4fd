#include "Platform/PDF/Objects/StreamFilters_p.h"

#include "Platform/Imaging/Deflate.h"
#include "Support/Command.h"
#include "Support/ImageFixture.h"
#include "Support/OpenDocument.h"
#include "Support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace orvex {
namespace {

using test::streamBody;

constexpr std::size_t enough = 1 << 20;

ByteSpan spanOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string text(const ByteBuffer& bytes) {
    return {bytes.begin(), bytes.end()};
}

std::string flate(const std::string& data) {
    return std::string(deflate(spanOf(data)).text());
}

std::string hex(const std::string& data) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string result;
    for (const std::uint8_t byte : spanOf(data)) {
        result += {digits[byte >> 4], digits[byte & 15]};
    }
    return result;
}

/// A stream as object 4 of a file, decoded.
std::optional<PDFStreamData> decoded(const std::string& dictionary, const std::string& data,
                                     std::size_t limit = PDFObject::mostStreamBytes) {
    const Bytes file(test::pdfFromObjects(
        {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
         "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] /S 4 0 R >>", streamBody(data, dictionary)}));
    return PDFObject::ofPage(*test::opened(file)->page(0)).get("S").streamData(limit);
}

std::string decodedText(const std::string& dictionary, const std::string& data,
                        std::size_t limit = PDFObject::mostStreamBytes) {
    const auto result = decoded(dictionary, data, limit);
    return result ? std::string(result->bytes.text()) : "(no data)";
}

// What another implementation encodes

/// Packed rows of black strokes on white, with blank ones, full ones and long runs among them.
std::string strokes(std::int64_t width, std::int64_t height) {
    const Bitmap art = test::makeLineArt(width, height);
    std::string rows(art.samples.begin(), art.samples.end());
    const auto row = static_cast<std::size_t>((width + 7) / 8);
    std::fill_n(rows.begin(), 2 * row, '\xFF');
    std::fill_n(rows.begin() + static_cast<std::ptrdiff_t>(2 * row), row, '\0');
    return rows;
}

/// Bytes with repetitions and without.
std::string mixture() {
    std::string bytes;
    std::uint32_t state = 1;
    for (int i = 0; i < 60000; ++i) {
        state = state * 1664525 + 1013904223;
        bytes += i / 500 % 3 == 0 ? static_cast<char>(i / 700) : static_cast<char>(state >> 25);
    }
    return bytes;
}

struct EncoderCase {
    std::string encoder;    ///< PostScript: dictionary and filter name
    std::string dictionary; ///< how a PDF says the same
    bool fax = false;
};

constexpr std::int64_t faxWidth = 2600; // wider than the longest single code
constexpr std::int64_t faxHeight = 90;

std::vector<EncoderCase> encoderCases() {
    std::vector<EncoderCase> cases = {
        {"/ASCIIHexEncode", "/Filter /ASCIIHexDecode"},
        {"/ASCII85Encode", "/Filter /ASCII85Decode"},
        {"0 /RunLengthEncode", "/Filter /RunLengthDecode"},
        {"<< >> /LZWEncode", "/Filter /LZWDecode"},
        {"<< /EarlyChange 0 >> /LZWEncode", "/Filter /LZWDecode /DecodeParms << /EarlyChange 0 >>"},
    };
    for (const int predictor : {2, 10, 11, 12, 13, 14, 15}) {
        for (const std::string layout :
             {"/Colors 3 /BitsPerComponent 8 /Columns 100", "/Colors 1 /BitsPerComponent 1 /Columns 800",
              "/Colors 3 /BitsPerComponent 4 /Columns 200", "/Colors 4 /BitsPerComponent 2 /Columns 100",
              "/Colors 2 /BitsPerComponent 16 /Columns 150"}) {
            const std::string parameters = "<< /Predictor " + std::to_string(predictor) + " " + layout + " >>";
            cases.push_back({parameters + " /FlateEncode", "/Filter /FlateDecode /DecodeParms " + parameters});
        }
    }
    for (const std::string k : {"/K -1", "/K 0", "/K 4"}) {
        for (const std::string ends : {"", " /EndOfLine true"}) {
            if (k == "/K 4" && ends.empty()) {
                continue; // nothing says which rows are two-dimensional; Ghostscript counts, which no reader does
            }
            for (const std::string align : {"", " /EncodedByteAlign true"}) {
                for (const std::string close : {"", " /EndOfBlock false"}) {
                    const std::string parameters = "<< " + k + ends + align + close + " /Columns 2600 /Rows 90 >>";
                    cases.push_back(
                        {parameters + " /CCITTFaxEncode", "/Filter /CCITTFaxDecode /DecodeParms " + parameters, true});
                }
            }
        }
    }
    const std::string inverse = "<< /K -1 /BlackIs1 true /Columns 2600 /Rows 90 >>";
    cases.push_back({inverse + " /CCITTFaxEncode", "/Filter /CCITTFaxDecode /DecodeParms " + inverse, true});
    return cases;
}

/// One run of Ghostscript for all cases: starting it takes longer than encoding.
void encode(const std::vector<EncoderCase>& cases, const std::filesystem::path& folder) {
    std::ofstream(folder / "plain", std::ios::binary) << mixture();
    std::ofstream(folder / "fax", std::ios::binary) << strokes(faxWidth, faxHeight);
    std::ofstream program(folder / "encode.ps");
    program << "/block 4096 string def\n";
    for (std::size_t i = 0; i < cases.size(); ++i) {
        program << "(out" << i << ") (w) file dup /raw exch def " << cases[i].encoder << " filter /coded exch def ("
                << (cases[i].fax ? "fax" : "plain") << ") (r) file { dup block readstring exch coded exch writestring "
                << "not { exit } if } loop closefile coded closefile raw closefile\n";
    }
    program.close();
    const auto result = test::run("cd " + test::quoted(folder.string()) +
                                  " && gs -q -dNODISPLAY -dNOSAFER -dBATCH -dNOPAUSE encode.ps 2>&1");
    ASSERT_EQ(result.exitCode, 0) << result.output;
}

TEST(StreamFilters, UndoWhatGhostscriptEncodes) {
    const test::TempFolder folder;
    const auto cases = encoderCases();
    ASSERT_NO_FATAL_FAILURE(encode(cases, folder.path()));
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const Bytes coded = readFile(folder.path() / ("out" + std::to_string(i)));
        const std::string wanted = cases[i].fax ? strokes(faxWidth, faxHeight) : mixture();
        ASSERT_NE(coded.text(), wanted) << cases[i].encoder;
        EXPECT_TRUE(decodedText(cases[i].dictionary, std::string(coded.text())) == wanted) << cases[i].encoder;
    }
}

/// Every run length of either colour, in a row of its own.
TEST(Fax, ReadsEveryRunLength) {
    constexpr int width = 2700;
    constexpr int rowBytes = (width + 7) / 8;
    std::string rows;
    for (int length = 0; length <= 2640; length = length < 70 ? length + 1 : length + 64) {
        std::string row(rowBytes, '\xFF');
        for (int x = length; x < std::min(length + 30, width); ++x) {
            row[static_cast<std::size_t>(x / 8)] =
                static_cast<char>(row[static_cast<std::size_t>(x / 8)] & ~(0x80 >> x % 8));
        }
        rows += row;
        for (char& byte : row) {
            byte = static_cast<char>(~byte);
        }
        rows += row;
    }
    const auto height = rows.size() / rowBytes;
    const std::string header = "P4\n" + std::to_string(width) + " " + std::to_string(height) + "\n";
    // In PBM a set bit is black, as BlackIs1 has it.
    const Bytes coded = test::convert(Bytes(header + rows), "pbmtog3 -nofixedwidth in >out");
    const auto result =
        decodeFax(coded.span(), {0, width, static_cast<std::int64_t>(height), false, false, true}, enough);
    ASSERT_EQ(result.size(), rows.size());
    for (std::size_t y = 0; y < height; ++y) { // bits behind the row's end do not count
        EXPECT_EQ(text(result).substr(y * rowBytes, rowBytes - 1), rows.substr(y * rowBytes, rowBytes - 1)) << y;
    }
}

// Chains and formats

TEST(StreamFilters, AreUndoneInOrderUpToTheImageFormat) {
    EXPECT_EQ(decodedText("", "plain"), "plain");
    EXPECT_EQ(decodedText("/Filter []", "plain"), "plain");
    EXPECT_EQ(decodedText("/Filter [/AHx /Fl]", hex(flate("twice"))), "twice");
    const auto jpeg = decoded("/Filter [/FlateDecode /DCTDecode]", flate("jpeg"));
    ASSERT_TRUE(jpeg);
    EXPECT_EQ(jpeg->format, PDFStreamFormat::jpeg);
    EXPECT_EQ(jpeg->bytes.text(), "jpeg");
    const auto jpx = decoded("/Filter /JPXDecode", "jp2");
    ASSERT_TRUE(jpx);
    EXPECT_EQ(jpx->format, PDFStreamFormat::jpeg2000);
}

TEST(StreamFilters, ParametersGoToTheFilterInTheSamePlace) {
    const std::string row = std::string("\x01") + "ab"; // differences from the left
    const std::string predictor = "<< /Predictor 15 /Columns 2 >>";
    const std::string sum = std::string("a") + static_cast<char>('a' + 'b');
    EXPECT_EQ(decodedText("/Filter /FlateDecode /DecodeParms " + predictor, flate(row)), sum);
    EXPECT_EQ(decodedText("/Filter [/FlateDecode] /DecodeParms [" + predictor + "]", flate(row)), sum);
    EXPECT_EQ(decodedText("/Filter [/FlateDecode] /DecodeParms [null " + predictor + "]", flate(row)), row);
}

TEST(StreamFilters, WhatCannotBeUndoneGivesNoData) {
    for (const std::string filter : {"/Crypt", "/Unheard", "[/FlateDecode /Crypt]", "[/DCTDecode /FlateDecode]", "[7]",
                                     "7", "[/RL /RL /RL /RL /RL /RL /RL /RL /RL /RL /RL /RL /RL /RL /RL /RL /RL]"}) {
        EXPECT_EQ(decoded("/Filter " + filter, flate("data")), std::nullopt) << filter;
    }
    EXPECT_EQ(decoded("/Filter /FlateDecode /DecodeParms << /Predictor 12 /Columns 0 >>", flate("data")), std::nullopt);
    EXPECT_EQ(decoded("/Filter /FlateDecode /DecodeParms << /Predictor 2 /BitsPerComponent 5 >>", flate("data")),
              std::nullopt);
}

// Damage and bombs

TEST(StreamFilters, SegmentsThatNeedThemselvesCountAsNone) {
    const std::string image = "/Width 8 /Height 8 /Filter ";
    const std::string without = decodedText(image + "/JBIG2Decode", "data");
    EXPECT_EQ(decodedText(image + "/JBIG2Decode /DecodeParms << /JBIG2Globals 4 0 R >>", "data"), without);
    EXPECT_EQ(decodedText(image + "[/JBIG2Decode] /DecodeParms [<< /JBIG2Globals 4 0 R >>]", "data"), without);
}

TEST(StreamFilters, DamagedDataGiveWhatCouldBeDecoded) {
    const std::string long1 = mixture();
    const std::string coded = flate(long1);
    const std::string half = text(inflate(spanOf(coded).first(coded.size() / 2), enough));
    EXPECT_GT(half.size(), 10000U);
    EXPECT_EQ(half, long1.substr(0, half.size()));
    std::string wrongSum = coded;
    wrongSum.back() = static_cast<char>(wrongSum.back() ^ 1);
    EXPECT_EQ(text(inflate(spanOf(wrongSum), enough)), long1);
    std::string wrongHeader = coded;
    wrongHeader.replace(0, 2, "\x08\x08");
    EXPECT_EQ(text(inflate(spanOf(wrongHeader), enough)), long1);
    EXPECT_EQ(text(decodeASCIIHex(spanOf("4 1\n4x2 5"), enough)), "ABP");
    EXPECT_EQ(text(decodeASCII85(spanOf("87cURDZ~>"), enough)), "Hello");
    EXPECT_EQ(text(decodeASCII85(spanOf("87cUR\x80 DZ"), enough)), "Hell");
    EXPECT_EQ(text(decodeASCII85(spanOf("z!"), enough)), std::string(4, '\0'));
    EXPECT_EQ(text(expandRunLengths(spanOf("\x04"
                                           "ab"),
                                    enough)),
              "ab");
    EXPECT_EQ(text(expandRunLengths(spanOf("\xFF"), enough)), "");
    EXPECT_EQ(text(expandLZW(spanOf("\x80\x0B\x60\x50\x22\x0C\x0C\x85\x01"), true, enough)), "-----A---B");
    EXPECT_EQ(text(expandLZW(spanOf("\x80\x0B\x60\x50\x22"), true, enough)), "-----");
    EXPECT_EQ(text(expandLZW(spanOf("\xFF\xFF\xFF\xFF"), true, enough)), "");
}

TEST(StreamFilters, NothingGrowsBeyondWhatIsAskedFor) {
    const std::string zeros(4 << 20, '\0');
    EXPECT_EQ(decodedText("/Filter /FlateDecode", flate(zeros), 10).size(), 10U);
    EXPECT_EQ(decodedText("/Filter [/FlateDecode /FlateDecode]", flate(flate(zeros)), 10).size(), 10U);
    EXPECT_EQ(decodedText("/Filter /FlateDecode /DecodeParms << /Predictor 12 /Columns 4 >>", flate(zeros), 10).size(),
              10U);
    EXPECT_EQ(decodedText("/Filter /FlateDecode /DecodeParms << /Predictor 12 /Columns 2147483647 /Colors 64 >>",
                          flate("\x02"
                                "abc")),
              "abc");
    EXPECT_EQ(expandRunLengths(spanOf("\x81x\x81x"), 5).size(), 5U);
    EXPECT_EQ(decodeASCII85(spanOf("zzz"), 5).size(), 5U);
    // Blank rows take a bit each.
    EXPECT_EQ(decodeFax(ByteBuffer(1000, 0xFF), {-1, 1 << 20, 0, false, false, false}, 1 << 22).size(),
              std::size_t{1} << 22);
    EXPECT_TRUE(decodeFax(ByteBuffer(10, 0xFF), {-1, std::int64_t{1} << 40, 0, false, false, false}, enough).empty());
}

TEST(Fax, DamagedRowsLeaveTheRestWhiteOrAreResumed) {
    const FaxParameters group4{-1, 16, 4, false, false, false};
    // One row with a black pixel, then bits that mean nothing.
    const std::uint8_t broken[] = {0x35, 0x5F, 0x00, 0x00};
    const auto rest = decodeFax(broken, group4, enough);
    ASSERT_EQ(rest.size(), 8U);
    EXPECT_EQ(rest[6], 0xFF);
    EXPECT_EQ(rest[7], 0xFF);
    EXPECT_EQ(decodeFax({}, group4, enough), ByteBuffer(8, 0xFF));
    // Three rows with line ends, the middle one damaged: the last one is read.
    const std::string rows = "000000000001"
                             "1110011"
                             "10"
                             "000000001"
                             "000000000001"
                             "1110"
                             "000000000001"
                             "1011"
                             "0000010111"
                             "000000000001";
    ByteBuffer bits((rows.size() + 7) / 8);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        bits[i / 8] = static_cast<std::uint8_t>(bits[i / 8] | (rows[i] == '1' ? 0x80 >> i % 8 : 0));
    }
    const auto resumed = decodeFax(bits, {0, 20, 0, false, false, false}, enough);
    ASSERT_GE(resumed.size(), 6U);
    EXPECT_EQ(resumed[resumed.size() - 3], 0xF0);
}

} // namespace
} // namespace orvex
