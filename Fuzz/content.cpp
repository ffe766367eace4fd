// A page's content, however broken, with something drawn behind it.
#include "Target.h"

#include "OrvexPDF/Document.h"
#include "OrvexPDF/Page.h"
#include "Support/PDFFixture.h"

namespace orvex::fuzz {

void run(const Bytes& input) {
    const std::string body = test::streamBody(std::string(input.text()));
    const auto document = OrvexPDFDocument::fromData(Bytes(
        test::pdfFromObjects({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                              "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Resources << /Font << /F1 4 0 R "
                              ">> /XObject << /X 6 0 R "
                              ">> >> /Contents [5 0 R 5 0 R] >>",
                              "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>", body,
                              test::streamBody("BT /F1 9 Tf (form) Tj ET /X Do",
                                               "/Type /XObject /Subtype /Form /BBox [0 0 612 792] "
                                               "/Resources << /Font << /F1 4 0 R >> /XObject << /X 6 0 R >> >>")})));
    const auto page = document->orvexPage(0);
    if (!page) {
        return;
    }
    page->watermarkText = "DRAFT";
    if (const auto saved = document->dataRepresentation();
        !saved || !OrvexPDFDocument::fromData(*saved)->orvexPage(0)) {
        __builtin_trap();
    }
}

} // namespace orvex::fuzz
