#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Page.h"
#include "Platform/Foundation/Strings.h"

#include <cmath>

namespace orvex {

namespace {

constexpr std::string_view fileLabel = "Page+DrawContent";

/// An item's rectangle in page units, from the lower left corner of the drawn box; none for one that has no extent or
/// lies nowhere.
std::optional<Rect> drawnRect(const Rect& box, const Size& found, const Size& drawn) {
    const double sx = drawn.width / found.width;
    const double sy = drawn.height / found.height;
    const Rect rect{box.x * sx, (found.height - box.y - box.height) * sy, box.width * sx, box.height * sy};
    const bool usable = std::isfinite(rect.maxX()) && std::isfinite(rect.maxY()) && rect.width > 0 && rect.height > 0;
    return usable ? std::optional(rect) : std::nullopt;
}

void drawItem(std::string_view text, const Rect& rect, GraphicsContext& context) {
    const auto font = Font::require("Helvetica");
    const TextExtent extent = measureText(text, *font, rect.height);
    if (extent.width <= 0) {
        return;
    }
    const ScopedState state(context);
    const double k = rect.width / extent.width;
    context.concatenate(AffineTransform{}.translated(rect.x, rect.y).scaled(k, 1));
    context.drawText(text, font, rect.height, {0, 0, extent.width, extent.height}, TextMode::invisible);
}

} // namespace

void OrvexPDFPage::drawInvisibleText(PDFDisplayBox box, GraphicsContext& context) const {
    const auto size = foundPage && foundPage->size ? foundPage->size->cgSize() : std::nullopt;
    if (!size || !foundPage->items) {
        return;
    }
    moduleLogger().log(LogLevel::debug, fileLabel, "drawInvisibleText(box:context:)", [&] {
        return "Draws " + std::to_string(foundPage->items->size()) +
               " found items. debug = " + (debug ? "true" : "false");
    });
    const ScopedState state(context);
    const Size drawn = bounds(box).size();
    for (const auto& item : *foundPage->items) {
        const auto rect = item.box ? item.box->cgRect() : std::nullopt;
        const auto target = item.text && rect ? drawnRect(*rect, *size, drawn) : std::nullopt;
        const auto text = target ? trimWhitespaceAndNewlines(*item.text) : std::string_view{};
        if (!text.empty()) {
            drawItem(text, *target, context);
        }
    }
}

} // namespace orvex
