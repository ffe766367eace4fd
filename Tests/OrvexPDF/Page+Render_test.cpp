#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Document.h"
#include "OrvexPDF/Images.h"
#include "OrvexPDF/Page.h"
#include "Support/Command.h"
#include "Support/ImageFixture.h"
#include "Support/LogRecorder.h"
#include "Support/PDFFixture.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <future>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orvex {
namespace {

using test::pdfFromPages;

/// A page with a red square in its lower left corner, 100 points wide.
OrvexPDFDocumentPtr squarePage(const std::string& mediaBox, const std::string& more = {}) {
    return OrvexPDFDocument::fromData(pdfFromPages({{"1 0 0 rg 0 0 100 100 re f", mediaBox, more}}));
}

/// A page of 300 x 200 points with a blue annotation in the upper right corner, 100 points wide.
OrvexPDFPagePtr annotatedPage(const std::string& annotation, const std::string& page = {},
                              const std::string& content = {}) {
    return OrvexPDFDocument::fromData(
               Bytes(test::pdfFromObjects({
                   "<< /Type /Catalog /Pages 2 0 R >>",
                   "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                   "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 300 200] /Contents 5 0 R " + page +
                       " /Annots [<< /Type /Annot /Rect [200 100 300 200] /AP << /N 4 0 R >> " + annotation + " >>] >>",
                   test::streamBody("0 0 1 rg 0 0 100 100 re f", "/Type /XObject /Subtype /Form /BBox [0 0 100 100]"),
                   test::streamBody(content),
               })))
        ->orvexPage(0);
}

struct Shade {
    int red = 0;
    int green = 0;
    int blue = 0;
    friend bool operator==(const Shade&, const Shade&) = default;
};

Shade shadeAt(const Image& image, std::int64_t x, std::int64_t y) {
    const auto bitmap = image.representations().front()->bitmap();
    const std::uint8_t* pixel = bitmap->row(y) + x * bitmap->channels();
    return {pixel[0], pixel[1], pixel[2]};
}
constexpr Shade red{255, 0, 0};
constexpr Shade white{255, 255, 255};
constexpr Shade blue{0, 0, 255};

OrvexPDFPageErrorCode failureOf(OrvexPDFPage& page, double width, double height) {
    try {
        (void)page.renderBitmap(width, height);
    } catch (const OrvexPDFPageError& error) {
        return error.code();
    }
    ADD_FAILURE() << "it rendered";
    return OrvexPDFPageErrorCode::cannotCopyData;
}

TEST(PageRendering, AnImageMeasuresTheResolutionAskedFor) {
    const auto document = squarePage("[0 0 300 200]");
    for (const std::int64_t dpi : {36, 72, 100, 144}) {
        const auto image = document->orvexPage(0)->image(dpi);
        EXPECT_EQ(image->size(), (Size{300, 200}));
        EXPECT_EQ(image->representations().front()->pixelsWide(), 300 * dpi / 72);
        EXPECT_EQ(image->representations().front()->pixelsHigh(), 200 * dpi / 72);
        EXPECT_NEAR(image->dpi(), static_cast<double>(dpi), 0.5);
    }
}

TEST(PageRendering, ContentStandsWhereItBelongs) {
    const auto image = squarePage("[0 0 300 200]")->orvexPage(0)->image(72);
    EXPECT_EQ(shadeAt(*image, 50, 150), red);
    EXPECT_EQ(shadeAt(*image, 150, 150), white);
    EXPECT_EQ(shadeAt(*image, 50, 50), white);
}

TEST(PageRendering, AQuarterTurnSwapsTheSides) {
    const auto document = squarePage("[0 0 300 200]");
    document->orvexPage(0)->setRotation(90);
    const auto image = document->orvexPage(0)->image(72);
    EXPECT_EQ(image->size(), (Size{200, 300}));
    EXPECT_EQ(shadeAt(*image, 50, 50), red);
    EXPECT_EQ(shadeAt(*image, 50, 250), white);
}

