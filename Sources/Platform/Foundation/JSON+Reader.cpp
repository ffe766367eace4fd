#include "Platform/Foundation/JSON.h"
#include "Platform/Foundation/JSON_p.h"
#include "Platform/Foundation/Strings.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace orvex {

struct JSONReader::TypeName {
    std::string_view full;  ///< as types are listed
    std::string_view plain; ///< as sentences name them
};

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string_view foundWord(JSONKind kind) {
    switch (kind) {
    case JSONKind::null:
        return "null";
    case JSONKind::boolean:
        return "bool";
    case JSONKind::number:
        return "number";
    case JSONKind::string:
        return "a string";
    case JSONKind::array:
        return "an array";
    case JSONKind::object:
        return "a dictionary";
    }
    return "nothing";
}

/// What is wrong with a number's form; empty when nothing is.
std::string_view numberFault(std::string_view literal) {
    const auto digits = [&literal] {
        const auto end = std::find_if_not(literal.begin(), literal.end(), isDigit);
        const auto count = static_cast<std::size_t>(end - literal.begin());
        literal.remove_prefix(count);
        return count;
    };
    if (literal.starts_with('-')) {
        literal.remove_prefix(1);
    }
    const bool zero = literal.starts_with('0');
    const std::size_t whole = digits();
    if (whole == 0) {
        return "Number without digits";
    }
    if (zero && whole > 1) {
        return "Number with leading zero";
    }
    if (literal.starts_with('.')) {
        literal.remove_prefix(1);
        if (digits() == 0) {
            return "Number without digits behind its point";
        }
    }
    if (literal.starts_with('e') || literal.starts_with('E')) {
        literal.remove_prefix(1);
        literal.remove_prefix(literal.starts_with('+') || literal.starts_with('-') ? 1 : 0);
        if (digits() == 0) {
            return "Number without digits in its exponent";
        }
    }
    return literal.empty() ? std::string_view() : "Unexpected character in number";
}

bool hasNonZeroDigit(std::string_view literal) {
    const auto mantissa = literal.substr(0, literal.find_first_of("eE"));
    return mantissa.find_first_of("123456789") != std::string_view::npos;
}

/// A number's digits as one integer and a power of ten; the form is right already.
struct Decimal {
    std::string digits;
    std::int64_t exponent = 0;
};

Decimal splitDecimal(std::string_view magnitude) {
    const std::size_t mark = std::min(magnitude.find_first_of("eE"), magnitude.size());
    Decimal decimal;
    if (mark < magnitude.size()) {
        const std::size_t sign = magnitude[mark + 1] == '+' ? 1 : 0;
        const auto* end = magnitude.data() + magnitude.size();
        const auto read = std::from_chars(magnitude.data() + mark + 1 + sign, end, decimal.exponent);
        constexpr std::int64_t farOut = std::numeric_limits<std::int32_t>::max();
        decimal.exponent = read.ec == std::errc()       ? std::clamp(decimal.exponent, -farOut, farOut)
                           : magnitude[mark + 1] == '-' ? -farOut
                                                        : farOut;
    }
    const auto mantissa = magnitude.substr(0, mark);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    decimal.digits = mantissa.substr(0, point);
    if (point < mantissa.size()) {
        decimal.digits += mantissa.substr(point + 1);
        decimal.exponent -= static_cast<std::int64_t>(mantissa.size() - point - 1);
    }
    return decimal;
}

/// The integer digits that a number stands for, "" when it has a fraction or is out of reach.
std::string integralDigits(std::string_view magnitude) {
    constexpr std::int64_t longest = 20;
    Decimal decimal = splitDecimal(magnitude);
    auto& digits = decimal.digits;
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    if (digits.empty()) {
        return "0";
    }
    for (; decimal.exponent < 0 && digits.ends_with('0'); ++decimal.exponent) {
        digits.pop_back();
    }
    if (decimal.exponent < 0 || decimal.exponent > longest) {
        return {};
    }
    return digits.append(static_cast<std::size_t>(decimal.exponent), '0');
}

std::optional<std::int64_t> integerFrom(std::string_view literal) {
    const bool negative = literal.starts_with('-');
    const std::string text = (negative ? "-" : "") + integralDigits(literal.substr(negative ? 1 : 0));
    std::int64_t value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    return read.ec == std::errc() ? std::optional(value) : std::nullopt;
}

