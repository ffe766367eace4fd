#include "OrvexPDF/Page.h"

#include <vector>

namespace orvex {

namespace {

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
    return foundPageOf(bounds(PDFDisplayBox::media), textLines());
}

OrvexFoundPage OrvexPDFPage::extractTextLayer() const {
    auto lines = textLines();
    std::erase_if(lines, [](const TextLine& line) { return !line.isLayerItem; });
    return foundPageOf(bounds(PDFDisplayBox::media), std::move(lines));
}

} // namespace orvex
