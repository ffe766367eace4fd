// Glyphs become lines as a reader of the page sees them.
#pragma once

#include "Platform/PDF/Reading/PageGlyphs_p.h"
#include "Platform/PDF/TextLine.h"

#include <vector>

namespace orvex {

/// In the order in which the page shows them; pieces of one row that stand far apart, as in columns, are lines of their
/// own. Marks glyphs that are shown twice as dropped.
[[nodiscard]] std::vector<TextLine> makeLines(PageGlyphs& page);

} // namespace orvex
