// Codecs as functions: bytes to header and samples, samples to bytes. Each library lives in one .cpp of its own.
#pragma once

#include "Platform/Imaging/Bitmap.h"
#include "Platform/Imaging/Image.h"

#include <optional>

namespace orvex {

/// Recognises the format by content. Empty when it is none of ours.
[[nodiscard]] std::optional<ImageFormat> sniffImageFormat(std::span<const std::uint8_t> data);
/// Reads headers only; one entry per TIFF page (reduced copies and masks left out), one otherwise. Throws ImageError.
[[nodiscard]] std::vector<ImageInfo> readImageInfo(const Bytes& data);
/// Finds files that were cut off, without decoding a pixel: for bytes that are to be embedded as they are. A JPEG must
/// end its scans (only its header and its tail are read), a PNG must have sound chunks up to its end, a TIFF directory
/// must point into the file. What lies inside the compressed data is not looked at. Throws ImageError.
void verifyEncoded(const Bytes& data, const ImageInfo& info);
/// Decodes the samples of the page that `info` describes, as stored (no orientation applied). Throws ImageError;
/// dimensions that would need more than 2 GiB, or more than the data could ever hold, are refused.
[[nodiscard]] Bitmap decodeImage(const Bytes& data, const ImageInfo& info);

struct PNGOptions {
    double dpiX = 72; ///< written as pHYs in whole pixels per metre
    double dpiY = 72;
    int level = automaticLevel; ///< 0 to 12, libdeflate's scale; automatic: the best that stays quick for the size
    /// An encoder that passes this many bytes has lost and gives nothing. 0: no limit.
    std::size_t limit = 0;
    /// Stores the samples in their own layout and depth, not in the smallest that holds them.
    bool keepsLayout = false;
    bool statesSRGB = false; ///< says that the samples are sRGB, where they carry neither a profile nor a gamma
    static constexpr int automaticLevel = -1;
};
/// Lossless and as small as we can make it: samples that are grey are stored grey, two-level ones with 1 bit, few
/// colours with a palette; filters are chosen per row. Not interlaced, one compressed stream. CMYK is refused (empty).
/// A profile or gamma that the samples have goes along.
[[nodiscard]] std::optional<Bytes> encodePNG(const Bitmap& bitmap, const PNGOptions& options);

struct JPEGOptions {
    double quality = 0.75; ///< 0 strongest to 1 best; clamped
    double dpiX = 72;      ///< written as whole dpi in the JFIF header
    double dpiY = 72;
    /// An encoder that passes this many bytes has lost and gives nothing. 0: no limit.
    std::size_t limit = 0;
    int orientation = 0; ///< EXIF orientation to state, 1 to 8; 0: none
};
/// Baseline with optimised Huffman tables. Transparent parts become white; samples that are grey are stored grey; CMYK
/// stays CMYK. Quality 0.9 and above keeps full chroma. A profile goes along. Empty beyond 65535 pixels a side.
[[nodiscard]] std::optional<Bytes> encodeJPEG(const Bitmap& bitmap, const JPEGOptions& options);

/// A JP2 file: quality 1 without loss, below it about what JPEG gives for the same number. Alpha is kept; CMYK becomes
/// sRGB. Resolution and a profile go along; `limit` and `orientation` do not count. Empty beyond 2^28 samples.
[[nodiscard]] std::optional<Bytes> encodeJPEG2000(const Bitmap& bitmap, const JPEGOptions& options);

/// High-quality reduction or enlargement (Lanczos, after an area average where the reduction is strong). Alpha is
/// weighted in. 1-bit input gives 8-bit grey. Throws ImageError for sizes below 1 or above 2 GiB of samples.
[[nodiscard]] Bitmap resample(const Bitmap& bitmap, std::int64_t width, std::int64_t height);
/// 8-bit (or 16-bit, kept) RGB or grey in sRGB, through the profile where there is one; alpha kept.
[[nodiscard]] Bitmap convertToSRGB(const Bitmap& bitmap);
/// The same picture as RGBA of 16 bits in sRGB.
[[nodiscard]] Bitmap convertToDeepSRGB(const Bitmap& bitmap);
/// Laid over white paper (no ink); 8 bits. Without alpha the same samples.
[[nodiscard]] Bitmap flattenedOverWhite(const Bitmap& bitmap);
/// Laid over black, as on a surface that nothing was drawn on yet. Without alpha the same samples.
[[nodiscard]] Bitmap flattenedOverBlack(const Bitmap& bitmap);
/// Turned clockwise by quarter turns, 0 to 3.
[[nodiscard]] Bitmap turned(const Bitmap& bitmap, int quarterTurns);
/// Mirrored left to right and/or top to bottom.
[[nodiscard]] Bitmap mirrored(const Bitmap& bitmap, bool horizontally, bool vertically);
/// What a PDF reader needs to use a PNG's own compressed data as an image stream: empty when the format does not allow
/// it (interlace, alpha or transparency, a broken file).
struct PNGStream {
    Bytes deflate;  ///< the IDAT payloads, joined; PNG predictors, Colors/Columns/BitsPerComponent as below
    int colors = 1; ///< 1 for grey and palette, 3 for rgb
    int bitsPerComponent = 8;
    Bytes palette; ///< RGB triples; empty without a palette
};
[[nodiscard]] std::optional<PNGStream> pngStream(const Bytes& data);

} // namespace orvex
