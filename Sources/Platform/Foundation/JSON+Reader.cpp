#include "Platform/Foundation/JSON.h"
#include "Platform/Foundation/JSON_p.h"
#include "Platform/Foundation/Strings.h"

#include <algorithm>
#include <charconv>
#include <span>
#include <tuple>

namespace orvex {

struct JSONReader::TypeName {
    std::string_view full;  ///< as types are listed
    std::string_view plain; ///< as sentences name them
};

namespace {

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

inline void JSONReader::expect(JSONKind wanted, const TypeName& type) const {
    if (kind() != wanted) {
        failMismatch(type);
    }
}

JSONReader::JSONReader(const Bytes& data) : bytes_(jsonAsUTF8(data)), text_(bytes_.text()), end_(text_.size()) {
    skipBlanks();
}

void JSONReader::enterObject() {
    static constexpr TypeName type{"Swift.Dictionary<Swift.String, Any>", "Dictionary<String, Any>"};
    enter(JSONKind::object, '{', type);
    levels_[depth_ - 1] = {false, true, noKey};
}

void JSONReader::enterArray() {
    static constexpr TypeName type{"Swift.Array<Any>", "Array<Any>"};
    enter(JSONKind::array, '[', type);
    levels_[depth_ - 1] = {true, true, 0};
}

inline void JSONReader::enter(JSONKind kind, char opening, const TypeName& type) {
    if (peek() != opening) {
        expect(kind, type);
    }
    if (depth_ == jsonDepthLimit) {
        failMalformedJSON(text_, offset_, std::string(jsonTooDeep));
    }
    ++offset_;
    if (depth_ == levels_.size()) {
        levels_.emplace_back();
    }
    ++depth_;
}

void JSONReader::failUnexpected() const {
    failUnexpectedJSON(text_, offset_);
}

std::string_view JSONReader::takeOtherKey() {
    if (peek() != '"') {
        failUnexpected();
    }
    return takeString();
}

JSONElements JSONReader::takeElements() {
    enterArray();
    JSONElements elements(*this);
    while (nextElement()) {
        const std::size_t start = offset_;
        const bool bracket = peek() == '{' || peek() == '[';
        offset_ = bracket ? skipJSONBrackets(text_, start) : skipJSONValue(text_, start, depth_);
        elements.places_.emplace_back(start, offset_);
    }
    return elements;
}

JSONReader JSONElements::reader(std::size_t index) const {
    JSONReader element(inside_);
    std::tie(element.offset_, element.end_) = places_[index];
    element.levels_[element.depth_ - 1].place = index;
    return element;
}

bool JSONReader::readBool() {
    expect(JSONKind::boolean, {"Swift.Bool", "Bool"});
    const bool value = peek() == 't';
    offset_ = skipJSONLiteral(text_, offset_);
    return value;
}

double JSONReader::readDouble() {
    static constexpr TypeName type{"Swift.Double", "Double"};
    expect(JSONKind::number, type);
    if (const auto value = takeShortJSONDecimal(text_, offset_)) {
        return *value;
    }
    const auto literal = takeNumber();
    const auto value = doubleFromJSON(literal);
    if (!value) {
        failCorrupted("Number " + std::string(literal) + " is not representable in Swift.");
    }
    return *value;
}

std::int64_t JSONReader::readInt() {
    expect(JSONKind::number, {"Swift.Int", "Int"});
    const auto literal = takeNumber();
    const auto value = integerFromJSON(literal);
    if (!value) {
        failCorrupted("Number " + std::string(literal) + " is not representable in Swift.");
    }
    return *value;
}

std::string JSONReader::readString() {
    static constexpr TypeName type{"Swift.String", "String"};
    expect(JSONKind::string, type);
    return std::string(takeString());
}

void JSONReader::skip() {
    offset_ = skipJSONValue(text_, offset_, depth_);
}

void JSONReader::finish() {
    if (offset_ != end_) {
        skipBlanks();
    }
    if (offset_ != end_) {
        failUnexpectedJSON(text_, offset_);
    }
}

void JSONReader::checkStructure() const {
    checkJSONStructure(text_);
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

void JSONReader::failMismatch(const TypeName& type) const {
    const JSONKind found = kind();
    if (found == JSONKind::null) {
        failNull(type);
    }
    throw JSONError(JSONErrorKind::typeMismatch, std::string(type.full), path(),
                    "Expected to decode " + std::string(type.plain) + " but found " + std::string(foundWord(found)) +
                        " instead.");
}

JSONPath JSONReader::path() const {
    JSONPath steps;
    JSONReader keys(*this);
    for (const Level& level : std::span(levels_).first(depth_)) {
        if (level.array) {
            steps.emplace_back(level.place);
        } else {
            keys.offset_ = level.place;
            steps.emplace_back(level.place == noKey ? std::string() : keys.readString());
        }
    }
    return steps;
}

/// What the text at the current place stands for: a view of its inside where it has no escapes, else of `decoded_`.
std::string_view JSONReader::takeString() {
    const std::size_t start = offset_ + 1;
    const std::size_t plain = skipPlainJSON(text_, start);
    if (plain < text_.size() && text_[plain] == '"') {
        offset_ = plain + 1;
        return {text_.data() + start, plain - start};
    }
    offset_ = skipJSONString(text_, offset_);
    return decode(text_.substr(start, offset_ - 1 - start));
}

std::string_view JSONReader::takeNumber() {
    const std::size_t start = offset_;
    offset_ = skipJSONNumber(text_, start);
    const auto literal = text_.substr(start, offset_ - start);
    if (literal.empty()) {
        failUnexpectedJSON(text_, start);
    }
    if (const auto fault = jsonNumberFault(literal); !fault.empty()) {
        failMalformedJSON(text_, start, std::string(fault));
    }
    return literal;
}

std::string_view JSONReader::decode(std::string_view raw) {
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
    decoded_.clear();
    EscapeDecoder(text_, raw).decode(decoded_);
    return decoded_;
}

} // namespace orvex
