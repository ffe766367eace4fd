// The filters that need no table: run lengths, and bytes written as text.
#include "Platform/PDF/Objects/StreamFilters_p.h"
#include "Platform/PDF/Syntax_p.h"

#include <algorithm>
#include <array>

namespace orvex {

namespace {

/// Four bytes from five digits; fewer digits give one byte less than they are.
void putGroup(const std::array<std::uint8_t, 5>& digits, std::size_t count, ByteBuffer& out) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        value = value * 85 + (i < count ? digits[i] : 84u);
    }
    for (std::size_t i = 0; i + 1 < count; ++i) {
        out.push_back(static_cast<std::uint8_t>(value >> (24 - 8 * i)));
    }
}

} // namespace

ByteBuffer expandRunLengths(ByteSpan data, std::size_t limit) {
    constexpr std::uint8_t endOfData = 128;
    ByteBuffer out;
    for (std::size_t at = 0; at < data.size() && data[at] != endOfData && out.size() < limit;) {
        const std::size_t length = data[at++];
        if (length < endOfData) {
            const ByteSpan literal = data.subspan(at, std::min(length + 1, data.size() - at));
            out.insert(out.end(), literal.begin(), literal.end());
            at += literal.size();
        } else if (at < data.size()) {
            out.insert(out.end(), 257 - length, data[at++]);
        }
    }
    out.resize(std::min(out.size(), limit));
    return out;
}

ByteBuffer decodeASCIIHex(ByteSpan data, std::size_t limit) {
    ByteBuffer out;
    int high = -1;
    for (const std::uint8_t byte : data) {
        if (byte == '>' || out.size() == limit) {
            break;
        }
        const int digit = hexDigit(static_cast<char>(byte));
        if (digit < 0) {
            continue; // white space, or damage
        }
        if (high >= 0) {
            out.push_back(static_cast<std::uint8_t>(high << 4 | digit));
            high = -1;
        } else {
            high = digit;
        }
    }
    if (high >= 0 && out.size() < limit) {
        out.push_back(static_cast<std::uint8_t>(high << 4));
    }
    return out;
}

ByteBuffer decodeASCII85(ByteSpan data, std::size_t limit) {
    ByteBuffer out;
    std::array<std::uint8_t, 5> digits{};
    std::size_t count = 0;
    for (std::size_t at = 0; at < data.size() && data[at] != '~' && out.size() < limit; ++at) {
        const std::uint8_t byte = data[at];
        if (byte == 'z' && count == 0) {
            out.insert(out.end(), 4, 0);
        } else if (byte >= '!' && byte <= 'u') {
            digits[count++] = static_cast<std::uint8_t>(byte - '!');
        } else if (!isBlank(static_cast<char>(byte))) {
            break; // damaged
        }
        if (count == digits.size()) {
            putGroup(digits, count, out);
            count = 0;
        }
    }
    putGroup(digits, count, out);
    out.resize(std::min(out.size(), limit));
    return out;
}

} // namespace orvex
