#include "Platform/PDF/Reading/TextFragments_p.h"

#include <algorithm>
#include <cmath>

namespace orvex {

namespace {

// In ems, between fragments that the content does not show one after the other: columns may stand that close.
constexpr double strangersGap = 0.8;
// The same for fragments that follow each other.
constexpr double neighboursGap = 0.95;
constexpr double mostOverlap = 0.3;
constexpr double raisedOverlap = 1.5; // what is raised may stand over what is lowered
constexpr double printedTwice = 0.15; // ems that a bold look is shifted by
// Pages that scatter more than this are no text that could be put together.
constexpr std::size_t mostFragments = 50'000;
constexpr std::size_t mostFrames = 32;
constexpr int mostCandidates = 64;

using Lines = std::vector<FragmentLine>;

struct Frame {
    Point direction;
    bool mirrored = false;
    std::vector<std::uint32_t> fragments;
};

/// Puts the fragments of one direction together, from left to right.
class Joiner {
public:
    Joiner(PageGlyphs& page, std::vector<Fragment>& fragments, Lines& lines, std::size_t looks)
        : page_(page), fragments_(fragments), lines_(lines), looks_(looks) {}

    void join(const Frame& frame) {
        direction_ = frame.direction;
        open_.clear();
        auto order = frame.fragments;
        for (const auto index : order) {
            place(fragments_[index]);
        }
        std::ranges::stable_sort(order, {}, [this](std::uint32_t index) { return fragments_[index].start; });
        for (const auto index : order) {
            add(index);
        }
    }

private:
    struct Open {
        double baseline = 0;
        std::size_t line = 0;
    };
    enum class Fit { none, next, over };

    [[nodiscard]] double along(Point p) const { return p.x * direction_.x + p.y * direction_.y; }
    [[nodiscard]] double across(Point p) const { return p.y * direction_.x - p.x * direction_.y; }

    void place(Fragment& fragment) const {
        const Glyph& last = page_.glyphs[fragment.last];
        fragment.start = along(page_.glyphs[fragment.first].origin);
        fragment.end = std::max(along(last.origin) + last.width, fragment.start);
        fragment.baseline = across(page_.glyphs[fragment.largest].origin);
    }

    [[nodiscard]] bool areNeighbours(const FragmentLine& line, const Fragment& fragment) const {
        const Fragment& last = fragments_[line.last];
        return last.last + 1 == fragment.first || fragment.last + 1 == last.first;
    }

    [[nodiscard]] Fit fit(const FragmentLine& line, const Fragment& fragment) const {
        const double gap = fragment.start - line.end;
        const double rise = std::abs(fragment.baseline - line.baseline);
        const auto [smaller, larger] = std::minmax(line.size, fragment.size);
        const double em = std::max(line.em, fragment.em);
        if (rise <= sameBaseline * smaller) {
            if (gap < -mostOverlap * em) {
                return Fit::over;
            }
            const double most = areNeighbours(line, fragment) ? neighboursGap : strangersGap;
            return gap <= most * std::min(line.em, fragment.em) ? Fit::next : Fit::none;
        }
        const bool raised = smaller < raisedSize * larger && rise <= raisedBaseline * larger;
        return raised && gap <= raisedGap * em && gap >= -raisedOverlap * smaller ? Fit::next : Fit::none;
    }

    void add(std::uint32_t index) {
        const Fragment& fragment = fragments_[index];
        const double window = 2 * fragment.size;
        auto candidate = std::ranges::lower_bound(open_, fragment.baseline - window, {}, &Open::baseline);
        const std::size_t none = lines_.size();
        std::size_t best = none;
        double bestRise = 0;
        for (int i = 0; i < mostCandidates && candidate != open_.end(); ++i) {
            if (candidate->baseline > fragment.baseline + window) {
                break;
            }
            const FragmentLine& line = lines_[candidate->line];
            if (line.end + neighboursGap * std::max(line.em, fragment.em) < fragment.start) {
                candidate = open_.erase(candidate); // whatever follows starts farther on still
                continue;
            }
            const Fit fits = fit(line, fragment);
            if (fits == Fit::over && isPrintedAlready(line, fragment)) {
                return;
            }
            const double rise = std::abs(line.baseline - fragment.baseline);
            if ((fits == Fit::next || (fits == Fit::over && isAccent(fragment))) && (best == none || rise < bestRise)) {
                best = candidate->line;
                bestRise = rise;
            }
            ++candidate;
        }
        if (best == none) {
            open(index);
        } else {
            append(best, index);
        }
    }

