#include "Platform/PDF/Renderer.h"

#include "Platform/PDF/Composer_p.h"
#include "Platform/PDF/PDFSource_p.h"
#include "Platform/PDF/PDFium_p.h"

namespace orvex {

namespace {

constexpr std::int64_t byteLimit = std::int64_t{1} << 30;
constexpr std::int64_t bytesPerPixel = 4;

/// Whether drawing the page marks anything beyond its content.
bool drawsMarks(PDFPage& page) {
    InvisibleFont invisible;
    OutlineFonts outlines;
    ContentStreamContext context(invisible, outlines, [] { return std::string(); });
    page.draw(PDFDisplayBox::media, context);
    return context.drewMarks();
}

PDFPagePtr barePage(const PDFPage& page) {
    auto bare = std::make_shared<PDFPage>(page.content(), page.layers());
    bare->setRotation(page.rotation());
    return bare;
}

/// A page of a file that looks as that file shows it: PDFium can read it where it is. Qt PDF draws no form fields.
const LoadedPageContent* asInItsFile(PDFPage& page, bool complete) {
    const auto* loaded = std::get_if<LoadedPageContent>(&page.content());
    const bool same = loaded != nullptr && page.rotation() == loaded->source->rotation(loaded->index) &&
                      page.bounds(PDFDisplayBox::crop) == page.bounds(PDFDisplayBox::media) &&
                      !(page.layers().empty() ? complete && drawsMarks(page) : drawsMarks(*barePage(page))) &&
                      !(complete && loaded->source->showsFields(loaded->index));
    return same ? loaded : nullptr;
}

/// A file of the page alone, cropped to nothing less than its media box.
Bytes composed(const PDFPagePtr& page, bool fields) {
    const std::vector<PDFPagePtr> pages{page};
    Composer composer(nullptr, pages, {}, Composer::Purpose::picture);
    composer.showMediaBoxes();
    if (fields) {
        composer.showFields();
    }
    ByteCollector file;
    composer.write(file);
    return file.take();
}

} // namespace

bool isRenderable(std::int64_t width, std::int64_t height) {
    return width >= 1 && height >= 1 && width <= byteLimit / bytesPerPixel / height;
}

std::optional<Bitmap> render(PDFPage& page, const RenderRequest& request) {
    if (!isRenderable(request.width, request.height)) {
        return std::nullopt;
    }
    const PageRaster raster{request.width, request.height, request.complete, request.smooth};
    try {
        if (const auto* loaded = asInItsFile(page, request.complete)) {
            return rasterPage(*loaded->source, loaded->index, raster);
        }
        // The composer only borrows the page, and only while this runs.
        const PDFPagePtr borrowed(std::shared_ptr<void>(), &page);
        return rasterFirstPage(composed(request.complete ? borrowed : barePage(page), request.complete), raster);
    } catch (const PDFWriteError&) { // a page that cannot be written cannot be shown
        return std::nullopt;
    }
}

} // namespace orvex
