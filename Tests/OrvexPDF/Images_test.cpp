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
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const std::string transformLine = "Images orvexImageTransform(image:dpi:) info: ";

OrvexPDFSqueezeModePtr mode(std::int64_t dpi, std::int64_t quality) {
    return std::make_shared<OrvexPDFSqueezeMode>(dpi, quality, OrvexPDFSqueezeColors::colors,
                                                 OrvexPDFSqueezeMethod::best, "test", "Test");
}

ImagePtr imageOf(Bitmap bitmap, Size points) {
    return Image::fromBitmap(std::make_shared<const Bitmap>(std::move(bitmap)), points);
}

/// The picture as a file of `dpi` whole dots per inch.
ImagePtr jpegImage(const Bitmap& bitmap, double dpi) {
    return Image::fromData(*encodeJPEG(bitmap, {0.9, dpi, dpi}));
}
ImagePtr pngImage(const Bitmap& bitmap, double dpi) {
    return Image::fromData(*encodePNG(bitmap, {dpi, dpi}));
}

BitmapPtr pixels(const ImagePtr& image) {
    return image->representations().front()->bitmap();
}

} // namespace

TEST(Images, withoutASqueezeModeTheVeryInputComesBack) {
    const ImagePtr image = jpegImage(makePhoto(100, 80), 300);
    const OrvexImageMeta meta = optimizeImage(image, nullptr, {1, 1});
    EXPECT_EQ(meta.image, image);
    EXPECT_EQ(meta.count, 9223372036854775807);
    EXPECT_EQ(meta.mode, OrvexImageMetaMode::undefined);
}

TEST(Images, copyingAMetaSharesTheImage) {
    const OrvexImageMeta meta{jpegImage(makePhoto(30, 30), 72), 5, OrvexImageMetaMode::png};
    OrvexImageMeta copy = meta;
    copy.count = 7;
    EXPECT_EQ(copy.image, meta.image);
    EXPECT_EQ(meta.count, 5);
}

TEST(Images, modesAreNamedInOrder) {
    EXPECT_EQ(name(OrvexImageMetaMode::undefined), "undefined");
    EXPECT_EQ(name(OrvexImageMetaMode::png), "png");
    EXPECT_EQ(name(OrvexImageMetaMode::jpg), "jpg");
    EXPECT_EQ(name(OrvexImageMetaMode::jpg2000), "jpg2000");
    EXPECT_EQ(name(OrvexImageMetaMode::tiff), "tiff");
    EXPECT_EQ(static_cast<int>(OrvexImageMetaMode::tiff), 4);
}

TEST(Images, aMetaDescribesItsFields) {
    const OrvexImageMeta meta{jpegImage(makePhoto(30, 30), 72), 5, OrvexImageMetaMode::png};
    EXPECT_THAT(describe(meta), StartsWith("OrvexImageMeta(image: <NSImage 0x"));
    EXPECT_THAT(describe(meta), testing::EndsWith(">, count: 5, mode: OrvexPDF.OrvexImageMetaMode.png)"));
}

TEST(Images, onlyWhatIsFinerThanThePresetIsReduced) {
    const auto pixelsAfter = [](double dpi) {
        const double points = 288 * 72 / dpi;
        const ImagePtr image = imageOf(makePhoto(288, 288), {points, points});
        EXPECT_DOUBLE_EQ(image->dpi(), dpi);
        return optimizeImage(image, mode(144, 50), {}).image->representations().front()->pixelsWide();
    };
    EXPECT_EQ(pixelsAfter(144), 288);   // exactly the preset
    EXPECT_LT(pixelsAfter(144.5), 288); // half a dot above it
    EXPECT_EQ(pixelsAfter(100), 288);   // never enlarged
}

TEST(Images, whatIsFinerAcrossAndCoarserDownIsNotEnlarged) {
    for (const ColorModel model : {ColorModel::rgb, ColorModel::gray}) {         // drawn on a surface, and by itself
        const ImagePtr image = imageOf(makePhoto(600, 100, model), {144, 7200}); // 300 dpi across, 1 down
        const OrvexImageMeta meta = optimizeImage(image, mode(72, 50), {});
        EXPECT_EQ(meta.image->representations().front()->pixelsWide(), 144);
        EXPECT_EQ(meta.image->representations().front()->pixelsHigh(), 100);
        EXPECT_NEAR(meta.image->dpi(), 72, 0.1);
        EXPECT_NEAR(meta.image->size().height, 7200, 72);
        EXPECT_EQ(orvexImageTransform(image, 72)->representations().front()->pixelsHigh(), 7200);
    }
}

