// The page tree of a document whose pages change: one node, and all pages below it.
#pragma once

#include "Platform/PDF/Saving/Composition_p.h"

#include <vector>

namespace orvex {

/// Gives the pages of the base what they inherit, and takes it from the nodes above them.
void inheritAttributes(Composition& document);

/// Makes these the pages, in this order.
void placeBelowRoot(Composition& document, const std::vector<QPDFObjectHandle>& pages);

/// Makes a kept page one that can be changed.
void releasePage(Composition& document, QPDFObjectHandle page);

} // namespace orvex