/// Turns the inside of a text with escapes into what it stands for.
class EscapeDecoder {
public:
    /// `raw` lies inside `text`, which errors are placed in.
    EscapeDecoder(std::string_view text, std::string_view raw) : text_(text), rest_(raw) {}

    void decode(std::string& decoded) {
        while (!rest_.empty()) {
            const std::size_t plain = std::min(rest_.find('\\'), rest_.size());
            decoded.append(rest_.substr(0, plain));
            rest_.remove_prefix(plain);
            if (!rest_.empty()) {
                decodeOne(decoded);
            }
        }
    }

private:
    void decodeOne(std::string& decoded) {
        constexpr std::string_view letters = "\"\\/bfnrt";
        constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
        const char letter = rest_[1]; // a backslash is never the last byte of a text
        if (letter == 'u') {
            appendUTF8(decoded, unicodeEscape());
            return;
        }
        const std::size_t place = letters.find(letter);
        if (place == std::string_view::npos) {
            fail("Invalid escape sequence");
        }
        decoded += meanings[place];
        rest_.remove_prefix(2);
    }

    char32_t unicodeEscape() {
        const char32_t first = codeUnit();
        if (first < 0xD800 || first > 0xDFFF) {
            return first;
        }
        if (first > 0xDBFF || !rest_.starts_with("\\u")) {
            fail("Unpaired surrogate in unicode escape");
        }
        const char32_t second = codeUnit();
        if (second < 0xDC00 || second > 0xDFFF) {
            fail("Unpaired surrogate in unicode escape");
        }
        return 0x10000 + ((first - 0xD800) << 10U) + (second - 0xDC00);
    }

    /// The four digits of \uXXXX.
    char32_t codeUnit() {
        constexpr std::size_t length = 6;
        unsigned unit = 0;
        if (rest_.size() < length) {
            fail("Unicode escape that ends too soon");
        }
        const char* end = rest_.data() + length;
        if (std::from_chars(rest_.data() + 2, end, unit, 16).ptr != end) {
            fail("Invalid unicode escape");
        }
        rest_.remove_prefix(length);
        return unit;
    }

    [[noreturn]] void fail(const std::string& problem) const {
        failMalformedJSON(text_, static_cast<std::size_t>(rest_.data() - text_.data()), problem);
    }

    std::string_view text_;
    std::string_view rest_;
};

} // namespace

JSONReader::JSONReader(const Bytes& data) : bytes_(jsonAsUTF8(data)), text_(bytes_.text()) {
    checkJSONStructure(text_);
    offset_ = skipJSONBlanks(text_, 0);
}

JSONKind JSONReader::kind() const {
    switch (text_[offset_]) {
    case '{':
        return JSONKind::object;
    case '[':
        return JSONKind::array;
    case '"':
        return JSONKind::string;
    case 't':
    case 'f':
        return JSONKind::boolean;
    case 'n':
        return JSONKind::null;
    default:
        return JSONKind::number;
    }
}

void JSONReader::enterObject() {
    enter(JSONKind::object, {"Swift.Dictionary<Swift.String, Any>", "Dictionary<String, Any>"});
}

void JSONReader::enterArray() {
    enter(JSONKind::array, {"Swift.Array<Any>", "Array<Any>"});
}

void JSONReader::enter(JSONKind kind, const TypeName& type) {
    expect(kind, type);
    ++offset_;
    levels_.push_back({kind == JSONKind::array, true, 0, {}, {}});
}

/// To the next item; false when there is none, with the container left behind.
bool JSONReader::advance(char closing) {
    Level& level = levels_.back();
    offset_ = skipJSONBlanks(text_, offset_);
    if (!level.first && text_[offset_] == ',') {
        offset_ = skipJSONBlanks(text_, offset_ + 1);
    }
    if (text_[offset_] == closing) {
        ++offset_;
        levels_.pop_back();
        return false;
    }
    level.index += level.first ? 0 : 1;
    level.first = false;
    return true;
}

std::optional<std::string_view> JSONReader::nextKey() {
    if (!advance('}')) {
        return std::nullopt;
    }
    Level& level = levels_.back();
    level.key = takeString();
    level.decodedKey.clear();
    const auto key = decode(level.key, level.decodedKey);
    offset_ = skipJSONBlanks(text_, skipJSONBlanks(text_, offset_) + 1);
    return key;
}

