// The optimiser: an image brought down to a preset's resolution and to the smaller of two encodings.
#pragma once

#include "OrvexPDF/SqueezeMode.h"
#include "Platform/Imaging/Image.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace orvex {

enum class OrvexImageMetaMode { undefined, png, jpg, jpg2000, tiff };
[[nodiscard]] std::string_view name(OrvexImageMetaMode mode);

/// The outcome of optimising one image. `mode` is undefined exactly when `count` is noCount.
struct OrvexImageMeta {
    static constexpr std::int64_t noCount = std::numeric_limits<std::int64_t>::max();
    ImagePtr image;               ///< never null
    std::int64_t count = noCount; ///< bytes of the chosen encoding
    OrvexImageMetaMode mode = OrvexImageMetaMode::undefined;
};
[[nodiscard]] std::string describe(const OrvexImageMeta& meta);

/// A new image of the same size in points at `dpi` dots per inch, or the input itself when no bitmap can be made.
[[nodiscard]] ImagePtr orvexImageTransform(const ImagePtr& image, std::int64_t dpi);
/// Reduced to the preset when finer, then the smaller of PNG and JPEG (PNG on a tie). No preset: the very input.
/// `size` is accepted and not used.
[[nodiscard]] OrvexImageMeta optimizeImage(const ImagePtr& image, const OrvexPDFSqueezeModePtr& squeeze, Size size);

/// The platform image's encoders; empty when the image has no representation or cannot be decoded.
[[nodiscard]] std::optional<Bytes> orvexDataForPNG(const Image& image);
[[nodiscard]] std::optional<Bytes> orvexDataForPNGRepresentation(const Image& image);
/// `quality` is a fraction, 1 = best; outside 0 to 1 it is logged as a warning and used all the same.
[[nodiscard]] std::optional<Bytes> orvexDataForJPG(const Image& image, double quality);
[[nodiscard]] std::optional<Bytes> orvexDataForJPGRepresentation(const Image& image, double quality);
/// Turned clockwise by whole quarter turns of `rotation` degrees; the very input for none. Its size in points is its
/// size in pixels.
[[nodiscard]] ImagePtr orvexImageWithRotation(const ImagePtr& image, std::int64_t rotation);

} // namespace orvex
