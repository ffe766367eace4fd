#include "Platform/PDF/Jbig2/Arithmetic_p.h"

#include <gtest/gtest.h>

namespace orvex::jbig2 {
namespace {

/// ITU-T T.88, H.2: the data and what they stand for, all of it in one context.
TEST(ArithmeticDecoder, DecodesTheStandardsOwnSequence) {
    const std::vector<std::uint8_t> coded = {0x84, 0xC7, 0x3B, 0xFC, 0xE1, 0xA1, 0x43, 0x04, 0x02, 0x20,
                                             0x00, 0x00, 0x41, 0x0D, 0xBB, 0x86, 0xF4, 0x31, 0x7F, 0xFF,
                                             0x88, 0xFF, 0x37, 0x47, 0x1A, 0xDB, 0x6A, 0xDF, 0xFF, 0xAC};
    const std::vector<std::uint8_t> plain = {0x00, 0x02, 0x00, 0x51, 0x00, 0x00, 0x00, 0xC0, 0x03, 0x52, 0x87,
                                             0x2A, 0xAA, 0xAA, 0xAA, 0xAA, 0x82, 0xC0, 0x20, 0x00, 0xFC, 0xD7,
                                             0x9E, 0xF6, 0xBF, 0x7F, 0xED, 0x90, 0x4F, 0x46, 0xA3, 0xBF};
    ArithmeticDecoder decoder(coded);
    std::uint8_t context = 0;
    for (std::size_t i = 0; i < plain.size(); ++i) {
        unsigned byte = 0;
        for (int bit = 0; bit < 8; ++bit) {
            byte = byte << 1 | decoder.bit(context);
        }
        EXPECT_EQ(byte, plain[i]) << i;
    }
}

TEST(ArithmeticDecoder, GoesOnBehindTheEndOfTheDataAsBehindAMarker) {
    const std::vector<std::uint8_t> marked = {0x12, 0x34, 0xFF, 0xAC};
    ArithmeticDecoder withMarker(marked);
    ArithmeticDecoder without({marked.data(), 2});
    std::uint8_t context = 0;
    std::uint8_t same = 0;
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(withMarker.bit(context), without.bit(same)) << i;
    }
}

TEST(ArithmeticDecoder, CountsTheBitsThatNumbersNeed) {
    const std::vector<std::pair<std::uint64_t, unsigned>> cases = {{0, 0}, {1, 0}, {2, 1},   {3, 2},
                                                                   {4, 2}, {5, 3}, {256, 8}, {257, 9}};
    for (const auto& [count, bits] : cases) {
        EXPECT_EQ(bitsFor(count), bits) << count;
    }
}

} // namespace
} // namespace orvex::jbig2
