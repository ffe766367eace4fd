// A TrueType program that holds advances and no outlines.
#pragma once

#include <span>
#include <string>

namespace orvex {

/// A font program with one glyph per advance (1000 units an em; the first is the missing glyph's), every one with
/// a cell as high as Helvetica's line and without ink. The same advances give the same bytes.
std::string makeGlyphlessTrueType(std::span<const int> advances);

} // namespace orvex
