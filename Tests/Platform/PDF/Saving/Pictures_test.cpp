// Pages of whose content a picture is left: what stood on them and what led to them.
#include "Platform/PDF/Saving/SavingTests.h"
#include "Support/ImageFixture.h"

namespace orvex {
namespace {

/// A white picture of the page as it is shown, in the page's place.
void becomePicture(PDFDocument& document, std::int64_t at) {
    const auto page = document.page(at);
    const Rect media = page->bounds(PDFDisplayBox::media);
    const bool upright = page->rotation() % 180 == 0;
    const Size size = upright ? media.size() : Size{media.height, media.width};
    auto bitmap = Bitmap::make(10, 10, 8, {ColorModel::rgb, {}, 0});
    for (std::int64_t y = 0; y < 10; ++y) {
        std::fill_n(bitmap.row(y), 30, std::uint8_t{255});
    }
    auto rep = std::make_shared<ImageRep>(std::make_shared<const Bitmap>(std::move(bitmap)));
    rep->setSize(size);
    auto image = std::make_shared<Image>(size);
    image->addRepresentation(rep);
    const auto& loaded = std::get<LoadedPageContent>(page->content());
    document.replacePage(at,
                         std::make_shared<PDFPage>(ImagePageContent{image, PicturedPage{loaded, page->rotation()}}));
}

/// Two pages without content: a link, a stamp, a field and ink on the first, which an outline item, a name and a link
/// of the second lead to.
Bytes annotated(const std::string& mediaBox, const std::string& more) {
    const std::string look = "/Type /XObject /Subtype /Form /BBox [0 0 80 40]";
    return pdfFromPages(
        {{"", mediaBox, "/Annots [9 0 R 10 0 R 11 0 R 15 0 R] " + more},
         {test::showing("Second"), "[0 0 612 792]", "/Annots [12 0 R]"}},
        {},
        "/AcroForm << /Fields [11 0 R] /DA (/F1 12 Tf) >> /Outlines 13 0 R "
        "/Names << /Dests << /Names [(start) [5 0 R /Fit]] >> >>",
        {"<< /Type /Annot /Subtype /Link /Rect [60 70 100 90] /Border [0 0 0] /Dest [7 0 R /Fit] >>",
         "<< /Type /Annot /Subtype /Stamp /Rect [40 60 120 100] /F 4 /AP << /N 16 0 R >> >>",
         "<< /Type /Annot /Subtype /Widget /FT /Tx /T (name) /V (Ada) /Rect [120 120 160 200] /F 4 /P 5 0 R "
         "/AP << /N 16 0 R >> >>",
         "<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] /Dest [5 0 R /Fit] >>",
         "<< /Type /Outlines /First 14 0 R /Last 14 0 R /Count 1 >>",
         "<< /Title (First) /Parent 13 0 R /Dest [5 0 R /Fit] >>",
         "<< /Type /Annot /Subtype /Ink /Rect [20 40 200 60] /F 4 /InkList [[20 40 200 60]] /C [1 0 0] >>",
         test::streamBody("1 0 0 rg 0 0 40 40 re f 0 0 1 rg 40 0 40 10 re f", look)});
}

struct Case {
    const char* mediaBox;
    const char* more;
    int pixels = 0; ///< that may differ
};
/// Of the last one a single pixel differs, at a corner of the stamp: by 18 of 255 here, at 36 dpi, by 4 at 72 and 144,
/// by nothing at 300. That is poppler's rounding of half pixels; what stood elsewhere would differ along its edges.
const Case shownCases[] = {
    {"[0 0 300 240]", ""},
    {"[10 20 310 260]", ""},
    {"[0 0 300 240]", "/Rotate 90"},
    {"[0 0 300 240]", "/Rotate 180"},
    {"[10 20 310 260]", "/Rotate 270"},
    {"[-4 16 296 256]", "/Rotate 90 /CropBox [-4 16 296 256]"},
    {"[-5 15 295 255]", "/Rotate 90 /CropBox [-5 15 295 255]", 1},
};

/// Pixels of two PPM files that differ; all of them where the sizes differ or a difference is no rounding.
int differingPixels(const std::string& a, const std::string& b) {
    constexpr int rounding = 20;
    const auto first = test::fromNetpbm(Bytes::copyOf(a));
    const auto second = test::fromNetpbm(Bytes::copyOf(b));
    const auto all = static_cast<int>(first.width * first.height);
    if (first.width != second.width || first.height != second.height) {
        return all;
    }
    int count = 0;
    for (std::int64_t y = 0; y < first.height; ++y) {
        for (std::int64_t x = 0; x < first.width; ++x) {
            int most = 0;
            for (std::int64_t i = 3 * x; i < 3 * x + 3; ++i) {
                most = std::max(most, std::abs(first.row(y)[i] - second.row(y)[i]));
            }
            if (most > rounding) {
                return all;
            }
            count += most > 0 ? 1 : 0;
        }
    }
    return count;
}

TEST(PageThatBecamePicture, ShowsItsAnnotationsAndFieldsWhereTheyWere) {
    for (const auto& [mediaBox, more, pixels] : shownCases) {
        const auto file = annotated(mediaBox, more);
        const auto document = opened(file);
        becomePicture(*document, 0);
        EXPECT_LE(differingPixels(SavedDocument(*document).picture(1), SavedDocument(*opened(file)).picture(1)), pixels)
            << mediaBox << more;
    }
}

TEST(PageThatBecamePicture, IsAsLargeAsThePicture) {
    const auto document = opened(annotated("[10 20 310 260]", "/Rotate 90 /CropBox [20 30 100 100]"));
    becomePicture(*document, 0);
    const auto boxes = SavedDocument(*document).tool("pdfinfo -box -f 1 -l 1");
    EXPECT_THAT(boxes, testing::ContainsRegex("MediaBox: +0.00 +0.00 +240.00 +300.00"));
    EXPECT_THAT(boxes, testing::ContainsRegex("CropBox: +0.00 +0.00 +240.00 +300.00"));
    EXPECT_THAT(boxes, testing::ContainsRegex("rot: +0\n"));
}

TEST(PageThatBecamePicture, KeepsLinksNamesOutlineAndField) {
    const auto document = opened(annotated("[0 0 300 240]", ""));
    becomePicture(*document, 0);
    const SavedDocument saved(*document);
    EXPECT_THAT(saved.show("outline"), HasSubstr("\"First\"\t#page=1"));
    EXPECT_THAT(saved.tool("pdfinfo -dests"), HasSubstr("\"start\""));
    EXPECT_EQ(saved.show("trailer/Root/AcroForm/Fields/1/V"), "(Ada)\n");
    EXPECT_THAT(saved.show("pages/1/Annots/1/Dest"), HasSubstr("/Fit"));
    EXPECT_THAT(saved.show("pages/2/Annots/1/Dest"), HasSubstr("/Fit"));
}

struct PlaceCase {
    const char* name;
    const char* mediaBox; ///< 300 x 240 points
    const char* more;
    const char* point; ///< what becomes of (50, 100, zoom 2) of a page from (0, 0)
    const char* level;
    const char* upright;
    const char* rectangle; ///< 20 30 to 60 90
};
const PlaceCase placeCases[] = {
    {"AsItWas", "[0 0 300 240]", "", "/XYZ 50 100 2", "/FitH 100", "/FitV 50", "/FitR 20 30 60 90"},
    {"Offset", "[-10 -20 290 220]", "", "/XYZ 60 120 2", "/FitH 120", "/FitV 60", "/FitR 30 50 70 110"},
    {"Right", "[0 0 300 240]", "/Rotate 90", "/XYZ 100 250 2", "/FitV 100", "/FitH 250", "/FitR 30 240 90 280"},
    {"Over", "[0 0 300 240]", "/Rotate 180", "/XYZ 250 140 2", "/FitH 140", "/FitV 250", "/FitR 240 150 280 210"},
    {"Left", "[0 0 300 240]", "/Rotate 270", "/XYZ 140 50 2", "/FitV 140", "/FitH 50", "/FitR 150 20 210 60"},
};

class PlacesOnAPicture : public testing::TestWithParam<PlaceCase> {
protected:
    /// A destination of the first page by each kind, in the outline, a link, an action, names old and new.
    static Bytes file() {
        const auto& c = GetParam();
        return pdfFromPages(
            {{"", c.mediaBox, c.more}, {"", "[0 0 612 792]", "/Annots [9 0 R 10 0 R 14 0 R]"}}, {},
            "/Outlines 11 0 R /OpenAction [5 0 R /FitV 50] /Dests << /old << /D [5 0 R /FitR 20 30 60 90] >> >> "
            "/Names << /Dests << /Names [(both) 13 0 R (edge) [5 0 R /FitBH 100] (elsewhere) [7 0 R /XYZ 50 100 2] "
            "(page) [5 0 R /Fit]] >> >>",
            {"<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] /Dest [5 0 R /FitH 100] >>",
             "<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] /A << /S /URI /URI (x) /Next << /S /GoTo /D [5 0 R /XYZ "
             "50 null 0] "
             ">> >> >>",
             "<< /Type /Outlines /First 12 0 R /Last 12 0 R /Count 1 >>",
             "<< /Title (First) /Parent 11 0 R /Dest 13 0 R >>", "[5 0 R /XYZ 50 100 2]",
             "<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] /Dest 13 0 R >>"});
    }
    static std::string withoutPage(const std::string& destination) {
        const auto kind =
            destination.find("/Fit") != std::string::npos ? destination.find("/Fit") : destination.find("/XYZ");
        return destination.substr(kind, destination.find_last_of(']') - kind -
                                            (destination[destination.find_last_of(']') - 1] == ' ' ? 1U : 0U));
    }
};

TEST_P(PlacesOnAPicture, AreThoseOfWhatTheyShowed) {
    const auto document = opened(file());
    becomePicture(*document, 0);
    const SavedDocument saved(*document);
    const auto& c = GetParam();
    const std::string root = "trailer/Root/";
    EXPECT_EQ(withoutPage(saved.show(root + "Outlines/First/Dest")), c.point);
    EXPECT_EQ(withoutPage(saved.show(root + "Names/Dests/Names/2")), c.point);
    EXPECT_EQ(withoutPage(saved.show("pages/2/Annots/3/Dest")), c.point) << "shared, changed once";
    EXPECT_EQ(withoutPage(saved.show("pages/2/Annots/1/Dest")), c.level);
    EXPECT_EQ(withoutPage(saved.show(root + "OpenAction")), c.upright);
    EXPECT_EQ(withoutPage(saved.show(root + "Dests/old/D")), c.rectangle);
    EXPECT_EQ(withoutPage(saved.show(root + "Names/Dests/Names/6")), "/XYZ 50 100 2") << "of another page";
    EXPECT_EQ(withoutPage(saved.show(root + "Names/Dests/Names/8")), "/Fit");
    const std::string edge = withoutPage(saved.show(root + "Names/Dests/Names/4"));
    EXPECT_EQ(edge, "/FitB" + std::string(c.level).substr(4));
}

INSTANTIATE_TEST_SUITE_P(Turned, PlacesOnAPicture, testing::ValuesIn(placeCases),
                         [](const auto& tested) { return tested.param.name; });

/// Poppler reads the moved points; one coordinate alone changes places with the other.
TEST(PageThatBecamePicture, HasItsDestinationsWherePopplerFindsThem) {
    const auto document = opened(pdfFromPages({{"", "[0 0 300 240]", "/Rotate 90"}}, {},
                                              "/Names << /Dests << /Names [(half) [5 0 R /XYZ 50 null null] "
                                              "(point) [5 0 R /XYZ 50 100 1] (rect) [5 0 R /FitR 20 30 60 90]] >> >>"));
    becomePicture(*document, 0);
    const auto places = SavedDocument(*document).tool("pdfinfo -dests");
    EXPECT_THAT(places, testing::ContainsRegex("XYZ +null +250 +null +. +\"half\""));
    EXPECT_THAT(places, testing::ContainsRegex("XYZ +100 +250 +1.00 +. +\"point\""));
    EXPECT_THAT(places, testing::ContainsRegex("FitR +30 +240 +90 +280. +\"rect\""));
}

TEST(PageThatBecamePicture, BringsWhatStandsOnItFromAnotherFile) {
    const auto other = opened(annotated("[0 0 300 240]", "/Rotate 90"));
    becomePicture(*other, 0);
    const auto document = opened(test::pagesShowing({"Host"}));
    test::appendPages(*document, *other);
    const SavedDocument saved(*document);
    EXPECT_EQ(saved.picture(2), SavedDocument(*opened(annotated("[0 0 300 240]", "/Rotate 90"))).picture(1));
    EXPECT_THAT(saved.show("outline"), HasSubstr("\"First\"\t#page=2"));
    EXPECT_EQ(saved.show("trailer/Root/AcroForm/Fields/1/T"), "(name)\n");
    EXPECT_THAT(saved.show("pages/2/Resources"), Not(HasSubstr("F1"))); // nothing of the old content
}

TEST(PageThatBecamePicture, LosesTheTagsOfItsContentAndKeepsThoseOfItsLinks) {
    const auto document = opened(
        pdfFromPages({{"/P << /MCID 0 >> BDC EMC", "[0 0 612 792]", "/StructParents 0 /Annots [11 0 R]"},
                      {"/P << /MCID 0 >> BDC EMC", "[0 0 612 792]", "/StructParents 2"}},
                     {}, "/StructTreeRoot 9 0 R /MarkInfo << /Marked true >>",
                     {"<< /Type /StructTreeRoot /K [10 0 R 12 0 R 14 0 R] /ParentTree 13 0 R >>",
                      "<< /Type /StructElem /S /P /P 9 0 R /Pg 5 0 R /K 0 /T (pictured) >>",
                      "<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] /StructParent 1 /Dest [7 0 R /Fit] >>",
                      "<< /Type /StructElem /S /Link /P 9 0 R /T (link) /K << /Type /OBJR /Pg 5 0 R /Obj 11 0 R >> >>",
                      "<< /Nums [0 [10 0 R] 1 12 0 R 2 [14 0 R]] >>",
                      "<< /Type /StructElem /S /P /P 9 0 R /Pg 7 0 R /K 0 /T (second) >>"}));
    becomePicture(*document, 0);
    const SavedDocument saved(*document);
    EXPECT_EQ(saved.show("trailer/Root/StructTreeRoot/K/1/T"), "(link)\n");
    EXPECT_EQ(saved.show("trailer/Root/StructTreeRoot/K/2/T"), "(second)\n");
    EXPECT_EQ(saved.show("trailer/Root/StructTreeRoot/K/3"), "null\n");
    EXPECT_EQ(saved.show("pages/1/StructParents"), "null\n");
    EXPECT_EQ(saved.show("pages/2/StructParents"), "2\n");
}

} // namespace
} // namespace orvex
