#include "Platform/PDF/Reading/TextLines_p.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/Reading/TextFragments_p.h"
#include "Platform/Text/Bidi.h"

#include <algorithm>

namespace orvex {

namespace {

/// Whether there is a character that may belong to a script that runs from right to left, judged by lead bytes alone.
bool mayRunRightToLeft(std::string_view text) {
    return std::ranges::any_of(text, [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return (byte >= 0xD6 && byte <= 0xE0) || byte == 0xEF || byte == 0xF0;
    });
}

struct Extent {
    double left = 0;
    double bottom = 0;
    double right = 0;
    double top = 0;
    bool any = false;
    const GlyphStyle* last = nullptr; ///< of the last glyph, when its line is level
    double baseline = 0;              ///< the same

    void add(const Glyph& glyph, const GlyphStyle& style) {
        if (&style == last && glyph.origin.y == baseline) { // a level line goes on
            left = std::min(left, glyph.origin.x + style.left);
            right = std::max(right, glyph.origin.x + glyph.width + style.right);
            return;
        }
        add(boxOf(glyph, style));
        last = style.direction == Point{1, 0} ? &style : nullptr;
        baseline = glyph.origin.y;
    }

    void add(const Rect& box) {
        left = any ? std::min(left, box.x) : box.x;
        bottom = any ? std::min(bottom, box.y) : box.y;
        right = any ? std::max(right, box.maxX()) : box.maxX();
        top = any ? std::max(top, box.maxY()) : box.maxY();
        any = true;
    }
    [[nodiscard]] Rect rect() const { return {left, bottom, right - left, top - bottom}; }
};

/// A line on its way to becoming text: its glyphs from left to right, as indices.
struct ShownLine {
    std::vector<std::uint32_t> glyphs;
    bool mirrored = false;
};

/// What takes one place in a line: a glyph, the marks on it, a blank.
struct Unit {
    std::string text;
    char32_t character = 0;
};

class LineMaker {
public:
    LineMaker(PageGlyphs& page, const std::vector<Fragment>& fragments) : page_(page), fragments_(fragments) {}

    std::vector<TextLine> make(const std::vector<FragmentLine>& lines) {
        std::vector<TextLine> made;
        made.reserve(lines.size());
        for (const auto& line : lines) {
            collect(line);
            const StatedItem* found = foundText();
            if (TextLine text = found != nullptr ? stated(*found) : compose(); !text.text.empty()) {
                if (found == nullptr && mayRunRightToLeft(text.text)) {
                    turnedAround_.push_back({made.size(), unitsOf()});
                }
                made.push_back(std::move(text));
            }
        }
        turnAround(made);
        return made;
    }

private:
    struct TurnedLine {
        std::size_t line = 0;
        std::vector<Unit> units;
    };

    void collect(const FragmentLine& line) {
        shown_.glyphs.clear();
        for (std::uint32_t at = line.first; at != noFragment; at = fragments_[at].next) {
            if (!shown_.glyphs.empty()) {
                markWordStart(page_.glyphs[shown_.glyphs.back()], page_.glyphs[fragments_[at].first]);
            }
            for (std::uint32_t i = fragments_[at].first; i <= fragments_[at].last; ++i) {
                if (!page_.glyphs[i].isDropped) {
                    shown_.glyphs.push_back(i);
                }
            }
        }
        const GlyphStyle& style = page_.styleOf(page_.glyphs[fragments_[line.first].first]);
        shown_.mirrored = style.mirrored;
        if (style.item != 0 && shown_.glyphs.size() > 1 && page_.glyphs[shown_.glyphs.back()].isBlank) {
            shown_.glyphs.pop_back(); // the word break that text layers have behind each item
        }
        if (line.overlaps) {
            sortByPlace(style.direction);
        }
    }

    void markWordStart(const Glyph& left, Glyph& right) const {
        const GlyphStyle& style = page_.styleOf(left);
        const double dx = right.origin.x - left.origin.x;
        const double dy = right.origin.y - left.origin.y;
        const double gap = dx * style.direction.x + dy * style.direction.y - left.width;
        const double em = std::max(style.gapEm, page_.styleOf(right).gapEm);
        right.startsWord = partsWords(left, right, (gap - static_cast<double>(left.tracking)) / em);
    }

