#include "Platform/PDF/PDFium_p.h"

#include "Platform/PDF/PDFSource_p.h"
#include "Platform/PDF/PDFiumModule_p.h"

#include <atomic>
#include <dlfcn.h>
#include <filesystem>
#include <stdexcept>

namespace orvex {

namespace {

std::atomic<const PDFiumModule*> loaded{nullptr};

/// Stands in a folder beside the library, wherever that was installed.
std::string modulePath() {
    Dl_info library{};
    if (dladdr(&loaded, &library) == 0 || library.dli_fname == nullptr) {
        return ORVEX_PDFIUM_MODULE;
    }
    return std::filesystem::path(library.dli_fname).replace_filename(ORVEX_PDFIUM_MODULE).string();
}

/// Never unloaded: Qt leaves statics behind.
const PDFiumModule& load() {
    void* library = dlopen(modulePath().c_str(), RTLD_NOW | RTLD_LOCAL);
    void* entry = library == nullptr ? nullptr : dlsym(library, pdfiumModuleEntry);
    if (entry == nullptr) {
        const char* why = dlerror();
        throw std::runtime_error(std::string("cannot load what renders pages: ") + (why != nullptr ? why : "no entry"));
    }
    loaded = reinterpret_cast<PDFiumModuleEntry>(entry)();
    return *loaded;
}

const PDFiumModule& module() {
    static const PDFiumModule& once = load();
    return once;
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
