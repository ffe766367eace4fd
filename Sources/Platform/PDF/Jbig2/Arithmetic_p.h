// The adaptive binary arithmetic decoder of ITU-T T.88, annexes A and E.
#pragma once

#include "Platform/PDF/Jbig2/Reader_p.h"

#include <optional>
#include <vector>

namespace orvex::jbig2 {

/// What was learnt, by context: twice the state's number, plus the likelier bit.
using Contexts = std::vector<std::uint8_t>;

/// Behind the end of the data come ones, as behind a marker.
class ArithmeticDecoder {
public:
    explicit ArithmeticDecoder(std::span<const std::uint8_t> data);

    unsigned bit(std::uint8_t& context) {
        const State& state = states[context >> 1];
        width_ -= state.estimate;
        if (code_ >> 16 >= state.estimate) {
            code_ -= std::uint32_t{state.estimate} << 16;
            if ((width_ & 0x8000U) != 0) {
                return context & 1U;
            }
            return exchange(context, state, width_ < state.estimate);
        }
        const bool isLess = width_ >= state.estimate;
        width_ = state.estimate;
        return exchange(context, state, isLess);
    }

private:
    struct State {
        std::uint16_t estimate; ///< of the less likely bit's share
        std::uint8_t ifLikely;
        std::uint8_t ifLess;
        bool swaps;
    };
    static const State states[47];

    unsigned exchange(std::uint8_t& context, const State& state, bool isLess);
    void readByte();
    [[nodiscard]] unsigned byteAt(std::size_t index) const { return index < data_.size() ? data_[index] : 0xFFU; }

    std::span<const std::uint8_t> data_;
    std::size_t at_ = 0;
    std::uint32_t code_ = 0;
    std::uint32_t width_ = 0x8000;
    unsigned shiftsLeft_ = 0;
};

/// Whole numbers of one kind.
class IntegerContexts {
public:
    /// Nothing for the value that stands apart from all numbers.
    std::optional<std::int32_t> decode(ArithmeticDecoder& decoder);

private:
    Contexts contexts_ = Contexts(512);
};

/// Numbers of symbols.
class IdContexts {
public:
    explicit IdContexts(unsigned bits) : bits_(bits), contexts_(std::size_t{1} << bits) {}
    std::uint32_t decode(ArithmeticDecoder& decoder);

private:
    unsigned bits_;
    Contexts contexts_;
};

/// Bits that numbers below `count` need.
[[nodiscard]] unsigned bitsFor(std::uint64_t count);

} // namespace orvex::jbig2
