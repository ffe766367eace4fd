// Points that destinations name on pages that became pictures.
#pragma once

#include "Platform/PDF/PDFPage.h"
#include "Platform/PDF/Saving/Composition_p.h"

#include <vector>

namespace orvex {

/// Destinations lead to what they showed, also where a page's picture stands otherwise than the page did. `pages` are
/// the document's, which still have the boxes of their files.
void movePlacesOnPictures(Composition& document, const std::vector<PDFPagePtr>& pages);

} // namespace orvex
