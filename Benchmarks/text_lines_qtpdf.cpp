// What PDFium reads, through Qt PDF's text calls: a line of text per line, with its box. Usage: bench_text_qtpdf
// FILE.pdf Records are tab-separated: page from 1, left, top, right, bottom (points from the page's top left corner),
// text.
#include <QtPdf/QPdfDocument>
#include <QtPdf/QPdfSelection>

#include <cstdio>

int main(int argc, char** argv) {
    QPdfDocument document(nullptr);
    if (argc != 2 || document.load(QString::fromLocal8Bit(argv[1])) != QPdfDocument::Error::None) {
        std::fputs("usage: bench_text_qtpdf FILE.pdf (a file that can be read)\n", stderr);
        return 1;
    }
    for (int page = 0; page < document.pageCount(); ++page) {
        const QString text = document.getAllText(page).text();
        for (int start = 0; start < text.size();) {
            const auto end = text.indexOf('\n', start);
            const auto length = static_cast<int>((end < 0 ? text.size() : end) - start);
            const QString line = text.mid(start, length).trimmed();
            if (!line.isEmpty()) {
                const QRectF box = document.getSelectionAtIndex(page, start, length).boundingRectangle();
                std::printf("%d\t%.3f\t%.3f\t%.3f\t%.3f\t%s\n", page + 1, box.left(), box.top(), box.right(),
                            box.bottom(), line.toUtf8().constData());
            }
            start += length + 1;
        }
    }
    return 0;
}
