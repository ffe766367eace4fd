// A file opened and looked at: its entries, its pages, their text and their images.
#include "Target.h"

#include "OrvexPDF/Document.h"
#include "OrvexPDF/Page.h"

#include <algorithm>

namespace orvex::fuzz {

namespace {

/// Large documents are no better at finding faults, only slower.
constexpr std::int64_t mostPages = 16;

void lookAt(const OrvexPDFPage& page) {
    for (const auto box : {PDFDisplayBox::media, PDFDisplayBox::crop, PDFDisplayBox::art}) {
        (void)page.bounds(box);
    }
    (void)page.rotation();
    (void)page.extractFoundPage();
    (void)page.clone();
}

} // namespace

void run(const Bytes& input) {
    std::optional<PDFOpenError> why;
    const auto document = OrvexPDFDocument::fromData(input, &why);
    if (!document) {
        if (!why || std::string_view(why->what()).empty()) {
            __builtin_trap(); // refused without a reason
        }
        return;
    }
    (void)document->author();
    for (std::int64_t i = 0; i < std::min(document->pageCount(), mostPages); ++i) {
        lookAt(*document->orvexPage(i));
    }
}

} // namespace orvex::fuzz
