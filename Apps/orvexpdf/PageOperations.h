// What `orvexpdf pages` can do to a document, one operation after the other.
#pragma once

#include "OrvexPDF/Manager.h"

#include <string>
#include <vector>

namespace orvex::tool {

struct PageOperation {
    std::string option;   ///< its long name without dashes, like "remove"
    std::string argument; ///< as given; empty for "reverse"
};

/// The files that operations read.
[[nodiscard]] std::vector<std::string> filesOf(const std::vector<PageOperation>& operations);

/// Pages count from 1 in the document as the operations before have left it. `password` opens files that are inserted.
/// Throws Failure.
void apply(const PageOperation& operation, OrvexPDFDocumentManager& manager, const std::string& password);

} // namespace orvex::tool
