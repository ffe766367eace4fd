// The optimiser: an image brought down to a preset's resolution and to the smaller of two encodings.
#pragma once

#include "OrvexPDF/PageMeta.h"
#include "OrvexPDF/SqueezeMode.h"
#include "Platform/Imaging/Image.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace orvex {

/// Which encoding was chosen; the optimiser chooses none, PNG or JPEG.
enum class OrvexImageMetaMode { undefined, png, jpg, jpg2000, tiff };
/// As it is written here.
[[nodiscard]] std::string_view name(OrvexImageMetaMode mode);

/// The outcome of optimising one image. `mode` is undefined exactly when `count` is noCount.
struct OrvexImageMeta {
    static constexpr std::int64_t noCount = std::numeric_limits<std::int64_t>::max();
    ImagePtr image;               ///< never null
    std::int64_t count = noCount; ///< bytes of the chosen encoding
    OrvexImageMetaMode mode = OrvexImageMetaMode::undefined;
};
/// For log lines.
[[nodiscard]] std::string describe(const OrvexImageMeta& meta);

// Images are neither null nor changed. Threads: any, but for what renders a page.

/// A new image of the same size in points at `dpi` dots per inch, or the input itself when no bitmap can be made. A
/// size in pixels that is no integer of 64 bits is fatal.
[[nodiscard]] ImagePtr orvexImageTransform(const ImagePtr& image, std::int64_t dpi);
/// Whether the image measures more than `dpi`, by more than the rounding of its size in points.
[[nodiscard]] bool isFiner(const Image& image, std::int64_t dpi);
/// orvexImageTransform() without a pixel more across or down than the image has: one that is finer than `dpi` across
/// may be coarser down.
[[nodiscard]] ImagePtr reducedTo(const ImagePtr& image, std::int64_t dpi);
/// Reduced to the preset when finer, never enlarged, then the smaller of PNG and JPEG (PNG on a tie). No preset: the
/// very input. `size` is accepted and not used.
[[nodiscard]] OrvexImageMeta optimizeImage(const ImagePtr& image, const OrvexPDFSqueezeModePtr& squeeze, Size size);

/// The page's bare content at the preset's resolution, optimised. Empty, with a warning, when it cannot be rendered.
[[nodiscard]] std::optional<OrvexImageMeta> optimizeImage(OrvexPDFPage& page, const OrvexPDFSqueezeModePtr& squeeze);

// Images+OCR.cpp: what text recognition works on
/// The page as shown, at least 1024 points on its longer side, as if at 300 dpi.
[[nodiscard]] ImagePtr orvexOCRImage(OrvexPDFPage& page);
/// The record's original image, turned by its rotation, or else its original page; null, with a warning, without
/// either. While a page is rendered its rotation is changed: nothing else may use it meanwhile. Throws
/// std::invalid_argument for the rotation of a page that is no multiple of 90; one that overflows is fatal.
[[nodiscard]] ImagePtr orvexOCRImage(const OrvexPDFPageMeta& meta);
/// A new image with the first representation. By design `size` is not looked at. Without one: the very image.
[[nodiscard]] ImagePtr imageOfSize(const ImagePtr& image, Size size);
/// The size in pixels at `to` dpi of what has `size` pixels at `from` dpi; not finite when `from` is 0.
[[nodiscard]] Size convertDPI(const Size& size, std::int64_t from, std::int64_t to);
/// The square on the longer side.
[[nodiscard]] Size sizeWithBoxOfMaxEdge(const Size& size);

// Images+Encoders.cpp: three routes to encoded bytes. All are empty when the image has no representation or cannot be
// decoded; qualities are fractions, 1 = best; transparent parts become white in JPEG.

// The first representation as it is: its resolution and its colour profile go along, grey stays grey.
[[nodiscard]] std::optional<Bytes> orvexDataForPNG(const Image& image);
[[nodiscard]] std::optional<Bytes> orvexDataForPNGRepresentation(const Image& image);
/// A quality outside 0 to 1 is logged as a warning and used all the same.
[[nodiscard]] std::optional<Bytes> orvexDataForJPG(const Image& image, double quality);
[[nodiscard]] std::optional<Bytes> orvexDataForJPGRepresentation(const Image& image, double quality);
/// A JP2 file; alpha is kept, quality 1 loses nothing. Here 0 is logged as well.
[[nodiscard]] std::optional<Bytes> orvexDataForJPG2000(const Image& image, double quality);

// The image's pixels (see cgImage) converted to sRGB, at 72 dpi. Qualities are not checked.
/// RGBA of 16 bits, whatever the pixels are.
[[nodiscard]] std::optional<Bytes> orvexDataForPNGCoreImage(const Image& image);
[[nodiscard]] std::optional<Bytes> orvexDataForJPGCoreImage(const Image& image, double quality);

/// The image's pixels (see cgImage) in their own colours, at 72 dpi, with EXIF orientation 1. The quality is not
/// checked.
[[nodiscard]] std::optional<Bytes> orvexDataForJPGCGImage(const Image& image, double quality);

/// The pixels of the representation that has the most; null without one, or when it cannot be decoded.
[[nodiscard]] BitmapPtr cgImage(const Image& image);
/// Turned clockwise by whole quarter turns of `rotation` degrees; the very input for none. Its size in points is its
/// size in pixels.
[[nodiscard]] ImagePtr orvexImageWithRotation(const ImagePtr& image, std::int64_t rotation);

} // namespace orvex