    void sortByPlace(Point direction) {
        std::ranges::stable_sort(shown_.glyphs, {}, [&](std::uint32_t index) {
            const Glyph& glyph = page_.glyphs[index];
            return glyph.origin.x * direction.x + glyph.origin.y * direction.y + glyph.width / 2;
        });
    }

    /// What the line's item says of itself; null for lines that are none or say nothing.
    [[nodiscard]] const StatedItem* foundText() const {
        if (shown_.glyphs.empty()) {
            return nullptr;
        }
        const auto found = page_.foundTexts.find(page_.styleOf(page_.glyphs[shown_.glyphs.front()]).item);
        return found == page_.foundTexts.end() ? nullptr : &found->second;
    }

    [[nodiscard]] static TextLine stated(const StatedItem& found) { return {found.text, found.box, true}; }

    [[nodiscard]] TextLine compose() const {
        TextLine line;
        line.text.reserve(shown_.glyphs.size() * 5 / 4);
        Extent extent;
        for (const auto index : shown_.glyphs) {
            const Glyph& glyph = page_.glyphs[index];
            if (glyph.startsWord) {
                line.text += ' ';
            }
            if (glyph.text.size() == 1) {
                line.text += glyph.text[0]; // nearly all are; without a call
            } else {
                line.text += glyph.text;
            }
            extent.add(glyph, page_.styleOf(glyph));
        }
        removeControls(line.text);
        line.box = extent.rect();
        line.isLayerItem = !shown_.glyphs.empty() && page_.styleOf(page_.glyphs[shown_.glyphs.front()]).item != 0;
        return line;
    }

    /// Controls would break a line or show as boxes; blanks among them are blanks.
    static void removeControls(std::string& text) {
        const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
        if (std::ranges::any_of(text, isControl)) {
            std::ranges::replace_if(
                text, [](char c) { return c >= '\t' && c <= '\r'; }, ' ');
            std::erase_if(text, isControl);
        }
    }

    [[nodiscard]] std::vector<Unit> unitsOf() const {
        std::vector<Unit> units;
        for (const auto index : shown_.glyphs) {
            const Glyph& glyph = page_.glyphs[index];
            if (glyph.startsWord) {
                units.push_back({" ", U' '});
            }
            if (glyph.text.empty()) {
                continue;
            }
            std::size_t at = 0;
            const char32_t character = nextCodePoint(glyph.text, at);
            if (units.empty() || !takesNoRoom(character)) {
                units.push_back({{}, character});
            }
            units.back().text += glyph.text;
        }
        if (shown_.mirrored) {
            units.clear();
        }
        return units;
    }

    /// Lines whose ends leave open where they start go with the page.
    void turnAround(std::vector<TextLine>& lines) const {
        std::int64_t rightToLeft = 0;
        for (const auto& [line, units] : turnedAround_) {
            for (const auto& unit : units) {
                rightToLeft += static_cast<int>(strongDirection(unit.character));
            }
        }
        for (const auto& [index, units] : turnedAround_) {
            std::u32string shown;
            std::ranges::transform(units, std::back_inserter(shown), &Unit::character);
            const bool byPage = rightToLeft > 0;
            std::string text;
            for (const auto at : logicalOrder(shown, startsFromTheRight(shown, byPage))) {
                text += units[at].text;
            }
            if (!units.empty()) {
                removeControls(text);
                lines[index].text = std::move(text);
            }
        }
    }

    [[nodiscard]] static bool startsFromTheRight(std::u32string_view shown, bool byPage) {
        const auto strong = [](char32_t c) { return strongDirection(c) != StrongDirection::none; };
        const auto first = std::ranges::find_if(shown, strong);
        if (first == shown.end()) {
            return false;
        }
        const auto last = std::find_if(shown.rbegin(), shown.rend(), strong);
        const auto left = strongDirection(*first);
        return left == strongDirection(*last) ? left == StrongDirection::rightToLeft : byPage;
    }

    PageGlyphs& page_;
    const std::vector<Fragment>& fragments_;
    ShownLine shown_;
    std::vector<TurnedLine> turnedAround_;
};

} // namespace

std::vector<TextLine> makeLines(PageGlyphs& page) {
    auto fragments = makeFragments(page);
    const auto lines = joinFragments(page, fragments);
    return LineMaker(page, fragments).make(lines);
}

} // namespace orvex
