#include "Platform/PDF/Reading/PageGlyphs_p.h"

#include <algorithm>

namespace orvex {

namespace {

// Pages with more glyphs are rare: the room that one took is given back.
constexpr std::size_t keptGlyphs = 100'000;

} // namespace

void PageGlyphs::clear() {
    glyphs.clear();
    if (glyphs.capacity() > keptGlyphs) {
        glyphs.shrink_to_fit();
    }
    styles.clear();
    texts.clear();
    fonts.clear();
    itemBoxes.clear();
}

Rect boxOf(const Glyph& glyph, const GlyphStyle& style) {
    const double dx = style.direction.x * glyph.width;
    const double dy = style.direction.y * glyph.width;
    const double x = glyph.origin.x + std::min(dx, 0.0) + style.left;
    const double y = glyph.origin.y + std::min(dy, 0.0) + style.below;
    return {x, y, std::abs(dx) + style.right - style.left, std::abs(dy) + style.above - style.below};
}

} // namespace orvex
