#include "Platform/Foundation/Strings.h"
#include "Support/TempFolder.h"

#include <charconv>
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <set>

namespace orvex {
namespace {

TEST(UUID, IsRandomVersionFourInUpperCase) {
    const std::string form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        const auto id = makeUUID();
        EXPECT_THAT(id, testing::MatchesRegex(form));
        EXPECT_TRUE(seen.insert(id).second);
    }
}

struct ByteCountCase {
    std::int64_t bytes;
    std::string_view text;
};

constexpr ByteCountCase byteCounts[] = {
    {0, "Zero KB"},
    {1, "1 byte"},
    {-1, "-1 byte"},
    {2, "2 bytes"},
    {999, "999 bytes"},
    {1000, "1 KB"},
    {1024, "1 KB"},
    {11999, "12 KB"},
    {900000, "900 KB"},
    {12345678, "12.3 MB"},
    {123456789, "123.5 MB"},
    {999900000, "999.9 MB"},
    {1234567898, "1.23 GB"},
    {12345678987, "12.35 GB"},
    // half to even
    {5500, "6 KB"},
    {2500, "2 KB"},
    {2501, "3 KB"},
    {3500, "4 KB"},
    {1250000, "1.2 MB"},
    {1350000, "1.4 MB"},
    {1005000000, "1 GB"},
    {1015000000, "1.02 GB"},
    // zeros at the end are dropped
    {5000000, "5 MB"},
    {1100000000, "1.1 GB"},
    {1010000000, "1.01 GB"},
    // the unit moves up where rounding would reach 1000
    {999499, "999 KB"},
    {999500, "1 MB"},
    {999949999, "999.9 MB"},
    {999950000, "1 GB"},
    {999994999999, "999.99 GB"},
    {999995000000, "1 TB"},
    {999995000000000, "1 PB"},
    {999995000000000000, "1 EB"},
    {-1023, "-1 KB"},
    {-1234567898, "-1.23 GB"},
    {std::numeric_limits<std::int64_t>::max(), "9.22 EB"},
    {std::numeric_limits<std::int64_t>::min(), "-9.22 EB"},
};

TEST(ByteCount, IsWrittenAsFileManagersDo) {
    for (const auto& [bytes, text] : byteCounts) {
        EXPECT_EQ(formatByteCount(bytes), text) << bytes;
    }
}

struct DoubleCase {
    double value;
    std::string_view text;
};

constexpr double infinity = std::numeric_limits<double>::infinity();

constexpr DoubleCase doubles[] = {
    {0.0, "0.0"},
    {-0.0, "-0.0"},
    {1.0, "1.0"},
    {72.0, "72.0"},
    {0.5, "0.5"},
    {-0.25, "-0.25"},
    {0.1, "0.1"},
    {595.2012, "595.2012"},
    {129.59999999999999, "129.6"},
    {86.399999999999991, "86.39999999999999"},
    {0.0001, "0.0001"},
    {0.00012, "0.00012"},
    {0.00001, "1e-05"},
    {0.000099999, "9.9999e-05"},
    {1e15, "1000000000000000.0"},
    {123456789012345.5, "123456789012345.5"},
    {9007199254740991.0, "9007199254740991.0"},
    {9007199254740992.0, "9007199254740992.0"},
    {-9007199254740992.0, "-9007199254740992.0"},
    {9007199254740994.0, "9.007199254740994e+15"},
    {1e16, "1e+16"},
    {1.5e20, "1.5e+20"},
    {-1e100, "-1e+100"},
    {5e-324, "5e-324"},
    {std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
    {infinity, "inf"},
    {-infinity, "-inf"},
};

TEST(DescribeDouble, LaysShortestDigitsOut) {
    for (const auto& [value, text] : doubles) {
        EXPECT_EQ(describe(value), text);
    }
    EXPECT_EQ(describe(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(describe(-std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST(DescribeDouble, ReadsBackToTheSameValue) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 100'000; ++i) {
        const double value = std::bit_cast<double>(random());
        if (!std::isfinite(value)) {
            continue;
        }
        const auto text = describe(value);
        double back = 0;
        std::from_chars(text.data(), text.data() + text.size(), back);
        ASSERT_EQ(std::bit_cast<std::uint64_t>(back), std::bit_cast<std::uint64_t>(value)) << text;
        ASSERT_NE(text.find_first_of(".e"), std::string::npos) << text;
    }
}

TEST(DescribeOptionalText, QuotesAndEscapes) {
    EXPECT_EQ(describe(std::optional<std::string>()), "nil");
    EXPECT_EQ(describe(std::optional<std::string>("DRAFT")), "Optional(\"DRAFT\")");
    EXPECT_EQ(describe(std::optional<std::string>("a\"b\\c\nd\te\rf")), R"(Optional("a\"b\\c\nd\te\rf"))");
    EXPECT_EQ(describe(std::optional<std::string>("\x01\x1B\x7F")), R"(Optional("\u{01}\u{1B}\u{7F}"))");
    EXPECT_EQ(describe(std::optional<std::string>("Größe 日本")), "Optional(\"Größe 日本\")");
}

TEST(FileURL, IsPercentEncodedWithThreeSlashes) {
    EXPECT_EQ(fileURL("/nowhere/a b.pdf"), "file:///nowhere/a%20b.pdf");
    EXPECT_EQ(fileURL("/nowhere/100%?#.pdf"), "file:///nowhere/100%25%3F%23.pdf");
    EXPECT_EQ(fileURL("/nowhere/é.pdf"), "file:///nowhere/%C3%A9.pdf");
    EXPECT_EQ(fileURL("/nowhere/a-b_c~d(1)!.pdf"), "file:///nowhere/a-b_c~d(1)!.pdf");
}

TEST(FileURL, AFolderEndsInASlashAndARelativePathBecomesWhole) {
    const test::TempFolder folder;
    EXPECT_EQ(fileURL(folder.path()), "file://" + folder.path().string() + "/");
    EXPECT_TRUE(fileURL("relative.pdf").ends_with("/relative.pdf"));
    EXPECT_TRUE(fileURL("relative.pdf").starts_with("file:///"));
}

} // namespace
} // namespace orvex
