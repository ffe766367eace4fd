// Looks for form fields that bring none, for renderings.
#pragma once

#include "Platform/PDF/Saving/Composition_p.h"

namespace orvex {

/// Gives fields of the document's pages the looks that they lack: text, choices, check boxes, radio buttons, push
/// buttons. Where their file asks for new looks, all text fields and choices get them. For pages that were copied into
/// the document.
void makeMissingAppearances(Composition& document);

} // namespace orvex
