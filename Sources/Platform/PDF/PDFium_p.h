// PDFium, as far as we use it: pixels of pages.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/Imaging/Bitmap.h"

#include <cstdint>
#include <optional>

namespace orvex {

class PDFSource;

struct PageRaster {
    std::int64_t width = 0;  ///< pixels
    std::int64_t height = 0; ///< pixels
    bool annotations = false;
    bool smooth = true; ///< anti-aliased text, paths and images
};

/// The crop box of a page as shown, scaled to the raster, over white: 8-bit RGB with an opaque alpha channel. Empty
/// when PDFium cannot read it. Threads: any.
[[nodiscard]] std::optional<Bitmap> rasterPage(const PDFSource& source, int page, const PageRaster& request);
/// The same for the only page of a file that is not kept.
[[nodiscard]] std::optional<Bitmap> rasterFirstPage(const Bytes& file, const PageRaster& request);

/// The source goes away: whatever was kept of it for reading goes, too.
void closeInPDFium(const PDFSource& source);

} // namespace orvex