TEST(PageRendering, TheWholeMediaBoxIsShownWhateverTheCropBoxSays) {
    const auto image = squarePage("[-50 -50 250 150]", "/CropBox [0 0 20 20]")->orvexPage(0)->image(72);
    EXPECT_EQ(image->size(), (Size{300, 200}));
    EXPECT_EQ(shadeAt(*image, 25, 175), white);
    EXPECT_EQ(shadeAt(*image, 100, 100), red);
}

TEST(PageRendering, BareImagesHaveNoWatermarkAndNoAnnotations) {
    const auto page = annotatedPage("/Subtype /Square /F 4");
    page->watermarkText = "DRAFT";
    const auto bare = page->image(72);
    const auto complete = page->render(72);
    EXPECT_EQ(shadeAt(*bare, 150, 195), white);
    EXPECT_GT(shadeAt(*complete, 150, 195).red, shadeAt(*complete, 150, 195).green + 80); // in the banner's edge
    EXPECT_EQ(shadeAt(*bare, 250, 50), white);
    EXPECT_EQ(shadeAt(*complete, 250, 50), blue);
}

TEST(PageRendering, FormFieldsShowInCompletePicturesOnly) {
    const std::string field = "/Subtype /Widget /FT /Tx /T (name) ";
    EXPECT_EQ(shadeAt(*annotatedPage(field + "/F 4")->render(72), 250, 50), blue);
    EXPECT_EQ(shadeAt(*annotatedPage(field + "/F 4")->image(72), 250, 50), white);
    for (const char* unseen : {"/F 1", "/F 2", "/F 32"}) { // invisible, hidden, not for viewing
        EXPECT_EQ(shadeAt(*annotatedPage(field + unseen)->render(72), 250, 50), white) << unseen;
    }
}

TEST(PageRendering, AFormFieldStandsWhereItsPageIsTurnedAndWhateverItsContentLeft) {
    const std::string field = "/Subtype /Widget /FT /Btn /T (box) /AS /Yes /F 4";
    EXPECT_EQ(shadeAt(*annotatedPage(field, "/Rotate 90")->render(72), 150, 250), blue);
    EXPECT_EQ(shadeAt(*annotatedPage(field, {}, "0.1 0 0 -0.1 50 50 cm q (unfinished")->render(72), 250, 50), blue);
}

TEST(PageRendering, SizesThatNoBitmapCanHaveAreNamedErrors) {
    const auto document = squarePage("[0 0 300 200]");
    OrvexPDFPage& page = *document->orvexPage(0);
    EXPECT_EQ(failureOf(page, 0, 10), OrvexPDFPageErrorCode::cannotCreateBitmap);
    EXPECT_EQ(failureOf(page, -5, 10), OrvexPDFPageErrorCode::cannotCreateBitmap);
    EXPECT_EQ(failureOf(page, 1e6, 1e6), OrvexPDFPageErrorCode::cannotCreateBitmap);
    EXPECT_EQ(failureOf(page, 0.9, 10), OrvexPDFPageErrorCode::cannotCreateBitmap);
}

TEST(PageRendering, APageOfAbsurdSizeDoesNotExhaustTheMachine) {
    const auto document = squarePage("[0 0 14400000 14400000]");
    EXPECT_THROW((void)document->orvexPage(0)->image(300), OrvexPDFPageError);
}

TEST(PageRendering, ASizeBeyondTheIntegersThatAFileMadeUpIsANamedError) {
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    const std::string tooWide = "[0 0 99999999999999999999.5 100.0]";
    const std::vector<std::pair<std::string, std::int64_t>> cases = {
        {tooWide, 72}, {"[0 0 100 9000000000000000000]", 300}, {"[0 0 300 200]", most}, {"[0 0 300 200]", -most}};
    for (const auto& [mediaBox, dpi] : cases) {
        for (const int turn : {0, 90}) {
            const auto page = squarePage(mediaBox)->orvexPage(0);
            page->setRotation(turn);
            EXPECT_THROW((void)page->image(dpi), OrvexPDFPageError) << mediaBox << dpi;
            EXPECT_THROW((void)page->render(dpi), OrvexPDFPageError) << mediaBox << dpi;
            const auto squeeze = std::make_shared<OrvexPDFSqueezeMode>(dpi, 50, OrvexPDFSqueezeColors::colors,
                                                                       OrvexPDFSqueezeMethod::best, "id", "title");
            EXPECT_FALSE(optimizeImage(*page, squeeze)) << mediaBox << dpi;
        }
    }
    EXPECT_EQ(squarePage(tooWide)->orvexPage(0)->thumbnail({1e20, 1e20}), nullptr);
    EXPECT_TRUE(orvexOCRImage(*squarePage(tooWide)->orvexPage(0))->representations().empty());
}

