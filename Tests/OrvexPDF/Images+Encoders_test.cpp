#include "OrvexPDF/Images.h"

#include "OrvexPDF/Alias.h"
#include "Platform/Imaging/Codecs.h"
#include "Support/ImageFixture.h"
#include "Support/LogRecorder.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace orvex;
using namespace orvex::test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

ImagePtr imageOf(Bitmap bitmap, Size points = {}) {
    return Image::fromBitmap(std::make_shared<const Bitmap>(std::move(bitmap)), points);
}

} // namespace

TEST(ImagesEncoders, quarterTurnsFollowTheSignOfTheRotation) {
    const ImagePtr image = imageOf(makePhoto(30, 20));
    const auto same = [&](std::int64_t rotation) { return orvexImageWithRotation(image, rotation) == image; };
    for (const std::int64_t rotation : {0, 360, -360, 89, -89, 45, 720}) {
        EXPECT_TRUE(same(rotation)) << rotation;
    }
    struct Case {
        std::int64_t rotation;
        int clockwise;
    };
    for (const Case& row : {Case{90, 1},
                            {-270, 1},
                            {450, 1},
                            {100, 1},
                            {180, 2},
                            {-180, 2},
                            {270, 3},
                            {-90, 3},
                            {std::numeric_limits<std::int64_t>::min(), -1}}) {
        const ImagePtr result = orvexImageWithRotation(image, row.rotation);
        if (row.clockwise > 0) {
            EXPECT_EQ(largestDifference(*result->representations().front()->bitmap(),
                                        turned(makePhoto(30, 20), row.clockwise)),
                      0)
                << row.rotation;
        }
    }
}

TEST(ImagesEncoders, aTurnedImageMeasuresAPixelAPoint) {
    const ImagePtr image = imageOf(makePhoto(300, 200), {72, 48});
    const ImagePtr result = orvexImageWithRotation(image, 90);
    EXPECT_EQ(result->size(), (Size{200, 300}));
    EXPECT_EQ(result->dpi(), 72.0);
}

TEST(ImagesEncoders, turningLogsItsSteps) {
    const ImagePtr image = imageOf(makePhoto(30, 20));
    const std::string start = "NSImage+Extension orvexImageWithRotation(_:) debug: ";
    const auto lines = [&](std::int64_t rotation) {
        const LogRecorder log(moduleLogger(), LogLevel::debug);
        (void)orvexImageWithRotation(image, rotation);
        return log.texts();
    };
    EXPECT_THAT(lines(89), ElementsAre(start + "level 0"));
    EXPECT_THAT(lines(450), ElementsAre(start + "level 1", start + "right", start + "orientation 6"));
    EXPECT_THAT(lines(-270), ElementsAre(start + "level -3", start + "right", start + "orientation 6"));
    EXPECT_THAT(lines(-180), ElementsAre(start + "level -2", start + "down", start + "orientation 3"));
    EXPECT_THAT(lines(-90), ElementsAre(start + "level -1", start + "left", start + "orientation 8"));
}

TEST(ImagesEncoders, whatHasNoPixelsTurnsIntoItself) {
    const auto empty = std::make_shared<Image>(Size{10, 10});
    EXPECT_EQ(orvexImageWithRotation(empty, 90), empty);
    const Bytes png = *encodePNG(makePhoto(60, 60), {});
    const ImagePtr damaged = Image::fromData(png.slice(0, png.size() - 100));
    EXPECT_EQ(orvexImageWithRotation(damaged, 90), damaged);
}

TEST(ImagesEncoders, qualitiesFromZeroToOneAreSilentAndOthersAreUsedWithAWarning) {
    const ImagePtr image = imageOf(makePhoto(40, 30));
    const std::string start = "NSImage+Extension orvexDataForJPGRepresentation(quality:) warning: "
                              "Only values between >0 and <=1 allowed, received ";
    const auto lines = [&](double quality) {
        const LogRecorder log(moduleLogger(), LogLevel::warning);
        EXPECT_TRUE(orvexDataForJPGRepresentation(*image, quality));
        EXPECT_EQ(orvexDataForJPG(*image, quality), orvexDataForJPGRepresentation(*image, quality));
        return log.texts();
    };
    EXPECT_THAT(lines(0), IsEmpty());
    EXPECT_THAT(lines(0.5), IsEmpty());
    EXPECT_THAT(lines(1), IsEmpty());
    EXPECT_THAT(lines(1.5), testing::Each(start + "1.5"));
    EXPECT_EQ(lines(1.5).size(), 3u);
    EXPECT_THAT(lines(-0.1), testing::Each(start + "-0.1"));
}

TEST(ImagesEncoders, encodingsMeasureWhatTheFirstRepresentationMeasures) {
    const ImagePtr image = imageOf(makePhoto(300, 200), {72, 48});
    EXPECT_EQ(readImageInfo(*orvexDataForJPG(*image, 0.5)).front().dpiX, 300);
    EXPECT_NEAR(readImageInfo(*orvexDataForPNG(*image)).front().dpiX, 300, 0.001);
    EXPECT_EQ(orvexDataForPNG(*image), orvexDataForPNGRepresentation(*image));
}

TEST(ImagesEncoders, theFirstRepresentationIsEncoded) {
    const ImagePtr image = imageOf(makePhoto(30, 20));
    image->addRepresentation(std::make_shared<ImageRep>(std::make_shared<const Bitmap>(makePhoto(60, 40))));
    EXPECT_EQ(readImageInfo(*orvexDataForPNG(*image)).front().width, 30);
}

TEST(ImagesEncoders, withoutPixelsThereIsNothing) {
    EXPECT_FALSE(orvexDataForPNG(Image(Size{10, 10})));
    EXPECT_FALSE(orvexDataForJPG(Image(Size{10, 10}), 0.5));
    const Bytes png = *encodePNG(makePhoto(60, 60), {});
    EXPECT_FALSE(orvexDataForPNG(*Image::fromData(png.slice(0, png.size() - 100))));
}

TEST(ImagesEncoders, transparentPartsAreWhiteInJPEG) {
    const ImagePtr clear = imageOf(Bitmap::make(32, 32, 8, {ColorModel::rgb, {}, 0}, Alpha::straight));
    const Bytes jpeg = *orvexDataForJPG(*clear, 1.0);
    const Bitmap shown = decodeImage(jpeg, readImageInfo(jpeg).front());
    EXPECT_EQ(*std::min_element(shown.samples.begin(), shown.samples.end()), 255);
    EXPECT_EQ(readImageInfo(*orvexDataForPNG(*clear)).front().alpha, Alpha::straight);
}

TEST(ImagesEncoders, mirroredFilesAreEncodedAsTheyAreSeen) {
    const Bitmap source = makePhoto(40, 30, ColorModel::gray);
    const Bytes tiff = convert(toNetpbm(source), "pamtotiff -none -output=out in && tiffset -s 274 2 out");
    const Bytes png = *orvexDataForPNG(*Image::fromData(tiff));
    EXPECT_EQ(largestDifference(decodeImage(png, readImageInfo(png).front()), mirrored(source, true, false)), 0);
}
