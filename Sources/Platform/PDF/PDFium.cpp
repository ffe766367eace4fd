#include "Platform/PDF/PDFium_p.h"

#include "Platform/Foundation/Module.h"
#include "Platform/PDF/PDFSource_p.h"
#include "Platform/PDF/PDFiumModule_p.h"

#include <atomic>

namespace orvex {

namespace {

std::atomic<const PDFiumModule*> loaded{nullptr};

const PDFiumModule& module() {
    static const PDFiumModule* once = loaded =
        static_cast<const PDFiumModule*>(loadModule(ORVEX_PDFIUM_MODULE, "orvexPDFiumModule", "what renders pages"));
    return *once;
}

} // namespace

std::optional<Bitmap> rasterPage(const PDFSource& source, int page, const PageRaster& request) {
    return module().rasterPage(source.bytes(), source.password(), page, request);
}

std::optional<Bitmap> rasterFirstPage(const Bytes& file, const PageRaster& request) {
    return module().rasterFirstPage(file, request);
}

void closeInPDFium(const PDFSource& source) {
    if (const PDFiumModule* used = loaded) {
        used->close(source.bytes());
    }
}

} // namespace orvex
