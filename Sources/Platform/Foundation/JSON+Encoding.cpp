#include "Platform/Foundation/JSON_p.h"
#include "Platform/Foundation/Strings.h"

#include <array>

namespace orvex {

namespace {

struct Encoding {
    std::size_t unit = 1; ///< bytes per code unit
    bool bigEndian = false;
    std::size_t mark = 0; ///< bytes of the byte-order mark
};

struct Signature {
    std::string_view bytes;
    Encoding encoding;
};

using namespace std::string_view_literals;
constexpr std::array<Signature, 5> signatures = {{{"\xFF\xFE\0\0"sv, {4, false, 4}},
                                                  {"\0\0\xFE\xFF"sv, {4, true, 4}},
                                                  {"\xEF\xBB\xBF"sv, {1, false, 3}},
                                                  {"\xFF\xFE"sv, {2, false, 2}},
                                                  {"\xFE\xFF"sv, {2, true, 2}}}};

/// Without a mark the zero bytes of the first characters, which are ASCII in any JSON text, give the encoding away.
Encoding encodingByZeros(std::string_view text) {
    const auto zero = [text](std::size_t i) { return i < text.size() && text[i] == '\0'; };
    if (text.size() >= 4 && zero(0) && zero(1) && zero(2)) {
        return {4, true, 0};
    }
    if (text.size() >= 4 && zero(1) && zero(2) && zero(3)) {
        return {4, false, 0};
    }
    if (text.size() >= 2 && zero(0) != zero(1)) {
        return {2, zero(0), 0};
    }
    return {};
}

Encoding encodingOf(std::string_view text) {
    for (const auto& signature : signatures) {
        if (text.starts_with(signature.bytes)) {
            return signature.encoding;
        }
    }
    return encodingByZeros(text);
}

char32_t readUnit(std::string_view text, std::size_t offset, const Encoding& encoding) {
    char32_t unit = 0;
    for (std::size_t i = 0; i < encoding.unit; ++i) {
        const std::size_t place = encoding.bigEndian ? i : encoding.unit - 1 - i;
        unit = (unit << 8U) | static_cast<unsigned char>(text[offset + place]);
    }
    return unit;
}

bool isSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDFFF;
}

constexpr std::string_view notConvertible = "Unable to convert the text to UTF-8";

/// One code point of UTF-16 or UTF-32; moves `offset` behind it.
char32_t readWide(std::string_view text, std::size_t& offset, const Encoding& encoding) {
    const std::size_t start = offset;
    const auto unit = [&]() -> char32_t {
        if (offset + encoding.unit > text.size()) {
            failMalformedJSON({}, 0, std::string(notConvertible));
        }
        const char32_t value = readUnit(text, offset, encoding);
        offset += encoding.unit;
        return value;
    };
    char32_t c = unit();
    if (encoding.unit == 2 && c >= 0xD800 && c <= 0xDBFF) {
        const char32_t low = unit();
        c = low >= 0xDC00 && low <= 0xDFFF ? 0x10000 + ((c - 0xD800) << 10U) + (low - 0xDC00) : 0xD800;
    }
    if (isSurrogate(c) || c > 0x10FFFF) {
        failMalformedJSON({}, start, std::string(notConvertible));
    }
    return c;
}

} // namespace

Bytes jsonAsUTF8(const Bytes& data) {
    const std::string_view text = data.text();
    const Encoding encoding = encodingOf(text);
    if (encoding.unit == 1) {
        return data.slice(encoding.mark, data.size());
    }
    std::string converted;
    converted.reserve(text.size() / encoding.unit);
    for (std::size_t offset = encoding.mark; offset < text.size();) {
        appendUTF8(converted, readWide(text, offset, encoding));
    }
    return Bytes(std::move(converted));
}

} // namespace orvex
