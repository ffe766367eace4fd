#include "Platform/Foundation/JSON.h"
#include "Platform/Foundation/JSON_p.h"
#include "Platform/Foundation/Strings.h"

#include <algorithm>
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

bool isBlank(char c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Walks the text once, with a flag per open bracket and no other memory.
class StructureCheck {
public:
    explicit StructureCheck(std::string_view text) : text_(text) {}

    void run() {
        for (bool inside = scanValue(); inside;) {
            scanKey();
            inside = scanValue() || toNextItem();
        }
        skipBlanks();
        if (offset_ < text_.size()) {
            failUnexpectedJSON(text_, offset_);
        }
    }

private:
    [[nodiscard]] char peek() const {
        if (offset_ >= text_.size()) {
            failUnexpectedJSON(text_, offset_);
        }
        return text_[offset_];
    }
    void skipBlanks() { offset_ = skipJSONBlanks(text_, offset_); }
    [[nodiscard]] char closing() const { return isArray_[depth_ - 1] ? ']' : '}'; }

    void take(char wanted) {
        if (peek() != wanted) {
            failUnexpectedJSON(text_, offset_);
        }
        ++offset_;
    }

    void scanKey() {
        if (isArray_[depth_ - 1]) {
            return;
        }
        if (peek() != '"') {
            failUnexpectedJSON(text_, offset_);
        }
        offset_ = skipJSONString(text_, offset_);
        skipBlanks();
        take(':');
    }

    /// True when the value is a container that holds something: its first item is next.
    bool scanValue() {
        skipBlanks();
        const char c = peek();
        if (c == '{' || c == '[') {
            return open(c == '[');
        }
        if (c == '"') {
            offset_ = skipJSONString(text_, offset_);
        } else if (c == '-' || isDigit(c)) {
            offset_ = skipJSONNumber(text_, offset_);
        } else {
            offset_ = skipJSONLiteral(text_, offset_);
        }
        return false;
    }

    bool open(bool array) {
        if (depth_ == jsonDepthLimit) {
            failMalformedJSON(text_, offset_, "Too many nested arrays or dictionaries");
        }
        ++offset_;
        isArray_[depth_++] = array;
        skipBlanks();
        if (peek() != closing()) {
            return true;
        }
        close();
        return false;
    }

    void close() {
        take(closing());
        --depth_;
    }

    /// Behind a value: over the comma to the next item, or out of the brackets that end here. A comma before a closing
    /// bracket is let pass.
    bool toNextItem() {
        while (depth_ > 0) {
            skipBlanks();
            if (peek() == ',') {
                ++offset_;
                skipBlanks();
                if (peek() != closing()) {
                    return true;
                }
            }
            close();
        }
        return false;
    }

    std::string_view text_;
    std::size_t offset_ = 0;
    std::size_t depth_ = 0;
    std::array<bool, jsonDepthLimit> isArray_{};
};

std::string placeOf(std::string_view text, std::size_t offset) {
    const auto before = text.substr(0, offset);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const auto lastBreak = before.rfind('\n');
    const auto column = lastBreak == std::string_view::npos ? offset + 1 : offset - lastBreak;
    return " around line " + std::to_string(line) + ", column " + std::to_string(column) + ".";
}

} // namespace

void failMalformedJSON(std::string_view text, std::size_t offset, const std::string& problem) {
    throw JSONError(JSONErrorKind::dataCorrupted, {}, {}, "The given data was not valid JSON.",
                    problem + placeOf(text, offset));
}

void failUnexpectedJSON(std::string_view text, std::size_t offset) {
    if (offset >= text.size()) {
        failMalformedJSON(text, text.size(), "Unexpected end of file");
    }
    std::string character;
    std::size_t behind = offset;
    appendUTF8(character, nextCodePoint(text, behind));
    failMalformedJSON(text, offset, "Unexpected character '" + escaped(character) + "'");
}

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

void checkJSONStructure(std::string_view text) {
    StructureCheck(text).run();
}

std::size_t skipJSONBlanks(std::string_view text, std::size_t offset) {
    while (offset < text.size() && isBlank(text[offset])) {
        ++offset;
    }
    return offset;
}

std::size_t skipJSONString(std::string_view text, std::size_t offset) {
    for (++offset; offset < text.size() && text[offset] != '"'; ++offset) {
        offset += text[offset] == '\\' ? 1U : 0U;
    }
    if (offset >= text.size()) {
        failUnexpectedJSON(text, text.size());
    }
    return offset + 1;
}

std::size_t skipJSONNumber(std::string_view text, std::size_t offset) {
    const auto belongs = [](char c) { return isDigit(c) || c == '.' || c == 'e' || c == 'E' || c == '+' || c == '-'; };
    while (offset < text.size() && belongs(text[offset])) {
        ++offset;
    }
    return offset;
}

std::size_t skipJSONLiteral(std::string_view text, std::size_t offset) {
    constexpr std::array<std::string_view, 3> literals = {"true", "false", "null"};
    for (const auto literal : literals) {
        if (text.substr(offset).starts_with(literal)) {
            return offset + literal.size();
        }
    }
    failUnexpectedJSON(text, offset);
}

std::size_t skipJSONValue(std::string_view text, std::size_t offset) {
    std::size_t depth = 0;
    do {
        offset = skipJSONBlanks(text, offset);
        const char c = offset < text.size() ? text[offset] : '\0';
        if (c == '"') {
            offset = skipJSONString(text, offset);
        } else if (c == '-' || isDigit(c)) {
            offset = skipJSONNumber(text, offset);
        } else if (c == 't' || c == 'f' || c == 'n') {
            offset = skipJSONLiteral(text, offset);
        } else if (offset < text.size()) {
            depth += c == '{' || c == '[' ? 1 : 0;
            depth -= c == '}' || c == ']' ? 1 : 0;
            ++offset;
        } else {
            failUnexpectedJSON(text, offset);
        }
    } while (depth > 0);
    return offset;
}

} // namespace orvex
