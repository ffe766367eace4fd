// What the codec files share: one set of functions per format, and the checks that keep hostile headers harmless.
#pragma once

#include "Platform/Imaging/Codecs.h"
#include "Platform/Imaging/ColorProfile.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace orvex {

/// No device's profile comes near; what is larger counts as none.
inline constexpr std::size_t largestProfile = 4 << 20;

inline constexpr std::uint64_t maximumSampleBytes = std::uint64_t{2} << 30;

/// Throws ImageError unless the dimensions are positive and the samples fit the limit.
void requireDecodable(std::int64_t width, std::int64_t height, int channels, int bitsPerComponent);
/// An Adobe-style resolution that makes no sense (zero, negative, not finite) counts as not given.
[[nodiscard]] double usableDPI(double dpi, double fallback = 72);

[[nodiscard]] inline std::uint32_t bigEndian16(const std::uint8_t* p) {
    return static_cast<std::uint32_t>(p[0] << 8 | p[1]);
}
[[nodiscard]] inline std::uint32_t bigEndian32(const std::uint8_t* p) {
    return bigEndian16(p) << 16 | bigEndian16(p + 2);
}

/// Bits of a row of 1-bit samples to bytes of 0 and 255.
void unpackBits(const std::uint8_t* packed, std::uint8_t* bytes, std::int64_t count);

/// The part of EXIF that matters to a page; 0 where a tag is absent.
struct ExifTags {
    int orientation = 0;
    double dpiX = 0;
    double dpiY = 0;
};
/// `tiff` starts at the byte-order mark. Damaged tags are left out; nothing is thrown.
[[nodiscard]] ExifTags readExif(std::span<const std::uint8_t> tiff);
/// A JPEG segment's payload that states this orientation and nothing else.
[[nodiscard]] std::array<std::uint8_t, 32> exifWithOrientation(int orientation);

namespace jpeg {
[[nodiscard]] ImageInfo readInfo(const Bytes& data);
void verify(const Bytes& data);
/// Scaled to `eighths` / 8.
[[nodiscard]] Bitmap decode(const Bytes& data, const ImageInfo& info, int eighths = 8);
} // namespace jpeg

namespace png {
[[nodiscard]] ImageInfo readInfo(const Bytes& data);
void verify(const Bytes& data);
[[nodiscard]] Bitmap decode(const Bytes& data, const ImageInfo& info);
} // namespace png

namespace jpeg2000 {
[[nodiscard]] ImageInfo readInfo(const Bytes& data);
void verify(const Bytes& data);
} // namespace jpeg2000

/// Colours that alpha was multiplied into, without it.
void unpremultiply(Bitmap& bitmap);

/// Whether equal amounts of this space's components look like the sRGB grey of the same value, so that a grey image
/// needs no profile.
[[nodiscard]] bool hasNeutralSRGBAxis(const ColorSpace& space);

} // namespace orvex
