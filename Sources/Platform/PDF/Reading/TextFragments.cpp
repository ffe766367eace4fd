#include "Platform/PDF/Reading/TextFragments_p.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/Text/Scripts.h"

#include <algorithm>
#include <cmath>

namespace orvex {

namespace {

// All in ems. Below this gap letters belong to one word.
constexpr double wordGap = 0.15;
// Ideographs stand that loosely without a blank between them.
constexpr double wideGap = 0.35;
// Beyond this gap a row is in two columns.
constexpr double columnGap = 0.95;
// How far the next glyph may step back.
constexpr double mostBackwards = 0.3;
// How far a baseline may be off that is meant to be the same.
constexpr double sameBaseline = 0.2;
// The same for raised and lowered small letters, which stand close.
constexpr double raisedBaseline = 0.6;
constexpr double raisedSize = 0.85;
constexpr double raisedGap = 0.5;
// The cosine of the angle up to which two directions are the same (four degrees).
constexpr double sameDirection = 0.9976;

char32_t firstCharacter(std::string_view text) {
    std::size_t at = 0;
    return nextCodePoint(text, at);
}

char32_t lastCharacter(std::string_view text) {
    std::size_t at = text.size() - 1;
    while (at > 0 && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) {
        --at;
    }
    return nextCodePoint(text, at);
}

/// One glyph behind another, in the frame of the first.
struct Step {
    double gap = 0;  ///< from the end of the one to the start of the other, in points
    double rise = 0; ///< of the baseline
};

Step stepBetween(const Glyph& from, const GlyphStyle& style, const Glyph& to) {
    const double dx = to.origin.x - from.origin.x;
    const double dy = to.origin.y - from.origin.y;
    return {dx * style.direction.x + dy * style.direction.y - from.width,
            dy * style.direction.x - dx * style.direction.y};
}

bool goesOn(const GlyphStyle& left, const GlyphStyle& right, const Step& step) {
    const double cosine = left.direction.x * right.direction.x + left.direction.y * right.direction.y;
    if (cosine < sameDirection || left.mirrored != right.mirrored) {
        return false;
    }
    const auto [smaller, larger] = std::minmax(left.size, right.size);
    const double em = std::max(left.gapEm, right.gapEm);
    const double rise = std::abs(step.rise);
    if (step.gap < -mostBackwards * em) {
        return false;
    }
    if (rise <= sameBaseline * smaller) {
        return step.gap <= columnGap * em;
    }
    return smaller < raisedSize * larger && rise <= raisedBaseline * larger && step.gap <= raisedGap * em;
}

/// What nearly all glyphs are: close behind the one before, on its baseline.
bool isNext(const Step& step, const Glyph& before, const GlyphStyle& style) {
    return step.gap < wordGap * style.gapEm && step.gap > -mostBackwards * style.gapEm &&
           step.gap > -before.width / 2 && std::abs(step.rise) <= sameBaseline * style.size;
}

/// The same character again, so close that only its strokes grow bolder.
bool isOverstrike(const Glyph& glyph, const Glyph& again, const Step& step, const GlyphStyle& style) {
    const double shift = std::abs(step.gap + glyph.width);
    const double most = std::min(0.15 * style.em, glyph.width / 2);
    return shift < most && std::abs(step.rise) < 0.15 * style.size && glyph.text == again.text;
}

Fragment startFragment(const PageGlyphs& page, std::uint32_t index) {
    const GlyphStyle& style = page.styleOf(page.glyphs[index]);
    Fragment fragment;
    fragment.first = fragment.last = fragment.largest = index;
    fragment.size = style.size;
    fragment.em = style.gapEm;
    return fragment;
}

} // namespace

bool partsWords(const Glyph& left, const Glyph& right, double gap) {
    if (gap < wordGap || left.isBlank || right.isBlank || left.text.empty() || right.text.empty()) {
        return false;
    }
    if (gap >= wideGap) {
        return true;
    }
    const auto stands = [](char32_t c) { return isWide(c) && isWrittenWithoutSpaces(c); };
    return !(stands(lastCharacter(left.text)) && stands(firstCharacter(right.text)));
}

std::vector<Fragment> makeFragments(PageGlyphs& page) {
    std::vector<Fragment> fragments;
    const auto count = static_cast<std::uint32_t>(page.glyphs.size());
    for (std::uint32_t i = 0; i < count; ++i) {
        Glyph& glyph = page.glyphs[i];
        if (fragments.empty()) {
            fragments.push_back(startFragment(page, i));
            continue;
        }
        Fragment& fragment = fragments.back();
        const Glyph& before = page.glyphs[fragment.last];
        const GlyphStyle& style = page.styleOf(before);
        const GlyphStyle& next = page.styleOf(glyph);
        if (style.item != next.item) {
            fragments.push_back(startFragment(page, i));
            continue;
        }
        const Step step = stepBetween(before, style, glyph);
        if (style.item != 0 || (before.style == glyph.style && isNext(step, before, style))) {
            fragment.last = i;
            continue;
        }
        if (isOverstrike(before, glyph, step, style)) {
            glyph.isDropped = true;
        } else if (goesOn(style, next, step)) {
            const double em = std::max(style.gapEm, next.gapEm);
            glyph.startsWord = partsWords(before, glyph, (step.gap - static_cast<double>(before.tracking)) / em);
            fragment.last = i;
            if (next.size > fragment.size) {
                fragment.size = next.size;
                fragment.em = next.gapEm;
                fragment.largest = i;
            }
        } else {
            fragments.push_back(startFragment(page, i));
        }
    }
    return fragments;
}

} // namespace orvex
