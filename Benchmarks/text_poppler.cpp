// What poppler reads, laid out as pdftotext does, of several files in one process. Usage: bench_text_poppler
// FILE.pdf...
#include <poppler-document.h>
#include <poppler-page.h>

#include <cstdio>
#include <memory>

namespace {

void print(const poppler::document& document) {
    for (int number = 0; number < document.pages(); ++number) {
        const std::unique_ptr<poppler::page> page(document.create_page(number));
        if (page == nullptr) {
            continue; // pdftotext passes over it, too
        }
        const auto text = page->text({}, poppler::page::non_raw_non_physical_layout).to_utf8();
        std::fwrite(text.data(), 1, text.size(), stdout);
    }
}

} // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::unique_ptr<poppler::document> document(poppler::document::load_from_file(argv[i]));
        if (document == nullptr || document->is_locked()) {
            std::fprintf(stderr, "bench_text_poppler: %s cannot be read\n", argv[i]);
            return 1;
        }
        print(*document);
    }
    return 0;
}
