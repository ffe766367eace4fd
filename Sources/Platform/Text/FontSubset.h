// A font file cut down to some of its glyphs, as a PDF embeds it.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/Text/Shaping.h"

#include <optional>
#include <set>

namespace orvex {

struct FontSubset {
    Bytes program;
    bool isCFF = false; ///< a bare CFF program; a TrueType file otherwise
    double ascent = 0;  ///< ems
    double descent = 0; ///< ems, below zero
};

/// Glyphs keep their ids. Outlines only: no hinting, no layout tables. Empty when the file cannot be read. Threads:
/// any.
[[nodiscard]] std::optional<FontSubset> subsetFont(const FontFile& font, const std::set<std::uint32_t>& glyphs);

} // namespace orvex
