// The module with what only pictures need: decoders of TIFF and JPEG 2000, resampling, colour profiles.
#pragma once

#include "Platform/Imaging/Codecs_p.h"

#include <optional>
#include <vector>

namespace orvex {

struct ImagingModule {
    std::vector<ImageInfo> (*tiffInfo)(const Bytes& data);
    void (*verifyTIFF)(const Bytes& data, int page);
    Bitmap (*decodeTIFF)(const Bytes& data, const ImageInfo& info);

    Bitmap (*decodeJPEG2000)(const Bytes& data, const ImageInfo& info);
    /// The codestream of a bitmap without 1-bit samples; empty when it is refused. `quality` as for JPEGOptions.
    std::optional<std::vector<std::uint8_t>> (*encodeJPEG2000)(const Bitmap& bitmap, double quality);

    /// The samples of `from` (1-bit ones as 8-bit grey) at the size, and with the depth, of `to`; alpha not weighted
    /// in.
    void (*resampleInto)(const Bitmap& from, Bitmap& to);

    /// sRGB by the profile or the gamma of the samples; empty when that profile is unusable.
    std::optional<Bitmap> (*convertByProfile)(const Bitmap& bitmap);
};

/// Loads it with the first call. Throws std::runtime_error. Threads: any.
[[nodiscard]] const ImagingModule& imagingModule();

// From here on: within the module.

namespace tiff {
[[nodiscard]] std::vector<ImageInfo> readInfo(const Bytes& data);
void verify(const Bytes& data, int page);
[[nodiscard]] Bitmap decode(const Bytes& data, const ImageInfo& info);
} // namespace tiff

namespace jpeg2000 {
[[nodiscard]] Bitmap decode(const Bytes& data, const ImageInfo& info);
[[nodiscard]] std::optional<std::vector<std::uint8_t>> encodeCodestream(const Bitmap& bitmap, double quality);
} // namespace jpeg2000

void resampleInto(const Bitmap& from, Bitmap& to);
[[nodiscard]] std::optional<Bitmap> convertByProfile(const Bitmap& bitmap);

} // namespace orvex
