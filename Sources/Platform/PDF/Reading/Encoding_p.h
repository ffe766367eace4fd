// The encodings that PDF names: which character each one-byte code stands for.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace orvex {

/// Characters by code; 0 where a code stands for none.
using Encoding = std::array<char16_t, 256>;

enum class BaseEncoding : unsigned char { standard, winAnsi, macRoman, macExpert, symbol, zapfDingbats };

/// Ligatures and symbols by their Unicode code points, and small capitals, old-style figures and the like by the plain
/// characters that they are read as. Threads: any.
[[nodiscard]] const Encoding& encodingOf(BaseEncoding base);

/// "/WinAnsiEncoding" and so on; none for other names.
[[nodiscard]] std::optional<BaseEncoding> baseEncodingNamed(std::string_view name);

} // namespace orvex
