// Resampling beside GraphicsMagick's Lanczos, which is a straightforward one.
#include "Platform/Imaging/Codecs.h"

#include "Support/ImageFixture.h"

#include <cstring>

#include <gtest/gtest.h>

using namespace orvex;
using namespace orvex::test;

namespace {

Bitmap reference(const Bitmap& bitmap, std::int64_t width, std::int64_t height) {
    const std::string size = std::to_string(width) + "x" + std::to_string(height) + "!";
    return fromNetpbm(convert(toNetpbm(bitmap), "gm convert pnm:in -filter Lanczos -resize '" + size + "' pnm:out"));
}

Bitmap filled(std::int64_t width, std::int64_t height, ColorSpace space, int bits, Alpha alpha, int level) {
    Bitmap bitmap = Bitmap::make(width, height, bits, std::move(space), alpha);
    std::fill(bitmap.samples.begin(), bitmap.samples.end(), static_cast<std::uint8_t>(level));
    return bitmap;
}

} // namespace

TEST(Resample, looksAsAReferenceLanczosDoes) {
    for (const ColorModel model : {ColorModel::gray, ColorModel::rgb}) {
        const Bitmap source = makePhoto(641, 431, model);
        for (const auto& [width, height] : {std::pair(320, 215), std::pair(307, 207), std::pair(600, 400),
                                            std::pair(100, 67), std::pair(1000, 700), std::pair(320, 860)}) {
            const Bitmap result = resample(source, width, height);
            EXPECT_EQ(result.width, width);
            EXPECT_EQ(result.height, height);
            EXPECT_GT(similarity(result, reference(source, width, height)), 0.98) << width << "x" << height;
        }
    }
}

TEST(Resample, strokesKeepTheirWeight) {
    const Bitmap lines = makeLineArt(800, 600);
    const Bitmap result = resample(lines, 384, 288);
    EXPECT_EQ(result.bitsPerComponent, 8);
    EXPECT_EQ(result.channels(), 1);
    EXPECT_GT(similarity(result, reference(lines, 384, 288)), 0.98);
}

TEST(Resample, flatAreasStayFlatInEveryLayout) {
    for (const ColorModel model : {ColorModel::gray, ColorModel::rgb, ColorModel::cmyk}) {
        for (const int bits : {8, 16}) {
            for (const Alpha alpha : {Alpha::none, Alpha::straight}) {
                for (const int level : {0, 100, 255}) {
                    const Bitmap source = filled(90, 70, {model, {}, 0}, bits, alpha, level);
                    const Bitmap result = resample(source, 41, 33);
                    EXPECT_EQ(result.bitsPerComponent, bits);
                    EXPECT_EQ(result.alpha, alpha);
                    const Bitmap expected = level == 0 && alpha != Alpha::none
                                                ? result
                                                : filled(41, 33, {model, {}, 0}, bits, alpha, level);
                    EXPECT_LE(largestDifference(result, expected), bits == 16 ? 1 : 0);
                }
            }
        }
    }
}

TEST(Resample, sixteenBitsStayPrecise) {
    Bitmap ramp = Bitmap::make(1024, 8, 16, {ColorModel::gray, {}, 0});
    for (std::size_t i = 0; i < ramp.samples.size() / 2; ++i) {
        const auto level = static_cast<std::uint16_t>(i % 1024 * 64);
        std::memcpy(ramp.samples.data() + 2 * i, &level, 2);
    }
    const Bitmap half = resample(ramp, 512, 8);
    for (std::int64_t x = 8; x < 504; ++x) {
        std::uint16_t level = 0;
        std::memcpy(&level, half.row(4) + 2 * x, 2);
        EXPECT_NEAR(level, static_cast<int>(x) * 128 + 32, 2) << x;
    }
}

TEST(Resample, whatIsTransparentLendsNoColour) {
    // Opaque white beside transparent black: the edge fades, it does not darken.
    Bitmap bitmap = Bitmap::make(64, 64, 8, {ColorModel::gray, {}, 0}, Alpha::straight);
    for (std::int64_t y = 0; y < 64; ++y) {
        std::fill_n(bitmap.row(y), 61, std::uint8_t{255});
        bitmap.row(y)[61] = 255;
    }
    const Bitmap result = resample(bitmap, 27, 27);
    for (std::int64_t y = 0; y < 27; ++y) {
        for (std::int64_t x = 0; x < 27; ++x) {
            const std::uint8_t* pixel = result.row(y) + 2 * x;
            EXPECT_TRUE(pixel[1] < 8 || pixel[0] > 247) << x << "," << y;
        }
    }
}

TEST(Resample, strongReductionsDoNotAlias) {
    // One-pixel stripes are mid-grey from afar.
    Bitmap stripes = Bitmap::make(3000, 2000, 8, {ColorModel::gray, {}, 0});
    for (std::size_t i = 0; i < stripes.samples.size(); ++i) {
        stripes.samples[i] = i % 2 == 0 ? 255 : 0;
    }
    for (const auto& [width, height] : {std::pair(700, 450), std::pair(300, 200), std::pair(37, 23), std::pair(3, 2),
                                        std::pair(1, 1), std::pair(3000, 1), std::pair(1, 2000)}) {
        const Bitmap result = resample(stripes, width, height);
        if (width < 1500) {
            for (const std::uint8_t sample : result.samples) {
                ASSERT_NEAR(sample, 127, 20) << width << "x" << height;
            }
        }
    }
}

TEST(Resample, anySizeGoesToAnySize) {
    for (const std::int64_t from : {1, 2, 3, 7, 65, 500}) {
        for (const std::int64_t to : {1, 2, 5, 64, 333}) {
            EXPECT_EQ(resample(makePhoto(from, 9), to, 4).width, to);
            EXPECT_EQ(resample(makePhoto(9, from, ColorModel::gray), 4, to).height, to);
            EXPECT_EQ(resample(makeLineArt(from, from), to, to).width, to);
        }
    }
}

TEST(Resample, sizesWithoutPixelsOrBeyondTwoGibibytesAreRefused) {
    const Bitmap source = makePhoto(20, 20);
    EXPECT_THROW((void)resample(source, 0, 5), ImageError);
    EXPECT_THROW((void)resample(source, 5, -5), ImageError);
    EXPECT_THROW((void)resample(source, 60000, 60000), ImageError);
}
