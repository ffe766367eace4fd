// Where the lines of an invisible text layer stand: on their found boxes, but for small changes without which readers
// would lose words or word breaks.
#pragma once

#include "OrvexPDF/FoundContent.h"
#include "Platform/Text/Font.h"

#include <string_view>
#include <vector>

namespace orvex {

/// An item that has text and a whole box.
struct FoundText {
    std::string_view text; ///< trimmed; lives as long as the items
    Rect rect;             ///< points, from the lower left corner of the drawn box
};
/// In the order of the items. `found` is the extent that the boxes are given in, `drawn` that of the box drawn to.
/// Boxes that lie nowhere, or farther away than any page reaches, are left out.
std::vector<FoundText> foundTexts(const std::vector<OrvexFoundItem>& items, Size found, Size drawn);

struct PlacedText {
    FoundText found; ///< what was to be placed
    Rect rect;
    TextExtent extent;      ///< of the text at one point
    bool wordBreak = false; ///< a blank goes behind the text, which readers would miss
};
/// Where the texts stand in the layer; those without width stand nowhere.
std::vector<PlacedText> placeTexts(const std::vector<FoundText>& found, const Font& font);

} // namespace orvex
