// What an edit costs on a document of 10 pages and on one of many, and what loading takes against qpdf.
#include "OrvexPDF/Manager.h"
#include "PlainFile.h"
#include "Support/Command.h"

#include <qpdf/QPDF.hh>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <span>
#include <string>
#include <vector>

#include <malloc.h> // mallinfo2 is glibc's
#include <unistd.h>

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

/// What the processor keeps close by makes room for something larger than all of its caches: between two edits a host
/// draws pages, and waits for somebody to press a key.
class Caches {
public:
    Caches() : filler_(filling() / sizeof(std::uint64_t), 1) {}

    void empty() {
        constexpr std::size_t line = 64 / sizeof(std::uint64_t);
        std::uint64_t sum = 0;
        for (std::size_t at = 0; at < filler_.size(); at += line) {
            sum += filler_[at];
        }
        sum_ = sum;
    }
    [[nodiscard]] std::size_t size() const { return filler_.size() * sizeof(std::uint64_t); }

private:
    static std::size_t filling() {
        constexpr long unknown = 64L << 20U;
        const long last = sysconf(_SC_LEVEL3_CACHE_SIZE);
        return static_cast<std::size_t>(last > 0 ? last : unknown) * 3 / 2;
    }
    std::vector<std::uint64_t> filler_;
    volatile std::uint64_t sum_ = 0;
};

/// Where in the document edits are made: anywhere, or nearby, within ten pages, as by somebody who works on a document.
/// With `caches` these are emptied before each edit.
struct Trial {
    OrvexPDFDocumentManager& manager;
    bool nearby;
    Caches* caches = nullptr;
    std::vector<double> runs{};
    std::vector<double> undos{};
    std::vector<double> redos{};

    void run(const Operation& operation, std::mt19937& random) {
        const auto count = manager.pdfDoc->pageCount();
        const auto page = nearby ? (count - 10) / 2 + static_cast<std::int64_t>(random() % 10)
                                 : static_cast<std::int64_t>(random() % static_cast<std::uint32_t>(count));
        runs.push_back(time([&] { operation.run(manager, page); }));
        if (operation.isEdit) {
            undos.push_back(time([&] { manager.undoManager->undo(); }));
            redos.push_back(time([&] { manager.undoManager->redo(); }));
            manager.undoManager->undo();
        }
    }

private:
    [[nodiscard]] double time(const std::function<void()>& work) const {
        if (caches != nullptr) {
            caches->empty();
        }
        return microseconds(work);
    }
};

/// All with warm caches or all with cold ones, in turns, as the machine's clock varies.
void runInTurns(std::span<Trial> trials, const Operation& operation, int runs) {
    constexpr int turns = 10;
    std::mt19937 random(1);
    for (int turn = 0; turn < turns; ++turn) {
        for (auto& trial : trials) {
            for (int i = 0; i < runs / turns; ++i) {
                trial.run(operation, random);
            }
        }
    }
}

void printHead(const std::string& pages) {
    std::printf(
        "| %-24s | %7s | %12s | %5s | %11s | %5s | %8s | %16s | %5s |\n| --- | --- | --- | --- | --- | --- | --- | "
        "--- | --- |\n",
        "microseconds per edit", "10", (pages + " nearby").c_str(), "ratio", (pages + " any").c_str(), "ratio",
        "10, cold", (pages + " any, cold").c_str(), "ratio");
}

void printRow(const std::string& name, std::span<const Trial> trials, std::vector<double> Trial::*samples) {
    std::array<double, 5> cost{};
    for (std::size_t i = 0; i < cost.size(); ++i) {
        cost[i] = median(trials[i].*samples);
    }
    std::printf("| %-24s | %7.2f | %12.2f | %5.2f | %11.2f | %5.2f | %8.1f | %16.1f | %5.2f |\n", name.c_str(), cost[0],
                cost[1], cost[1] / cost[0], cost[2], cost[2] / cost[0], cost[3], cost[4], cost[4] / cost[3]);
}

void printRows(const Operation& operation, OrvexPDFDocumentManager& small, OrvexPDFDocumentManager& large,
               Caches& caches) {
    std::vector<Trial> trials{
        {small, true}, {large, true}, {large, false}, {small, true, &caches}, {large, false, &caches}};
    runInTurns(std::span(trials).first(3), operation, 3000);
    runInTurns(std::span(trials).subspan(3), operation, 50);
    printRow(operation.name, trials, &Trial::runs);
    if (operation.isEdit) {
        printRow("  its undo", trials, &Trial::undos);
        printRow("  its redo", trials, &Trial::redos);
    }
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
    const auto largeFile = fileOfPages(many);
    const auto small = managerOf(Bytes::copyOf(fileOfPages(few)));
    const auto large = managerOf(Bytes::copyOf(largeFile));
    const auto other = managerOf(Bytes::copyOf(fileOfPages(1)))->page(0);
    for (const auto& manager : {small, large}) {
        (void)manager->pageIndex("none"); // the table of ids is made once, when somebody first asks
    }
    {
        Caches caches;
        printHead(std::to_string(many));
        for (const auto& operation : operations(other)) {
            printRows(operation, *small, *large, caches);
        }
        std::printf("\nCold: %zu MiB were read before each.\n", caches.size() >> 20U);
    }
    constexpr int turns = 3000;
    std::printf("\nHistory, bytes per turned page: %.0f on 10 pages, %.0f on %d\n", historyBytesPerEdit(*small, turns),
                historyBytesPerEdit(*large, turns), many);
    compareLoading(largeFile, many);
}
