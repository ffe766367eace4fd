#include "Platform/PDF/Reading/TextFragments_p.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/Text/Scripts.h"

#include <algorithm>
#include <cmath>

namespace orvex {

namespace {

// All in ems. Below this gap letters belong to one word.
constexpr double wordGap = 0.12;
// Ideographs stand that loosely without a blank between them.
constexpr double wideGap = 0.35;
// Beyond this gap a row is in two columns.
constexpr double columnGap = 0.95;
// The same for the dots of a leader.
constexpr double leaderGap = 1.5;
// How far the next glyph may step back.
constexpr double mostBackwards = 0.5;

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

/// What follows may stand on the `blanks` points of white space that the left one ends in.
bool goesOn(const GlyphStyle& left, const GlyphStyle& right, const Step& step, double blanks, double columns) {
    const double cosine = left.direction.x * right.direction.x + left.direction.y * right.direction.y;
    if (cosine < sameDirection || left.mirrored != right.mirrored) {
        return false;
    }
    const auto [smaller, larger] = std::minmax(left.size, right.size);
    const auto [narrower, wider] = std::minmax(left.gapEm, right.gapEm);
    const double rise = std::abs(step.rise);
    if (step.gap + blanks < -mostBackwards * wider) {
        return false;
    }
    if (rise <= sameBaseline * smaller) {
        return step.gap <= columns * narrower;
    }
    return smaller < raisedSize * larger && rise <= raisedBaseline * larger && step.gap <= raisedGap * wider;
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

class FragmentMaker {
public:
    explicit FragmentMaker(PageGlyphs& page) : page_(page) {}

    std::vector<Fragment> make() {
        for (std::uint32_t i = 0; i < page_.glyphs.size(); ++i) {
            add(i);
        }
        return std::move(fragments_);
    }

private:
    void add(std::uint32_t index) {
        Glyph& glyph = page_.glyphs[index];
        if (fragments_.empty()) {
            start(index);
            return;
        }
        const Glyph& before = page_.glyphs[fragments_.back().last];
        const GlyphStyle& style = page_.styleOf(before);
        const GlyphStyle& next = page_.styleOf(glyph);
        if (style.item != next.item) {
            start(index);
            return;
        }
        const Step step = stepBetween(before, style, glyph);
        if (style.item != 0 || (before.style == glyph.style && isNext(step, before, style))) {
            goOn(index, step);
        } else if (isOverstrike(before, glyph, step, style)) {
            glyph.isDropped = true;
        } else if (goesOn(style, next, step, blanks_, glyph.text == "." ? leaderGap : columnGap)) {
            const double em = std::max(style.gapEm, next.gapEm);
            glyph.startsWord = partsWords(before, glyph, (step.gap - static_cast<double>(before.tracking)) / em);
            goOn(index, step);
            keepLargest(index, next);
        } else {
            start(index);
        }
    }

    void start(std::uint32_t index) {
        const GlyphStyle& style = page_.styleOf(page_.glyphs[index]);
        Fragment& fragment = fragments_.emplace_back();
        fragment.first = fragment.last = fragment.largest = index;
        fragment.size = style.size;
        fragment.em = style.gapEm;
        blanks_ = 0;
    }

    void goOn(std::uint32_t index, const Step& step) {
        const Glyph& glyph = page_.glyphs[index];
        fragments_.back().last = index;
        blanks_ = glyph.isBlank ? blanks_ + step.gap + glyph.width : 0;
    }

    void keepLargest(std::uint32_t index, const GlyphStyle& style) {
        if (Fragment& fragment = fragments_.back(); style.size > fragment.size) {
            fragment.size = style.size;
            fragment.em = style.gapEm;
            fragment.largest = index;
        }
    }

    PageGlyphs& page_;
    std::vector<Fragment> fragments_;
    double blanks_ = 0; ///< points of white space that the last fragment ends in
};

} // namespace

bool partsWords(const Glyph& left, const Glyph& right, double gap) {
    if (gap < wordGap || left.isBlank || right.isBlank || left.text.empty() || right.text.empty()) {
        return false;
    }
    if (gap >= wideGap) {
        return true;
    }
    const auto stands = [](char32_t c) { return isWide(c) && isWrittenWithoutSpaces(c); };
    return !(stands(lastCodePoint(left.text)) && stands(firstCodePoint(right.text)));
}

std::vector<Fragment> makeFragments(PageGlyphs& page) {
    return FragmentMaker(page).make();
}

} // namespace orvex
