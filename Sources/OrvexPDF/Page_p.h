// A quicker way to the pixels of scans.
#pragma once

#include "Platform/Imaging/Bitmap.h"
#include "Platform/PDF/PDFPage.h"

#include <cstdint>
#include <optional>

namespace orvex {

/// The bare content of a page that is one picture and nothing else, made from that picture: as render() gives it but
/// for how the picture was reduced. `width` and `height` are pixels of the media box as shown. Empty for pages that
/// show anything else (text, drawings, several pictures, a margin), for pictures with masks, with colours that are not
/// grey or RGB, or with fewer pixels than were asked for, and for damaged ones.
[[nodiscard]] std::optional<Bitmap> scanBitmap(const PDFPage& page, std::int64_t width, std::int64_t height);

} // namespace orvex
