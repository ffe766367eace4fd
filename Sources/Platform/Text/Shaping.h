// Lines of text as glyphs: which glyph of which face stands where.
#pragma once

#include "Platform/Foundation/Geometry.h"
#include "Platform/Text/Font.h"

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvex {

struct ShapedGlyph {
    std::uint32_t id = 0;  ///< in its face; 0 is the missing-glyph box
    double advance = 0;    ///< ems, kerning included
    double ownAdvance = 0; ///< ems, as the face has it
    Point offset;          ///< ems, from the pen
    std::u32string text;   ///< the characters that it stands for; empty for all but the first of a cluster
};

/// A face: a font file and, in a collection, its number.
struct FontFile {
    std::string path;
    unsigned index = 0;
    friend auto operator<=>(const FontFile&, const FontFile&) = default;
};

/// Glyphs of one face, from left to right.
struct ShapedRun {
    FontFile font;
    std::vector<ShapedGlyph> glyphs;
};

struct ShapedLine {
    std::vector<ShapedRun> runs; ///< from left to right
    double width = 0;            ///< ems
};

/// Shapes one line of UTF-8 text. Characters that the font lacks come from other installed faces; those that none has
/// show as a box. Threads: any.
[[nodiscard]] ShapedLine shapeLine(std::string_view utf8, const Font& font);

/// As measureText(), for text that is shown: shaped, and with the advances of the faces that show it.
[[nodiscard]] TextExtent measureShownText(std::string_view utf8, const Font& font, double size);

} // namespace orvex
