// Reducing a JPEG without putting it together at full size.
#pragma once

#include "Platform/Imaging/Bitmap.h"
#include "Platform/Imaging/Image.h"

#include <cstdint>

namespace orvex {

/// What decodeImage() and resample() make of a JPEG, quicker: at the smallest scale that keeps the reduction sharp and,
/// where lightness and colour are apart, each by itself. Grey when no pixel has a colour. Throws ImageError on damaged
/// data, and for sizes below 1 or above 2 GiB of samples.
[[nodiscard]] Bitmap resampleJPEG(const Bytes& data, const ImageInfo& info, std::int64_t width, std::int64_t height);
/// The pixels of a representation at another size; by the way above where that applies.
[[nodiscard]] Bitmap resampled(const ImageRep& rep, std::int64_t width, std::int64_t height);

} // namespace orvex
