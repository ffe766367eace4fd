// Edits of a platform document, and pages that carry things.
#pragma once

#include "Platform/PDF/PDFDocument.h"
#include "Support/PDFFixture.h"

#include <string>
#include <vector>

namespace orvex::test {

inline void removePages(PDFDocument& document, std::int64_t first, std::int64_t last) {
    for (std::int64_t i = first; i <= last; ++i) {
        document.removePage(first);
    }
}

inline void appendPages(PDFDocument& document, const PDFDocument& from) {
    for (std::int64_t i = 0; i < from.pageCount(); ++i) {
        document.insertPage(from.page(i), document.pageCount());
    }
}

inline void reversePages(PDFDocument& document) {
    for (std::int64_t i = 1; i < document.pageCount(); ++i) {
        const PDFPagePtr page = document.page(i);
        document.removePage(i);
        document.insertPage(page, 0);
    }
}

/// A page that shows `text`; `more` goes into its dictionary.
inline FixturePage pageShowing(const std::string& text, const std::string& more = {}) {
    return {showing(text), "[0 0 612 792]", more};
}

} // namespace orvex::test
