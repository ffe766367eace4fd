// Where the text of a page of a loaded file comes from.
#pragma once

#include <string>

namespace orvex {

class PDFSource;

/// The page's text in reading order, UTF-8, lines ended by line feeds; empty when there is none or it cannot be read.
/// Threads: any.
[[nodiscard]] std::string readPageText(const PDFSource& source, int page);

/// The source goes away: whatever was kept of it for reading goes, too.
void forgetPageText(const PDFSource& source);

} // namespace orvex
