#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Page.h"

#include <vector>

namespace orvex {

namespace {

/// A page that cannot be read is one without text: the others of its document are to be had all the same.
std::vector<TextLine> linesOrNone(const PDFPage& page) {
    try {
        return page.textLines();
    } catch (const std::exception& failure) {
        moduleLogger().log(LogLevel::warning, "Page", "extractFoundPage()",
                           [&] { return std::string("text of a page not read: ") + failure.what(); });
        return {};
    }
}

OrvexFoundPage foundPageOf(const Rect& media, std::vector<TextLine>&& lines) {
    OrvexFoundPage found{OrvexFoundSize(media.size())};
    auto& items = found.items.emplace();
    for (auto& line : lines) {
        // By design only the height turns y over: an offset of the media box is not taken off.
        const Rect box{line.box.x, media.height - line.box.y - line.box.height, line.box.width, line.box.height};
        items.emplace_back(std::move(line.text), OrvexFoundBox(box));
    }
    return found;
}

} // namespace

OrvexFoundPage OrvexPDFPage::extractFoundPage() const {
    return foundPageOf(bounds(PDFDisplayBox::media), linesOrNone(*this));
}

OrvexFoundPage OrvexPDFPage::extractTextLayer() const {
    auto lines = linesOrNone(*this);
    std::erase_if(lines, [](const TextLine& line) { return !line.isLayerItem; });
    return foundPageOf(bounds(PDFDisplayBox::media), std::move(lines));
}

} // namespace orvex
