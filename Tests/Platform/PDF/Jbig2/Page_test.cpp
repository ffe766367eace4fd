// Whole JBIG2 data beside poppler's reading. Any bytes are arithmetic code, so that noise serves as the pixels of all
// regions that say their size ahead; text and symbols are in the shared collection's files.
#include "OrvexPDF/Document.h"
#include "Platform/Imaging/Image.h"
#include "Platform/PDF/Objects/PDFObject.h"
#include "Platform/PDF/Objects/StreamFilters_p.h"
#include "Support/Command.h"
#include "Support/ImagePage.h"
#include "Support/PDFFixture.h"
#include "Support/Places.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <random>

namespace orvex {
namespace {

using namespace std::string_literals;

constexpr std::int64_t width = 96;
constexpr std::int64_t height = 80;

std::string bigEndian(std::int64_t value, int bytes = 4) {
    std::string text;
    for (int i = bytes - 1; i >= 0; --i) {
        text += static_cast<char>(value >> 8 * i & 0xFF);
    }
    return text;
}

std::string segment(int number, int type, const std::string& data, const std::string& refersTo = {}) {
    return bigEndian(number) + static_cast<char>(type) + static_cast<char>(refersTo.size() << 5) + refersTo + '\1' +
           bigEndian(static_cast<std::int64_t>(data.size())) + data;
}

std::string page(char flags = 0, std::int64_t rows = height) {
    return segment(0, 48, bigEndian(width) + bigEndian(rows) + bigEndian(0) + bigEndian(0) + flags + "\0\0"s);
}

struct Place {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t width = orvex::width;
    std::int64_t height = orvex::height;
    char combination = 0;
};

std::string region(const Place& at, const std::string& rest) {
    return bigEndian(at.width) + bigEndian(at.height) + bigEndian(at.x) + bigEndian(at.y) + at.combination + rest;
}

std::string noise(unsigned seed) {
    std::mt19937 numbers(seed);
    std::string bytes;
    for (int i = 0; i < 3000; ++i) {
        const char byte = static_cast<char>(numbers());
        bytes += byte == '\xFF' ? '\x7F' : byte; // no markers
    }
    return bytes;
}

const std::string nominal0 = "\x03\xFF\xFD\xFF\x02\xFE\xFE\xFE"s;
const std::string nominal3 = "\x02\xFF"s;

std::string generic(int number, const Place& at, unsigned seed, int type = 38) {
    return segment(number, type, region(at, "\0"s + nominal0 + noise(seed)));
}

struct PageCase {
    std::string name;
    std::string data;
};

std::vector<PageCase> genericCases() {
    std::vector<PageCase> cases;
    const std::vector<std::string> nominal = {nominal0, "\x03\xFF"s, nominal3, nominal3};
    const std::vector<std::string> moved = {"\xF0\x00\xFD\xFB\x09\xFE\xFE\xF8"s, "\xFA\x00"s, "\x11\xFD"s, "\x80\x80"s};
    for (unsigned pattern = 0; pattern < 4; ++pattern) {
        for (const bool repeats : {false, true}) {
            const char flags = static_cast<char>(pattern << 1 | (repeats ? 8 : 0));
            const std::string name = "pattern " + std::to_string(pattern) + (repeats ? ", rows that repeat" : "");
            cases.push_back({name, page() + segment(1, 38, region({}, flags + nominal[pattern] + noise(pattern)))});
            cases.push_back({name + ", moved pixels",
                             page() + segment(1, 38, region({}, flags + moved[pattern] + noise(pattern)))});
        }
    }
    return cases;
}

std::vector<PageCase> refinementCases() {
    std::vector<PageCase> cases;
    const std::string below = generic(1, {}, 1);
    const std::string stored = generic(1, {}, 1, 36);
    cases.push_back(
        {"refinement of the page", page() + below + segment(2, 42, region({}, "\0\xFF\xFF\xFF\xFF"s + noise(2)))});
    cases.push_back({"refinement of a region",
                     page() + stored + segment(2, 42, region({}, "\0\xFF\xFF\xFF\xFF"s + noise(2)), "\1")});
    cases.push_back({"refinement, moved pixels",
                     page() + stored + segment(2, 42, region({}, "\0\xFD\xFE\x04\xFB"s + noise(3)), "\1")});
    cases.push_back(
        {"refinement, small pattern", page() + stored + segment(2, 42, region({}, "\1"s + noise(4)), "\1")});
    cases.push_back({"refinement of a refinement", page() + stored +
                                                       segment(2, 40, region({}, "\1"s + noise(4)), "\1") +
                                                       segment(3, 43, region({}, "\1"s + noise(5)), "\2")});
    return cases;
}

std::vector<PageCase> pageCases() {
    std::vector<PageCase> cases;
    for (char combination = 0; combination < 5; ++combination) {
        const std::string name = "combination " + std::to_string(combination);
        const Place part{13, 9, 50, 40, combination};
        cases.push_back({name, page() + generic(1, {}, 1) + generic(2, part, 2)});
        cases.push_back({name + " over black", page('\4') + generic(2, part, 2)});
        cases.push_back(
            {name + " beyond the page", page() + generic(1, {}, 1) + generic(2, {70, 60, 90, 90, combination}, 3)});
    }
    const std::string unsaid = page(0, 0xFFFFFFFF);
    cases.push_back(
        {"no height", unsaid + generic(1, {}, 1) + segment(2, 50, bigEndian(height - 1)) + segment(3, 49, "")});
    cases.push_back({"comment, profile", page() + segment(5, 62, "\x20\0\0\0text"s) +
                                             segment(6, 52, bigEndian(1) + "\1\1\1\1\1\0\0\0\0\0\0\0"s) +
                                             generic(1, {}, 1)});
    cases.push_back({"number that takes two bytes",
                     page() + generic(300, {}, 1, 36) + segment(301, 42, region({}, "\1"s + noise(4)), "\1\x2C")});
    cases.back().data[cases.back().data.rfind("\1\x2C\1"s) - 1] = 0x20; // one reference, of two bytes
    return cases;
}

std::vector<PageCase> halftoneCases() {
    std::vector<PageCase> cases;
    for (unsigned pattern = 0; pattern < 4; ++pattern) {
        const std::string flags(1, static_cast<char>(pattern << 1));
        const std::string patterns = segment(1, 16, flags + "\4\5"s + bigEndian(15) + noise(pattern));
        const std::string grid = bigEndian(20) + bigEndian(14) + bigEndian(2 * 256) + bigEndian(-300) +
                                 bigEndian(5 * 256, 2) + bigEndian(77, 2);
        const std::string name = "halftone, pattern " + std::to_string(pattern);
        cases.push_back({name, page() + patterns + segment(2, 22, region({}, flags + grid + noise(9)), "\1")});
    }
    return cases;
}

std::string packed(std::string bits) {
    std::erase(bits, ' ');
    std::string bytes((bits.size() + 7) / 8, '\0');
    for (std::size_t i = 0; i < bits.size(); ++i) {
        bytes[i / 8] = static_cast<char>(bytes[i / 8] | (bits[i] == '1' ? 0x80 >> i % 8 : 0));
    }
    return bytes;
}

/// Two symbols of eight by eight pixels, as they are, side by side; then three of them in a row, by standard tables.
std::vector<PageCase> textCases() {
    const std::string counts = bigEndian(2) + bigEndian(2);
    const std::string size = packed("1110 100" /* high */ "1110 101" /* wide */ "0" /* so is the next */ "111111"
                                    "0 0000" /* not packed */);
    const std::string pixels = "\x3C\xF0\x42\x88\x81\x84\x81\x82\x81\x82\x81\x84\x42\x88\x3C\xF0";
    const std::string symbols = segment(1, 0, "\0\1"s + counts + size + pixels + packed("0 0000 0 0010" /* all */));
    const std::string ids = "\x01" + std::string(16, '\0') + "\0"s; // both symbols' codes have one bit
    const std::string places = packed("0" /* from one above */ "11101 00" /* nine down */ "00 0010101" /* 21 in */ "0"
                                      "100 0010" /* six on */ "1"
                                      "00 0" /* no gap */ "0"
                                      "01");
    std::vector<PageCase> cases;
    for (unsigned i = 0; i < 24; ++i) {
        constexpr std::array<unsigned, 3> combinations = {0, 2, 3};
        const unsigned corner = i % 4;
        const unsigned transposed = i / 4 % 2;
        const unsigned combination = combinations[i / 8];
        const unsigned flags = 1U | corner << 4 | transposed << 6 | combination << 7 | 30U << 10;
        const std::string text = bigEndian(flags, 2) + bigEndian(0, 2) + bigEndian(3) + ids + places;
        std::string name = "text, corner ";
        name += "0123"[corner];
        name += transposed == 1 ? " transposed, combination " : ", combination ";
        name += "0123"[combination];
        cases.push_back({name, page() + symbols + segment(2, 6, region({10, 10, 60, 60}, text), "\1")});
    }
    return cases;
}

/// One page of the image, a point a pixel.
Bytes fileOf(const PageCase& c) {
    const std::string box = std::to_string(width) + " " + std::to_string(height);
    const auto image = test::imageDictionary(width, height, 1, "/DeviceGray", "/Filter /JBIG2Decode");
    return Bytes(test::pdfFromObjects(
        {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
         "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + box +
             "] /Contents 4 0 R /Resources << /XObject << /I 5 0 R >> >> >>",
         test::streamBody(std::to_string(width) + " 0 0 " + std::to_string(height) + " 0 0 cm /I Do"),
         test::streamBody(c.data, image)}));
}

std::optional<Bytes> ours(const Bytes& file) {
    const PDFObject objects =
        PDFObject::ofPage(*OrvexPDFDocument::fromData(file)->page(0)).get("Resources").get("XObject");
    const auto data = objects.get(objects.keys().front()).streamData();
    return data ? std::optional(data->bytes) : std::nullopt;
}

class Jbig2 : public testing::TestWithParam<PageCase> {};

std::string nameOfCase(const testing::TestParamInfo<PageCase>& info) {
    std::string name = info.param.name;
    std::ranges::replace_if(
        name, [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
}

/// Poppler cuts off wrongly beside the page's edge, wants stripes of pages that do not say their height, and does not
/// read symbols that are not packed.
bool isForMuPDF(const std::string& name) {
    return name.ends_with("beyond the page") || name == "no height" || name.starts_with("text");
}

TEST_P(Jbig2, IsReadAsOthersReadIt) {
    const test::TempFolder folder;
    const Bytes file = fileOf(GetParam());
    std::ofstream(folder.path() / "file.pdf", std::ios::binary) << file.text();
    const std::string reader = isForMuPDF(GetParam().name) ? "mutool draw -q -r 72 -A 0 -c gray -o i-000.png file.pdf"
                                                           : "pdfimages -png file.pdf i";
    ASSERT_EQ(test::run("cd " + test::quoted(folder.path().string()) + " && " + reader).exitCode, 0);
    const Bitmap theirs = *Image::fromData(readFile(folder.path() / "i-000.png"))->representations().front()->bitmap();
    ASSERT_EQ(theirs.width, width);
    const auto data = ours(file);
    ASSERT_TRUE(data);
    for (std::int64_t y = 0; y < height; ++y) {
        for (std::int64_t x = 0; x < width; ++x) {
            const auto* row = data->data() + y * width / 8;
            const bool isWhite =
                theirs.bitsPerComponent == 1 ? (theirs.row(y)[x / 8] >> (7 - x % 8) & 1) == 1 : theirs.row(y)[x] > 127;
            ASSERT_EQ((row[x / 8] >> (7 - x % 8) & 1) == 1, isWhite) << x << ", " << y;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Generic, Jbig2, testing::ValuesIn(genericCases()), nameOfCase);
INSTANTIATE_TEST_SUITE_P(Refinement, Jbig2, testing::ValuesIn(refinementCases()), nameOfCase);
INSTANTIATE_TEST_SUITE_P(Page, Jbig2, testing::ValuesIn(pageCases()), nameOfCase);
INSTANTIATE_TEST_SUITE_P(Text, Jbig2, testing::ValuesIn(textCases()), nameOfCase);
INSTANTIATE_TEST_SUITE_P(Halftone, Jbig2, testing::ValuesIn(halftoneCases()), nameOfCase);

std::optional<ByteBuffer> decoded(const std::string& data, const std::string& globals = {}) {
    return decodeJbig2({Bytes::copyOf(data), Bytes::copyOf(globals), width, height});
}

TEST(Jbig2Data, OfTheSharedCollectionHoldOnePictureInAsManyWays) {
    const auto folder = test::sharedFolder() / "corpus/mixed";
    if (!std::filesystem::exists(folder)) {
        GTEST_SKIP() << "the shared collection of files is not there";
    }
    std::optional<Bytes> first;
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (!entry.path().filename().string().starts_with("bitmap-")) {
            continue;
        }
        const auto data = ours(readFile(entry.path()));
        ASSERT_TRUE(data) << entry.path();
        first = first ? first : data;
        EXPECT_TRUE(data->text() == first->text()) << entry.path();
        ++count;
    }
    EXPECT_EQ(count, 41);
}

TEST(Jbig2Data, OfAWholeFileAreReadInEitherOrder) {
    const std::string plain = page() + generic(1, {}, 1);
    const auto expected = decoded(plain);
    ASSERT_TRUE(expected);
    const std::string signature = "\x97JB2\r\n\x1a\n";
    EXPECT_EQ(decoded(signature + "\1" + bigEndian(1) + plain), expected);
    EXPECT_EQ(decoded(signature + "\3" + plain), expected);
    const std::string endOfFile = segment(2, 51, "");
    const auto headerOf = [](const std::string& segment) { return segment.substr(0, 11); };
    const auto dataOf = [](const std::string& segment) { return segment.substr(11); };
    const std::string shown = generic(1, {}, 1);
    EXPECT_EQ(
        decoded(signature + "\2" + headerOf(page()) + headerOf(shown) + endOfFile + dataOf(page()) + dataOf(shown)),
        expected);
}

TEST(Jbig2Data, MayLeaveTheirLengthToTheirEnd) {
    const std::string code = noise(1) + "\xFF\xAC";
    const std::string known = page() + segment(1, 38, region({}, "\0"s + nominal0 + code));
    std::string unknown =
        page() + segment(1, 38, region({0, 0, width, height + 100}, "\0"s + nominal0 + code) + bigEndian(height));
    unknown.replace(unknown.find(bigEndian(width) + bigEndian(height + 100)) - 4, 4, "\xFF\xFF\xFF\xFF");
    ASSERT_TRUE(decoded(known));
    EXPECT_EQ(decoded(unknown + segment(2, 49, "")), decoded(known));
}

TEST(Jbig2Data, ThatAreDamagedKeepWhatWasThereBefore) {
    const std::string good = page() + generic(1, {}, 1);
    const auto expected = decoded(good);
    ASSERT_TRUE(expected);
    const std::string where = region({}, "");
    const std::vector<std::string> bad = {
        "rubbish",
        std::string(40, '\xFF'),
        segment(2, 6, where),
        segment(2, 22, where + "\0"s, "\1"),
        segment(2, 42, where + "\0"s),
        segment(2, 0, "\0"s),
        segment(2, 16, "\0\0\0"s + bigEndian(5)),
        segment(2, 38, region({}, "\x10"s + nominal0)),
        segment(2, 38, region({}, "\0\0\1\xFD\xFF\x02\xFE\xFE\xFE"s)),
        segment(2, 53, "\0"s),
        segment(2, 38, region({0, 0, 0xFFFFFFFF, 0xFFFFFFFF}, "\0"s + nominal0)),
    };
    for (const auto& rest : bad) {
        EXPECT_EQ(decoded(good + rest), expected) << testing::PrintToString(rest);
    }
    EXPECT_FALSE(decoded(""));
    EXPECT_FALSE(decoded(generic(1, {}, 1))); // nothing to draw on
}

TEST(Jbig2Data, ThatAskForTooMuchEndEarly) {
    const std::string everything = bigEndian(0xFFFFFFFF);
    const std::string many = segment(1, 0, "\0\0"s + nominal0 + everything + everything + noise(1));
    const std::string patterns = segment(1, 16, "\0\xFF\xFF"s + everything + noise(1));
    const std::string instances = segment(2, 6, region({}, "\0\0"s + everything + noise(2)), "\1");
    for (const auto& data : {many, patterns, many + instances, instances, page() + instances}) {
        EXPECT_TRUE(decoded(page() + data));
    }
    const std::string huge = segment(0, 48, everything + everything + bigEndian(0) + bigEndian(0) + "\0\0\0"s);
    EXPECT_FALSE(decoded(huge));
    EXPECT_FALSE(decodeJbig2({Bytes::copyOf(page()), {}, std::int64_t{1} << 20, std::int64_t{1} << 20}));
}

TEST(Jbig2Data, OfAnotherSizeThanTheImageAreCutOrGoOnInWhite) {
    const std::string data = page('\4');
    const auto smaller = decodeJbig2({Bytes::copyOf(data), {}, 8, 2});
    EXPECT_EQ(smaller, (ByteBuffer{0, 0}));
    const auto larger = decodeJbig2({Bytes::copyOf(data), {}, width + 8, height + 1});
    ASSERT_TRUE(larger);
    EXPECT_EQ((*larger)[11], 0);
    EXPECT_EQ((*larger)[12], 0xFF);
    EXPECT_EQ(larger->back(), 0xFF);
    const std::string noColumns =
        segment(0, 48, bigEndian(0) + bigEndian(height) + bigEndian(0) + bigEndian(0) + "\4\0\0"s);
    EXPECT_EQ(decoded(noColumns + generic(1, {}, 1)), ByteBuffer(width / 8 * height, 0xFF));
    EXPECT_EQ(decoded(page() + generic(1, {0, 0, 0, 10}, 1) + generic(2, {0, 0, 10, 0}, 2)),
              ByteBuffer(width / 8 * height, 0xFF));
}

} // namespace
} // namespace orvex
