// Colour conversion, beside GraphicsMagick's (which hands profiles to Little CMS by its own means).
#include "Platform/Imaging/Codecs.h"

#include "Support/Command.h"
#include "Support/ImageFixture.h"

#include <cstring>

#include <gtest/gtest.h>

using namespace orvex;
using namespace orvex::test;

namespace {} // namespace

TEST(Icc, deviceSpacesStayAsTheyAre) {
    for (const ColorModel model : {ColorModel::gray, ColorModel::rgb}) {
        for (const int bits : {8, 16}) {
            const Bitmap source = makePhoto(30, 20, model, bits, Alpha::straight);
            EXPECT_EQ(largestDifference(convertToSRGB(source), source), 0);
        }
    }
}

TEST(Icc, bilevelBecomesBytes) {
    const Bitmap lines = makeLineArt(30, 20);
    const Bitmap result = convertToSRGB(lines);
    EXPECT_EQ(result.bitsPerComponent, 8);
    EXPECT_EQ(largestDifference(result, lines), 0);
}

TEST(Icc, aProfileIsAppliedAndAlphaKept) {
    const Bytes cmyk = realProfile("default_cmyk.icc");
    for (const int bits : {8, 16}) {
        Bitmap source = makePhoto(40, 30, ColorModel::cmyk, bits);
        source.colorSpace.iccProfile = cmyk;
        const Bitmap result = convertToSRGB(source);
        EXPECT_EQ(result.colorSpace, (ColorSpace{ColorModel::rgb, {}, 0}));
        EXPECT_EQ(result.bitsPerComponent, bits);
    }
    Bitmap ink = Bitmap::make(1, 1, 8, {ColorModel::cmyk, cmyk, 0});
    EXPECT_GE(convertToSRGB(ink).samples[0], 250); // paper
    ink.samples = {0, 0, 0, 255};
    EXPECT_LE(convertToSRGB(ink).samples[1], 60);
}

TEST(Icc, anSRGBProfileChangesNothing) {
    const Bytes standard = realProfile("srgb.icc");
    Bitmap source = makePhoto(40, 30, ColorModel::rgb, 8, Alpha::straight);
    source.colorSpace.iccProfile = standard;
    EXPECT_LE(largestDifference(convertToSRGB(source), makePhoto(40, 30, ColorModel::rgb, 8, Alpha::straight)), 2);
    // So its greys need no profile.
    Bitmap gray = Bitmap::make(40, 30, 8, {ColorModel::rgb, standard, 0});
    for (std::size_t i = 0; i < gray.samples.size(); ++i) {
        gray.samples[i] = static_cast<std::uint8_t>(i / 3 * 7);
    }
    EXPECT_EQ(readImageInfo(*encodePNG(gray, {})).front().colorSpace, (ColorSpace{ColorModel::gray, {}, 0}));
}

TEST(Icc, aDamagedOrUnfitProfileCountsAsNone) {
    Bitmap source = makePhoto(30, 20);
    source.colorSpace.iccProfile = Bytes(std::string(500, 'x'));
    EXPECT_EQ(largestDifference(convertToSRGB(source), source), 0);
    const Bytes cmyk = realProfile("default_cmyk.icc");
    if (!cmyk.empty()) {
        source.colorSpace.iccProfile = cmyk;
        EXPECT_EQ(largestDifference(convertToSRGB(source), source), 0);
    }
}

TEST(Icc, aGammaIsApplied) {
    Bitmap linear = Bitmap::make(1, 1, 8, {ColorModel::rgb, {}, 1.0});
    linear.samples = {55, 55, 55}; // 21.6 % of the light, which sRGB writes as 128
    EXPECT_NEAR(convertToSRGB(linear).samples[0], 128, 1);
    linear.colorSpace.gamma = 2.2;
    EXPECT_EQ(convertToSRGB(linear).samples[0], 55);
}

TEST(Icc, cmykWithoutAProfileLooksLikePrint) {
    Bitmap inks = Bitmap::make(4, 1, 8, {ColorModel::cmyk, {}, 0});
    inks.samples = {0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 255, 255, 255, 255, 255};
    const Bitmap shown = convertToSRGB(inks);
    EXPECT_EQ(shown.samples[0], 255); // paper is white
    EXPECT_LT(shown.samples[3], 40);  // cyan has no red,
    EXPECT_LT(shown.samples[4], 200); // and is no computer's cyan
    EXPECT_LT(shown.samples[6], 60);  // black
    EXPECT_EQ(shown.samples[9], 0);   // all inks
}
