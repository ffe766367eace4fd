#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Document.h"
#include "OrvexPDF/Images.h"
#include "Support/LogRecorder.h"
#include "Support/PDFFixture.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orvex {
namespace {

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

TEST(OCRImage, ThePagesRotationIsWhatItWasBefore) {
    OrvexPDFPageMeta meta;
    meta.originalPage = pageOf("[0 0 200 400]");
    meta.originalPage->setRotation(270);
    meta.rotation = 180;
    const auto image = orvexOCRImage(meta);
    EXPECT_GT(image->representations().front()->pixelsWide(), image->representations().front()->pixelsHigh());
    EXPECT_EQ(meta.originalPage->rotation(), 270);
}

TEST(OCRImage, WithoutAnOriginalThereIsNoneAndAWarning) {
    const test::LogRecorder log(moduleLogger(), LogLevel::warning);
    EXPECT_EQ(orvexOCRImage(OrvexPDFPageMeta{}), nullptr);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines().front().message, "No matching original found!");
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
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines().front().message, "Error cannotGetPageAndContext");
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
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines().front().message, "No representation found");
}

TEST(Sizes, ConvertBetweenResolutions) {
    EXPECT_EQ(convertDPI({72, 144}, 72, 300), (Size{72 * (300.0 / 72), 144 * (300.0 / 72)}));
    EXPECT_FALSE(std::isfinite(convertDPI({72, 144}, 0, 300).width));
    EXPECT_EQ(sizeWithBoxOfMaxEdge({3, 5}), (Size{5, 5}));
    EXPECT_EQ(sizeWithBoxOfMaxEdge({7, 5}), (Size{7, 7}));
}

} // namespace
} // namespace orvex
