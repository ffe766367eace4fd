// What the optimiser and the encoders share: an image's samples are decoded once for all encodings.
#pragma once

#include "OrvexPDF/Images.h"
#include "Platform/Imaging/Bitmap.h"

#include <string_view>

namespace orvex {

/// What log lines name as their file.
inline constexpr std::string_view imagesFile = "Images";

/// The pixels of an image's first representation with the resolution that its size in points gives them.
struct EncoderSamples {
    BitmapPtr bitmap;
    double dpiX = 72;
    double dpiY = 72;
};

/// Empty without a representation, or when it cannot be decoded.
[[nodiscard]] std::optional<EncoderSamples> encoderSamples(const Image& image);
/// Empty beyond `limit` bytes (0: none), and only then.
[[nodiscard]] std::optional<Bytes> encodePNG(const EncoderSamples& samples, std::size_t limit = 0);
/// Warns of qualities outside 0 to 1.
void checkJPEGQuality(double quality);
/// Empty for pictures that JPEG cannot hold. The quality is taken as it is.
[[nodiscard]] std::optional<Bytes> encodeJPEG(const EncoderSamples& samples, double quality);

} // namespace orvex
