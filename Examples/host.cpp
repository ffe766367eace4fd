// A host in miniature: loads a PDF, edits it, undoes, watches the news and saves.
// Usage: host INPUT.pdf OUTPUT.pdf
#include "OrvexPDF/Manager.h"
#include "Platform/Foundation/Strings.h"

#include <exception>
#include <iostream>
#include <memory>
#include <string>

namespace {

using orvex::OrvexPDFDocumentManager;

/// Hears of every change, and of every page that is made from its record.
class Delegate final : public orvex::OrvexPDFDocumentManagerDelegate {
public:
    void documentDidChange() override { ++changes; }
    void didGenerate(orvex::OrvexPDFPage& /*page*/) override { ++generated; }
    int changes = 0;
    int generated = 0;
};

void report(const OrvexPDFDocumentManager& manager, const std::string& step) {
    std::cout << step << ": " << manager.pdfDoc->pageCount() << " pages\n";
}

/// Adds a blank page at the end, takes the first page away, and turns the page that is first now.
void edit(OrvexPDFDocumentManager& manager) {
    manager.append(std::make_shared<orvex::OrvexPDFPage>());
    report(manager, "appended");
    manager.remove(0);
    report(manager, "removed");
    // A page is never edited in place: change a copy of its record, and the page is made anew from it.
    if (auto record = manager.meta(std::int64_t{0})) {
        record->rotation += 90;
        manager.updateMeta(*record, true);
    }
    std::cout << "turned: page 1 by " << manager.page(0)->rotation() << " degrees\n";
}

void undoAndRedo(OrvexPDFDocumentManager& manager) {
    while (manager.undoManager->canUndo()) {
        manager.undoManager->undo();
    }
    report(manager, "undone");
    while (manager.undoManager->canRedo()) {
        manager.undoManager->redo();
    }
    report(manager, "redone");
}

void save(OrvexPDFDocumentManager& manager, const std::string& path) {
    orvex::AtomicFile file(path); // appears under its name only when it is complete
    if (manager.write(file)) {
        file.commit();
    }
    manager.updateDocumentBytes();
    std::cout << "saved: " << manager.documentBytes << " bytes\n";
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: host INPUT.pdf OUTPUT.pdf\n";
        return 2;
    }
    try {
        const auto manager = OrvexPDFDocumentManager::create();
        const auto delegate = std::make_shared<Delegate>();
        manager->delegate = delegate;
        manager->undoManager = std::make_shared<orvex::UndoManager>();
        int notifications = 0;
        const auto token = orvex::NotificationCenter::defaultCenter().addObserver(
            orvex::PDFDocumentContentChanged, [&notifications](const orvex::Notification&) { ++notifications; });

        if (!manager->load(std::filesystem::path(argv[1]))) {
            std::cerr << manager->lastLoadError() << '\n';
            return 4;
        }
        report(*manager, "loaded");
        edit(*manager);
        undoAndRedo(*manager);
        save(*manager, argv[2]);
        std::cout << "heard: " << delegate->changes << " changes, " << notifications << " notifications\n";
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
