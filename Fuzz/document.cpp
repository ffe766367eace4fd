// A file opened, read, edited and saved, and what was saved opened again.
#include "Target.h"

#include "OrvexPDF/Manager.h"

#include <algorithm>

namespace orvex::fuzz {

namespace {

/// Large documents are no better at finding faults, only slower.
constexpr std::int64_t mostPages = 16;

std::shared_ptr<const OrvexFoundPage> someText() {
    OrvexFoundPage page(OrvexFoundSize(100, 100));
    page.items = {OrvexFoundItem("found \u05d0 \u4e2d", OrvexFoundBox(Rect{10, 10, 50, 8}))};
    return std::make_shared<const OrvexFoundPage>(page);
}

void lookAt(OrvexPDFDocument& document) {
    (void)document.author();
    for (std::int64_t i = 0; i < std::min(document.pageCount(), mostPages); ++i) {
        const auto page = document.page(i);
        for (const auto box : {PDFDisplayBox::media, PDFDisplayBox::crop, PDFDisplayBox::art}) {
            (void)page->bounds(box);
        }
        (void)page->rotation();
    }
}

void edit(OrvexPDFDocumentManager& manager) {
    const std::int64_t count = manager.pdfDoc->pageCount();
    manager.rotate(0, true);
    auto meta = manager.meta(count - 1);
    meta->foundPage = someText();
    meta->watermarkText = "DRAFT";
    manager.updateMeta(*meta, false);
    if (count > 1) {
        manager.move({count - 1}, 0);
        manager.remove(std::int64_t{1});
    }
}

} // namespace

void run(const Bytes& input) {
    const auto manager = OrvexPDFDocumentManager::create();
    if (!manager->load(input) || manager->pdfDoc->pageCount() == 0) {
        return;
    }
    lookAt(*manager->pdfDoc);
    const std::int64_t count = manager->pdfDoc->pageCount();
    if (count > mostPages) {
        return;
    }
    edit(*manager);
    if (const auto saved = manager->dataRepresentation()) {
        if (OrvexPDFDocument::fromData(*saved)->pageCount() != manager->pdfDoc->pageCount()) {
            __builtin_trap(); // pages were lost on the way
        }
    }
}

} // namespace orvex::fuzz