bool JSONReader::nextElement() {
    return advance(']');
}

bool JSONReader::readBool() {
    expect(JSONKind::boolean, {"Swift.Bool", "Bool"});
    const bool value = text_[offset_] == 't';
    skip();
    return value;
}

double JSONReader::readDouble() {
    expect(JSONKind::number, {"Swift.Double", "Double"});
    const auto literal = takeNumber();
    double value = 0;
    std::from_chars(literal.data(), literal.data() + literal.size(), value);
    if (!std::isfinite(value) || (value == 0 && hasNonZeroDigit(literal))) {
        failCorrupted("Number " + std::string(literal) + " is not representable in Swift.");
    }
    return value;
}

std::int64_t JSONReader::readInt() {
    expect(JSONKind::number, {"Swift.Int", "Int"});
    const auto literal = takeNumber();
    const auto value = integerFrom(literal);
    if (!value) {
        failCorrupted("Number " + std::string(literal) + " is not representable in Swift.");
    }
    return *value;
}

std::string JSONReader::readString() {
    expect(JSONKind::string, {"Swift.String", "String"});
    std::string decoded;
    const auto value = decode(takeString(), decoded);
    return value.data() == decoded.data() ? decoded : std::string(value);
}

void JSONReader::skip() {
    offset_ = skipJSONValue(text_, offset_);
}

void JSONReader::failMissingKey(std::string_view key) const {
    const std::string text(key);
    throw JSONError(JSONErrorKind::keyNotFound, text, path(),
                    "No value associated with key CodingKeys(stringValue: " + inQuotes(text) + ", intValue: nil) (" +
                        inQuotes(text) + ").");
}

void JSONReader::failNull(const TypeName& type) const {
    const bool object = type.plain.starts_with("Dictionary");
    throw JSONError(JSONErrorKind::valueNotFound, std::string(type.full), path(),
                    object ? "Cannot get keyed decoding container -- found null value instead"
                           : "Cannot get value of type " + std::string(type.plain) + " -- found null value instead");
}

void JSONReader::failCorrupted(const std::string& detail) const {
    throw JSONError(JSONErrorKind::dataCorrupted, {}, path(), detail);
}

void JSONReader::expect(JSONKind wanted, const TypeName& type) const {
    const JSONKind found = kind();
    if (found == wanted) {
        return;
    }
    if (found == JSONKind::null) {
        failNull(type);
    }
    throw JSONError(JSONErrorKind::typeMismatch, std::string(type.full), path(),
                    "Expected to decode " + std::string(type.plain) + " but found " + std::string(foundWord(found)) +
                        " instead.");
}

JSONPath JSONReader::path() const {
    JSONPath steps;
    for (const Level& level : levels_) {
        const auto key = level.decodedKey.empty() ? level.key : std::string_view(level.decodedKey);
        steps.push_back(level.array ? JSONPathStep(level.index) : JSONPathStep(std::string(key)));
    }
    return steps;
}

/// The inside of the text at the current place.
std::string_view JSONReader::takeString() {
    const std::size_t start = offset_;
    offset_ = skipJSONString(text_, start);
    return text_.substr(start + 1, offset_ - start - 2);
}

std::string_view JSONReader::takeNumber() {
    const std::size_t start = offset_;
    offset_ = skipJSONNumber(text_, start);
    const auto literal = text_.substr(start, offset_ - start);
    if (const auto fault = numberFault(literal); !fault.empty()) {
        failMalformedJSON(text_, start, std::string(fault));
    }
    return literal;
}

/// A view of the text itself where it has no escapes, else of `decoded`.
std::string_view JSONReader::decode(std::string_view raw, std::string& decoded) const {
    const auto start = static_cast<std::size_t>(raw.data() - text_.data());
    bool ascii = true;
    bool escapes = false;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        const auto byte = static_cast<unsigned char>(raw[i]);
        if (byte < 0x20) {
            failMalformedJSON(text_, start + i, "Unescaped control character");
        }
        ascii = ascii && byte < 0x80;
        escapes = escapes || byte == '\\';
    }
    if (!ascii && !isValidUTF8(raw)) {
        failMalformedJSON(text_, start, "Invalid UTF-8 in string");
    }
    if (!escapes) {
        return raw;
    }
    decoded.clear();
    EscapeDecoder(text_, raw).decode(decoded);
    return decoded;
}

} // namespace orvex
