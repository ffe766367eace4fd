// The module with PDFium, which is loaded when the first page is rendered.
#pragma once

#include "Platform/PDF/PDFium_p.h"

#include <optional>
#include <string>

namespace orvex {

struct PDFiumModule {
    std::optional<Bitmap> (*rasterPage)(const Bytes& file, const std::string& password, int page,
                                        const PageRaster& request);
    std::optional<Bitmap> (*rasterFirstPage)(const Bytes& file, const PageRaster& request);
    void (*close)(const Bytes& file);
};

} // namespace orvex
