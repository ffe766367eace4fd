// Text of a page as rows to print.
#pragma once

#include "Platform/PDF/TextLine.h"

#include <string>
#include <vector>

namespace orvex::tool {

/// The lines, each ended by a line feed. Items of a text layer that follow each other closely on one row, as recognised
/// words do, become one line with blanks between them; columns stay apart.
std::string printedRows(const std::vector<TextLine>& lines);

} // namespace orvex::tool
