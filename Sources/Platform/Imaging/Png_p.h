// PNG structure shared by the reader of headers and the encoder.
#pragma once

#include "Platform/Imaging/Codecs_p.h"

#include <array>
#include <vector>

namespace orvex::png {

inline constexpr std::array<std::uint8_t, 8> signature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
inline constexpr std::size_t chunkOverhead = 12; ///< length, type and CRC

enum class ColorType : std::uint8_t { gray = 0, rgb = 2, palette = 3, grayAlpha = 4, rgbAlpha = 6 };

/// Channels that a pixel stores: one for a palette.
[[nodiscard]] int channelsOf(ColorType type);

/// Samples as PNG stores them, unfiltered: packed to `depth` bits, most significant first, big-endian.
struct PackedImage {
    std::int64_t width = 0;
    std::int64_t height = 0;
    ColorType type = ColorType::gray;
    int depth = 8;
    ColorSpace colorSpace;
    std::vector<std::uint8_t> palette;      ///< RGB triples
    std::vector<std::uint8_t> transparency; ///< alpha of the first palette entries
    std::size_t rowBytes = 0;               ///< that count
    std::size_t stride = 0;                 ///< from row to row
    /// The rows: packed ones of its own, or those of the bitmap where that has them as PNG wants them.
    const std::uint8_t* first = nullptr;
    std::vector<std::uint8_t> packed;
    Bitmap simplified; ///< the bitmap that was packed, where it is not the caller's, who keeps his

    PackedImage() = default;
    PackedImage(PackedImage&&) = default; // vectors keep their address when they move
    PackedImage& operator=(PackedImage&&) = default;
    PackedImage(const PackedImage&) = delete;
    PackedImage& operator=(const PackedImage&) = delete;
    ~PackedImage() = default;

    [[nodiscard]] std::size_t channels() const;
    [[nodiscard]] const std::uint8_t* row(std::int64_t y) const { return first + static_cast<std::size_t>(y) * stride; }
};

/// The smallest of PNG's pixel formats that holds the bitmap without loss. Not for CMYK. May point into the bitmap.
[[nodiscard]] PackedImage packForPNG(const Bitmap& bitmap);
/// Whole samples, as they are. May point into the bitmap.
[[nodiscard]] PackedImage packAsIs(const Bitmap& bitmap);

/// The reflected CRC-32 of PNG and zlib.
[[nodiscard]] std::uint32_t crc32(std::span<const std::uint8_t> data);

} // namespace orvex::png
