#include "Platform/PDF/Jbig2/Huffman_p.h"

#include <gtest/gtest.h>

#include <string>

namespace orvex::jbig2 {
namespace {

std::vector<std::uint8_t> bytesOf(const std::string& bits) {
    std::vector<std::uint8_t> bytes((bits.size() + 7) / 8);
    for (std::size_t i = 0; i < bits.size(); ++i) {
        bytes[i / 8] = static_cast<std::uint8_t>(bytes[i / 8] | (bits[i] - '0') << (7 - i % 8));
    }
    return bytes;
}

/// Codes as ITU-T T.88 prints them in its tables B.1 to B.15.
TEST(HuffmanTable, StandardCodesAreThoseOfTheStandard) {
    struct Case {
        unsigned table;
        std::string bits;
        std::optional<std::int32_t> value;
    };
    const std::vector<Case> cases = {
        {1,
         "0"
         "0101",
         5},
        {1,
         "10"
         "00000001",
         17},
        {1,
         "111"
         "00000000000000000000000000000010",
         65810},
        {2, "111111", std::nullopt},
        {2,
         "1110"
         "110",
         9},
        {3,
         "11111110"
         "00000011",
         -253},
        {3,
         "11111111"
         "00000000000000000000000000000001",
         -258},
        {3,
         "1111110"
         "00000000000000000000000000000000",
         75},
        {4, "0", 1},
        {5,
         "111110"
         "00000000000000000000000000000000",
         76},
        {6,
         "00"
         "1111111",
         127},
        {7,
         "000"
         "00000001",
         -511},
        {8,
         "00"
         "1",
         1},
        {8, "01", std::nullopt},
        {9, "00", std::nullopt},
        {10, "10", std::nullopt},
        {11, "0", 1},
        {12, "0", 1},
        {13, "0", 1},
        {14, "100", -2},
        {14, "0", 0},
        {15, "0", 0},
        {15,
         "1111110"
         "00000000000000000000000000000000",
         -25},
    };
    for (const Case& c : cases) {
        const auto bytes = bytesOf(c.bits);
        Reader reader(bytes);
        EXPECT_EQ(HuffmanTable::standard(c.table)->decode(reader), c.value) << "B." << c.table << ' ' << c.bits;
    }
}

/// Whatever the bits, there is a number, be it a very large one, or the value that stands apart.
TEST(HuffmanTable, StandardCodesLeaveNoBitsWithoutAMeaning) {
    std::vector<std::uint8_t> bytes(4096);
    unsigned state = 5;
    for (auto& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    for (unsigned number = 1; number <= 15; ++number) {
        Reader reader(bytes);
        while (reader.left() > 8) {
            try {
                static_cast<void>(HuffmanTable::standard(number)->decode(reader));
            } catch (const Damage& damage) {
                ASSERT_STREQ(damage.what(), "a number out of range") << "B." << number;
            }
        }
    }
}

TEST(HuffmanTable, ComesWithTheDataToo) {
    // Two bits of code length, one of range length; from -1 to 2; the value apart has a code.
    const std::string bits = "01"
                             "1" /* -1, 0 */ "11"
                             "0" /* 1 */ "00" /* below */ "10" /* 2 and above */ "11" /* apart */;
    std::vector<std::uint8_t> bytes = {0b0000'0011, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 2};
    for (const auto byte : bytesOf(bits)) {
        bytes.push_back(byte);
    }
    Reader reader(bytes);
    Budget budget(100);
    const HuffmanTable table = HuffmanTable::read(reader, budget);
    const auto coded = bytesOf("01"
                               "00"
                               "110"
                               "111"
                               "10"
                               "00000000000000000000000000000011");
    Reader numbers(coded);
    EXPECT_EQ(table.decode(numbers), 0);
    EXPECT_EQ(table.decode(numbers), -1);
    EXPECT_EQ(table.decode(numbers), 1);
    EXPECT_EQ(table.decode(numbers), std::nullopt);
    EXPECT_EQ(table.decode(numbers), 5);
}

TEST(HuffmanTable, TakesNoMoreLinesThanWerePaidFor) {
    constexpr std::size_t lines = 1000;
    std::vector<std::uint8_t> bytes = {0, 0, 0, 0, 0, 0, 0, lines >> 8, lines & 0xFF}; // from 0 on, two bits a line
    bytes.resize(bytes.size() + lines / 4 + 1);
    const auto read = [&](std::uint64_t units) {
        Reader reader(bytes);
        Budget budget(units);
        return HuffmanTable::read(reader, budget);
    };
    EXPECT_NO_THROW(static_cast<void>(read(lines * sizeof(HuffmanLine))));
    EXPECT_THROW(static_cast<void>(read((lines - 1) * sizeof(HuffmanLine))), Damage);
}

TEST(HuffmanTable, RefusesMoreCodesThanThereCanBe) {
    EXPECT_THROW(HuffmanTable({{1, 0, 0}, {1, 0, 1}, {1, 0, 2}}), Damage);
    const std::vector<std::uint8_t> ones(16, 0xFF);
    Reader reader(ones);
    EXPECT_THROW(static_cast<void>(HuffmanTable({{1, 0, 0}}).decode(reader)), Damage);
}

} // namespace
} // namespace orvex::jbig2