TEST(PageRendering, ABlankPageHasNoPageToDraw) {
    OrvexPDFPage page;
    EXPECT_EQ(failureOf(page, 10, 10), OrvexPDFPageErrorCode::cannotGetPageAndContext);
}

TEST(PageRendering, ABlankPageIsAskedForItsBitmapFirst) {
    OrvexPDFPage page;
    EXPECT_EQ(failureOf(page, 0, 10), OrvexPDFPageErrorCode::cannotCreateBitmap);
}

TEST(PageRendering, ErrorsDescribeThemselvesByTheirNames) {
    const std::vector<std::string> names = {"cannotCreateBitmap", "cannotGetPageAndContext",
                                            "couldNotOpenPageDictionary", "couldNotReadResources", "cannotCopyData"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(OrvexPDFPageError(static_cast<OrvexPDFPageErrorCode>(i)).what(), names[i]);
    }
}

TEST(PageRendering, APageThatCannotBeDrawnIsANamedError) {
    class Undrawable final : public OrvexPDFPage {
    public:
        using OrvexPDFPage::OrvexPDFPage;
        void draw(PDFDisplayBox /*box*/, GraphicsContext& /*context*/) override { throw PDFWriteError("no"); }
    };
    const auto loaded = squarePage("[0 0 300 200]")->page(0)->content();
    for (const PDFPageContent& content : {PDFPageContent(BlankPageContent{}), loaded}) {
        const auto page = std::make_shared<Undrawable>(content);
        EXPECT_THROW((void)page->render(36), OrvexPDFPageError);
        EXPECT_EQ(page->thumbnail({30, 20}), nullptr);
        EXPECT_TRUE(page->thumbnail72DPI({30, 20})->representations().empty());
    }
    EXPECT_EQ(Undrawable(loaded).image(36)->size(), (Size{300, 200})); // its content can be
}

TEST(PageRendering, EdgesAreSmoothForPeopleAndSharpInBareImages) {
    const auto page =
        OrvexPDFDocument::fromData(pdfFromPages({{"0 g 10 10 m 290 40 l 290 10 l f", "[0 0 300 200]"}}))->orvexPage(0);
    const auto isSharp = [](const Image& image) {
        const auto bitmap = image.representations().front()->bitmap();
        return std::all_of(bitmap->samples.begin(), bitmap->samples.end(),
                           [](std::uint8_t sample) { return sample == 0 || sample == 255; });
    };
    EXPECT_TRUE(isSharp(*page->image(72)));
    EXPECT_FALSE(isSharp(*page->render(72)));
}

TEST(PageRenderingDeathTest, ASizeThatIsNoNumberOfPixelsIsFatal) {
    const auto document = squarePage("[0 0 300 200]");
    OrvexPDFPage& page = *document->orvexPage(0);
    EXPECT_DEATH((void)page.renderBitmap(std::nan(""), 10), "bitmap");
    EXPECT_DEATH((void)page.renderBitmap(10, std::numeric_limits<double>::infinity()), "bitmap");
    EXPECT_DEATH((void)page.renderBitmap(1e30, 10), "bitmap");
}

TEST(PageRendering, ImagePagesRenderLikeLoadedOnes) {
    const auto loaded = squarePage("[0 0 300 200]")->orvexPage(0)->image(72);
    const auto page = OrvexPDFPage::fromImage(Image::fromBitmap(loaded->representations().front()->bitmap()));
    const auto again = page->image(72);
    EXPECT_EQ(shadeAt(*again, 50, 150), red);
    EXPECT_EQ(shadeAt(*again, 150, 50), white);
}

