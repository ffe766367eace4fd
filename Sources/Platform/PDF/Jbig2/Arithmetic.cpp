#include "Platform/PDF/Jbig2/Arithmetic_p.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>

namespace orvex::jbig2 {

/// T.88, table E.1.
const ArithmeticDecoder::State ArithmeticDecoder::states[47] = {
    {0x5601, 1, 1, true},    {0x3401, 2, 6, false},   {0x1801, 3, 9, false},   {0x0AC1, 4, 12, false},
    {0x0521, 5, 29, false},  {0x0221, 38, 33, false}, {0x5601, 7, 6, true},    {0x5401, 8, 14, false},
    {0x4801, 9, 14, false},  {0x3801, 10, 14, false}, {0x3001, 11, 17, false}, {0x2401, 12, 18, false},
    {0x1C01, 13, 20, false}, {0x1601, 29, 21, false}, {0x5601, 15, 14, true},  {0x5401, 16, 14, false},
    {0x5101, 17, 15, false}, {0x4801, 18, 16, false}, {0x3801, 19, 17, false}, {0x3401, 20, 18, false},
    {0x3001, 21, 19, false}, {0x2801, 22, 19, false}, {0x2401, 23, 20, false}, {0x2201, 24, 21, false},
    {0x1C01, 25, 22, false}, {0x1801, 26, 23, false}, {0x1601, 27, 24, false}, {0x1401, 28, 25, false},
    {0x1201, 29, 26, false}, {0x1101, 30, 27, false}, {0x0AC1, 31, 28, false}, {0x09C1, 32, 29, false},
    {0x08A1, 33, 30, false}, {0x0521, 34, 31, false}, {0x0441, 35, 32, false}, {0x02A1, 36, 33, false},
    {0x0221, 37, 34, false}, {0x0141, 38, 35, false}, {0x0111, 39, 36, false}, {0x0085, 40, 37, false},
    {0x0049, 41, 38, false}, {0x0025, 42, 39, false}, {0x0015, 43, 40, false}, {0x0009, 44, 41, false},
    {0x0005, 45, 42, false}, {0x0001, 45, 43, false}, {0x5601, 46, 46, false},
};

ArithmeticDecoder::ArithmeticDecoder(std::span<const std::uint8_t> data) : data_(data), code_(byteAt(0) << 16) {
    readByte();
    code_ <<= 7;
    shiftsLeft_ -= 7;
}

void ArithmeticDecoder::readByte() {
    if (byteAt(at_) == 0xFF) { // a bit was stuffed behind it, unless it begins a marker
        if (byteAt(at_ + 1) > 0x8F) {
            code_ += 0xFF00;
            shiftsLeft_ = 8;
            return;
        }
        ++at_;
        code_ += byteAt(at_) << 9;
        shiftsLeft_ = 7;
        return;
    }
    ++at_;
    code_ += byteAt(at_) << 8;
    shiftsLeft_ = 8;
}

unsigned ArithmeticDecoder::exchange(std::uint8_t& context, const State& state, bool isLess) {
    const unsigned likely = context & 1U;
    const unsigned value = isLess ? 1 - likely : likely;
    const unsigned next = isLess && state.swaps ? value : likely;
    const unsigned reached = isLess ? state.ifLess : state.ifLikely;
    context = static_cast<std::uint8_t>(reached << 1 | next);
    do {
        if (shiftsLeft_ == 0) {
            readByte();
        }
        width_ <<= 1;
        code_ <<= 1;
        --shiftsLeft_;
    } while ((width_ & 0x8000U) == 0);
    return value;
}

std::optional<std::int32_t> IntegerContexts::decode(ArithmeticDecoder& decoder) {
    struct Range {
        unsigned bits;
        std::int64_t from;
    };
    static constexpr std::array<Range, 6> ranges = {{{2, 0}, {4, 4}, {6, 20}, {8, 84}, {12, 340}, {32, 4436}}};
    unsigned before = 1;
    const auto next = [&] {
        const unsigned bit = decoder.bit(contexts_[before]);
        before = before < 256 ? before << 1 | bit : ((before << 1 | bit) & 511U) | 256U;
        return bit;
    };
    const bool isNegative = next() == 1;
    std::size_t range = 0;
    while (range + 1 < ranges.size() && next() == 1) {
        ++range;
    }
    std::int64_t value = 0;
    for (unsigned i = 0; i < ranges[range].bits; ++i) {
        value = value << 1 | next();
    }
    value += ranges[range].from;
    if (isNegative && value == 0) {
        return std::nullopt;
    }
    if (value > std::numeric_limits<std::int32_t>::max()) {
        throw Damage("a number out of range");
    }
    return static_cast<std::int32_t>(isNegative ? -value : value);
}

std::uint32_t IdContexts::decode(ArithmeticDecoder& decoder) {
    std::uint32_t before = 1;
    for (unsigned i = 0; i < bits_; ++i) {
        before = before << 1 | decoder.bit(contexts_[before]);
    }
    return before - (std::uint32_t{1} << bits_);
}

unsigned bitsFor(std::uint64_t count) {
    return count < 2 ? 0 : static_cast<unsigned>(std::bit_width(count - 1));
}

} // namespace orvex::jbig2
