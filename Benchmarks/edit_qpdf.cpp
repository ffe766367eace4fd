// What an edit costs on a document of 10 pages and on one of many, and what loading takes against qpdf.
#include "OrvexPDF/Manager.h"
#include "PlainFile.h"
#include "Support/Command.h"

#include <qpdf/QPDF.hh>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <malloc.h> // mallinfo2 is glibc's

namespace {

using namespace orvex;
using Clock = std::chrono::steady_clock;

double microseconds(const std::function<void()>& work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// A page tree of two levels, a line of text per page.
std::string fileOfPages(int count) {
    constexpr int perNode = 100;
    const int nodes = (count + perNode - 1) / perNode;
    PlainFile file;
    const auto reference = &PlainFile::reference;
    const int firstNode = 4;
    const int firstPage = firstNode + nodes;
    std::string kids;
    for (int i = 0; i < nodes; ++i) {
        kids += reference(firstNode + i);
    }
    file.add("<< /Type /Catalog /Pages 2 0 R >>");
    file.add("<< /Type /Pages /Count " + std::to_string(count) + " /Kids [" + kids + "] >>");
    file.add("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>");
    for (int node = 0; node < nodes; ++node) {
        kids.clear();
        const int end = std::min(count, (node + 1) * perNode);
        for (int page = node * perNode; page < end; ++page) {
            kids += reference(firstPage + 2 * page);
        }
        file.add("<< /Type /Pages /Parent 2 0 R /Count " + std::to_string(end - node * perNode) + " /Kids [" + kids +
                 "] >>");
    }
    for (int page = 0; page < count; ++page) {
        file.add("<< /Type /Page /Parent " + reference(firstNode + page / perNode) +
                 "/MediaBox [0 0 612 792] /Resources << /Font << /F1 3 0 R >> >> /Contents " +
                 reference(firstPage + 2 * page + 1) + ">>");
        const std::string content = "BT /F1 24 Tf 72 700 Td (Page " + std::to_string(page + 1) + ") Tj ET";
        file.addStream("", content);
    }
    return file.finished();
}

using Manager = std::shared_ptr<OrvexPDFDocumentManager>;

Manager managerOf(const Bytes& file) {
    auto manager = OrvexPDFDocumentManager::create();
    manager->undoManager = std::make_shared<UndoManager>();
    manager->load(file);
    return manager;
}

/// Something done at a page, undone again outside the measurement when it was an edit.
struct Operation {
    const char* name;
    std::function<void(OrvexPDFDocumentManager&, std::int64_t page)> run;
    bool isEdit = true;
};

std::vector<Operation> operations(const OrvexPDFPagePtr& other) {
    return {
        {"insert a page", [other](auto& manager, auto page) { manager.insert(other, page, OrvexPDFPageMeta()); }},
        {"append a page", [other](auto& manager, auto) { manager.append(other); }},
        {"remove a page", [](auto& manager, auto page) { manager.remove(page); }},
        {"replace a page",
         [other](auto& manager, auto page) { manager.replace(page, other, OrvexPDFPageMeta(), false); }},
        {"move a page", [](auto& manager, auto page) { manager.move({page}, manager.pdfDoc->pageCount() / 2); }},
        {"turn a page", [](auto& manager, auto page) { manager.rotate(page, true); }},
        {"change a record",
         [](auto& manager, auto page) {
             auto meta = *manager.meta(page);
             meta.watermarkText = "DRAFT";
             manager.updateMeta(meta, false);
         }},
        {"find a record by its id",
         [](auto& manager, auto page) {
             const auto& records = std::as_const(manager.pagesMeta);
             if (manager.pageIndex(records[static_cast<std::size_t>(page)].id) != page) {
                 std::abort();
             }
         },
         false},
        {"find a page",
         [](auto& manager, auto page) {
             if (manager.pdfDoc->index(manager.page(page).get()) != page) {
                 std::abort();
             }
         },
         false},
    };
}

struct Cost {
    double run = 0;
    double undo = 0;
    double redo = 0;
};

/// Somewhere in the document; `nearby` stays within ten pages, as somebody who works on a document does.
Cost costOf(const Operation& operation, OrvexPDFDocumentManager& manager, int runs, bool nearby) {
    std::mt19937 random(1);
    std::vector<double> run;
    std::vector<double> undo;
    std::vector<double> redo;
    for (int i = 0; i < runs; ++i) {
        const auto count = manager.pdfDoc->pageCount();
        const auto page = nearby ? (count - 10) / 2 + static_cast<std::int64_t>(random() % 10)
                                 : static_cast<std::int64_t>(random() % static_cast<std::uint32_t>(count));
        run.push_back(microseconds([&] { operation.run(manager, page); }));
        if (operation.isEdit) {
            undo.push_back(microseconds([&] { manager.undoManager->undo(); }));
            redo.push_back(microseconds([&] { manager.undoManager->redo(); }));
            manager.undoManager->undo();
        }
    }
    return operation.isEdit ? Cost{median(run), median(undo), median(redo)} : Cost{median(run)};
}

void printRow(const std::string& name, double small, double nearby, double anywhere) {
    std::printf("| %-26s | %9.2f | %13.2f | %6.2f | %13.2f | %6.2f |\n", name.c_str(), small, nearby, nearby / small,
                anywhere, anywhere / small);
}

/// Heap per edit that the history keeps, the new page and record with it.
double historyBytesPerEdit(OrvexPDFDocumentManager& manager, int edits) {
    const auto before = mallinfo2();
    for (int i = 0; i < edits; ++i) {
        manager.rotate(i % 5, true);
    }
    const auto after = mallinfo2();
    return static_cast<double>(after.uordblks + after.hblkhd) / edits -
           static_cast<double>(before.uordblks + before.hblkhd) / edits;
}

void compareLoading(const std::string& file, int pages) {
    const auto path = std::filesystem::temp_directory_path() / "orvex-bench-edit.pdf";
    std::ofstream(path, std::ios::binary) << file;
    const Bytes data = readFile(path);
    std::vector<double> ours;
    std::vector<double> library;
    std::vector<double> command;
    for (int i = 0; i < 5; ++i) {
        ours.push_back(microseconds([&] {
            const auto manager = managerOf(data);
            std::size_t listed = 0;
            for (const auto& meta : std::as_const(manager->pagesMeta)) {
                listed += meta.originalPage ? 1U : 0U;
            }
            if (listed != static_cast<std::size_t>(pages)) {
                std::abort();
            }
        }));
        library.push_back(microseconds([&] {
            QPDF pdf;
            pdf.processMemoryFile("input", file.data(), file.size());
            if (pdf.getAllPages().size() != static_cast<std::size_t>(pages)) {
                std::abort();
            }
        }));
        command.push_back(microseconds([&] { test::run("qpdf --show-npages " + path.string()); }));
    }
    std::filesystem::remove(path);
    std::printf(
        "\nLoading %d pages and listing their records, ms: ours %.0f; qpdf's library, all pages: %.0f (%.2f times "
        "that); qpdf --show-npages: %.0f (%.2f)\n",
        pages, median(ours) / 1000, median(library) / 1000, median(ours) / median(library), median(command) / 1000,
        median(ours) / median(command));
}

} // namespace

int main(int argc, char** argv) {
    int many = 20000;
    if (argc > 1) {
        const std::string_view text = argv[1];
        std::from_chars(text.data(), text.data() + text.size(), many);
    }
    constexpr int few = 10;
    constexpr int runs = 3000;
    const auto largeFile = fileOfPages(many);
    const auto small = managerOf(Bytes::copyOf(fileOfPages(few)));
    const auto large = managerOf(Bytes::copyOf(largeFile));
    const auto other = managerOf(Bytes::copyOf(fileOfPages(1)))->page(0);
    const auto pages = std::to_string(many);
    std::printf("| %-26s | %9s | %13s | %6s | %13s | %6s |\n| --- | --- | --- | --- | --- | --- |\n",
                "microseconds per edit", "10", (pages + " nearby").c_str(), "ratio", (pages + " any").c_str(), "ratio");
    for (const auto& manager : {small, large}) {
        (void)manager->pageIndex("none"); // the table of ids is made once, when somebody first asks
    }
    for (const auto& operation : operations(other)) {
        const auto a = costOf(operation, *small, runs, true);
        const auto b = costOf(operation, *large, runs, true);
        const auto c = costOf(operation, *large, runs, false);
        printRow(operation.name, a.run, b.run, c.run);
        if (operation.isEdit) {
            printRow("  its undo", a.undo, b.undo, c.undo);
            printRow("  its redo", a.redo, b.redo, c.redo);
        }
    }
    std::printf("\nHistory, bytes per turned page: %.0f on 10 pages, %.0f on %d\n", historyBytesPerEdit(*small, runs),
                historyBytesPerEdit(*large, runs), many);
    compareLoading(largeFile, many);
}
