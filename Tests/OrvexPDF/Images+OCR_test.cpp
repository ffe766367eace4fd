#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Document.h"
#include "OrvexPDF/Images.h"
#include "Support/LogRecorder.h"
#include "Support/PDFFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

namespace orvex {
namespace {

using testing::ElementsAre;

OrvexPDFPagePtr pageOf(const std::string& mediaBox) {
    return OrvexPDFDocument::fromData(test::pdfFromPages({{test::showing("Hello"), mediaBox, ""}}))->orvexPage(0);
}

ImagePtr grayImage(std::int64_t width, std::int64_t height, Size points) {
    auto bitmap = std::make_shared<Bitmap>();
    bitmap->width = width;
    bitmap->height = height;
    bitmap->colorSpace.model = ColorModel::gray;
    bitmap->bytesPerRow = static_cast<std::size_t>(width);
    bitmap->samples.assign(static_cast<std::size_t>(width * height), 128);
    return Image::fromBitmap(bitmap, points);
}

TEST(OCRImage, ASmallPageIsMadeAsIfItWere1024PointsLong) {
    const auto image = orvexOCRImage(*pageOf("[0 0 200 400]"));
    EXPECT_EQ(image->representations().front()->pixelsHigh(), 4267); // 1024 x 300 / 72
    EXPECT_EQ(image->representations().front()->pixelsWide(), 2133);
}

TEST(OCRImage, ALargePageIsMadeAt300DPI) {
    const auto image = orvexOCRImage(*pageOf("[0 0 2000 1000]"));
    EXPECT_EQ(image->representations().front()->pixelsWide(), 8333);
    EXPECT_EQ(image->representations().front()->pixelsHigh(), 4167);
}

TEST(OCRImage, TheOriginalImageComesBeforeTheOriginalPage) {
    OrvexPDFPageMeta meta;
    meta.originalImage = grayImage(30, 20, {30, 20});
    meta.originalPage = pageOf("[0 0 200 400]");
    EXPECT_EQ(orvexOCRImage(meta), meta.originalImage);
    meta.rotation = 90;
    EXPECT_EQ(orvexOCRImage(meta)->representations().front()->pixelsWide(), 20);
}

TEST(OCRImage, ShowsThePageAsItsRecordTurnsItAndLeavesItAsItWas) {
    OrvexPDFPageMeta meta;
    meta.originalPage = pageOf("[0 0 200 400]");
    struct Case {
        int before;
        std::int64_t rotation;
        bool upright;
    };
    for (const auto& [before, rotation, upright] : {Case{270, 180, false}, {0, 630, false}, {90, -90, true}}) {
        meta.originalPage->setRotation(before);
        meta.rotation = rotation;
        const auto rep = orvexOCRImage(meta)->representations().front();
        EXPECT_EQ(rep->pixelsWide() < rep->pixelsHigh(), upright) << rotation;
        EXPECT_EQ(meta.originalPage->rotation(), before) << rotation;
    }
}

TEST(OCRImage, ARotationThatNoPageCanHaveLeavesThePageAsItWas) {
    OrvexPDFPageMeta meta;
    meta.originalPage = pageOf("[0 0 200 400]");
    meta.originalPage->setRotation(90);
    meta.rotation = 45;
    EXPECT_THROW((void)orvexOCRImage(meta), std::invalid_argument);
    EXPECT_EQ(meta.originalPage->rotation(), 90);
}

TEST(OCRImageDeathTest, ARotationBeyondTheIntegersIsFatal) {
    OrvexPDFPageMeta meta;
    meta.originalPage = pageOf("[0 0 200 400]");
    meta.originalPage->setRotation(90);
    meta.rotation = std::numeric_limits<std::int64_t>::max();
    EXPECT_DEATH((void)orvexOCRImage(meta), "the page's rotation");
}

/// What choosing the original of a record logs.
std::vector<std::string> lines(const OrvexPDFPageMeta& meta) {
    const test::LogRecorder log(moduleLogger(), LogLevel::debug);
    (void)orvexOCRImage(meta);
    return log.texts();
}

TEST(OCRImage, LogsWhichOriginalItUses) {
    const std::string start = "Images orvexOCRImage(meta:) ";
    OrvexPDFPageMeta meta;
    EXPECT_EQ(orvexOCRImage(meta), nullptr);
    EXPECT_THAT(lines(meta), ElementsAre(start + "warning: No matching original found!"));
    meta.originalPage = pageOf("[0 0 200 400]");
    EXPECT_EQ(lines(meta).front(), start + "debug: Use original page");
    meta.originalImage = grayImage(30, 20, {15, 10});
    EXPECT_THAT(lines(meta), ElementsAre(start + "debug: Use original image with dpi=144.0",
                                         "NSImage+Extension orvexImageWithRotation(_:) debug: level 0"));
}

TEST(OptimizePage, APageBecomesAnImageAtThePresetsResolution) {
    const auto meta = optimizeImage(*pageOf("[0 0 200 400]"), getSqueezeMode("medium"));
    ASSERT_TRUE(meta.has_value());
    EXPECT_EQ(meta->image->representations().front()->pixelsWide(), 400);
    EXPECT_EQ(meta->image->representations().front()->pixelsHigh(), 800);
    EXPECT_NEAR(meta->image->size().width, 200, 0.02); // a PNG states whole pixels per metre
    EXPECT_NE(meta->mode, OrvexImageMetaMode::undefined);
}

TEST(OptimizePage, APageThatCannotBeRenderedGivesNothingAndAWarning) {
    const test::LogRecorder log(moduleLogger(), LogLevel::warning);
    OrvexPDFPage blank;
    EXPECT_FALSE(optimizeImage(blank, getSqueezeMode("medium")).has_value());
    const auto tiny = pageOf("[0 0 0.2 400]"); // less than a pixel
    EXPECT_FALSE(optimizeImage(*tiny, getSqueezeMode("medium")).has_value());
    const std::string start = "Images optimizeImage(page:squeeze:) warning: Error ";
    EXPECT_THAT(log.texts(), ElementsAre(start + "cannotGetPageAndContext", start + "cannotCreateBitmap"));
}

TEST(ImageOfSize, KeepsTheImagesOwnSizeWhateverIsAsked) {
    const auto image = grayImage(30, 20, {15, 10});
    const auto result = imageOfSize(image, {500, 500});
    EXPECT_NE(result, image);
    EXPECT_EQ(result->size(), (Size{15, 10}));
    EXPECT_EQ(result->representations().front(), image->representations().front());
}

TEST(ImageOfSize, WithoutARepresentationItIsTheVeryImageAndAWarning) {
    const test::LogRecorder log(moduleLogger(), LogLevel::warning);
    const auto image = std::make_shared<Image>(Size{10, 10});
    EXPECT_EQ(imageOfSize(image, {1, 1}), image);
    EXPECT_THAT(log.texts(), ElementsAre("Images image(size:) warning: No representation found"));
}

TEST(Sizes, ConvertBetweenResolutions) {
    EXPECT_EQ(convertDPI({72, 144}, 72, 300), (Size{72 * (300.0 / 72), 144 * (300.0 / 72)}));
    EXPECT_FALSE(std::isfinite(convertDPI({72, 144}, 0, 300).width));
    EXPECT_EQ(sizeWithBoxOfMaxEdge({3, 5}), (Size{5, 5}));
    EXPECT_EQ(sizeWithBoxOfMaxEdge({7, 5}), (Size{7, 7}));
    EXPECT_EQ(sizeWithBoxOfMaxEdge({5, 5}), (Size{5, 5}));
    EXPECT_TRUE(std::isnan(convertDPI({0, 1}, 0, 0).width));
}

} // namespace
} // namespace orvex
