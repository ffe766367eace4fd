// The scanner under the JSON reader: finds where values end without judging what they hold.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace orvex {

/// Throws the error for text that is no JSON; the place is given as line and column.
[[noreturn]] void failMalformedJSON(std::string_view text, std::size_t offset, const std::string& problem);
/// The same for the byte at `offset`, or for the end of the text when there is none.
[[noreturn]] void failUnexpectedJSON(std::string_view text, std::size_t offset);

/// UTF-8 without byte-order mark, transcoded when the input is UTF-16 or UTF-32. UTF-8 itself is not checked.
Bytes jsonAsUTF8(const Bytes& data);

/// Brackets, commas, colons and literals of the whole text; texts and numbers only for where they end.
void checkJSONStructure(std::string_view text);

/// The four kinds of white space that may stand between values.
std::size_t skipJSONBlanks(std::string_view text, std::size_t offset);
/// From an opening quote to behind the closing one.
std::size_t skipJSONString(std::string_view text, std::size_t offset);
std::size_t skipJSONNumber(std::string_view text, std::size_t offset);
/// true, false or null.
std::size_t skipJSONLiteral(std::string_view text, std::size_t offset);
/// Behind any value of text that was checked.
std::size_t skipJSONValue(std::string_view text, std::size_t offset);

} // namespace orvex
