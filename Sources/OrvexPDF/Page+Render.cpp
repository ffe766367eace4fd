#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Page.h"
#include "OrvexPDF/Page_p.h"
#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/Renderer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>

namespace orvex {

namespace {

std::atomic<double> backingScale{1};

/// Beyond what any bitmap can have, within what integers can hold.
constexpr double mostSide = 1e9;

const char* nameOf(OrvexPDFPageErrorCode code) {
    static constexpr std::array names{"cannotCreateBitmap", "cannotGetPageAndContext", "couldNotOpenPageDictionary",
                                      "couldNotReadResources", "cannotCopyData"};
    return names.at(static_cast<std::size_t>(code));
}

/// The media box as shown, in points.
Size shownSize(const PDFPage& page) {
    const Size size = page.bounds(PDFDisplayBox::media).size();
    return page.rotation() % 180 == 0 ? size : Size{size.height, size.width};
}

/// Fractions included. What a file or a resolution made up need not fit an integer.
Size pixelsAt(std::int64_t dpi, Size points) {
    const double scale = static_cast<double>(dpi) / 72;
    const Size pixels{scale * points.width, scale * points.height};
    if (!(std::abs(pixels.width) < mostSide && std::abs(pixels.height) < mostSide)) {
        throw OrvexPDFPageError(OrvexPDFPageErrorCode::cannotCreateBitmap);
    }
    return pixels;
}

ImageRepPtr repOf(std::optional<Bitmap> bitmap, Size points) {
    if (!bitmap) {
        throw OrvexPDFPageError(OrvexPDFPageErrorCode::cannotCreateBitmap);
    }
    auto rep = std::make_shared<ImageRep>(std::make_shared<const Bitmap>(std::move(*bitmap)));
    rep->setSize(points);
    return rep;
}

ImagePtr imageAt(const ImageRepPtr& rep, Size points) {
    auto image = std::make_shared<Image>(points);
    image->addRepresentation(rep);
    return image;
}

void warnUnlessDPI(const Image& image, double expected, const char* message) {
    if (image.dpi() != expected) {
        moduleLogger().log(LogLevel::warning, "Page", "thumbnail72DPI(of:)",
                           [&] { return message + describe(image.dpi()); });
    }
}

std::int64_t wholePixels(double points, double scale) {
    return std::max<std::int64_t>(1, std::llround(points * scale));
}

} // namespace

OrvexPDFPageError::OrvexPDFPageError(OrvexPDFPageErrorCode code) : std::runtime_error(nameOf(code)), code_(code) {}

void setMainScreenBackingScale(double scale) {
    backingScale = scale;
}

ImageRepPtr OrvexPDFPage::renderBitmap(double width, double height) {
    const std::int64_t pixelsWide = truncateOrDie(width, "the width of a page's bitmap");
    const std::int64_t pixelsHigh = truncateOrDie(height, "the height of a page's bitmap");
    if (!isRenderable(pixelsWide, pixelsHigh)) {
        throw OrvexPDFPageError(OrvexPDFPageErrorCode::cannotCreateBitmap);
    }
    if (std::holds_alternative<BlankPageContent>(content())) {
        throw OrvexPDFPageError(OrvexPDFPageErrorCode::cannotGetPageAndContext);
    }
    const RenderRequest bare{pixelsWide, pixelsHigh, false, false};
    const auto pixels = Size{static_cast<double>(pixelsWide), static_cast<double>(pixelsHigh)};
    auto scan = scanBitmap(*this, pixelsWide, pixelsHigh);
    return repOf(scan ? std::move(scan) : orvex::render(*this, bare), pixels);
}

ImagePtr OrvexPDFPage::image(std::int64_t dpi) {
    const Size points = shownSize(*this);
    const Size pixels = pixelsAt(dpi, points);
    const auto rep = renderBitmap(pixels.width, pixels.height);
    rep->setSize(points);
    return imageAt(rep, points);
}

ImagePtr OrvexPDFPage::render(std::int64_t dpi) {
    const Size points = shownSize(*this);
    const Size pixels = pixelsAt(dpi, points);
    const RenderRequest complete{static_cast<std::int64_t>(pixels.width), static_cast<std::int64_t>(pixels.height),
                                 true, true};
    return imageAt(repOf(orvex::render(*this, complete), points), points);
}

ImagePtr OrvexPDFPage::thumbnail(Size size) {
    const Size shown = shownSize(*this);
    const double fit = std::min(size.width / shown.width, size.height / shown.height);
    const double scale = backingScale;
    if (!(fit > 0) || !(fit * scale * std::max(shown.width, shown.height) < mostSide)) {
        return nullptr;
    }
    const std::int64_t width = wholePixels(shown.width * fit, scale);
    const std::int64_t height = wholePixels(shown.height * fit, scale);
    const Size points{static_cast<double>(width) / scale, static_cast<double>(height) / scale};
    auto bitmap = orvex::render(*this, {width, height, true, true});
    return bitmap ? imageAt(repOf(std::move(bitmap), points), points) : nullptr;
}

ImagePtr OrvexPDFPage::thumbnail72DPI(Size size) {
    const double scale = backingScale;
    ImagePtr thumb = thumbnail({size.width / scale, size.height / scale});
    thumb = thumb ? thumb : std::make_shared<Image>();
    warnUnlessDPI(*thumb, scale * 72, "Thumbnail with unexpected DPI: ");
    auto result = std::make_shared<Image>(Size{scale * thumb->size().width, scale * thumb->size().height});
    if (!thumb->representations().empty()) {
        const ImageRepPtr rep = thumb->representations().front();
        rep->setSize({static_cast<double>(rep->pixelsWide()), static_cast<double>(rep->pixelsHigh())});
        result->addRepresentation(rep);
    }
    warnUnlessDPI(*result, scale * 72, "Thumbnail with wrong DPI: ");
    return result;
}

} // namespace orvex
