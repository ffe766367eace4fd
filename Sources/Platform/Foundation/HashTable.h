// Which places hash values lead to: a flat table, so that a look-up reaches one place in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace orvex {

/// The standard library's hash values of pointers and numbers are those themselves: these use all bits.
[[nodiscard]] inline std::uint32_t spreadHash(std::uint64_t hash) {
    return static_cast<std::uint32_t>((hash * 0x9E3779B97F4A7C15) >> 32U);
}

/// A hash value may lead to several places, and to the same one several times. `Place` is a pointer, never null.
template <class Place> class HashTable {
public:
    void reserve(std::size_t count) {
        auto size = slots_.size();
        while (size * mostFull < count * slotsOfMostFull) {
            size = size == 0 ? smallest : size * 2;
        }
        if (size > slots_.size()) {
            resize(size);
        }
    }

    void add(std::uint32_t hash, Place place) {
        reserve(count_ + 1);
        put({place, hash});
        ++count_;
    }

    /// Removes one such entry; there must be one.
    void remove(std::uint32_t hash, Place place) {
        auto hole = find(hash, place);
        // What was put off its own slot by the removed entry moves up, so that no search ends too early.
        for (auto next = after(hole); slots_[next].place; next = after(next)) {
            if (distance(home(slots_[next].hash), next) >= distance(hole, next)) {
                slots_[hole] = slots_[next];
                hole = next;
            }
        }
        slots_[hole] = {};
        --count_;
    }

    /// Lets one such entry, which there must be, lead elsewhere.
    void redirect(std::uint32_t hash, Place from, Place to) { slots_[find(hash, from)].place = to; }

    /// Has the entries of this hash value fetched from memory.
    void expect(std::uint32_t hash) const {
        if (!slots_.empty()) {
            __builtin_prefetch(&slots_[home(hash)]);
        }
    }

    /// Calls `visit` with every place; it must not change the table.
    template <class Visit> void visit(std::uint32_t hash, const Visit& visit) const {
        if (slots_.empty()) {
            return;
        }
        for (auto slot = home(hash); slots_[slot].place; slot = after(slot)) {
            if (slots_[slot].hash == hash) {
                visit(slots_[slot].place);
            }
        }
    }

private:
    struct Slot {
        Place place{};
        std::uint32_t hash = 0;
    };
    static constexpr std::size_t smallest = 16;
    static constexpr std::size_t mostFull = 5; ///< of eight slots
    static constexpr std::size_t slotsOfMostFull = 8;

    [[nodiscard]] std::size_t home(std::uint32_t hash) const { return hash & (slots_.size() - 1); }
    [[nodiscard]] std::size_t after(std::size_t slot) const { return (slot + 1) & (slots_.size() - 1); }
    [[nodiscard]] std::size_t distance(std::size_t from, std::size_t to) const {
        return (to - from) & (slots_.size() - 1);
    }
    [[nodiscard]] std::size_t find(std::uint32_t hash, Place place) const {
        auto slot = home(hash);
        while (slots_[slot].hash != hash || slots_[slot].place != place) {
            slot = after(slot);
        }
        return slot;
    }
    void put(Slot entry) {
        auto slot = home(entry.hash);
        while (slots_[slot].place) {
            slot = after(slot);
        }
        slots_[slot] = entry;
    }
    void resize(std::size_t size) {
        const auto old = std::exchange(slots_, std::vector<Slot>(size));
        for (const auto& entry : old) {
            if (entry.place) {
                put(entry);
            }
        }
    }

    std::vector<Slot> slots_; ///< a power of two; entries stand in or closely behind the slot of their hash value
    std::size_t count_ = 0;
};

} // namespace orvex
