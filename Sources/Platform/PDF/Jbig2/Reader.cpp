#include "Platform/PDF/Jbig2/Reader_p.h"

namespace orvex::jbig2 {

std::uint32_t Reader::take(unsigned count) {
    std::uint32_t value = 0;
    for (const std::uint8_t byte : bytes(count)) {
        value = value << 8 | byte;
    }
    return value;
}

std::span<const std::uint8_t> Reader::bytes(std::size_t count) {
    align();
    if (count > left()) {
        throw Damage("the data end early");
    }
    at_ += count;
    return data_.subspan(at_ - count, count);
}

std::uint32_t Reader::bits(unsigned count) {
    std::uint32_t value = 0;
    for (; count > 0; --count) {
        if (usedBits_ == 0) {
            bytes(1);
        }
        value = value << 1 | (static_cast<unsigned>(data_[at_ - 1]) >> (7 - usedBits_) & 1U);
        usedBits_ = (usedBits_ + 1) % 8;
    }
    return value;
}

} // namespace orvex::jbig2
