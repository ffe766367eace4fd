#include "Platform/PDF/PDFPage.h"

#include "Platform/PDF/Composer_p.h"
#include "Platform/PDF/ImageStream_p.h"
#include "Platform/PDF/PDFSource_p.h"
#include "Platform/PDF/Reading/PageText_p.h"

#include <cmath>
#include <stdexcept>

namespace orvex {

PDFPage::PDFPage() = default;
PDFPage::~PDFPage() = default;

PDFPage::PDFPage(PDFPageContent content, PDFPageLayers layers)
    : content_(std::move(content)), layers_(std::move(layers)) {
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

std::vector<TextLine> PDFPage::textLines() const {
    const auto page = mayHaveText() ? inAFile() : std::nullopt;
    return page ? readTextLines(*page->source, page->index) : std::vector<TextLine>();
}

std::string PDFPage::string() const {
    std::string text;
    for (const auto& line : textLines()) {
        text.append(text.empty() ? "" : "\n").append(line.text);
    }
    return text;
}

bool PDFPage::hasText() const {
    const auto page = mayHaveText() ? inAFile() : std::nullopt;
    return page && page->source->hasText(page->index);
}

bool PDFPage::mayHaveText() const {
    return std::holds_alternative<LoadedPageContent>(content_) || !layers_.empty();
}

std::optional<LoadedPageContent> PDFPage::inAFile() const {
    if (std::holds_alternative<LoadedPageContent>(content_) && layers_.empty()) {
        return std::get<LoadedPageContent>(content_);
    }
    if (std::holds_alternative<BlankPageContent>(content_) && layers_.empty()) {
        return std::nullopt;
    }
    auto file = madeFile();
    return file ? std::optional(LoadedPageContent{std::move(file), 0}) : std::nullopt;
}

std::shared_ptr<PDFSource> PDFPage::madeFile() const {
    {
        const std::lock_guard lock(madeOnceMutex_);
        if (madeFile_) {
            return madeFile_;
        }
    }
    std::shared_ptr<PDFSource> made;
    try {
        // Not this page itself: what a subclass draws over it is not part of it.
        const std::vector<PDFPagePtr> pages{std::make_shared<PDFPage>(content_, layers_)};
        ByteCollector file;
        Composer(nullptr, pages, {}).write(file);
        made = PDFSource::open(file.take(), {});
    } catch (const PDFWriteError&) {
        return nullptr;
    }
    const std::lock_guard lock(madeOnceMutex_);
    madeFile_ = madeFile_ ? madeFile_ : made;
    return madeFile_;
}

std::shared_ptr<const ImageStream> PDFPage::imageStream() const {
    const std::lock_guard lock(madeOnceMutex_);
    if (!imageStream_) {
        imageStream_ = makeImageStream(*std::get<ImagePageContent>(content_).image);
    }
    return imageStream_;
}

void PDFPage::draw(PDFDisplayBox box, GraphicsContext& context) {
    context.drawPageContent(*this, box);
    for (const auto& layer : layers_) {
        const ScopedState drawing(context);
        (*layer)(box, context);
    }
}

} // namespace orvex
