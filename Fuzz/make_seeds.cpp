// Writes the seeds: small valid inputs of every kind that we can make, in a folder per target.
// Usage: make_seeds FOLDER
#include "OrvexPDF/Document.h"
#include "OrvexPDF/FoundContent.h"
#include "OrvexPDF/Page.h"
#include "OrvexPDF/SqueezeMode.h"
#include "Platform/Imaging/Codecs.h"
#include "Support/ImageFixture.h"
#include "Support/PDFFixture.h"

#include <cstdio>
#include <filesystem>

namespace {

using namespace orvex;

class Seeds {
public:
    explicit Seeds(std::filesystem::path folder) : folder_(std::move(folder)) {}
    void add(const std::string& target, const Bytes& bytes) {
        std::filesystem::create_directories(folder_ / target);
        test::writeFile(folder_ / target / ("seed-" + std::to_string(++count_)), bytes);
    }

private:
    std::filesystem::path folder_;
    int count_ = 0;
};

OrvexFoundPage foundPage() {
    OrvexFoundPage page(OrvexFoundSize(300, 200));
    page.items = {OrvexFoundItem("Hello", OrvexFoundBox(Rect{10, 10, 60, 12})),
                  OrvexFoundItem("\u05e9\u05dc\u05d5\u05dd 12", OrvexFoundBox(Rect{10, 30, 60, 12})),
                  OrvexFoundItem("\u65e5\u672c\u8a9e", OrvexFoundBox(Rect{10, 50, 60, 12}))};
    return page;
}

std::vector<Bytes> pictures() {
    std::vector<Bytes> all;
    for (const auto model : {ColorModel::gray, ColorModel::rgb, ColorModel::cmyk}) {
        all.push_back(*encodeJPEG(test::makePhoto(24, 16, model), {}));
    }
    for (const int bits : {8, 16}) {
        all.push_back(*encodePNG(test::makePhoto(12, 9, ColorModel::rgb, bits), {}));
        all.push_back(*encodePNG(test::makePhoto(12, 9, ColorModel::gray, bits, Alpha::straight), {}));
    }
    all.push_back(*encodePNG(test::makeLineArt(33, 20), {}));
    all.push_back(*encodePNG(test::makeFlat(20, 20, 5), {}));
    return all;
}

/// Everything that a file may hold besides pages, in small.
std::string richFile() {
    return test::pdfFromObjects(
        {"<< /Type /Catalog /Pages 2 0 R /Outlines 8 0 R /Dests << /d [3 0 R /Fit] >> /AcroForm << /Fields [7 0 R] "
         "/DA (/F1 9 Tf) >> /PageLabels << /Nums [0 << /S /r >> 1 << /S /D >>] >> /Names << /EmbeddedFiles << /Names "
         "[(a.txt) << /Type /Filespec /F (a.txt) /EF << /F 10 0 R >> >>] >> >> /OCProperties << /OCGs [11 0 R] /D << "
         "/Order [11 0 R] >> >> /StructTreeRoot 12 0 R >>",
         "<< /Type /Pages /Kids [3 0 R 4 0 R] /Count 2 /MediaBox [0 0 300 200] /Rotate 90 >>",
         "<< /Type /Page /Parent 2 0 R /Contents [5 0 R 5 0 R] /StructParents 0 /Resources << /Font << /F1 6 0 R >> "
         "/Properties << /O 11 0 R >> >> /Annots [7 0 R << /Type /Annot /Subtype /Link /Rect [0 0 9 9] /Dest [4 0 R "
         "/Fit] >>] >>",
         "<< /Type /Page /Parent 2 0 R /Contents 5 0 R /Resources << /Font << /F1 6 0 R >> >> >>",
         test::streamBody("q /OC /O BDC BT /F1 12 Tf 20 100 Td [(He) -20 (llo)] TJ ET EMC Q"),
         "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding << /Differences [65 /uni0416 /f_i] >> >>",
         "<< /Type /Annot /Subtype /Widget /FT /Tx /T (name) /V (value) /Rect [20 20 90 40] /P 3 0 R /AP << /N 13 0 R "
         ">> "
         ">>",
         "<< /Type /Outlines /First 9 0 R /Last 9 0 R /Count 1 >>",
         "<< /Title (One) /Parent 8 0 R /A << /S /GoTo /D (d) >> >>", test::streamBody("attached"),
         "<< /Type /OCG /Name (Layer) >>",
         "<< /Type /StructTreeRoot /K << /S /P /Pg 3 0 R /K 0 >> /ParentTree << /Nums [0 []] >> >>",
         test::streamBody("BT /F1 9 Tf (value) Tj ET", "/Type /XObject /Subtype /Form /BBox [0 0 70 20]")});
}

void documents(Seeds& seeds) {
    seeds.add("document", Bytes(richFile()));
    seeds.add("document", test::pdfFromPages({{test::showing("one")}, {test::showing("two"), "[-9 -9 99 99]"}}));
    const auto page = OrvexPDFPage::fromImage(Image::fromData(pictures().front()));
    page->foundPage = std::make_shared<const OrvexFoundPage>(foundPage());
    seeds.add("document", *page->createDocumentFromPage()->dataRepresentation());
}

void contents(Seeds& seeds) {
    for (const char* content :
         {"q 1 0 0 1 72 720 cm BT /F1 12 Tf 1 0 0 1 0 0 Tm [(kerned) -250 (text)] TJ T* (next) ' 1 2 (set) \" ET Q",
          "/Span << /ActualText <FEFF0041> >> BDC BT 3 Tr /F1 9 Tf 50 Tz 2 Ts (a\\(b\\)\\101) Tj ET EMC /X Do",
          "BI /W 2 /H 2 /BPC 8 /CS /G ID abcd EI q BT /F1 8 Tf <48 65 6c> Tj", "q q Q Q Q ET EMC (open"}) {
        seeds.add("content", Bytes(std::string(content)));
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    Seeds seeds(argv[1]);
    documents(seeds);
    contents(seeds);
    for (const auto& picture : pictures()) {
        seeds.add("image", picture);
    }
    OrvexFoundDocument found;
    found.source = "scanner";
    found.pages = {foundPage(), OrvexFoundPage()};
    seeds.add("found_json", Bytes(found.toJSONString(true)));
    seeds.add("found_json", Bytes(foundPage().toJSONString(false)));
    for (const auto& mode : squeezeModes()) {
        seeds.add("squeeze_json", mode->toData());
    }
    return 0;
}
