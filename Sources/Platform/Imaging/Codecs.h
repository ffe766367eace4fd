// Codecs as functions: bytes to header and samples, samples to bytes. Each library lives in one .cpp of its own.
#pragma once

#include "Platform/Imaging/Bitmap.h"
#include "Platform/Imaging/Image.h"

#include <optional>

namespace orvex {

/// Recognises the format by content. Empty when it is none of ours.
[[nodiscard]] std::optional<ImageFormat> sniffImageFormat(std::span<const std::uint8_t> data);
/// Reads headers only; one entry per TIFF page, one otherwise. Throws ImageError.
[[nodiscard]] std::vector<ImageInfo> readImageInfo(const Bytes& data);
/// Decodes the samples of one page. Throws ImageError; dimensions that would need more than 2 GiB are refused.
[[nodiscard]] Bitmap decodeImage(const Bytes& data, const ImageInfo& info, int page);
/// Decodes a JPEG at the smallest of its built-in scales that is at least `width` x `height` pixels.
[[nodiscard]] Bitmap decodeJPEGAtLeast(const Bytes& data, const ImageInfo& info, std::int64_t width,
                                       std::int64_t height);

struct PNGOptions {
    double dpiX = 72; ///< written as pHYs in whole pixels per metre
    double dpiY = 72;
    int level = 9; ///< 0 to 12, libdeflate's scale
};
/// Lossless and as small as we can make it: samples that are grey are stored grey, two-level ones with 1 bit, few
/// colours with a palette; filters are chosen per row. Not interlaced, one compressed stream. CMYK is refused (empty).
[[nodiscard]] std::optional<Bytes> encodePNG(const Bitmap& bitmap, const PNGOptions& options);

struct JPEGOptions {
    double quality = 0.75; ///< 0 strongest to 1 best; clamped
    double dpiX = 72;      ///< written as whole dpi in the JFIF header
    double dpiY = 72;
    /// An encoder that passes this many bytes has lost and gives nothing. 0: no limit.
    std::size_t limit = 0;
};
/// Transparent parts become white; samples that are grey are stored grey. Quality 0.9 and above keeps full chroma.
[[nodiscard]] std::optional<Bytes> encodeJPEG(const Bitmap& bitmap, const JPEGOptions& options);

/// High-quality reduction or enlargement (Lanczos; area for strong reductions). Alpha is weighted in. 1-bit input gives
/// 8-bit grey. Throws ImageError for sizes below 1 or above 2 GiB of samples.
[[nodiscard]] Bitmap resample(const Bitmap& bitmap, std::int64_t width, std::int64_t height);
/// 8-bit (or 16-bit, kept) RGB or grey in sRGB, through the profile where there is one; alpha kept.
[[nodiscard]] Bitmap convertToSRGB(const Bitmap& bitmap);
/// Turned clockwise by quarter turns, 0 to 3.
[[nodiscard]] Bitmap turned(const Bitmap& bitmap, int quarterTurns);
/// What a PDF reader needs to use a PNG's own compressed data as an image stream: empty when the format does not allow
/// it (interlace, alpha or transparency, a broken file).
struct PNGStream {
    Bytes deflate;  ///< the IDAT payloads, joined; PNG predictors, Colors/Columns/BitsPerComponent as below
    int colors = 1; ///< 1 for grey and palette, 3 for rgb
    int bitsPerComponent = 8;
    Bytes palette; ///< RGB triples; empty without a palette
};
[[nodiscard]] std::optional<PNGStream> pngStream(const Bytes& png);

} // namespace orvex
