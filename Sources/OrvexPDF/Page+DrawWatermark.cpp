#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Page.h"
#include "Platform/Text/Shaping.h"

#include <algorithm>

namespace orvex {

namespace {

/// By design the banner has these colours whatever the page's own colour properties hold.
constexpr Color bannerColor{0.65, 0, 0, 1};
constexpr Color white{1, 1, 1, 1};

/// A top-down rectangle of a page `height` high, seen from the bottom.
Rect flipped(const Rect& rect, double height) {
    return {rect.x, height - rect.y - rect.height, rect.width, rect.height};
}

} // namespace

void OrvexPDFPage::drawWatermark(PDFDisplayBox box, GraphicsContext& context) const {
    if (!watermarkText || watermarkText->empty()) {
        return;
    }
    moduleLogger().log(LogLevel::debug, "Page+DrawWatermark", "drawWatermark(box:context:)",
                       [] { return std::string("Draws watermark"); });
    const auto [width, height] = bounds(box).size();
    const ScopedState state(context);
    const double margin = std::min(height / 10, std::max(width / 60, height / 60));
    const Rect band = flipped({margin, height - 2 * margin, width - 2 * margin, margin}, height);
    const double radius = band.height / 2;
    const auto font = Font::require("Helvetica Bold");
    const TextExtent text = measureShownText(*watermarkText, *font, margin);
    Rect banner{band.x - 1.5 * radius, band.y - 0.5 * radius, text.width + 3 * radius, margin + radius};
    banner.x = (band.width - banner.width) / 2; // by design from the page's left edge: a margin left of the true middle
    context.setFillColor(bannerColor);
    context.setStrokeColor(white);
    context.fillAndStrokeRoundedRect(banner, radius, radius);
    context.setFillColor(white);
    context.drawText(*watermarkText, font, margin,
                     {banner.x + (banner.width - text.width) / 2, banner.y + (banner.height - text.height) / 2,
                      text.width, text.height},
                     TextMode::visible);
}

} // namespace orvex
