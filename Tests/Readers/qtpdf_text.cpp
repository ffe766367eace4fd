// Prints what PDFium reads, through Qt PDF's text calls: "piece" lines (one per character, with its box) and "line"
// lines. Usage: qtpdf_text FILE.pdf
#include <QtPdf/QPdfDocument>
#include <QtPdf/QPdfSelection>

#include <cstdio>
#include <vector>

namespace {

void print(const char* kind, int page, const QRectF& box, const QString& text) {
    std::printf("%s\t%d\t%.3f\t%.3f\t%.3f\t%.3f\t%s\n", kind, page + 1, box.left(), box.top(), box.right(),
                box.bottom(), text.toUtf8().constData());
}

struct Piece {
    QRectF box;
    QString text;
};

/// A character with its box; both halves of a surrogate pair are one, and characters without a box of their own
/// (combining marks) belong to the one before them.
void append(std::vector<Piece>& pieces, const QPdfSelection& character) {
    const QString text = character.text();
    const QRectF box = character.boundingRectangle();
    if (box.isEmpty() && !pieces.empty()) {
        pieces.back().text += text;
    } else if (!text.trimmed().isEmpty()) {
        pieces.push_back({box, text});
    }
}

void printPage(QPdfDocument& document, int page) {
    const QPdfSelection all = document.getAllText(page);
    const QString text = all.text();
    const auto lines = text.split('\n');
    for (QString line : lines) {
        print("line", page, {}, line.remove('\r'));
    }
    std::vector<Piece> pieces;
    for (int i = 0; i < text.size(); ++i) {
        const int length = text[i].isHighSurrogate() ? 2 : 1;
        append(pieces, document.getSelectionAtIndex(page, i, length));
        i += length - 1;
    }
    for (const auto& [box, found] : pieces) {
        print("piece", page, box, found);
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
