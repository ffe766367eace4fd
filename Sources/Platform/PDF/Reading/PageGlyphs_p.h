// The glyphs of a page in the order in which its content shows them, placed in page space.
#pragma once

#include "Platform/Foundation/Geometry.h"
#include "Platform/PDF/Reading/TextFont_p.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace orvex {

/// What glyphs that follow each other have in common.
struct GlyphStyle {
    Point direction{1, 0}; ///< unit vector along the baseline
    double size = 0;       ///< of an em across the baseline, in points
    double em = 0;         ///< of an em along the baseline, in points
    double gapEm = 0;      ///< the same as gaps are compared with it: squeezed or stretched letters have gaps like them
    bool mirrored = false; ///< glyphs stand to the other side of the baseline than direction and page say
    /// From a glyph's baseline to the corners of its box.
    double left = 0, right = 0, below = 0, above = 0;
    std::uint32_t item = 0; ///< of a text layer of ours: one number per item; 0 elsewhere
};

struct Glyph {
    Point origin;     ///< on the baseline
    double width = 0; ///< along the baseline; not negative
    std::string_view text;
    float tracking = 0; ///< room left behind it on purpose, in points
    std::uint32_t style = 0;
    bool isBlank = false;    ///< white space
    bool isDropped = false;  ///< shown a second time, or replaced
    bool startsWord = false; ///< a blank has to stand before it that the page does not have as a glyph
};

/// What an item of a text layer stands for.
struct StatedItem {
    std::string text;
    Rect box;
};

struct PageGlyphs {
    std::vector<Glyph> glyphs;
    std::vector<GlyphStyle> styles;
    std::deque<std::string> texts;                             ///< behind glyphs whose text is not their font's
    std::unordered_set<std::shared_ptr<const TextFont>> fonts; ///< behind the others
    std::map<std::uint32_t, StatedItem> foundTexts; ///< by item, for those whose glyphs do not speak for themselves

    void clear();
    [[nodiscard]] const GlyphStyle& styleOf(const Glyph& glyph) const { return styles[glyph.style]; }
};

[[nodiscard]] inline Rect boxOf(const Glyph& glyph, const GlyphStyle& style) {
    const double dx = style.direction.x * glyph.width;
    const double dy = style.direction.y * glyph.width;
    const double x = glyph.origin.x + std::min(dx, 0.0) + style.left;
    const double y = glyph.origin.y + std::min(dy, 0.0) + style.below;
    return {x, y, std::abs(dx) + style.right - style.left, std::abs(dy) + style.above - style.below};
}

} // namespace orvex
