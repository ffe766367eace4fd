#include "OrvexPDF/Images.h"

#include "OrvexPDF/Alias.h"
#include "Platform/Imaging/Codecs.h"
#include "Support/ImageFixture.h"
#include "Support/LogRecorder.h"

#include <cmath>
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

TEST(ImagesEncoders, qualitiesAreCheckedAlsoWhenThereIsNothingToEncode) {
    const Image empty(Size{10, 10});
    const LogRecorder log(moduleLogger(), LogLevel::warning);
    EXPECT_FALSE(orvexDataForJPGRepresentation(empty, 1.5));
    EXPECT_FALSE(orvexDataForJPG2000(empty, 0));
    EXPECT_FALSE(orvexDataForJPGCoreImage(empty, 1.5));
    EXPECT_FALSE(orvexDataForJPGCGImage(empty, 1.5));
    const std::string text = " warning: Only values between >0 and <=1 allowed, received ";
    EXPECT_THAT(log.texts(), ElementsAre("NSImage+Extension orvexDataForJPGRepresentation(quality:)" + text + "1.5",
                                         "NSImage+Extension orvexDataForJPG2000(quality:)" + text + "0.0"));
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

TEST(ImagesEncoders, jpeg2000WarnsOfZeroToo) {
    const ImagePtr image = imageOf(makePhoto(40, 30));
    const std::string start = "NSImage+Extension orvexDataForJPG2000(quality:) warning: "
                              "Only values between >0 and <=1 allowed, received ";
    const auto lines = [&](double quality) {
        const LogRecorder log(moduleLogger(), LogLevel::warning);
        EXPECT_TRUE(orvexDataForJPG2000(*image, quality));
        return log.texts();
    };
    EXPECT_THAT(lines(0), ElementsAre(start + "0.0"));
    EXPECT_THAT(lines(1.5), ElementsAre(start + "1.5"));
    EXPECT_THAT(lines(std::nan("")), ElementsAre(start + "nan"));
    EXPECT_THAT(lines(0.25), IsEmpty());
    EXPECT_THAT(lines(1.0), IsEmpty());
}

TEST(ImagesEncoders, theOtherRoutesCheckNoQuality) {
    const ImagePtr image = imageOf(makePhoto(40, 30));
    const LogRecorder log(moduleLogger(), LogLevel::trace);
    for (const double quality : {-1.0, 0.0, 2.0, std::nan("")}) {
        EXPECT_TRUE(orvexDataForJPGCoreImage(*image, quality));
        EXPECT_TRUE(orvexDataForJPGCGImage(*image, quality));
    }
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_EQ(orvexDataForJPGCoreImage(*image, 2), orvexDataForJPGCoreImage(*image, 1));
}

TEST(ImagesEncoders, jpeg2000KeepsAlphaResolutionAndPixels) {
    Bitmap source = makePhoto(60, 40, ColorModel::rgb, 8, Alpha::straight);
    const Bytes jp2 = *orvexDataForJPG2000(*imageOf(source, {14.4, 9.6}), 1.0);
    const ImageInfo info = readImageInfo(jp2).front();
    EXPECT_EQ(info.format, ImageFormat::jpeg2000);
    EXPECT_EQ(info.alpha, Alpha::straight);
    EXPECT_DOUBLE_EQ(info.dpiX, 300);
    EXPECT_EQ(largestDifference(decodeImage(jp2, info), source), 0);
}

TEST(ImagesEncoders, theCoreImagePNGIsDeepRGBAWhateverThePixelsAre) {
    for (const Bitmap& source : {makeLineArt(50, 40), makePhoto(50, 40, ColorModel::gray), makePhoto(50, 40),
                                 makePhoto(50, 40, ColorModel::cmyk), makePhoto(50, 40, ColorModel::rgb, 16),
                                 makePhoto(50, 40, ColorModel::rgb, 8, Alpha::straight)}) {
        const Bytes png = *orvexDataForPNGCoreImage(*imageOf(source, {12, 9.6}));
        const ImageInfo info = readImageInfo(png).front();
        EXPECT_EQ(info.bitsPerComponent, 16);
        EXPECT_EQ(info.colorSpace.model, ColorModel::rgb);
        EXPECT_EQ(info.alpha, Alpha::straight);
        EXPECT_NEAR(info.dpiX, 72, 0.01); // the route knows pixels, no points
        EXPECT_NE(png.text().find("sRGB"), std::string_view::npos);
        EXPECT_THAT(convert(png, "pngcheck -v in > out").text(), testing::HasSubstr("64-bit RGB+alpha"));
        const Bytes plain = *orvexDataForPNG(*imageOf(source));
        EXPECT_GT(similarity(decodeImage(png, info), decodeImage(plain, readImageInfo(plain).front())), 0.999);
    }
}

TEST(ImagesEncoders, theCoreImageRoutesConvertToSRGBAndTheOthersCarryTheProfile) {
    Bitmap green = Bitmap::make(16, 16, 8, {ColorModel::rgb, realProfile("a98.icc"), 0});
    for (std::size_t i = 0; i < green.samples.size(); i += 3) {
        green.samples[i] = 100;
        green.samples[i + 1] = 200;
        green.samples[i + 2] = 100;
    }
    const ImagePtr image = imageOf(green);
    const auto redOf = [](const Bytes& data) {
        const Bitmap seen = decodeImage(data, readImageInfo(data).front());
        return seen.bitsPerComponent == 16 ? seen.samples[1] : seen.samples[0];
    };
    const auto carries = [](const Bytes& data) { return !readImageInfo(data).front().colorSpace.iccProfile.empty(); };
    for (const Bytes& converted : {*orvexDataForPNGCoreImage(*image), *orvexDataForJPGCoreImage(*image, 1)}) {
        EXPECT_FALSE(carries(converted));
        EXPECT_LT(redOf(converted), 60); // this green lies near the edge of what sRGB holds
    }
    for (const Bytes& kept : {*orvexDataForPNG(*image), *orvexDataForJPG(*image, 1), *orvexDataForJPG2000(*image, 1),
                              *orvexDataForJPGCGImage(*image, 1)}) {
        EXPECT_TRUE(carries(kept));
        EXPECT_NEAR(redOf(kept), 100, 3);
    }
}

TEST(ImagesEncoders, theCGImageRouteStatesOrientationOneAndKeepsInks) {
    const Bytes jpeg = *orvexDataForJPGCGImage(*imageOf(makePhoto(48, 32), {12, 8}), 0.8);
    EXPECT_NE(jpeg.text().find(std::string_view("Exif\0\0MM", 8)), std::string_view::npos);
    EXPECT_EQ(readImageInfo(jpeg).front().orientation, 1);
    EXPECT_EQ(readImageInfo(jpeg).front().dpiX, 72);
    EXPECT_EQ(convert(jpeg, "gm identify -format '%[EXIF:Orientation]' jpeg:in > out").text().substr(0, 1), "1");
    EXPECT_EQ(orvexDataForJPG(*imageOf(makePhoto(48, 32)), 0.8)->text().find("Exif"), std::string_view::npos);
    const ImagePtr inks = imageOf(makePhoto(48, 32, ColorModel::cmyk));
    EXPECT_EQ(readImageInfo(*orvexDataForJPGCGImage(*inks, 0.8)).front().colorSpace.model, ColorModel::cmyk);
    EXPECT_EQ(readImageInfo(*orvexDataForJPGCoreImage(*inks, 0.8)).front().colorSpace.model, ColorModel::rgb);
}

TEST(ImagesEncoders, everyJPEGRouteLaysTransparencyOverWhite) {
    const ImagePtr clear = imageOf(Bitmap::make(32, 32, 8, {ColorModel::rgb, {}, 0}, Alpha::straight));
    for (const Bytes& jpeg : {*orvexDataForJPGRepresentation(*clear, 1), *orvexDataForJPGCoreImage(*clear, 1),
                              *orvexDataForJPGCGImage(*clear, 1)}) {
        const Bitmap shown = decodeImage(jpeg, readImageInfo(jpeg).front());
        EXPECT_EQ(*std::min_element(shown.samples.begin(), shown.samples.end()), 255);
    }
}

TEST(ImagesEncoders, oneRouteEncodesTheFirstRepresentationAndTwoTheOneWithTheMostPixels) {
    const ImagePtr image = imageOf(makePhoto(30, 20));
    image->addRepresentation(imageOf(makePhoto(60, 40))->representations().front());
    const auto width = [](const std::optional<Bytes>& data) { return readImageInfo(data.value()).front().width; };
    EXPECT_EQ(width(orvexDataForPNG(*image)), 30);
    EXPECT_EQ(width(orvexDataForJPG(*image, 0.5)), 30);
    EXPECT_EQ(width(orvexDataForJPG2000(*image, 0.5)), 30);
    EXPECT_EQ(width(orvexDataForPNGCoreImage(*image)), 60);
    EXPECT_EQ(width(orvexDataForJPGCoreImage(*image, 0.5)), 60);
    EXPECT_EQ(width(orvexDataForJPGCGImage(*image, 0.5)), 60);
    EXPECT_EQ(cgImage(*image)->width, 60);
}

TEST(ImagesEncoders, whatCannotBeDecodedIsEncodedByNone) {
    const Bytes png = *encodePNG(makePhoto(60, 60), {});
    for (const ImagePtr& image :
         {std::make_shared<Image>(Size{10, 10}), Image::fromData(png.slice(0, png.size() - 100))}) {
        EXPECT_EQ(cgImage(*image), nullptr);
        EXPECT_FALSE(orvexDataForPNG(*image));
        EXPECT_FALSE(orvexDataForJPG(*image, 0.5));
        EXPECT_FALSE(orvexDataForJPG2000(*image, 0.5));
        EXPECT_FALSE(orvexDataForPNGCoreImage(*image));
        EXPECT_FALSE(orvexDataForJPGCoreImage(*image, 0.5));
        EXPECT_FALSE(orvexDataForJPGCGImage(*image, 0.5));
    }
}

TEST(ImagesEncoders, anImageWithoutRepresentationsMeasures72) {
    EXPECT_EQ(Image().dpi(), 72.0);
    EXPECT_EQ(imageOf(makePhoto(300, 300), {72, 72})->dpi(), 300.0);
}
