// The order in which a file writes a dictionary's keys; the parser keeps them sorted.
#pragma once

#include "Platform/PDF/PDFSource_p.h"

#include <string>
#include <vector>

namespace orvex {

/// The keys, with their slashes, of a dictionary that stands in the indirect object `owner`. The source's mutex is
/// held.
[[nodiscard]] std::vector<std::string> keysInFileOrder(const PDFSource& source, QPDFObjectHandle dictionary,
                                                       QPDFObjGen owner);

} // namespace orvex
