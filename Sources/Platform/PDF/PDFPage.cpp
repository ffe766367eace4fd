#include "Platform/PDF/PDFPage.h"

#include "Platform/PDF/ImageStream_p.h"
#include "Platform/PDF/PDFSource_p.h"
#include "Platform/PDF/PDFium_p.h"

#include <cmath>
#include <stdexcept>

namespace orvex {

PDFPage::PDFPage() = default;
PDFPage::~PDFPage() = default;

PDFPage::PDFPage(PDFPageContent content) : content_(std::move(content)) {
    if (const auto* loaded = std::get_if<LoadedPageContent>(&content_)) {
        rotation_ = loaded->source->rotation(loaded->index);
    }
}

bool PDFPage::canHold(const ImagePtr& image) {
    if (!image || image->representations().empty()) {
        return false;
    }
    const Size size = image->size();
    return std::isfinite(size.width) && std::isfinite(size.height) && size.width > 0 && size.height > 0;
}

Rect PDFPage::bounds(PDFDisplayBox box) const {
    if (const auto* loaded = std::get_if<LoadedPageContent>(&content_)) {
        return loaded->source->box(loaded->index, box);
    }
    if (const auto* image = std::get_if<ImagePageContent>(&content_)) {
        const Size size = image->image->size();
        return {0, 0, size.width, size.height};
    }
    return {0, 0, 612, 792};
}

void PDFPage::setRotation(long long degrees) {
    if (degrees % 90 != 0) {
        throw std::invalid_argument("a page turns by multiples of 90 degrees, not by " + std::to_string(degrees));
    }
    rotation_ = static_cast<int>((degrees % 360 + 360) % 360);
}

std::string PDFPage::string() const {
    const auto* loaded = std::get_if<LoadedPageContent>(&content_);
    return loaded != nullptr ? readPageText(*loaded->source, loaded->index) : std::string();
}

bool PDFPage::hasText() const {
    const auto* loaded = std::get_if<LoadedPageContent>(&content_);
    return loaded != nullptr && loaded->source->hasText(loaded->index);
}

std::shared_ptr<const ImageStream> PDFPage::imageStream() const {
    const std::lock_guard lock(imageStreamMutex_);
    if (!imageStream_) {
        imageStream_ = makeImageStream(*std::get<ImagePageContent>(content_).image);
    }
    return imageStream_;
}

void PDFPage::draw(PDFDisplayBox box, GraphicsContext& context) {
    context.drawPageContent(*this, box);
}

} // namespace orvex
