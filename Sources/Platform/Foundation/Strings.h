// Text helpers that pin how values are written: one place, so that log lines and reports agree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace orvex {

/// A new random (version 4) UUID, upper-case 8-4-4-4-12.
std::string makeUUID();

/// A byte count as file managers show it: decimal units, "Zero KB", "1 byte", "999 bytes", "12 KB", "12.3 MB",
/// "1.23 GB". English in every locale.
std::string formatByteCount(std::int64_t bytes);

/// The shortest decimal text that reads back to the same double, always with a point or an exponent: 72.0, 0.5, 1e-05,
/// 1e+16 (exponents below 1e-4 and above 2^53), nan, inf, -inf.
std::string describe(double value);
/// The same, written behind `text`.
void appendDescription(std::string& text, double value);
/// The text with quotes, backslashes and controls escaped.
std::string escaped(std::string_view text);
/// The same between quotes.
std::string inQuotes(std::string_view text);
/// `Optional("text")` with quotes, backslashes and controls escaped, or `nil`.
std::string describe(const std::optional<std::string>& value);
/// A path as a file URL: three slashes, percent-encoded.
std::string fileURL(const std::filesystem::path& path);

/// Removes leading and trailing Unicode white space and line ends (zero-width space included). UTF-8 in and out;
/// invalid bytes count as text.
std::string_view trimWhitespaceAndNewlines(std::string_view text);

/// As nextCodePoint(), which spares ASCII the way here.
char32_t nextEncodedCodePoint(std::string_view text, std::size_t& offset);
/// Decodes the code point at `offset` (which must lie inside `text`) and moves `offset` behind it. Invalid UTF-8 gives
/// U+FFFD and moves by one byte.
inline char32_t nextCodePoint(std::string_view text, std::size_t& offset) {
    const auto byte = static_cast<unsigned char>(text[offset]);
    if (byte >= 0x80) {
        return nextEncodedCodePoint(text, offset);
    }
    ++offset;
    return byte;
}
/// All of a text; U+FFFD for each invalid byte.
std::u32string codePoints(std::string_view utf8);
/// The first and the last code point of a text that is not empty; U+FFFD where it is invalid UTF-8.
char32_t firstCodePoint(std::string_view text);
char32_t lastCodePoint(std::string_view text);
void appendUTF8(std::string& text, char32_t codePoint);
[[nodiscard]] bool isValidUTF8(std::string_view text);
/// Characters as people count them, near enough: combining marks, joiners and variation selectors belong to what they
/// follow, CR LF is one.
std::size_t countCharacters(std::string_view text);

} // namespace orvex
