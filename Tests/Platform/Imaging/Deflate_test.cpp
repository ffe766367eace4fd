#include "Platform/Imaging/Deflate.h"

#include <gtest/gtest.h>

#include <random>

namespace orvex {
namespace {

TEST(Deflater, GivesTheSameStreamsOneAfterTheOtherAsEachByItself) {
    std::mt19937 chance(7);
    Deflater deflater(3);
    for (const std::size_t size : {100'000U, 0U, 1U, 40'000U, 200'000U}) { // what was there before must not show
        std::string text(size, ' ');
        for (char& c : text) {
            c = static_cast<char>('a' + chance() % 5);
        }
        const Bytes alone = deflate(Bytes::copyOf(text).span(), 3);
        const std::string packed = deflater.deflate(text);
        EXPECT_EQ(packed, alone.text());
        const auto back = inflateZlib(Bytes::copyOf(packed).span(), size + 1);
        ASSERT_TRUE(back);
        EXPECT_EQ(std::string(back->begin(), back->end()), text);
    }
}

} // namespace
} // namespace orvex
