#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Page.h"
#include "Platform/Foundation/Strings.h"
#include "Platform/Text/Shaping.h"

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

/// What the debug drawing carries from item to item: boxes alternate green and cyan and grow more opaque.
class DebugBoxes {
public:
    explicit DebugBoxes(std::size_t items) : step_(0.8 / static_cast<double>(items)) {}
    void fill(const Rect& rect, GraphicsContext& context) {
        context.setFillColor({0, 1, green_ ? 0.0 : 1.0, alpha_});
        context.fillRect(rect);
        alpha_ += step_;
        green_ = !green_;
    }

private:
    double step_;
    double alpha_ = 0.1;
    bool green_ = true;
};

constexpr Color debugTextColor{1, 0, 0, 0.5};

/// Text stretched or squeezed to the rectangle's width, as high as the rectangle.
void drawItem(std::string_view text, const Rect& rect, TextMode mode, GraphicsContext& context) {
    const auto font = Font::require("Helvetica");
    const bool visible = mode == TextMode::visible;
    const TextExtent extent = (visible ? measureShownText : measureText)(text, *font, rect.height);
    if (extent.width <= 0) {
        return;
    }
    const double k = rect.width / extent.width;
    if (visible) {
        context.setFillColor(debugTextColor);
    }
    context.concatenate(AffineTransform{}.translated(rect.x, rect.y).scaled(k, 1));
    context.drawText(text, font, rect.height, {0, 0, extent.width, extent.height}, mode);
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
    DebugBoxes boxes(foundPage->items->size());
    for (const auto& item : *foundPage->items) {
        const auto rect = item.box ? item.box->cgRect() : std::nullopt;
        const auto target = item.text && rect ? drawnRect(*rect, *size, drawn) : std::nullopt;
        const auto text = target ? trimWhitespaceAndNewlines(*item.text) : std::string_view{};
        if (text.empty()) {
            continue;
        }
        const ScopedState itemState(context);
        if (debug) {
            boxes.fill(*target, context);
        }
        drawItem(text, *target, debug ? TextMode::visible : TextMode::invisible, context);
    }
}

} // namespace orvex