TEST(Images, aScanAtThePresetsResolutionIsNotResampledForARoundingError) {
    const ImagePtr scan = jpegImage(makePhoto(2480, 10), 300);
    EXPECT_GT(scan->dpi(), 300.0);
    EXPECT_LT(scan->dpi(), 300.0000001);
    const OrvexImageMeta meta = optimizeImage(scan, mode(300, 50), {});
    EXPECT_EQ(meta.image->representations().front()->pixelsWide(), 2480);
}

TEST(Images, sixHundredDpiOnTheStrongPresetBecomesAPixelAPoint) {
    const ImagePtr image = jpegImage(makePhoto(834, 834), 600); // 100.08 points
    image->setSize({100, 100});
    image->representations().front()->setSize({100, 100});
    const ImagePtr reduced = orvexImageTransform(image, 72);
    EXPECT_EQ(reduced->representations().size(), 1u);
    EXPECT_EQ(reduced->representations().front()->pixelsWide(), 100);
    EXPECT_EQ(reduced->representations().front()->pixelsHigh(), 100);
    EXPECT_EQ(reduced->size(), (Size{100, 100}));
    EXPECT_EQ(reduced->dpi(), 72.0);
}

TEST(Images, theSurfaceTruncatesAndTheSecondPathRounds) {
    // 595.2 x 841.92 points at 144 dpi are 1190.4 x 1683.84 pixels.
    const Size a4{595.2, 841.92};
    const ImagePtr colored = imageOf(makePhoto(1653, 2339, ColorModel::rgb, 8, Alpha::straight), a4);
    const LogRecorder log(moduleLogger(), LogLevel::info);
    const auto reduced = orvexImageTransform(colored, 144)->representations().front();
    EXPECT_EQ(reduced->pixelsWide(), 1190);
    EXPECT_EQ(reduced->pixelsHigh(), 1683);
    EXPECT_EQ(reduced->size(), a4);
    EXPECT_THAT(log.texts(), IsEmpty());
    const auto gray = orvexImageTransform(imageOf(makePhoto(1653, 2339, ColorModel::gray), a4), 144);
    EXPECT_EQ(gray->representations().front()->pixelsWide(), 1190);
    EXPECT_EQ(gray->representations().front()->pixelsHigh(), 1684);
    EXPECT_THAT(log.texts(), ElementsAre(transformLine + "Error getting the image"));
}

TEST(Images, aSurfaceNeedsRGBSamplesAndIsNeverWiderThanTheSource) {
    struct Case {
        const char* what;
        ImagePtr image;
        std::int64_t dpi;
        bool surface;
    };
    const Bitmap photo = makePhoto(200, 150);
    const Case cases[] = {
        {"colour JPEG", jpegImage(photo, 200), 100, true},
        {"colour JPEG, enlarged", jpegImage(photo, 200), 250, false},
        {"colour PNG", pngImage(photo, 200), 100, true},
        {"deep colour PNG", pngImage(makePhoto(200, 150, ColorModel::rgb, 16), 200), 150, true},
        {"gray JPEG", jpegImage(makePhoto(200, 150, ColorModel::gray), 200), 100, false},
        {"bilevel PNG", pngImage(makeLineArt(200, 150), 200), 100, false},
        {"palette PNG", pngImage(makeFlat(200, 150, 20), 200), 100, false},
        {"CMYK JPEG", jpegImage(makePhoto(200, 150, ColorModel::cmyk), 200), 100, false},
        // Three channels a pixel: rows are long enough for three quarters of the width.
        {"24-bit samples", imageOf(photo, {72, 54}), 150, true},
        {"24-bit samples, too wide", imageOf(photo, {72, 54}), 151, false},
    };
    for (const Case& row : cases) {
        const LogRecorder log(moduleLogger(), LogLevel::info);
        const ImagePtr result = orvexImageTransform(row.image, row.dpi);
        EXPECT_NE(result, row.image) << row.what;
        EXPECT_EQ(result->size(), row.image->size()) << row.what;
        EXPECT_EQ(result->representations().size(), 1u) << row.what;
        EXPECT_NEAR(result->dpi(), static_cast<double>(row.dpi), 0.01) << row.what;
        if (row.surface) {
            EXPECT_THAT(log.texts(), IsEmpty()) << row.what;
        } else {
            EXPECT_THAT(log.texts(), ElementsAre(transformLine + "Error getting the image")) << row.what;
        }
    }
}

