// Writes the seeds. Usage: make_seeds FOLDER
#include "Parts.h"
#include "RichFile.h"
#include "Seeds.h"

#include "OrvexPDF/Document.h"
#include "OrvexPDF/FoundContent.h"
#include "OrvexPDF/Page.h"
#include "OrvexPDF/SqueezeMode.h"
#include "Platform/PDF/GlyphlessTrueType_p.h"
#include "Support/PDFFixture.h"

#include <array>
#include <cstdio>

namespace orvex::fuzz {

namespace {

OrvexFoundPage foundPage() {
    OrvexFoundPage page(OrvexFoundSize(300, 200));
    page.items = {OrvexFoundItem("Hello", OrvexFoundBox(Rect{10, 10, 60, 12})),
                  OrvexFoundItem("\u05e9\u05dc\u05d5\u05dd 12", OrvexFoundBox(Rect{10, 30, 60, 12})),
                  OrvexFoundItem("\u65e5\u672c\u8a9e", OrvexFoundBox(Rect{10, 50, 60, 12}))};
    return page;
}

void addDocuments(Seeds& seeds) {
    const auto page = OrvexPDFPage::fromImage(Image::fromData(smallJPEG()));
    page->foundPage = std::make_shared<const OrvexFoundPage>(foundPage());
    for (const char* target : {"document", "saving"}) {
        seeds.add(target, Bytes(richFile()));
        seeds.add(target, Bytes(packedRichFile()));
        seeds.add(target, test::pdfFromPages({{test::showing("one")}, {test::showing("two"), "[-9 -9 99 99]"}}));
        seeds.add(target, *page->createDocumentFromPage()->dataRepresentation());
    }
}

void addContents(Seeds& seeds) {
    for (const char* content :
         {"q 1 0 0 1 72 720 cm BT /F1 12 Tf 1 0 0 1 0 0 Tm [(kerned) -250 (text)] TJ T* (next) ' 1 2 (set) \" ET Q",
          "/Span << /ActualText <FEFF0041> >> BDC BT 3 Tr /F1 9 Tf 50 Tz 2 Ts (a\\(b\\)\\101) Tj ET EMC /X Do",
          "BI /W 2 /H 2 /BPC 8 /CS /G ID abcd EI q BT /F1 8 Tf <48 65 6c> Tj", "q q Q Q Q ET EMC (open"}) {
        seeds.add("content", Bytes(std::string(content)));
    }
}

constexpr const char* toUnicode =
    "1 begincodespacerange <00> <FF> endcodespacerange 2 beginbfchar <41> <0416> <42> <D83DDE00> endbfchar\n"
    "2 beginbfrange <43> <45> <0061> <46> <47> [<00660066> <0041>] endbfrange 1 beginbfchar <48> <0000> endbfchar";
constexpr const char* wideToUnicode = "1 begincodespacerange <0000> <FFFF> endcodespacerange\n"
                                      "1 beginbfrange <0001> <0009> <05D0> endbfrange";
constexpr const char* encoding =
    "/Identity-H usecmap 2 begincodespacerange <00> <7F> <8140> <FEFE> endcodespacerange /WMode 1 def\n"
    "1 begincidrange <8140> <817E> 100 endcidrange 1 begincidchar <20> 1 endcidchar\n"
    "1 beginnotdefrange <00> <1F> 1 endnotdefrange";
constexpr const char* typeOne =
    "%!PS-AdobeFont-1.0: A\n/FontName /A def /FontMatrix [0.001 0 0 0.001 0 0] readonly def "
    "/FontBBox {0 -200 1000 800} def\n/Encoding 256 array 0 1 255 {1 index exch /.notdef "
    "put} for dup 65 /alpha put readonly def currentdict end\ncurrentfile eexec";

void addTexts(Seeds& seeds) {
    constexpr std::array advances{1000, 500, 250};
    const std::string program = makeGlyphlessTrueType(advances);
    const std::string shown = "BT /F1 12 Tf 72 700 Td (ABC) Tj 0 -14 Td [(DE) -300 (FG)] TJ /F2 9 Tf 14 TL T* "
                              "<000100020003> Tj 90 Tz 2 Tc 3 Tw /F3 10 Tf (a b) ' ET /X Do";
    const std::string turned = "q 0 1 -1 0 300 300 cm BT /F3 8 Tf 1 0.2 0 1 5 5 Tm (up) Tj ET Q 10 10 50 50 re W n "
                               "/Span << /ActualText (x) >> BDC BT /F3 8 Tf 20 20 Td (in) Tj ET EMC";
    const std::string named = "/Span /P BDC BT /G gs 72 700 Td (AB) Tj /H gs <0001000200030009> Tj ET EMC "
                              "/OC /L BDC BT /F2 9 Tf 72 600 Td <00010009> Tj ET EMC /X Do";
    const std::string states = "/G << /Font [<< /Type /Font /Subtype /Type1 /BaseFont /Courier >> 9] >> /H << /Font [6 "
                               "0 R 9] >> /P << /ActualText (said) >> /L << /Type /OCG /Name (l) >>";
    const std::string widths = "1 [500 600] 3 8 250 9 13 0 R";
    seeds.add("text", joined({shown, toUnicode, encoding,
                              "/Subtype /Type1 /BaseFont /B /Encoding << /BaseEncoding /WinAnsiEncoding /Differences "
                              "[65 /Aacute /uni0416 /f_f_i /afii10017] >> /FirstChar 65 /Widths [500 250.5 1000] "
                              "/FontDescriptor << /Ascent 800 /Descent -200 /MissingWidth 300 >>",
                              program, states, widths}));
    seeds.add("text",
              joined({turned, wideToUnicode, encoding,
                      "/Subtype /TrueType /BaseFont /B /FontDescriptor << /Flags 4 /FontFile2 10 0 R >>", program}));
    seeds.add("text",
              joined({turned, toUnicode, "", "/Subtype /Type1 /FontDescriptor << /FontFile 10 0 R >>", typeOne}));
    seeds.add("text", joined({shown, toUnicode, "",
                              "/Subtype /Type3 /FontBBox [0 0 1 1] /FontMatrix [0.01 0 0 0.01 0 0] /CharProcs << /a 4 "
                              "0 R >> /Encoding << /Differences [97 /a] >> /FirstChar 97 /Widths [60]",
                              ""}));
    seeds.add("text", joined({shown, wideToUnicode, "",
                              "/Subtype /Type0 /BaseFont /C /Encoding /UniJIS-UTF16-H /DescendantFonts [<< /Subtype "
                              "/CIDFontType0 /CIDSystemInfo << /Registry (Adobe) /Ordering (Japan1) /Supplement 6 >> "
                              ">>]",
                              ""}));
    seeds.add("text", joined({named, wideToUnicode, "", "/Subtype /Type1", program, states, widths}));
}

void addJSON(Seeds& seeds) {
    OrvexFoundDocument found;
    found.source = "scanner";
    found.pages = {foundPage(), OrvexFoundPage()};
    seeds.add("found_json", Bytes(found.toJSONString(true)));
    seeds.add("found_json", Bytes(foundPage().toJSONString(false)));
    for (const auto& mode : squeezeModes()) {
        seeds.add("squeeze_json", mode->toData());
    }
}

} // namespace

} // namespace orvex::fuzz

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    orvex::fuzz::Seeds seeds(argv[1]);
    orvex::fuzz::addDocuments(seeds);
    orvex::fuzz::addContents(seeds);
    orvex::fuzz::addTexts(seeds);
    orvex::fuzz::addPictures(seeds);
    orvex::fuzz::addJSON(seeds);
    return 0;
}
