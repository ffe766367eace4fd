#include "OrvexPDF/Document.h"
#include "Platform/Foundation/Workers.h"

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
    const auto pages = document.orvexPages();
    std::vector<OrvexFoundPage> foundPages(pages.size());
    forEachInParallel(pages.size(), [&](std::size_t i) { foundPages[i] = found(*pages[i]); });
    return {document.author(), document.creator(), "pdf", std::move(foundPages)};
}

} // namespace

OrvexFoundDocument OrvexPDFDocument::extractFoundDocument() const {
    return assemble(*this, extracted);
}

OrvexFoundDocument OrvexPDFDocument::foundDocument() const {
    return assemble(*this, storedOrExtracted);
}

} // namespace orvex
