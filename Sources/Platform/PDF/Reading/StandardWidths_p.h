// The widths of the fonts that files may use without telling their widths.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace orvex {

/// Of an em, the unit that most widths and heights are given in.
inline constexpr float thousandth = 0.001F;

enum class StandardFace : unsigned char {
    helvetica,
    helveticaBold,
    times,
    timesBold,
    timesItalic,
    timesBoldItalic,
    courier,
    symbol,
    zapfDingbats
};

/// The standard font of that name, or of a usual other name for it, such as "Arial,Bold" or "TimesNewRomanPS".
[[nodiscard]] std::optional<StandardFace> standardFaceNamed(std::string_view name);
/// The one to stand in for a font of another name, by what the name and the flags of its descriptor say.
[[nodiscard]] StandardFace standardFaceLike(std::string_view name, unsigned flags);
/// At size 1; none for characters that the face lacks.
[[nodiscard]] std::optional<float> standardAdvance(StandardFace face, char32_t character);

} // namespace orvex
