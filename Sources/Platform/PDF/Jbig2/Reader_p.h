// The bytes of JBIG2 segments (ITU-T T.88), big-endian and in bits, and what decoding them may cost.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>

namespace orvex::jbig2 {

/// Data that break the rules, or claim to be more than fits.
struct Damage : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A number that the data have to hold.
inline std::int32_t present(std::optional<std::int32_t> number) {
    if (!number) {
        throw Damage("a number is missing");
    }
    return *number;
}

/// A few bytes can ask for any number of pixels: each kind of work is paid for ahead.
class Budget {
public:
    explicit Budget(std::uint64_t units) : left_(units) {}
    /// A unit stands for a pixel decoded. Throws Damage when there is no more.
    void spend(std::uint64_t units) {
        if (units > left_) {
            throw Damage("more pixels than the image can need");
        }
        left_ -= units;
    }

private:
    std::uint64_t left_;
};

/// Reads on from where it stands. Throws Damage behind the end.
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> data) : data_(data) {}

    std::uint32_t u8() { return take(1); }
    std::uint32_t u16() { return take(2); }
    std::uint32_t u32() { return take(4); }
    std::int16_t i8() { return static_cast<std::int16_t>(static_cast<int>(take(1) ^ 0x80U) - 0x80); }
    std::int32_t i32() { return static_cast<std::int32_t>(take(4)); }
    /// Up to 32 bits, the highest one first.
    std::uint32_t bits(unsigned count);
    std::uint32_t bit() { return bits(1); }
    /// On to the next whole byte.
    void align() { usedBits_ = 0; }

    [[nodiscard]] std::size_t left() const { return data_.size() - at_; }
    [[nodiscard]] std::span<const std::uint8_t> rest() const { return data_.subspan(at_); }
    std::span<const std::uint8_t> bytes(std::size_t count);

private:
    std::uint32_t take(unsigned count);

    std::span<const std::uint8_t> data_;
    std::size_t at_ = 0;
    unsigned usedBits_ = 0; ///< of the byte before `at_`; 0 for all of it
};

} // namespace orvex::jbig2
