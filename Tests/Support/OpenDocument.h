// A platform document opened from bytes, as subclasses open theirs.
#pragma once

#include "Platform/PDF/PDFDocument.h"
#include "Support/PDFFixture.h"

#include <memory>
#include <string>
#include <vector>

namespace orvex::test {

class OpenDocument : public PDFDocument {
public:
    explicit OpenDocument(const Bytes& data, const std::string& password = {}) { open(data, password); }
};

inline std::shared_ptr<PDFDocument> opened(const Bytes& data, const std::string& password = {}) {
    return std::make_shared<OpenDocument>(data, password);
}

/// A file with one page per text.
inline Bytes pagesShowing(const std::vector<std::string>& texts, const std::string& catalog = {}) {
    std::vector<FixturePage> pages;
    for (const auto& text : texts) {
        pages.push_back({showing(text), "[0 0 612 792]", ""});
    }
    return pdfFromPages(pages, {}, catalog);
}

} // namespace orvex::test
