// A few values in order, as a KeyedList holds them: a value stays in its slot while it is in the block, and only the
// order of the slots, a line of bytes, follows what is inserted and taken.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numeric>
#include <utility>

namespace orvex {

/// Offsets count from 0 in the values' order. What is done to it needs no memory.
template <class Value> class KeyedListBlock {
public:
    static constexpr std::size_t limit = 128;

    KeyedListBlock() { std::iota(slots_.begin(), slots_.end(), std::uint8_t{0}); }

    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] bool isFull() const { return size_ == limit; }
    [[nodiscard]] std::shared_ptr<Value>& value(std::size_t offset) { return values_[slots_[offset]]; }
    [[nodiscard]] const std::shared_ptr<Value>& value(std::size_t offset) const { return values_[slots_[offset]]; }
    /// Under which the list's table holds the value, once there is one.
    [[nodiscard]] std::uint32_t& hash(std::size_t offset) { return hashes_[slots_[offset]]; }
    [[nodiscard]] std::uint32_t hash(std::size_t offset) const { return hashes_[slots_[offset]]; }

    /// There must be room.
    void insert(std::size_t offset, std::shared_ptr<Value> value, std::uint32_t hash) {
        const auto slot = slots_[size_];
        const auto place = slots_.begin() + static_cast<std::ptrdiff_t>(offset);
        std::copy_backward(place, slots_.begin() + size_, slots_.begin() + size_ + 1);
        *place = slot;
        values_[slot] = std::move(value);
        hashes_[slot] = hash;
        ++size_;
    }

    std::shared_ptr<Value> take(std::size_t offset) {
        const auto slot = slots_[offset];
        const auto place = slots_.begin() + static_cast<std::ptrdiff_t>(offset);
        std::copy(place + 1, slots_.begin() + size_, place);
        slots_[--size_] = slot;
        return std::exchange(values_[slot], nullptr);
    }

    std::size_t ordinal = 0; ///< of the block among the list's

private:
    std::uint8_t size_ = 0;
    std::array<std::uint8_t, limit> slots_; ///< of the values in their order, then the free ones
    std::array<std::uint32_t, limit> hashes_{};
    std::array<std::shared_ptr<Value>, limit> values_;
};

} // namespace orvex
