#include "Platform/PDF/Jbig2/Bitmap_p.h"

#include <algorithm>

namespace orvex::jbig2 {

namespace {

constexpr std::int64_t longestSide = std::int64_t{1} << 24;
constexpr std::uint64_t unitsOfABitmap = 256; // for what surrounds the pixels

/// The eight bits of a row from `at` on, which may be outside of it.
unsigned eightBits(const std::uint8_t* row, std::int64_t rowBytes, std::int64_t at) {
    const std::int64_t byte = at >= 0 ? at / 8 : -((7 - at) / 8);
    const auto shift = static_cast<unsigned>(at - byte * 8);
    const auto byteAt = [&](std::int64_t index) { return index >= 0 && index < rowBytes ? row[index] : 0U; };
    return (byteAt(byte) << 8 | byteAt(byte + 1)) >> (8 - shift) & 0xFFU;
}

unsigned combined(unsigned below, unsigned above, Operator combination) {
    switch (combination) {
    case Operator::or_:
        return below | above;
    case Operator::and_:
        return below & above;
    case Operator::xor_:
        return below ^ above;
    case Operator::xnor:
        return ~(below ^ above);
    case Operator::replace:
        break;
    }
    return above;
}

} // namespace

Bitmap::Bitmap(std::int64_t width, std::int64_t height, Budget& budget, bool isBlack)
    : width_(width), height_(height), rowBytes_(static_cast<std::size_t>(width / 8 + (width % 8 > 0 ? 1 : 0))) {
    if (width < 0 || height < 0 || width > longestSide || height > longestSide) {
        throw Damage("sides that no image has");
    }
    budget.spend(unitsOfABitmap + (rowBytes_ + 1) * 8 * static_cast<std::uint64_t>(height));
    bits_.assign(rowBytes_ * static_cast<std::size_t>(height), isBlack ? 0xFF : 0);
}

void Bitmap::draw(const Bitmap& other, std::int64_t x, std::int64_t y, Operator combination) {
    const std::int64_t left = std::max<std::int64_t>(x, 0);
    const std::int64_t right = std::min(x + other.width_, width_);
    const std::int64_t bottom = std::min(y + other.height_, height_);
    for (std::int64_t line = std::max<std::int64_t>(y, 0); line < bottom && left < right; ++line) {
        const std::uint8_t* from = other.row(line - y);
        std::uint8_t* to = row(line);
        for (std::int64_t byte = left / 8; byte * 8 < right; ++byte) {
            const std::int64_t start = std::max(left - byte * 8, std::int64_t{0});
            const std::int64_t end = std::min(right - byte * 8, std::int64_t{8});
            const unsigned mask = 0xFFU >> start & 0xFFU << (8 - end);
            const unsigned above = eightBits(from, static_cast<std::int64_t>(other.rowBytes_), byte * 8 - x);
            to[byte] = static_cast<std::uint8_t>((to[byte] & ~mask) | (combined(to[byte], above, combination) & mask));
        }
    }
}

Bitmap Bitmap::part(std::int64_t x, std::int64_t y, std::int64_t width, std::int64_t height, Budget& budget) const {
    Bitmap result(width, height, budget);
    result.draw(*this, -x, -y, Operator::replace);
    return result;
}

} // namespace orvex::jbig2