TEST(PageRendering, SeveralThreadsRenderTheSameFile) {
    const auto document = squarePage("[0 0 300 200]");
    const auto expected = document->orvexPage(0)->image(72)->representations().front()->bitmap()->samples;
    std::vector<std::future<bool>> results;
    for (int i = 0; i < 4; ++i) {
        results.push_back(std::async(std::launch::async, [&document, &expected] {
            bool same = true;
            for (int round = 0; round < 5; ++round) {
                const auto image = document->orvexPage(0)->image(72);
                same = same && image->representations().front()->bitmap()->samples == expected;
            }
            return same;
        }));
    }
    for (auto& result : results) {
        EXPECT_TRUE(result.get());
    }
}

TEST(Thumbnail, FitsThePageAsShownAndKeepsItsProportions) {
    const auto document = squarePage("[0 0 300 200]");
    const auto page = document->orvexPage(0);
    EXPECT_EQ(page->thumbnail({150, 150})->size(), (Size{150, 100}));
    EXPECT_EQ(page->thumbnail({600, 1000})->size(), (Size{600, 400}));
    page->setRotation(90);
    EXPECT_EQ(page->thumbnail({150, 150})->size(), (Size{100, 150}));
}

TEST(Thumbnail, OnAPlainScreenItMeasuresOnePixelPerPointWithoutWarnings) {
    const test::LogRecorder log(moduleLogger(), LogLevel::warning);
    const auto image = squarePage("[0 0 200 300]")->orvexPage(0)->thumbnail72DPI({200, 300});
    EXPECT_EQ(image->size(), (Size{200, 300}));
    EXPECT_EQ(image->dpi(), 72);
    EXPECT_TRUE(log.lines().empty());
}

TEST(Thumbnail, OnAScreenWithTwoPixelsPerPointItsPointsAreItsPixels) {
    const auto document = squarePage("[0 0 200 300]");
    setMainScreenBackingScale(2);
    const test::LogRecorder log(moduleLogger(), LogLevel::warning);
    const auto image = document->orvexPage(0)->thumbnail72DPI({200, 300});
    setMainScreenBackingScale(1);
    EXPECT_EQ(image->size(), (Size{200, 300}));
    EXPECT_EQ(image->representations().front()->size(), (Size{200, 300}));
    EXPECT_EQ(image->representations().front()->pixelsWide(), 200);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines().front().message, "Thumbnail with wrong DPI: 72.0");
    EXPECT_EQ(log.lines().front().function, "thumbnail72DPI(of:)");
}

TEST(Thumbnail, ThatCannotBeMadeIsAnEmptyImageWithWarnings) {
    const auto document = squarePage("[0 0 200 300]");
    setMainScreenBackingScale(2);
    const test::LogRecorder log(moduleLogger(), LogLevel::warning);
    const auto image = document->orvexPage(0)->thumbnail72DPI({0, 0});
    setMainScreenBackingScale(1);
    EXPECT_TRUE(image->representations().empty());
    EXPECT_EQ(image->size(), Size{});
    const std::string start = "Page thumbnail72DPI(of:) warning: ";
    EXPECT_EQ(log.texts(), (std::vector<std::string>{start + "Thumbnail with unexpected DPI: 72.0",
                                                     start + "Thumbnail with wrong DPI: 72.0"}));
}

TEST(Thumbnail, ShowsWhatASavedFileShows) {
    const auto page = squarePage("[0 0 300 200]")->orvexPage(0);
    page->watermarkText = "DRAFT";
    const test::TempFolder folder;
    const std::string pdf = (folder.path() / "saved.pdf").string();
    std::ofstream(pdf, std::ios::binary) << page->createDocumentFromPage()->dataRepresentation()->text();
    const auto saved = OrvexPDFDocument::fromFile(pdf)->orvexPage(0)->thumbnail({300, 200});
    const auto live = page->thumbnail({300, 200});
    EXPECT_EQ(saved->representations().front()->bitmap()->samples, live->representations().front()->bitmap()->samples);
}

} // namespace
} // namespace orvex
