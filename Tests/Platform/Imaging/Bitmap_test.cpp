#include "Platform/Imaging/Codecs.h"

#include "Support/ImageFixture.h"

#include <gtest/gtest.h>

using namespace orvex;
using namespace orvex::test;

namespace {

std::vector<Bitmap> everyLayout() {
    std::vector<Bitmap> bitmaps = {makeLineArt(83, 130)};
    for (const ColorModel model : {ColorModel::gray, ColorModel::rgb, ColorModel::cmyk}) {
        for (const int bits : {8, 16}) {
            for (const Alpha alpha : {Alpha::none, Alpha::straight}) {
                bitmaps.push_back(makePhoto(83, 130, model, bits, alpha));
            }
        }
    }
    return bitmaps;
}

} // namespace

TEST(Bitmap, fourQuarterTurnsAndTwoMirrorsAreNothing) {
    for (const Bitmap& bitmap : everyLayout()) {
        const Bitmap once = turned(bitmap, 1);
        EXPECT_EQ(once.width, bitmap.height);
        EXPECT_EQ(largestDifference(turned(once, 3), bitmap), 0);
        EXPECT_EQ(largestDifference(turned(turned(bitmap, 2), 2), bitmap), 0);
        EXPECT_EQ(largestDifference(turned(once, 1), turned(bitmap, 2)), 0);
        EXPECT_EQ(largestDifference(mirrored(bitmap, true, true), turned(bitmap, 2)), 0);
        EXPECT_EQ(largestDifference(mirrored(mirrored(bitmap, true, false), true, false), bitmap), 0);
    }
}

TEST(Bitmap, aQuarterTurnIsClockwise) {
    Bitmap bitmap = Bitmap::make(2, 1, 8, {ColorModel::gray, {}, 0});
    bitmap.samples = {10, 20};
    const Bitmap right = turned(bitmap, 1);
    EXPECT_EQ(right.samples, (std::vector<std::uint8_t>{10, 20}));
    EXPECT_EQ(right.height, 2);
    EXPECT_EQ(turned(bitmap, 3).samples, (std::vector<std::uint8_t>{20, 10}));
    Bitmap tall = Bitmap::make(1, 2, 8, {ColorModel::gray, {}, 0});
    tall.samples = {10, 20};
    EXPECT_EQ(turned(tall, 1).samples, (std::vector<std::uint8_t>{20, 10}));
}

TEST(Bitmap, turnsAsNetpbmDoes) {
    const Bitmap bitmap = makePhoto(70, 41);
    EXPECT_EQ(largestDifference(turned(bitmap, 1), fromNetpbm(convert(toNetpbm(bitmap), "pamflip -cw in > out"))), 0);
    EXPECT_EQ(largestDifference(turned(bitmap, 3), fromNetpbm(convert(toNetpbm(bitmap), "pamflip -ccw in > out"))), 0);
    const Bitmap lines = makeLineArt(70, 41);
    EXPECT_EQ(largestDifference(turned(lines, 1), fromNetpbm(convert(toNetpbm(lines), "pamflip -cw in > out"))), 0);
}

TEST(Bitmap, sizesWithoutPixelsOrBeyondTwoGibibytesAreRefused) {
    const ColorSpace gray{ColorModel::gray, {}, 0};
    EXPECT_THROW((void)Bitmap::make(0, 5, 8, gray), ImageError);
    EXPECT_THROW((void)Bitmap::make(5, -1, 8, gray), ImageError);
    EXPECT_THROW((void)Bitmap::make(std::int64_t{1} << 40, std::int64_t{1} << 40, 8, gray), ImageError);
    EXPECT_THROW((void)Bitmap::make(65536, 32769, 8, gray), ImageError);
}
