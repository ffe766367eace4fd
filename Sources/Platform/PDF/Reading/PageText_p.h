// The text of pages of a file.
#pragma once

#include "Platform/PDF/TextLine.h"

#include <vector>

namespace orvex {

class PDFSource;

/// The lines of a page's own content, in reading order; of a damaged page what can be read. Time and memory are
/// bounded. Threads: any; pages are read side by side.
[[nodiscard]] std::vector<TextLine> readTextLines(const PDFSource& source, int page);
/// Whether there is anything but white space among them.
[[nodiscard]] bool readHasText(const PDFSource& source, int page);

} // namespace orvex
