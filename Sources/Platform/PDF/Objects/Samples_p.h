// Samples of any depth and meaning to pixels.
#pragma once

#include "Platform/PDF/Objects/PDFImage.h"

namespace orvex {

/// The pixels of an image of samples: bilevel grey stays bilevel, sixteen bits stay, everything else has eight. Samples
/// that the data do not reach are zero.
[[nodiscard]] Bitmap pixelsOf(const PDFImage& image);
/// Samples of eight bits, taken as those of an indexed or L*a*b* image.
[[nodiscard]] Bitmap withMeaning(const Bitmap& samples, const PDFColorSpace& space);

} // namespace orvex
