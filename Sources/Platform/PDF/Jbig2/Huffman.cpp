#include "Platform/PDF/Jbig2/Huffman_p.h"

#include <algorithm>
#include <limits>

namespace orvex::jbig2 {

namespace {

constexpr unsigned openRange = 32;

std::int32_t checked(std::int64_t value) {
    if (value < std::numeric_limits<std::int32_t>::min() || value > std::numeric_limits<std::int32_t>::max()) {
        throw Damage("a number out of range");
    }
    return static_cast<std::int32_t>(value);
}

} // namespace

HuffmanTable::HuffmanTable(std::vector<HuffmanLine> lines) : lines_(std::move(lines)), lengths_(longestCode + 1) {
    std::erase_if(lines_, [](const HuffmanLine& line) { return line.codeBits == 0; });
    std::ranges::stable_sort(lines_, {}, &HuffmanLine::codeBits);
    std::uint64_t code = 0;
    for (std::size_t i = 0, bits = 1; bits <= longestCode; ++bits) {
        code <<= 1;
        Length& length = lengths_[bits];
        length = {code, i, 0};
        for (; i < lines_.size() && lines_[i].codeBits == bits; ++i, ++code) {
            ++length.count;
        }
        if (code > std::uint64_t{1} << bits) {
            throw Damage("more codes than there can be");
        }
    }
}

HuffmanTable HuffmanTable::read(Reader& reader, Budget& budget) {
    const unsigned flags = reader.u8();
    const unsigned codeBits = (flags >> 1 & 7U) + 1;
    const unsigned rangeBits = (flags >> 4 & 7U) + 1;
    const std::int32_t lowest = reader.i32();
    const std::int32_t highest = reader.i32();
    std::vector<HuffmanLine> lines;
    const auto readCodeBits = [&] {
        const unsigned bits = reader.bits(codeBits);
        if (bits > longestCode) {
            throw Damage("a code that is too long");
        }
        return bits;
    };
    std::int64_t at = lowest;
    while (at < highest) {
        const unsigned bits = readCodeBits();
        const unsigned range = reader.bits(rangeBits);
        if (range > openRange) {
            throw Damage("a range that is too long");
        }
        budget.spend(sizeof(HuffmanLine));
        lines.push_back({bits, range, checked(at)});
        at += std::int64_t{1} << range;
    }
    lines.push_back({readCodeBits(), openRange, checked(std::int64_t{lowest} - 1), HuffmanLine::Kind::downwards});
    lines.push_back({readCodeBits(), openRange, highest});
    if ((flags & 1U) != 0) {
        lines.push_back({readCodeBits(), 0, 0, HuffmanLine::Kind::apart});
    }
    return HuffmanTable(std::move(lines));
}

std::optional<std::int32_t> HuffmanTable::decode(Reader& reader) const {
    std::uint64_t code = 0;
    for (std::size_t bits = 1; bits <= longestCode; ++bits) {
        code = code << 1 | reader.bit();
        const Length& length = lengths_[bits];
        if (code < length.firstCode || code - length.firstCode >= length.count) {
            continue;
        }
        const HuffmanLine& line = lines_[length.firstLine + static_cast<std::size_t>(code - length.firstCode)];
        if (line.kind == HuffmanLine::Kind::apart) {
            return std::nullopt;
        }
        const std::int64_t offset = reader.bits(line.rangeBits);
        return checked(line.kind == HuffmanLine::Kind::downwards ? line.low - offset : line.low + offset);
    }
    throw Damage("bits that are no code");
}

std::int32_t HuffmanTable::number(Reader& reader) const {
    return present(decode(reader));
}

} // namespace orvex::jbig2
