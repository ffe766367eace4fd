// How the library and its module with PDFium find each other. The module is loaded when the first page is rendered: its
// libraries take longer to load than most files take to be read.
#pragma once

#include "Platform/PDF/PDFium_p.h"

#include <string>

namespace orvex {

struct PDFiumModule {
    std::optional<Bitmap> (*rasterPage)(const Bytes& file, const std::string& password, int page,
                                        const PageRaster& request);
    std::optional<Bitmap> (*rasterFirstPage)(const Bytes& file, const PageRaster& request);
    void (*close)(const Bytes& file);
};

/// The one function of the module that is looked up by its name.
inline constexpr const char* pdfiumModuleEntry = "orvexPDFiumModule";
using PDFiumModuleEntry = const PDFiumModule* (*)();

} // namespace orvex
