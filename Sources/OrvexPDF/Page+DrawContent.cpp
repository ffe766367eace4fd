#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Page.h"
#include "OrvexPDF/TextLayerLayout_p.h"
#include "Platform/Foundation/Strings.h"
#include "Platform/Text/Bidi.h"
#include "Platform/Text/Shaping.h"

#include <algorithm>
#include <cmath>

namespace orvex {

namespace {

constexpr std::string_view fileLabel = "Page+DrawContent";
// Points by which an item may stand beside its place without a word about it.
constexpr double mostOff = 0.1;

/// Text from the rectangle's lower left corner, stretched or squeezed to its width and as high as it is. `extent` is
/// the text's natural one at that height.
void drawText(std::string_view text, const std::shared_ptr<const Font>& font, const Rect& rect,
              const TextExtent& extent, TextMode mode, GraphicsContext& context) {
    context.concatenate({rect.width / extent.width, 0, 0, 1, rect.x, rect.y});
    context.drawText(text, font, rect.height, {0, 0, extent.width, extent.height}, mode);
}

bool runsLeftwards(char32_t c) {
    return c >= firstRightToLeft && strongDirection(c) == StrongDirection::rightToLeft;
}

/// Whether an item can be read back from its place and its characters alone. Characters that are joined, or turned
/// round for showing, may be read otherwise.
bool speaksForItself(const PlacedText& item) {
    const auto& [text, rect] = item.found;
    const double off = std::max({std::abs(item.rect.x - rect.x), std::abs(item.rect.y - rect.y),
                                 std::abs(item.rect.maxX() - rect.maxX()), std::abs(item.rect.maxY() - rect.maxY())});
    if (off >= mostOff) {
        return false;
    }
    for (std::size_t at = 0; at < text.size();) {
        const char32_t c = nextCodePoint(text, at);
        const bool joined = c >= 0xFB00 && c <= 0xFEFF;
        if (c < 0x20 || joined || runsLeftwards(c)) {
            return false;
        }
    }
    return true;
}

void drawLayer(const std::vector<PlacedText>& items, const std::shared_ptr<const Font>& font,
               GraphicsContext& context) {
    for (const auto& item : items) {
        const double size = item.rect.height;
        const TextExtent extent{item.extent.width * size, item.extent.height * size};
        const ScopedState state(context);
        const bool plain = speaksForItself(item);
        if (!plain) {
            context.beginFoundText(item.found.text, item.found.rect);
        }
        if (item.wordBreak) {
            drawText(std::string(item.found.text) + ' ', font, item.rect, extent, TextMode::invisible, context);
        } else {
            drawText(item.found.text, font, item.rect, extent, TextMode::invisible, context);
        }
        if (!plain) {
            context.endFoundText();
        }
    }
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

/// The boxes as they were found, and the text in them.
void drawVisibly(const std::vector<FoundText>& items, std::size_t count, const std::shared_ptr<const Font>& font,
                 GraphicsContext& context) {
    DebugBoxes boxes(count);
    for (const auto& [text, rect] : items) {
        const ScopedState state(context);
        boxes.fill(rect, context);
        const TextExtent extent = measureShownText(text, *font, rect.height);
        if (extent.width > 0) {
            context.setFillColor(debugTextColor);
            drawText(text, font, rect, extent, TextMode::visible, context);
        }
    }
}

} // namespace

void OrvexPDFPage::drawInvisibleText(PDFDisplayBox box, GraphicsContext& context) const {
    const auto size = foundPage && foundPage->size ? foundPage->size->cgSize() : std::nullopt;
    if (!size || !foundPage->items) {
        return;
    }
    const std::size_t count = foundPage->items->size();
    moduleLogger().log(LogLevel::debug, fileLabel, "drawInvisibleText(box:context:)", [&] {
        return "Draws " + std::to_string(count) + " found items. debug = " + (debug ? "true" : "false");
    });
    const ScopedState state(context);
    const auto found = foundTexts(*foundPage->items, *size, bounds(box).size());
    if (found.empty()) {
        return;
    }
    const auto font = Font::require("Helvetica");
    if (debug) {
        drawVisibly(found, count, font, context);
    } else {
        drawLayer(placeTexts(found, *font), font, context);
    }
}

} // namespace orvex
