// Prints what PDFium reads, through Qt PDF's text calls: "piece" lines (one per character, with its box) and "line"
// lines. Usage: qtpdf_text FILE.pdf
#include <QtPdf/QPdfDocument>
#include <QtPdf/QPdfSelection>

#include <cstdio>

namespace {

void print(const char* kind, int page, const QRectF& box, const QString& text) {
    std::printf("%s\t%d\t%.3f\t%.3f\t%.3f\t%.3f\t%s\n", kind, page + 1, box.left(), box.top(), box.right(),
                box.bottom(), text.toUtf8().constData());
}

void printPage(QPdfDocument& document, int page) {
    const QPdfSelection all = document.getAllText(page);
    const auto lines = all.text().split('\n');
    for (QString line : lines) {
        print("line", page, {}, line.remove('\r'));
    }
    for (int i = all.startIndex(); i < all.endIndex(); ++i) {
        const QPdfSelection character = document.getSelectionAtIndex(page, i, 1);
        if (!character.text().trimmed().isEmpty()) {
            print("piece", page, character.boundingRectangle(), character.text());
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    QPdfDocument document(nullptr);
    if (argc != 2 || document.load(QString::fromLocal8Bit(argv[1])) != QPdfDocument::Error::None) {
        std::fputs("usage: qtpdf_text FILE.pdf (a file that can be read)\n", stderr);
        return 1;
    }
    for (int page = 0; page < document.pageCount(); ++page) {
        printPage(document, page);
    }
    return 0;
}
