#include "Platform/Imaging/Image.h"

#include "Platform/Imaging/Codecs.h"
#include "Support/ImageFixture.h"

#include <cmath>
#include <thread>

#include <gtest/gtest.h>

using namespace orvex;
using namespace orvex::test;

namespace {

/// A PNG of pixels without any resolution, then with `pixelsPerMetre`.
Bytes pngWithDensity(std::int64_t width, std::int64_t height, const std::string& options) {
    return convert(toNetpbm(makePhoto(width, height, ColorModel::gray)), "pnmtopng " + options + " in > out");
}

/// A JPEG with an EXIF orientation, as a camera writes it.
Bytes jpegWithOrientation(const Bitmap& pixels, int orientation) {
    const Bytes plain = convert(toNetpbm(pixels), "cjpeg -quality 100 -sample 1x1 -outfile out in");
    return withJPEGSegment(plain, 0xE1, exifBlock(orientation, 240, 2, true));
}

} // namespace

TEST(Image, pointSizeIsPixelsTimes72OverDpiInThatOrder) {
    // Only this order of operations gives these last digits.
    EXPECT_EQ(630 * (72 / 350.0), 129.59999999999999);
    const Bytes jpeg = convert(toNetpbm(makePhoto(630, 420, ColorModel::gray)),
                               "gm convert pgm:in -density 350x350 -units PixelsPerInch jpeg:out");
    const auto image = Image::fromData(jpeg);
    EXPECT_EQ(image->size().width, 129.59999999999999);
    EXPECT_EQ(image->size().height, 86.399999999999991);
    EXPECT_DOUBLE_EQ(image->dpi(), 350);
}

TEST(Image, withoutDensityAPixelIsAPoint) {
    const auto image = Image::fromData(pngWithDensity(50, 40, ""));
    EXPECT_EQ(image->size(), (Size{50, 40}));
    EXPECT_EQ(image->dpi(), 72.0);
}

TEST(Image, pngDensityRoundsToWholePixelsPerMetre) {
    const auto image = Image::fromData(pngWithDensity(2480, 10, "-size '11811 11811 1'"));
    EXPECT_NEAR(image->size().width, 595.2012, 1e-4);
    EXPECT_NEAR(image->dpi(), 299.9994, 1e-9);
}

TEST(Image, axesMayDifferInDensity) {
    const auto image = Image::fromData(pngWithDensity(200, 100, "-size '8000 4000 1'"));
    EXPECT_NEAR(image->size().width, 200 * 72 / 203.2, 1e-9);
    EXPECT_NEAR(image->size().height, 100 * 72 / 101.6, 1e-9);
    EXPECT_NEAR(image->dpi(), 203.2, 1e-9);
}

TEST(Image, withoutRepresentationsMeasures72) {
    const Image image(Size{10, 20});
    EXPECT_EQ(image.dpi(), 72.0);
    EXPECT_EQ(image.bestRepresentation(), nullptr);
    EXPECT_EQ(image.orientationDegrees(), 0);
    EXPECT_EQ(image.size(), (Size{10, 20}));
}

TEST(Image, threeHundredPixelsOn72PointsMeasure300) {
    const auto bitmap = std::make_shared<const Bitmap>(makePhoto(300, 300));
    const auto image = Image::fromBitmap(bitmap, {72, 72});
    EXPECT_EQ(image->dpi(), 300.0);
    EXPECT_EQ(image->representations().front()->size(), (Size{72, 72}));
    EXPECT_EQ(Image::fromBitmap(bitmap)->size(), (Size{300, 300}));
}

TEST(Image, aZeroPointWidthIsNotGuarded) {
    const auto image = Image::fromBitmap(std::make_shared<const Bitmap>(makePhoto(3, 3)), {0, 5});
    EXPECT_TRUE(std::isinf(image->dpi()));
}