    void open(std::uint32_t index) {
        const Fragment& f = fragments_[index];
        const auto place = std::ranges::lower_bound(open_, f.baseline, {}, &Open::baseline);
        open_.insert(place, {f.baseline, lines_.size()});
        lines_.push_back({index, index, f.first, f.end, f.baseline, f.size, f.em});
    }

    void append(std::size_t at, std::uint32_t index) {
        FragmentLine& line = lines_[at];
        const Fragment& f = fragments_[index];
        fragments_[line.last].next = index;
        line.overlaps = line.overlaps || f.start < fragments_[line.last].end - mostOverlap * f.em;
        line.last = index;
        line.firstGlyph = std::min(line.firstGlyph, f.first);
        line.end = std::max(line.end, f.end);
        if (f.size > line.size) {
            std::erase_if(open_, [at](const Open& other) { return other.line == at; });
            line.baseline = f.baseline;
            line.size = f.size;
            line.em = f.em;
            const auto place = std::ranges::lower_bound(open_, f.baseline, {}, &Open::baseline);
            open_.insert(place, {f.baseline, at});
        }
    }

    /// A mark that was put over a letter by hand.
    [[nodiscard]] bool isAccent(const Fragment& fragment) const {
        return fragment.last - fragment.first <= 1 && fragment.end - fragment.start <= 0.6 * fragment.em &&
               !page_.glyphs[fragment.first].isBlank;
    }

    /// Drops a fragment whose glyphs the line has at the same place already; another text there stays whole.
    bool isPrintedAlready(const FragmentLine& line, const Fragment& fragment) {
        std::uint32_t known = line.first;
        std::uint32_t at = fragments_[known].first;
        for (std::uint32_t i = fragment.first; i <= fragment.last; ++i) {
            const Glyph& glyph = page_.glyphs[i];
            if (!glyph.isDropped && !isAmong(line, glyph, known, at)) {
                return false;
            }
        }
        return true;
    }

    /// Goes on from where the last glyph was found: both run from left to right.
    bool isAmong(const FragmentLine& line, const Glyph& glyph, std::uint32_t& known, std::uint32_t& at) {
        const double where = along(glyph.origin);
        const double tolerance = printedTwice * page_.styleOf(glyph).size;
        while (known != noFragment) {
            for (; at <= fragments_[known].last && looks_ > 0; ++at, --looks_) {
                const Glyph& other = page_.glyphs[at];
                const double there = along(other.origin);
                if (there > where + tolerance) {
                    return false;
                }
                if (there >= where - tolerance && other.text == glyph.text && !other.isDropped) {
                    return true;
                }
            }
            if (known == line.last || looks_ == 0) {
                break;
            }
            known = fragments_[known].next;
            at = known == noFragment ? 0 : fragments_[known].first;
        }
        return false;
    }

    PageGlyphs& page_;
    std::vector<Fragment>& fragments_;
    Lines& lines_;
    std::size_t looks_; ///< at glyphs that are left
    Point direction_;
    std::vector<Open> open_; ///< lines that may go on, by baseline
};

Frame& frameOf(const GlyphStyle& style, std::vector<Frame>& frames) {
    for (auto& frame : frames) {
        const double cosine = frame.direction.x * style.direction.x + frame.direction.y * style.direction.y;
        if (cosine >= sameDirection && frame.mirrored == style.mirrored) {
            return frame;
        }
    }
    return frames.size() < mostFrames ? frames.emplace_back(Frame{style.direction, style.mirrored, {}}) : frames.back();
}

} // namespace

std::vector<FragmentLine> joinFragments(PageGlyphs& page, std::vector<Fragment>& fragments, std::size_t looks) {
    Lines lines;
    std::vector<Frame> frames;
    for (std::uint32_t i = 0; i < fragments.size(); ++i) {
        const GlyphStyle& style = page.styleOf(page.glyphs[fragments[i].first]);
        if (style.item != 0 || fragments.size() > mostFragments) {
            lines.push_back({i, i, fragments[i].first});
        } else {
            frameOf(style, frames).fragments.push_back(i);
        }
    }
    Joiner joiner(page, fragments, lines, looks);
    for (const auto& frame : frames) {
        joiner.join(frame);
    }
    std::ranges::stable_sort(lines, {}, &FragmentLine::firstGlyph);
    return lines;
}

} // namespace orvex
