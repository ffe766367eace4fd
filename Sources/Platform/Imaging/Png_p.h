// PNG structure shared by the reader of headers and the encoder.
#pragma once

#include "Platform/Imaging/Codecs_p.h"

#include <array>
#include <string_view>

namespace orvex::png {

inline constexpr std::array<std::uint8_t, 8> signature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
inline constexpr std::size_t chunkOverhead = 12; ///< length, type and CRC

enum class ColorType : std::uint8_t { gray = 0, rgb = 2, palette = 3, grayAlpha = 4, rgbAlpha = 6 };

/// The reflected CRC-32 of PNG and zlib.
[[nodiscard]] std::uint32_t crc32(std::span<const std::uint8_t> data);

} // namespace orvex::png
