// Optional content: the layers of copied pages join the document's, shown or hidden as in their own file.
#pragma once

#include "Platform/PDF/Saving/Composition_p.h"

namespace orvex {

void mergeLayers(Composition& document);

} // namespace orvex
