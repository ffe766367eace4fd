#include "Platform/PDF/Objects/StreamFilters_p.h"

#include <algorithm>
#include <array>

namespace orvex {

namespace {

constexpr std::size_t clearTable = 256;
constexpr std::size_t endOfData = 257;
constexpr std::size_t firstFree = 258;
constexpr std::size_t tableSize = 4096;

/// Strings as chains: each is another one and a byte more.
class StringTable {
public:
    StringTable() {
        for (std::size_t code = 0; code < clearTable; ++code) {
            entries_[code] = {0, 1, static_cast<std::uint8_t>(code), static_cast<std::uint8_t>(code)};
        }
    }
    void clear() { next_ = firstFree; }
    [[nodiscard]] std::size_t next() const { return next_; }
    [[nodiscard]] bool knows(std::size_t code) const {
        return code < clearTable || (code >= firstFree && code < next_);
    }
    [[nodiscard]] std::uint8_t first(std::size_t code) const { return entries_[code].first; }
    void add(std::size_t prefix, std::uint8_t last) {
        if (next_ < tableSize) {
            const Entry& before = entries_[prefix];
            entries_[next_++] = {static_cast<std::uint16_t>(prefix), static_cast<std::uint16_t>(before.length + 1),
                                 before.first, last};
        }
    }
    void write(std::size_t code, ByteBuffer& out) const {
        const std::size_t start = out.size();
        out.resize(start + entries_[code].length);
        for (std::size_t at = out.size(); at > start; code = entries_[code].prefix) {
            out[--at] = entries_[code].last;
        }
    }

private:
    struct Entry {
        std::uint16_t prefix = 0;
        std::uint16_t length = 0;
        std::uint8_t first = 0;
        std::uint8_t last = 0;
    };
    std::array<Entry, tableSize> entries_{};
    std::size_t next_ = firstFree;
};

class CodeReader {
public:
    CodeReader(ByteSpan data, bool earlyChange) : data_(data), early_(earlyChange ? 1 : 0) {}
    /// The end-of-data code when the data stop.
    std::size_t next(std::size_t tableNext) {
        const std::size_t grown = tableNext + early_;
        const unsigned width = grown >= 2048 ? 12 : grown >= 1024 ? 11 : grown >= 512 ? 10 : 9;
        while (held_ < width) {
            if (offset_ == data_.size()) {
                return endOfData;
            }
            bits_ = (bits_ << 8 | data_[offset_++]) & 0xFFFFFF;
            held_ += 8;
        }
        held_ -= width;
        return bits_ >> held_ & ((1u << width) - 1);
    }

private:
    ByteSpan data_;
    std::size_t offset_ = 0;
    std::uint32_t bits_ = 0;
    unsigned held_ = 0;
    std::size_t early_;
};

} // namespace

ByteBuffer expandLZW(ByteSpan data, bool earlyChange, std::size_t limit) {
    ByteBuffer out;
    StringTable table;
    CodeReader codes(data, earlyChange);
    std::size_t previous = clearTable;
    while (out.size() < limit) {
        const std::size_t code = codes.next(table.next());
        if (code == endOfData) {
            break;
        }
        if (code == clearTable) {
            table.clear();
            previous = clearTable;
            continue;
        }
        if (previous != clearTable) {
            table.add(previous, table.knows(code) ? table.first(code) : table.first(previous));
        }
        if (!table.knows(code)) {
            break; // damaged
        }
        table.write(code, out);
        previous = code;
    }
    out.resize(std::min(out.size(), limit));
    return out;
}

} // namespace orvex
