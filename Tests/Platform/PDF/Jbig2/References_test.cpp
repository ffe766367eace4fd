#include "Platform/PDF/Jbig2/Segments_p.h"

#include <gtest/gtest.h>

namespace orvex::jbig2 {
namespace {

TEST(References, GiveNoMoreSymbolsThanWerePaidFor) {
    constexpr std::size_t symbols = 100;
    constexpr std::size_t times = 50;
    const Resource dictionary = SymbolDictionary{Symbols(symbols), {}, {}};
    const References references(std::vector(times, &dictionary));
    Budget enough(symbols * times * sizeof(BitmapPtr));
    EXPECT_EQ(references.symbols(enough).size(), symbols * times);
    Budget short_(symbols * times * sizeof(BitmapPtr) - 1);
    EXPECT_THROW(static_cast<void>(references.symbols(short_)), Damage);
}

} // namespace
} // namespace orvex::jbig2
