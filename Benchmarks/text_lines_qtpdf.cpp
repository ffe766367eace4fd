// What PDFium reads, through Qt PDF's text calls. Usage: bench_text_qtpdf FILE.pdf | --plain FILE.pdf... Each line of
// text with its box in tab-separated fields: page from 1, left, top, right, bottom (points from the page's top left
// corner), text; or, with --plain, each page's text as it comes, of one file after the other.
#include <QtPdf/QPdfDocument>
#include <QtPdf/QPdfSelection>

#include <cstdio>
#include <string_view>

namespace {

// Every selection opens the page anew.
void printLines(QPdfDocument& document, int page, const QString& text) {
    for (int start = 0; start < text.size();) {
        const auto end = text.indexOf('\n', start);
        const auto length = static_cast<int>((end < 0 ? text.size() : end) - start);
        const QString line = text.mid(start, length).trimmed();
        if (!line.isEmpty()) {
            const QRectF box = document.getSelectionAtIndex(page, start, length).boundingRectangle();
            std::printf("%d\t%.3f\t%.3f\t%.3f\t%.3f\t%s\n", page + 1, box.left(), box.top(), box.right(), box.bottom(),
                        line.toUtf8().constData());
        }
        start += length + 1;
    }
}

void printPlain(QPdfDocument& document) {
    for (int page = 0; page < document.pageCount(); ++page) {
        std::puts(document.getAllText(page).text().toUtf8().constData());
    }
}

bool isReadable(QPdfDocument& document, const char* file) {
    if (document.load(QString::fromLocal8Bit(file)) == QPdfDocument::Error::None) {
        return true;
    }
    std::fprintf(stderr, "bench_text_qtpdf: %s cannot be read\n", file);
    return false;
}

} // namespace

int main(int argc, char** argv) {
    const bool plain = argc > 2 && std::string_view(argv[1]) == "--plain";
    if (!plain && argc != 2) {
        std::fputs("usage: bench_text_qtpdf FILE.pdf | --plain FILE.pdf...\n", stderr);
        return 1;
    }
    for (int i = plain ? 2 : 1; i < argc; ++i) {
        QPdfDocument document(nullptr);
        if (!isReadable(document, argv[i])) {
            return 1;
        }
        if (plain) {
            printPlain(document);
            continue;
        }
        for (int page = 0; page < document.pageCount(); ++page) {
            printLines(document, page, document.getAllText(page).text());
        }
    }
    return 0;
}
