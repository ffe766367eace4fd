// Pages whose content does nothing but draw one picture or form, as that of scanned pages does.
#pragma once

#include "Platform/Foundation/Geometry.h"
#include "Platform/PDF/Objects/PDFObject.h"

#include <optional>
#include <string>

namespace orvex {

struct OnlyDrawing {
    std::string name; ///< among the XObjects of the page's resources
    Rect place;       ///< in page space, points: where the unit square comes to lie
};

/// The one XObject that a page's content draws, upright and neither mirrored nor slanted. Empty when the content does
/// anything else: text, paths, clips, graphics states, marked content, a second XObject, or more than a kilobyte of
/// whatever. Threads: any.
[[nodiscard]] std::optional<OnlyDrawing> onlyDrawing(const PDFObject& page);

} // namespace orvex