TEST(Image, addingARepresentationChangesNoSize) {
    Image image(Size{10, 20});
    auto rep = std::make_shared<ImageRep>(std::make_shared<const Bitmap>(makePhoto(30, 30)));
    image.addRepresentation(rep);
    EXPECT_EQ(image.size(), (Size{10, 20}));
    EXPECT_EQ(rep->size(), (Size{30, 30}));
    auto larger = std::make_shared<ImageRep>(std::make_shared<const Bitmap>(makePhoto(60, 30)));
    image.addRepresentation(larger);
    EXPECT_EQ(image.bestRepresentation(), larger);
    EXPECT_EQ(image.representations().front(), rep);
}

TEST(Image, keepsTheEncodedBytesAndDecodesOnce) {
    const Bytes png = pngWithDensity(50, 40, "");
    const auto image = Image::fromData(png);
    const auto rep = image->representations().front();
    EXPECT_EQ(rep->encoded().data(), png.data());
    const BitmapPtr first = rep->bitmap();
    EXPECT_EQ(rep->bitmap(), first);
    EXPECT_EQ(rep->passingBitmap(), first); // what is there is not decoded again
}

TEST(Image, severalThreadsDecodeTheSamePixels) {
    const auto rep = Image::fromData(pngWithDensity(400, 400, ""))->representations().front();
    std::vector<BitmapPtr> seen(8);
    std::vector<std::thread> threads;
    for (BitmapPtr& slot : seen) {
        threads.emplace_back([&slot, &rep] {
            (void)rep->passingBitmap();
            slot = rep->bitmap();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const BitmapPtr& bitmap : seen) {
        EXPECT_EQ(bitmap, seen.front());
    }
}

TEST(Image, orientationsShowThePictureUprightOnceTurned) {
    const Bitmap upright = makePhoto(48, 32, ColorModel::gray);
    // How each orientation stores an upright picture: EXIF's definition of row 0 and column 0.
    const Bitmap stored[] = {upright,
                             mirrored(upright, true, false),
                             turned(upright, 2),
                             mirrored(upright, false, true),
                             turned(mirrored(upright, true, false), 3),
                             turned(upright, 3),
                             turned(mirrored(upright, true, false), 1),
                             turned(upright, 1)};
    const int degrees[] = {0, 0, 180, 0, 270, 90, 90, 270};
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const auto image = Image::fromData(jpegWithOrientation(stored[orientation - 1], orientation));
        EXPECT_EQ(image->orientationDegrees(), degrees[orientation - 1]) << orientation;
        const auto rep = image->representations().front();
        EXPECT_EQ(rep->pixelsWide(), stored[orientation - 1].width) << orientation;
        const Bitmap shown = turned(*rep->bitmap(), image->orientationDegrees() / 90);
        EXPECT_LE(largestDifference(shown, upright), 8) << orientation;
    }
}

TEST(Image, whatIsNoImageIsAnErrorWithOneLine) {
    for (const std::string& text : {std::string(), std::string("hello, this is text"), std::string("\xFF\xD8"),
                                    std::string("\x89PNG\r\n\x1A\n", 8), std::string("II*\0", 4)}) {
        try {
            (void)Image::fromData(Bytes::copyOf(std::string_view(text)));
            FAIL() << text;
        } catch (const ImageError& error) {
            EXPECT_FALSE(std::string(error.what()).empty());
            EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
        }
    }
}

TEST(Image, damagedPixelsAreAnErrorOnlyWhenAskedFor) {
    const Bytes png = pngWithDensity(50, 40, "");
    const auto image = Image::fromData(png.slice(0, png.size() - 30));
    EXPECT_EQ(image->size(), (Size{50, 40}));
    EXPECT_THROW((void)image->representations().front()->bitmap(), ImageError);
}

TEST(Image, descriptionNamesSizeAndRepresentations) {
    const auto image = Image::fromBitmap(std::make_shared<const Bitmap>(makePhoto(300, 200)), {72, 48});
    char address[32];
    std::snprintf(address, sizeof address, "%p", static_cast<const void*>(image.get()));
    EXPECT_EQ(image->description(),
              "<NSImage " + std::string(address) + " Size={72.0, 48.0} Reps=(Size={72.0, 48.0} Pixels=300x200)>");
}
