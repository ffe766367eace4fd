// A file edited, put into another one and saved; what was saved is opened again.
#include "Target.h"

#include "RichFile.h"

#include "OrvexPDF/Manager.h"

namespace orvex::fuzz {

namespace {

/// Large documents are no better at finding faults, only slower.
constexpr std::int64_t mostPages = 16;

std::shared_ptr<const OrvexFoundPage> someText() {
    OrvexFoundPage page(OrvexFoundSize(100, 100));
    page.items = {OrvexFoundItem("found \u05d0 \u4e2d", OrvexFoundBox(Rect{10, 10, 50, 8}))};
    return std::make_shared<const OrvexFoundPage>(page);
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

/// Pages must not be lost on the way.
void save(OrvexPDFDocumentManager& manager) {
    if (const auto saved = manager.dataRepresentation()) {
        const auto again = OrvexPDFDocument::fromData(*saved);
        if (!again || again->pageCount() != manager.pdfDoc->pageCount()) {
            __builtin_trap();
        }
    }
}

} // namespace

void run(const Bytes& input) {
    const auto manager = OrvexPDFDocumentManager::create();
    manager->undoManager = std::make_shared<UndoManager>();
    if (!manager->load(input) || manager->pdfDoc->pageCount() == 0 || manager->pdfDoc->pageCount() > mostPages) {
        return;
    }
    const Bytes rich(richFile());
    const auto other = OrvexPDFDocumentManager::create();
    other->load(rich);
    other->append(OrvexPDFDocument::fromData(input));
    save(*other);
    manager->insert(OrvexPDFDocument::fromData(rich), 0);
    edit(*manager);
    save(*manager);
    while (manager->undoManager->canUndo()) {
        manager->undoManager->undo();
    }
    save(*manager);
}

} // namespace orvex::fuzz
