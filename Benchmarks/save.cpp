// What the size of a large document costs after an edit, against saving it.
#include "OrvexPDF/Manager.h"
#include "PlainFile.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace orvex;
using Clock = std::chrono::steady_clock;

constexpr int megabyte = 1'000'000;

/// Each page shows one grey image of a million samples that nothing compresses.
std::string fileOfImages(int count) {
    std::mt19937 random(1);
    PlainFile file;
    std::string kids;
    for (int i = 0; i < count; ++i) {
        kids += PlainFile::reference(4 + 2 * i);
    }
    file.add("<< /Type /Catalog /Pages 2 0 R >>");
    file.add("<< /Type /Pages /Count " + std::to_string(count) + " /Kids [" + kids + "] >>");
    file.addStream("", "q 612 0 0 792 0 0 cm /Im Do Q");
    for (int i = 0; i < count; ++i) {
        file.add("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents 3 0 R /Resources << /XObject << /Im " +
                 PlainFile::reference(5 + 2 * i) + ">> >> >>");
        std::string samples(megabyte, '\0');
        std::ranges::generate(samples, [&] { return static_cast<char>(random()); });
        file.addStream("/Type /XObject /Subtype /Image /Width 1000 /Height 1000 /ColorSpace /DeviceGray "
                       "/BitsPerComponent 8 ",
                       samples);
    }
    return file.finished();
}

double milliseconds(const std::function<void()>& work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char** argv) {
    int pages = 200;
    if (argc > 1) {
        const std::string_view text = argv[1];
        std::from_chars(text.data(), text.data() + text.size(), pages);
    }
    constexpr int runs = 5;
    const auto manager = OrvexPDFDocumentManager::create();
    manager->load(Bytes(fileOfImages(pages)));
    const auto path = std::filesystem::temp_directory_path() / "orvex-bench-save.pdf";
    std::vector<double> measuring;
    std::vector<double> inMemory;
    std::vector<double> saving;
    for (int i = 0; i < runs; ++i) {
        manager->rotate(i % pages, true);
        measuring.push_back(milliseconds([&] { manager->updateDocumentBytes(); }));
        manager->rotate(i % pages, true);
        inMemory.push_back(milliseconds([&] { (void)manager->dataRepresentation(); }));
        manager->rotate(i % pages, true);
        saving.push_back(milliseconds([&] {
            AtomicFile file(path);
            manager->write(file);
            file.commit();
        }));
    }
    std::filesystem::remove(path);
    std::printf("%d pages, %.0f MB, one page turned each time; medians of %d runs.\n\n", pages,
                static_cast<double>(manager->documentBytes) / megabyte, runs);
    std::printf("| | ms | times measuring |\n| --- | --- | --- |\n");
    const double base = median(measuring);
    std::printf("| updateDocumentBytes() | %.1f | |\n", base);
    std::printf("| dataRepresentation() | %.1f | %.1f |\n", median(inMemory), median(inMemory) / base);
    std::printf("| saved to a file, synced and renamed | %.1f | %.1f |\n", median(saving), median(saving) / base);
    return 0;
}
