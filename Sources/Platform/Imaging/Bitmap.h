// Samples in memory: what codecs decode into, resampling works on and encoders read.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace orvex {

enum class ColorModel { gray, rgb, cmyk };

/// What samples mean: a device model, narrowed by an ICC profile or a PNG-style calibration where the file carried one.
struct ColorSpace {
    ColorModel model = ColorModel::rgb;
    Bytes iccProfile; ///< for this model; empty: the device space (sRGB for rgb)
    /// PNG gAMA, as the encoding exponent's inverse (2.2 for a file gamma of 0.45455); 0: none given.
    double gamma = 0;
    [[nodiscard]] int components() const { return model == ColorModel::gray ? 1 : model == ColorModel::rgb ? 3 : 4; }
    friend bool operator==(const ColorSpace&, const ColorSpace&) = default;
};

enum class Alpha { none, straight };

/// Interleaved samples, first row at the top. CMYK samples are ink amounts (0 = no ink). Samples of 16 bits are in the
/// machine's byte order; samples of 1 bit are packed, most significant bit first, 1 = white.
struct Bitmap {
    std::int64_t width = 0;   ///< pixels
    std::int64_t height = 0;  ///< pixels
    int bitsPerComponent = 8; ///< 1 (gray without alpha only), 8 or 16
    ColorSpace colorSpace;
    Alpha alpha = Alpha::none; ///< a last channel, not multiplied into the others
    std::size_t bytesPerRow = 0;
    std::vector<std::uint8_t> samples;

    [[nodiscard]] int channels() const { return colorSpace.components() + (alpha == Alpha::none ? 0 : 1); }
    [[nodiscard]] const std::uint8_t* row(std::int64_t y) const {
        return samples.data() + static_cast<std::size_t>(y) * bytesPerRow;
    }
    [[nodiscard]] std::uint8_t* row(std::int64_t y) {
        return samples.data() + static_cast<std::size_t>(y) * bytesPerRow;
    }
    [[nodiscard]] static std::size_t tightBytesPerRow(std::int64_t width, int channels, int bitsPerComponent);
    /// Zeroed samples with tight rows. Throws ImageError for sizes below 1 or above 2 GiB of samples.
    [[nodiscard]] static Bitmap make(std::int64_t width, std::int64_t height, int bitsPerComponent, ColorSpace space,
                                     Alpha alpha = Alpha::none);
};

using BitmapPtr = std::shared_ptr<const Bitmap>;

} // namespace orvex
