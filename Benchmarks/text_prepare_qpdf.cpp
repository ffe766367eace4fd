// Makes readers of text comparable: pages upright, without crop boxes and annotations, nothing encrypted.
// Usage: bench_text_prepare IN.pdf OUT.pdf; prints each page's media box.
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <qpdf/QPDFWriter.hh>

#include <cstdio>
#include <exception>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: bench_text_prepare IN.pdf OUT.pdf\n", stderr);
        return 2;
    }
    try {
        QPDF pdf;
        pdf.setSuppressWarnings(true);
        pdf.processFile(argv[1]);
        QPDFPageDocumentHelper document(pdf);
        document.pushInheritedAttributesToPage();
        for (auto& page : document.getAllPages()) {
            auto object = page.getObjectHandle();
            for (const char* key :
                 {"/Annots", "/CropBox", "/BleedBox", "/TrimBox", "/ArtBox", "/Rotate", "/UserUnit"}) {
                object.removeKey(key);
            }
            const auto box = page.getMediaBox().getArrayAsRectangle();
            std::printf("%.4f\t%.4f\t%.4f\t%.4f\n", box.llx, box.lly, box.urx, box.ury);
        }
        pdf.getRoot().removeKey("/AcroForm");
        QPDFWriter writer(pdf, argv[2]);
        writer.setPreserveEncryption(false);
        writer.setStaticID(true);
        writer.write();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
