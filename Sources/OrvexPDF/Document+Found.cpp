#include "OrvexPDF/Document.h"

namespace orvex {

namespace {

OrvexFoundPage extracted(const OrvexPDFPage& page) {
    return page.extractFoundPage();
}

OrvexFoundPage storedOrExtracted(const OrvexPDFPage& page) {
    const auto& stored = page.foundPage;
    return stored && stored->items && !stored->items->empty() ? *stored : page.extractFoundPage();
}

OrvexFoundDocument assemble(const OrvexPDFDocument& document, OrvexFoundPage (*found)(const OrvexPDFPage&)) {
    OrvexFoundDocument result{document.author(), document.creator(), "pdf", std::vector<OrvexFoundPage>()};
    const auto pages = document.orvexPages();
    result.pages->reserve(pages.size());
    for (const auto& page : pages) {
        result.pages->push_back(found(*page));
    }
    return result;
}

} // namespace

OrvexFoundDocument OrvexPDFDocument::extractFoundDocument() const {
    return assemble(*this, extracted);
}

OrvexFoundDocument OrvexPDFDocument::foundDocument() const {
    return assemble(*this, storedOrExtracted);
}

} // namespace orvex