TEST(Images, whatCannotBeDrawnComesBackAsItIs) {
    const Bytes whole = *encodePNG(makePhoto(100, 100), {300, 300});
    const auto empty = std::make_shared<Image>(Size{10, 10});
    const ImagePtr damaged = Image::fromData(whole.slice(0, whole.size() - 200));
    const ImagePtr tiny = imageOf(makePhoto(30, 30), {0.2, 0.2});
    const ImagePtr huge = jpegImage(makePhoto(30, 30), 72);
    for (const auto& [image, dpi, secondLine] : {std::tuple<ImagePtr, std::int64_t, bool>(empty, 72, false),
                                                 {damaged, 72, true},
                                                 {tiny, 72, true},
                                                 {huge, 1'000'000'000, true},
                                                 {huge, 0, true},
                                                 {huge, -5, true}}) {
        const LogRecorder log(moduleLogger(), LogLevel::info);
        EXPECT_EQ(orvexImageTransform(image, dpi), image);
        if (secondLine) {
            EXPECT_THAT(log.texts(), ElementsAre(transformLine + "Error getting the image",
                                                 transformLine + "Error getting the image Plan B"));
        } else {
            EXPECT_THAT(log.texts(), ElementsAre(transformLine + "Error getting the image"));
        }
    }
}

TEST(Images, aTargetThatIsNoNumberEndsTheProcess) {
    for (const double width : {std::numeric_limits<double>::infinity(), std::nan(""), 1e300}) {
        const ImagePtr image = imageOf(makePhoto(30, 30), {width, 10});
        EXPECT_DEATH((void)orvexImageTransform(image, 72), "width of a reduced image");
    }
}

TEST(Images, transparentPartsOfASurfaceBecomeBlack) {
    for (const int bits : {8, 16}) {
        Bitmap half = Bitmap::make(80, 80, bits, {ColorModel::rgb, {}, 0}, Alpha::straight);
        std::fill_n(half.samples.begin(), half.samples.size() / 2, std::uint8_t{255}); // white above, clear below
        const BitmapPtr reduced = pixels(orvexImageTransform(imageOf(half, {20, 20}), 72));
        EXPECT_EQ(reduced->alpha, Alpha::none);
        EXPECT_EQ(reduced->bitsPerComponent, bits);
        EXPECT_EQ(reduced->row(0)[0], 255);
        EXPECT_EQ(reduced->row(19)[0], 0);
    }
}

TEST(Images, theSecondPathKeepsTransparency) {
    const ImagePtr clear =
        imageOf(Bitmap::make(80, 80, 8, {ColorModel::gray, {}, 0}, Alpha::straight), {20, 20}); // grey has no surface
    EXPECT_EQ(pixels(orvexImageTransform(clear, 72))->alpha, Alpha::straight);
}

TEST(Images, theSmallerEncodingWins) {
    const OrvexImageMeta photo = optimizeImage(jpegImage(makePhoto(400, 300), 72), mode(72, 25), {});
    EXPECT_EQ(photo.mode, OrvexImageMetaMode::jpg);
    const OrvexImageMeta flat = optimizeImage(pngImage(makeFlat(400, 300, 5), 72), mode(300, 75), {});
    EXPECT_EQ(flat.mode, OrvexImageMetaMode::png);
    for (const OrvexImageMeta& meta : {photo, flat}) {
        const auto rep = meta.image->representations().front();
        EXPECT_EQ(rep->encoded().size(), static_cast<std::size_t>(meta.count));
        EXPECT_EQ(rep->info().format, meta.mode == OrvexImageMetaMode::png ? ImageFormat::png : ImageFormat::jpeg);
    }
}

TEST(Images, pngWinsATie) {
    // Pictures of one row, longer and longer, until both encodings have the same length.
    for (int width = 300; width < 900; ++width) {
        const ImagePtr image = imageOf(makePhoto(width, 1, ColorModel::gray), {});
        const std::size_t png = orvexDataForPNG(*image)->size();
        for (int quality = 30; quality <= 100; quality += 5) {
            if (orvexDataForJPG(*image, quality / 100.0)->size() == png) {
                EXPECT_EQ(optimizeImage(image, mode(72, quality), {}).mode, OrvexImageMetaMode::png);
                const LogRecorder log(moduleLogger(), LogLevel::debug);
                EXPECT_EQ(optimizeImage(image, mode(72, quality), {}).mode, OrvexImageMetaMode::png);
                return;
            }
        }
    }
    FAIL() << "no picture with a tie was found";
}

TEST(Images, theLogNamesBothSizesAndTheResult) {
    const ImagePtr image = jpegImage(makePhoto(200, 100), 72);
    const LogRecorder log(moduleLogger(), LogLevel::debug);
    const OrvexImageMeta meta = optimizeImage(image, mode(72, 50), {});
    const std::string start = "Images optimizeImage(image:squeeze:size:) debug: ";
    ASSERT_EQ(log.texts().size(), 3u);
    EXPECT_EQ(log.texts()[0], start + "Size png = " + std::to_string(orvexDataForPNG(*image)->size()));
    EXPECT_EQ(log.texts()[1], start + "Size jpg = " + std::to_string(meta.count));
    EXPECT_EQ(log.texts()[2], start + "Result " + describe(meta));
}

TEST(Images, theOutcomeIsTheSameWithoutTheLog) {
    for (const ImagePtr& image : {jpegImage(makePhoto(700, 600), 300), pngImage(makeFlat(700, 600, 50), 300),
                                  pngImage(makeLineArt(700, 600), 200), imageOf(makePhoto(1500, 900), {1500, 900})}) {
        for (const std::int64_t quality : {25, 50, 75, 100}) {
            const OrvexImageMeta quiet = optimizeImage(image, mode(144, quality), {});
            const LogRecorder log(moduleLogger(), LogLevel::debug);
            const OrvexImageMeta loud = optimizeImage(image, mode(144, quality), {});
            EXPECT_EQ(quiet.count, loud.count);
            EXPECT_EQ(quiet.mode, loud.mode);
        }
    }
}

TEST(Images, withoutAChoiceTheLogHasTheResultAlone) {
    const ImagePtr photo = jpegImage(makePhoto(30, 30), 72);
    const auto empty = std::make_shared<Image>(Size{10, 10});
    for (const auto& [image, squeeze] : {std::pair<ImagePtr, OrvexPDFSqueezeModePtr>(photo, nullptr),
                                         {empty, nullptr},
                                         {empty, mode(72, 50)},
                                         {empty, mode(72, 150)}}) { // nothing gets as far as a quality
        const LogRecorder log(moduleLogger(), LogLevel::debug);
        const OrvexImageMeta meta = optimizeImage(image, squeeze, {});
        EXPECT_THAT(log.texts(),
                    ElementsAre("Images optimizeImage(image:squeeze:size:) debug: Result " + describe(meta)));
        EXPECT_THAT(log.texts().front(),
                    testing::EndsWith(", count: 9223372036854775807, mode: OrvexPDF.OrvexImageMetaMode.undefined)"));
    }
}

TEST(Images, aPresetsQualityIsCheckedOnceAndUsedAllTheSame) {
    const ImagePtr image = jpegImage(makePhoto(200, 100), 72);
    const std::string line = "NSImage+Extension orvexDataForJPGRepresentation(quality:) warning: "
                             "Only values between >0 and <=1 allowed, received ";
    for (const auto& [quality, received] : {std::pair<std::int64_t, std::string>(150, "1.5"), {-1, "-0.01"}}) {
        const LogRecorder log(moduleLogger(), LogLevel::warning);
        EXPECT_EQ(optimizeImage(image, mode(72, quality), {}).mode, OrvexImageMetaMode::jpg);
        EXPECT_THAT(log.texts(), ElementsAre(line + received));
    }
    const LogRecorder log(moduleLogger(), LogLevel::warning);
    (void)optimizeImage(image, mode(72, 0), {});
    (void)optimizeImage(image, mode(72, 100), {});
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(Images, theJPEGIsOfThePresetsQuality) {
    const ImagePtr image = imageOf(makePhoto(400, 300), {});
    for (const std::int64_t quality : {0, 25, 50, 75}) {
        const OrvexImageMeta meta = optimizeImage(image, mode(72, quality), {});
        ASSERT_EQ(meta.mode, OrvexImageMetaMode::jpg);
        EXPECT_EQ(meta.image->representations().front()->encoded(),
                  *orvexDataForJPGRepresentation(*image, static_cast<double>(quality) / 100));
    }
}

TEST(Images, whatWasReducedStaysReducedWhenAnEncoderFails) {
    const ImagePtr wide = imageOf(Bitmap::make(140000, 4, 8, {ColorModel::gray, {}, 0}), {70000, 2}); // 144 dpi
    const OrvexImageMeta meta = optimizeImage(wide, mode(72, 50), {});
    EXPECT_EQ(meta.mode, OrvexImageMetaMode::undefined);
    EXPECT_EQ(meta.count, OrvexImageMeta::noCount);
    EXPECT_EQ(meta.image->representations().front()->pixelsWide(), 70000); // too many for a JPEG
}

TEST(Images, anEncoderThatFailsLeavesTheImageUndefined) {
    const auto empty = std::make_shared<Image>(Size{10, 10});
    const ImagePtr wide = imageOf(Bitmap::make(70000, 1, 8, {ColorModel::gray, {}, 0}), {70000, 1});
    for (const ImagePtr& image : {empty, wide}) {
        const OrvexImageMeta meta = optimizeImage(image, mode(72, 50), {});
        EXPECT_EQ(meta.image, image);
        EXPECT_EQ(meta.count, OrvexImageMeta::noCount);
        EXPECT_EQ(meta.mode, OrvexImageMetaMode::undefined);
    }
    const Bytes whole = *encodePNG(makePhoto(100, 100), {72, 72});
    const ImagePtr damaged = Image::fromData(whole.slice(0, whole.size() - 200));
    EXPECT_EQ(optimizeImage(damaged, mode(300, 50), {}).image, damaged);
}

TEST(Images, bilevelScansThatNeedNoReductionStayBilevel) {
    const Bytes tiff =
        convert(toNetpbm(makeLineArt(1000, 800)), "pamtotiff -g4 -xresolution=300 -yresolution=300 -output=out in");
    const OrvexImageMeta meta = optimizeImage(Image::fromData(tiff), mode(300, 75), {});
    EXPECT_EQ(meta.mode, OrvexImageMetaMode::png);
    const auto rep = meta.image->representations().front();
    EXPECT_EQ(rep->info().bitsPerComponent, 1);
    EXPECT_EQ(largestDifference(*rep->bitmap(), makeLineArt(1000, 800)), 0);
}

TEST(Images, grayScansStayGray) {
    const Bitmap gray = makePhoto(600, 400, ColorModel::gray);
    Bitmap colored = Bitmap::make(600, 400, 8, {ColorModel::rgb, {}, 0});
    for (std::size_t i = 0; i < colored.samples.size(); ++i) {
        colored.samples[i] = gray.samples[i / 3];
    }
    for (const ImagePtr& image : {jpegImage(gray, 300), pngImage(gray, 300), imageOf(colored, {144, 96})}) {
        for (const std::int64_t dpi : {72, 300}) {
            const OrvexImageMeta meta = optimizeImage(image, mode(dpi, 75), {});
            EXPECT_EQ(meta.image->representations().front()->info().colorSpace.model, ColorModel::gray);
        }
    }
}

TEST(Images, cmykStaysInksInJPEGAndBecomesColourInPNG) {
    const ImagePtr image = jpegImage(makePhoto(300, 200, ColorModel::cmyk), 300);
    const OrvexImageMeta meta = optimizeImage(image, mode(144, 50), {});
    ASSERT_EQ(meta.mode, OrvexImageMetaMode::jpg);
    EXPECT_EQ(meta.image->representations().front()->info().colorSpace.model, ColorModel::cmyk);
    EXPECT_EQ(readImageInfo(*orvexDataForPNG(*image)).front().colorSpace.model, ColorModel::rgb);
}

TEST(Images, profilesAreCarriedUnlessNoDeviceHasThem) {
    for (const std::size_t size : {2000u, 600'000u, 5'000'000u}) {
        Bitmap bitmap = makePhoto(100, 80);
        bitmap.colorSpace.iccProfile = makeProfile(ColorModel::rgb, size);
        const OrvexImageMeta meta = optimizeImage(imageOf(bitmap, {}), mode(72, 50), {});
        EXPECT_EQ(meta.image->representations().front()->info().colorSpace.iccProfile.empty(), size > 4'194'304);
    }
}

TEST(Images, aReducedScanLooksLikeTheScan) {
    for (const char* file : {"baiona.png", "linn.png", "typewriter.png", "baiona_color.jpg"}) {
        const auto path = scan(file);
        if (path.empty()) {
            GTEST_SKIP() << "the shared collection of scans is absent";
        }
        const Bytes data = readFile(path);
        const ImageInfo info = readImageInfo(data).front();
        const Bitmap whole = flattenedOverWhite(decodeImage(data, info));
        const ImagePtr image = jpegImage(whole, 300);
        const ImagePtr reduced = orvexImageTransform(image, 144);
        const BitmapPtr ours = pixels(reduced);
        const std::string size = std::to_string(ours->width) + "x" + std::to_string(ours->height) + "!";
        const Bitmap theirs = fromNetpbm(
            convert(toNetpbm(*pixels(image)), "gm convert pnm:in -filter Lanczos -resize '" + size + "' pnm:out"));
        EXPECT_GE(similarity(*ours, theirs), 0.98) << file;
    }
}

TEST(Images, theSizeArgumentIsNotUsed) {
    const ImagePtr image = jpegImage(makePhoto(300, 200), 300);
    EXPECT_EQ(optimizeImage(image, mode(72, 50), {1, 1}).count, optimizeImage(image, mode(72, 50), {9000, 1}).count);
}
