// The text reader: a page's content, with maps and a font that are as broken, to lines.
#include "Target.h"

#include "Parts.h"

#include "OrvexPDF/Document.h"
#include "OrvexPDF/Page.h"
#include "Support/PDFFixture.h"

namespace orvex::fuzz {

namespace {

using test::streamBody;

/// Content; map to Unicode; map of a composite font; entries of a simple font's dictionary; font program; graphics
/// states and properties by name; widths of the composite font.
Bytes file(const std::vector<std::string>& input) {
    return Bytes(test::pdfFromObjects(
        {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
         "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents 4 0 R /Resources << /Font << /F1 5 0 R /F2 6 "
         "0 R /F3 7 0 R >> /XObject << /X 11 0 R >> /ExtGState 12 0 R /Properties 12 0 R >> >>",
         streamBody(input[0]), "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /ToUnicode 8 0 R >>",
         "<< /Type /Font /Subtype /Type0 /BaseFont /A /Encoding 9 0 R /ToUnicode 8 0 R /DescendantFonts [<< /Subtype "
         "/CIDFontType2 /W 13 0 R /DW2 [880 -1000] /FontDescriptor << /FontFile2 10 0 R >> >>] >>",
         "<< /Type /Font " + input[3] + " >>", streamBody(input[1]), streamBody(input[2], "/Type /CMap /CMapName /M"),
         streamBody(input[4]),
         streamBody("BT /F2 9 Tf 10 10 Td <00010002> Tj ET /X Do",
                    "/Type /XObject /Subtype /Form /BBox [0 0 612 792] /Resources << /Font << /F1 5 0 R /F2 6 0 R >> "
                    "/XObject << /X 11 0 R >> /ExtGState 12 0 R /Properties 12 0 R >>"),
         "<< " + input[5] + " >>", "[" + input[6] + "]"}));
}

/// What is read can be handed on: whole UTF-8, and numbers.
void check(const OrvexFoundPage& page) {
    if (!page.toData(false)) {
        __builtin_trap();
    }
}

} // namespace

void run(const Bytes& input) {
    const auto document = OrvexPDFDocument::fromData(file(parts(input, 7)));
    const auto page = document ? document->orvexPage(0) : nullptr;
    if (!page) {
        return;
    }
    check(page->extractFoundPage());
    check(page->extractTextLayer());
}

} // namespace orvex::fuzz
