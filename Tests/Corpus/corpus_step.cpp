// One step of a walk over real files, as a host would take it.
// Usage: corpus_step load|edit|undo|save|reopen FILE.pdf SAVED.pdf
// Prints one line. Exits with 0 when the step was done, with 2 when the file was refused, with 1 when something is
// wrong.
#include "OrvexPDF/Manager.h"
#include "Platform/Foundation/Bytes.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace {

using namespace orvex;
using ManagerPtr = std::shared_ptr<OrvexPDFDocumentManager>;

/// Long documents are no different, only longer.
constexpr std::int64_t mostPages = 20;

struct Refused : std::runtime_error {
    using std::runtime_error::runtime_error;
};
struct Wrong : std::runtime_error {
    using std::runtime_error::runtime_error;
};

void require(bool holds, const std::string& what) {
    if (!holds) {
        throw Wrong(what);
    }
}

ManagerPtr loaded(const std::string& path) {
    auto manager = OrvexPDFDocumentManager::create();
    manager->undoManager = std::make_shared<UndoManager>();
    if (!manager->load(std::filesystem::path(path))) {
        throw Refused(manager->lastLoadError());
    }
    if (manager->pdfDoc->pageCount() == 0) {
        throw Refused("a document without pages");
    }
    return manager;
}

std::vector<OrvexPDFPagePtr> pagesOf(const OrvexPDFDocumentManager& manager) {
    return manager.pdfDoc->orvexPages();
}

std::shared_ptr<const OrvexFoundPage> someText() {
    OrvexFoundPage page(OrvexFoundSize(100, 100));
    page.items = {OrvexFoundItem("found \u05d0 \u4e2d", OrvexFoundBox(Rect{10, 10, 50, 8}))};
    return std::make_shared<const OrvexFoundPage>(page);
}

/// Turns, text, a banner, moves, an insertion and a removal; as many pages as before are left.
void edit(OrvexPDFDocumentManager& manager) {
    const auto count = manager.pdfDoc->pageCount();
    for (std::int64_t i = 0; i < std::min(count, mostPages); ++i) {
        manager.rotate(i, i % 2 == 0);
    }
    auto meta = manager.meta(count - 1);
    meta->foundPage = someText();
    meta->watermarkText = "DRAFT";
    manager.updateMeta(*meta, false);
    manager.move({count - 1}, 0);
    manager.insert(manager.page(0), count, {});
    manager.remove(std::int64_t{0});
    require(manager.pdfDoc->pageCount() == count, "pages were lost while editing");
    require(static_cast<std::int64_t>(manager.pagesMeta.size()) == count, "records were lost while editing");
}

std::string load(const std::string& file, const std::string& /*saved*/) {
    return std::to_string(loaded(file)->pdfDoc->pageCount()) + " pages";
}

std::string editOnly(const std::string& file, const std::string& /*saved*/) {
    edit(*loaded(file));
    return "edited";
}

std::string undo(const std::string& file, const std::string& /*saved*/) {
    const auto manager = loaded(file);
    const auto before = pagesOf(*manager);
    edit(*manager);
    const auto after = pagesOf(*manager);
    while (manager->undoManager->canUndo()) {
        manager->undoManager->undo();
    }
    require(pagesOf(*manager) == before, "undo did not bring the pages back");
    while (manager->undoManager->canRedo()) {
        manager->undoManager->redo();
    }
    require(pagesOf(*manager) == after, "redo did not bring the edits back");
    return "undone and redone";
}

std::string save(const std::string& file, const std::string& saved) {
    const auto manager = loaded(file);
    edit(*manager);
    AtomicFile out(saved);
    require(manager->write(out), "nothing was written");
    out.commit();
    return "saved";
}

std::string reopen(const std::string& file, const std::string& saved) {
    const auto count = loaded(file)->pdfDoc->pageCount();
    const auto again = OrvexPDFDocumentManager::create();
    require(again->load(std::filesystem::path(saved)), "what was saved does not open: " + again->lastLoadError());
    require(again->pdfDoc->pageCount() == count, "what was saved has another number of pages");
    return "opened again";
}

} // namespace

int main(int argc, char** argv) {
    const std::map<std::string, std::function<std::string(const std::string&, const std::string&)>> steps{
        {"load", load}, {"edit", editOnly}, {"undo", undo}, {"save", save}, {"reopen", reopen}};
    if (argc != 4 || !steps.contains(argv[1])) {
        std::cerr << "corpus_step load|edit|undo|save|reopen FILE.pdf SAVED.pdf\n";
        return 1;
    }
    try {
        std::cout << steps.at(argv[1])(argv[2], argv[3]) << "\n";
        return 0;
    } catch (const Refused& error) {
        std::cout << error.what() << "\n";
        return 2;
    } catch (const std::exception& error) {
        std::cout << error.what() << "\n";
        return 1;
    }
}
