// Stretches of glyphs that follow each other on one baseline, and how stretches make up lines.
#pragma once

#include "Platform/PDF/Reading/PageGlyphs_p.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace orvex {

/// How far a baseline may be off that is meant to be the same, in ems.
inline constexpr double sameBaseline = 0.2;
/// The same for raised and lowered small letters, which stand close.
inline constexpr double raisedBaseline = 0.6;
inline constexpr double raisedSize = 0.85;
inline constexpr double raisedGap = 0.5;
/// The cosine of the angle up to which two directions are the same (four degrees).
inline constexpr double sameDirection = 0.9976;

inline constexpr std::uint32_t noFragment = std::numeric_limits<std::uint32_t>::max();

/// Glyphs [first, last] in the order of the content, left to right along their baseline.
struct Fragment {
    std::uint32_t first = 0;
    std::uint32_t last = 0;
    std::uint32_t largest = 0;       ///< a glyph of the largest size
    double start = 0;                ///< along the baseline of its frame
    double end = 0;                  ///< the same
    double baseline = 0;             ///< across it
    double size = 0;                 ///< of an em across the baseline
    double em = 0;                   ///< of an em along it, as gaps are measured
    std::uint32_t next = noFragment; ///< in its line
};

/// A chain of fragments.
struct FragmentLine {
    std::uint32_t first = noFragment;
    std::uint32_t last = noFragment;
    std::uint32_t firstGlyph = 0; ///< of all of its fragments, in the order of the content
    double end = 0;
    double baseline = 0;   ///< of its largest fragment
    double size = 0;       ///< the same
    double em = 0;         ///< the same
    bool overlaps = false; ///< fragments stand on each other
};

/// Whether a gap of so many ems between two glyphs parts words.
[[nodiscard]] bool partsWords(const Glyph& left, const Glyph& right, double gap);

/// Cuts the page's glyphs where they do not go on, and marks where words start.
[[nodiscard]] std::vector<Fragment> makeFragments(PageGlyphs& page);
/// Puts fragments together that stand next to each other, whatever the order of the content. What is printed twice is
/// sought with so many `looks` at glyphs; beyond them it is taken as it stands.
[[nodiscard]] std::vector<FragmentLine> joinFragments(PageGlyphs& page, std::vector<Fragment>& fragments,
                                                      std::size_t looks = 50'000'000);

} // namespace orvex
