// Hosts set locales; files and records have none.
#include "OrvexPDF/Manager.h"
#include "OrvexPDF/SqueezeMode.h"
#include "Platform/PDF/Renderer.h"
#include "Support/Command.h"
#include "Support/OpenDocument.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <clocale>
#include <locale>
#include <sstream>

namespace orvex {
namespace {

/// Commas for points, and points between thousands.
class German final : public std::numpunct<char> {
    [[nodiscard]] char do_decimal_point() const override { return ','; }
    [[nodiscard]] char do_thousands_sep() const override { return '.'; }
    [[nodiscard]] std::string do_grouping() const override { return "\3"; }
};

/// A turned page with a link, a stamp, a field and one without appearance, as pixels and as a picture of it is saved.
std::string annotated() {
    const auto document = test::opened(test::pdfFromPages(
        {{test::showing("page"), "[5.25 5.5 205.5 105.25]", "/Rotate 90 /Annots [7 0 R 8 0 R 9 0 R 10 0 R]"}}, {},
        "/AcroForm << /Fields [9 0 R 10 0 R] /DA (/F1 9.5 Tf) /DR << /Font << /F1 3 0 R >> >> >>",
        {"<< /Type /Annot /Subtype /Link /Rect [100.75 20.5 150.75 40.5] /QuadPoints [1.5 2.5 3.5 4.5] >>",
         "<< /Type /Annot /Subtype /Stamp /Rect [20.75 50.5 60.75 90.5] /F 4 /AP << /N 11 0 R >> >>",
         "<< /Type /Annot /Subtype /Widget /FT /Tx /T (a) /Rect [70.75 50.5 110.75 90.5] /F 4 /AP << /N 11 0 R >> >>",
         "<< /Type /Annot /Subtype /Widget /FT /Tx /T (b) /V (Ada) /Rect [120.75 50.5 140.75 90.5] /F 4 >>",
         test::streamBody("0 0 9 9 re f", "/Subtype /Form /BBox [0.75 0.5 9.75 9.5] /Matrix [1.5 0 0 1.5 0.5 0.5]")}));
    const auto page = document->page(0);
    const auto pixels = render(*page, {400, 800});
    std::string all(pixels ? std::string(pixels->samples.begin(), pixels->samples.end()) : "not rendered");
    const Size size{99.75, 200.25};
    auto image = std::make_shared<Image>(size);
    auto rep =
        std::make_shared<ImageRep>(std::make_shared<const Bitmap>(Bitmap::make(2, 4, 8, {ColorModel::gray, {}, 0})));
    rep->setSize(size);
    image->addRepresentation(rep);
    const auto& loaded = std::get<LoadedPageContent>(page->content());
    document->replacePage(0, std::make_shared<PDFPage>(ImagePageContent{image, PicturedPage{loaded, 90}}));
    return all += document->dataRepresentation().value_or(Bytes()).text();
}

/// What a host sees of pages with odd numbers and texts: everything that is written down.
std::string everything() {
    std::vector<test::FixturePage> pages;
    for (int i = 0; i < 3; ++i) {
        pages.push_back({test::showing("page"), "[0.5 0 1612.25 1792.75]", "/Rotate 90"});
    }
    const auto manager = OrvexPDFDocumentManager::create();
    EXPECT_TRUE(manager->load(test::pdfFromPages(pages)));
    auto meta = manager->meta(std::int64_t{1});
    OrvexFoundPage text(OrvexFoundSize(1234.5, 2345.25));
    text.items = {OrvexFoundItem("word", OrvexFoundBox(Rect{1000.25, 1010.5, 250.75, 12.125}))};
    meta->foundPage = std::make_shared<const OrvexFoundPage>(text);
    meta->watermarkText = "DRAFT 1.5";
    manager->updateMeta(*meta, false);
    std::string all(manager->dataRepresentation().value_or(Bytes()).text());
    all += manager->pdfDoc->extractFoundDocument().toJSONString(true);
    all += manager->pdfDoc->orvexPage(1)->extractTextLayer().toJSONString(false);
    const auto read = OrvexFoundPage::from(Bytes(std::string(R"({"dpi": 1234.5, "size": {"w": 1e3, "h": 0.25}})")));
    all += read ? read->toJSONString(false) : "not read";
    for (const auto& mode : squeezeModes()) {
        all += mode->toData().text();
    }
    return all + annotated();
}

TEST(Locale, TheGlobalLocaleOfStreamsChangesNothing) {
    const std::string expected = everything();
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new German));
    std::ostringstream sample;
    sample << 1234.5;
    const std::string actual = everything();
    std::locale::global(before);
    EXPECT_EQ(sample.str(), "1.234,5");
    EXPECT_TRUE(actual == expected);
}

TEST(Locale, TheLocaleOfTheCLibraryChangesNothing) {
    const test::TempFolder folder;
    const auto made =
        test::run("localedef -i de_DE -f UTF-8 " + test::quoted((folder.path() / "de_DE.UTF-8").string()));
    const std::string expected = everything();
    ::setenv("LOCPATH", folder.path().c_str(), 1);
    const bool isSet = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    const std::string separator = std::localeconv()->decimal_point;
    const std::string actual = everything();
    std::setlocale(LC_ALL, "C");
    ::unsetenv("LOCPATH");
    ASSERT_TRUE(isSet) << made.errors;
    EXPECT_EQ(separator, ",");
    EXPECT_TRUE(actual == expected);
}

} // namespace
} // namespace orvex
