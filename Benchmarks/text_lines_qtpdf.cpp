// What PDFium reads, through Qt PDF's text calls. Usage: bench_text_qtpdf [--plain] FILE.pdf Each line of text with its
// box in tab-separated fields: page from 1, left, top, right, bottom (points from the page's top left corner), text;
// or, with --plain, each page's text as it comes.
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

} // namespace

int main(int argc, char** argv) {
    QPdfDocument document(nullptr);
    const bool plain = argc == 3 && std::string_view(argv[1]) == "--plain";
    if ((argc != 2 && !plain) || document.load(QString::fromLocal8Bit(argv[argc - 1])) != QPdfDocument::Error::None) {
        std::fputs("usage: bench_text_qtpdf [--plain] FILE.pdf (a file that can be read)\n", stderr);
        return 1;
    }
    for (int page = 0; page < document.pageCount(); ++page) {
        const QString text = document.getAllText(page).text();
        if (plain) {
            std::puts(text.toUtf8().constData());
        } else {
            printLines(document, page, text);
        }
    }
    return 0;
}
