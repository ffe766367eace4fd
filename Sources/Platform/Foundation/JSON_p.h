// The scanners under the JSON reader.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvex {

/// Throws the error for text that is no JSON; the place is given as line and column.
[[noreturn]] void failMalformedJSON(std::string_view text, std::size_t offset, const std::string& problem);
/// The same for the byte at `offset`, or for the end of the text when there is none.
[[noreturn]] void failUnexpectedJSON(std::string_view text, std::size_t offset);

inline constexpr std::string_view jsonTooDeep = "Too many nested arrays or dictionaries";

/// UTF-8 without byte-order mark, transcoded when the input is UTF-16 or UTF-32. UTF-8 itself is not checked.
Bytes jsonAsUTF8(const Bytes& data);

/// Brackets, commas, colons and literals of the whole text; texts and numbers only for where they end.
void checkJSONStructure(std::string_view text);

/// Bytes that are looked at together.
constexpr std::uint64_t eightOf(std::uint8_t byte) {
    return 0x0101010101010101U * byte;
}

inline bool isJSONDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Whether a byte can stand inside a number.
inline bool belongsToJSONNumber(char c) {
    return isJSONDigit(c) || c == '.' || c == 'e' || c == 'E' || c == '+' || c == '-';
}

/// The four kinds of white space that may stand between values.
inline std::size_t skipJSONBlanks(std::string_view text, std::size_t offset) {
    while (offset < text.size() && text[offset] <= ' ' && // as few bytes between values are
           (text[offset] == ' ' || text[offset] == '\n' || text[offset] == '\t' || text[offset] == '\r')) {
        ++offset;
    }
    return offset;
}

/// Behind a value inside `outer` open brackets, its structure checked.
std::size_t skipJSONValue(std::string_view text, std::size_t offset, std::size_t outer);
/// From an opening quote to behind the closing one.
std::size_t skipJSONString(std::string_view text, std::size_t offset);
std::size_t skipJSONNumber(std::string_view text, std::size_t offset);
/// true, false or null.
std::size_t skipJSONLiteral(std::string_view text, std::size_t offset);
/// To the first byte that is not plain ASCII inside a text: a quote, a backslash, a control, half of a character.
std::size_t skipPlainJSON(std::string_view text, std::size_t offset);
/// From an opening bracket to behind the one that ends it, if nothing but brackets and quotes is looked at; the end of
/// the text when there is none.
std::size_t skipJSONBrackets(std::string_view text, std::size_t offset);

/// What is wrong with a number's form; empty when nothing is.
std::string_view jsonNumberFault(std::string_view literal);
/// A number of up to 15 digits without an exponent, which most are, and `offset` moved behind it; nothing for others.
std::optional<double> takeShortJSONDecimal(std::string_view text, std::size_t& offset);
/// A number whose form is right; nothing when it does not fit.
std::optional<double> doubleFromJSON(std::string_view literal);
std::optional<std::int64_t> integerFromJSON(std::string_view literal);

} // namespace orvex
