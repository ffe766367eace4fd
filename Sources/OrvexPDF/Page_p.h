// What pages do for themselves: a quicker way to the pixels of scans, and their images within bounds.
#pragma once

#include "OrvexPDF/Page.h"
#include "Platform/Imaging/Bitmap.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace orvex {

/// The bare content of a page that is one picture and nothing else, made from that picture: as render() gives it but
/// for how the picture was reduced. `width` and `height` are pixels of the media box as shown. Empty for pages that
/// show anything else (text, drawings, several pictures, a margin), for pictures with masks, with colours that are not
/// grey or RGB, or with fewer pixels than were asked for, and for damaged ones.
[[nodiscard]] std::optional<Bitmap> scanBitmap(const PDFPage& page, std::int64_t width, std::int64_t height);

/// OrvexPDFPage::extractEmbeddedImages() with decoded images of so many bytes in all; what is beyond is logged and left
/// out.
[[nodiscard]] std::vector<ImagePtr> embeddedImages(const PDFPage& page, std::size_t mostSampleBytes);

} // namespace orvex
