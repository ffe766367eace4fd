// The numbers that are printed on pages follow their pages.
#pragma once

#include "Platform/PDF/Saving/Composition_p.h"

namespace orvex {

/// Where the document's own file has labels (or, when it has no file, a file that pages come from): pages keep the
/// label that they have in their file; pages of files without labels, and pages of no file, continue counting.
void carryPageLabels(Composition& document);

} // namespace orvex
