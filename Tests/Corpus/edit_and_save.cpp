// Loads a PDF, reverses its pages, undoes that and saves; removes the first page, appends it again and saves.
// Usage: edit_and_save IN.pdf UNDONE.pdf CYCLED.pdf. Prints one line; exits with 0, or with 2 when the file is refused.
#include "OrvexPDF/Manager.h"
#include "Platform/Foundation/Bytes.h"

#include <iostream>
#include <numeric>

namespace {

using namespace orvex;

void save(OrvexPDFDocumentManager& manager, const char* path) {
    AtomicFile file(path);
    manager.write(file);
    file.commit();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "edit_and_save IN.pdf UNDONE.pdf CYCLED.pdf\n";
        return 1;
    }
    const auto manager = OrvexPDFDocumentManager::create();
    manager->undoManager = std::make_shared<UndoManager>();
    if (!manager->load(std::filesystem::path(argv[1]))) {
        std::cout << manager->lastLoadError() << "\n";
        return 2;
    }
    const auto count = manager->pdfDoc->pageCount();
    if (count == 0) {
        std::cout << "a document without pages\n";
        return 2;
    }
    try {
        std::vector<std::int64_t> pages(static_cast<std::size_t>(count));
        std::iota(pages.rbegin(), pages.rend(), 0);
        manager->move(pages, 0);
        manager->undoManager->undo();
        save(*manager, argv[2]);
        const auto first = manager->page(0);
        manager->remove(0);
        manager->append(first);
        save(*manager, argv[3]);
    } catch (const std::exception& error) {
        std::cout << error.what() << "\n";
        return 1;
    }
    std::cout << count << " pages\n";
    return 0;
}
