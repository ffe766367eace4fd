// PNG writing: read back by netpbm, checked by pngcheck, and no larger than what netpbm and GraphicsMagick write.
#include "Platform/Imaging/Codecs.h"

#include "Support/Command.h"
#include "Support/ImageFixture.h"

#include <cmath>
#include <cstring>

#include <gtest/gtest.h>

using namespace orvex;
using namespace orvex::test;

namespace {

struct Written {
    Bytes png;
    ImageInfo info;
};

/// Encodes, and has our reader and netpbm's give back the same samples as RGB or grey.
Written written(const Bitmap& bitmap, const PNGOptions& options = {}) {
    const auto png = encodePNG(bitmap, options);
    EXPECT_TRUE(png.has_value());
    return {*png, readImageInfo(*png).front()};
}

/// The bitmap with its channels spread out to RGB (with alpha when it has any), 8 bits.
Bitmap spread(const Bitmap& bitmap) {
    const bool alpha = bitmap.alpha != Alpha::none;
    Bitmap result = Bitmap::make(bitmap.width, bitmap.height, 8, {ColorModel::rgb, {}, 0}, bitmap.alpha);
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        std::uint8_t* target = result.row(y);
        for (std::int64_t x = 0; x < bitmap.width; ++x) {
            const std::uint8_t* source = bitmap.row(y) + x * bitmap.channels();
            const bool gray = bitmap.colorSpace.model == ColorModel::gray;
            for (int c = 0; c < 3; ++c) {
                *target++ = bitmap.bitsPerComponent == 1
                                ? static_cast<std::uint8_t>((bitmap.row(y)[x >> 3] >> (7 - (x & 7)) & 1) * 255)
                                : source[gray ? 0 : c];
            }
            if (alpha) {
                *target++ = source[bitmap.channels() - 1];
            }
        }
    }
    return result;
}

void expectSamePixels(const Bitmap& bitmap, const Bytes& png) {
    const Bitmap ours = decodeImage(png, readImageInfo(png).front());
    if (bitmap.bitsPerComponent == 16 || ours.bitsPerComponent == 16) {
        EXPECT_EQ(largestDifference(ours, bitmap), 0);
    } else if (ours.alpha == bitmap.alpha) {
        EXPECT_EQ(largestDifference(spread(ours), spread(bitmap)), 0);
    }
    const bool alpha = bitmap.alpha != Alpha::none;
    Bitmap theirs = fromNetpbm(convert(png, alpha ? "pngtopam -alphapam in > out" : "pngtopam in > out"));
    if (bitmap.bitsPerComponent != 16 && theirs.bitsPerComponent != 16) {
        EXPECT_EQ(largestDifference(spread(theirs), spread(bitmap)), 0);
    } else {
        EXPECT_EQ(largestDifference(theirs, bitmap), 0);
    }
    (void)convert(png, "pngcheck -q in && cp in out");
}

Bitmap grayInColor(const Bitmap& gray) {
    return spread(gray);
}

Bitmap levels(int count, int step) {
    Bitmap bitmap = Bitmap::make(100, 60, 8, {ColorModel::gray, {}, 0});
    for (std::size_t i = 0; i < bitmap.samples.size(); ++i) {
        bitmap.samples[i] =
            static_cast<std::uint8_t>(static_cast<int>((i + i * i / 64) % static_cast<unsigned>(count)) * step);
    }
    return bitmap;
}

struct Packing {
    const char* name;
    std::function<Bitmap()> source;
    int bits;
    bool palette;
    ColorModel model;
};

class PngPackings : public testing::TestWithParam<Packing> {};

} // namespace

TEST_P(PngPackings, isTheSmallestFormatThatHoldsThePixels) {
    const Bitmap source = GetParam().source();
    const Written result = written(source);
    EXPECT_EQ(result.info.bitsPerComponent, GetParam().bits);
    EXPECT_EQ(result.info.palette, GetParam().palette);
    EXPECT_EQ(result.info.colorSpace.model, GetParam().model);
    EXPECT_FALSE(result.info.progressiveOrInterlaced);
    expectSamePixels(source, result.png);
}

INSTANTIATE_TEST_SUITE_P(
    PngEncoder, PngPackings,
    testing::Values(
        Packing{"bilevel", [] { return makeLineArt(99, 70); }, 1, false, ColorModel::gray},
        Packing{"bilevelInColor", [] { return grayInColor(makeLineArt(99, 70)); }, 1, false, ColorModel::gray},
        Packing{"twoLevelsThatAreNotBlackAndWhite", [] { return levels(2, 100); }, 1, true, ColorModel::rgb},
        Packing{"fourLevels", [] { return levels(4, 85); }, 2, false, ColorModel::gray},
        Packing{"sixteenLevels", [] { return levels(16, 17); }, 4, false, ColorModel::gray},
        Packing{"sixteenOddLevels", [] { return levels(16, 15); }, 4, true, ColorModel::rgb},
        Packing{"seventeenLevels", [] { return levels(17, 15); }, 8, false, ColorModel::gray},
        Packing{"gray", [] { return makePhoto(80, 60, ColorModel::gray); }, 8, false, ColorModel::gray},
        Packing{"grayInColor", [] { return grayInColor(makePhoto(80, 60, ColorModel::gray)); }, 8, false,
                ColorModel::gray},
        Packing{"twoColours", [] { return makeFlat(80, 60, 2); }, 1, true, ColorModel::rgb},
        Packing{"fourColours", [] { return makeFlat(80, 60, 4); }, 2, true, ColorModel::rgb},
        Packing{"sixteenColours", [] { return makeFlat(80, 60, 16); }, 4, true, ColorModel::rgb},
        Packing{"manyColours", [] { return makeFlat(80, 60, 256); }, 8, true, ColorModel::rgb},
        Packing{"photo", [] { return makePhoto(80, 60); }, 8, false, ColorModel::rgb},
        Packing{"photoWithAlpha", [] { return makePhoto(80, 60, ColorModel::rgb, 8, Alpha::straight); }, 8, false,
                ColorModel::rgb},
        Packing{"grayWithAlpha", [] { return makePhoto(80, 60, ColorModel::gray, 8, Alpha::straight); }, 8, false,
                ColorModel::gray},
        Packing{"deepGray", [] { return makePhoto(80, 60, ColorModel::gray, 16); }, 16, false, ColorModel::gray},
        Packing{"deepColour", [] { return makePhoto(80, 60, ColorModel::rgb, 16); }, 16, false, ColorModel::rgb},
        Packing{"onePixel", [] { return makePhoto(1, 1); }, 1, true, ColorModel::rgb},
        Packing{"oneColumn", [] { return makePhoto(1, 90); }, 8, true, ColorModel::rgb},
        Packing{"oneRow", [] { return makePhoto(900, 1); }, 8, false, ColorModel::rgb}),
    [](const auto& row) { return row.param.name; });

TEST(PngEncoder, depthAndAlphaThatCarryNothingAreLeftOut) {
    Bitmap deep = makePhoto(40, 30, ColorModel::gray, 16);
    for (std::size_t i = 0; i + 1 < deep.samples.size(); i += 2) {
        deep.samples[i + 1] = deep.samples[i];
    }
    EXPECT_EQ(written(deep).info.bitsPerComponent, 8);
    Bitmap opaque = makePhoto(40, 30, ColorModel::rgb, 8, Alpha::straight);
    for (std::size_t i = 3; i < opaque.samples.size(); i += 4) {
        opaque.samples[i] = 255;
    }
    EXPECT_EQ(written(opaque).info.alpha, Alpha::none);
}

TEST(PngEncoder, aPaletteKeepsAlpha) {
    Bitmap bitmap = Bitmap::make(60, 40, 8, {ColorModel::rgb, {}, 0}, Alpha::straight);
    for (std::size_t i = 0; i < bitmap.samples.size(); ++i) {
        bitmap.samples[i] = static_cast<std::uint8_t>(i / 4 % 5 * 40 + i % 4 * 9);
    }
    const Written result = written(bitmap);
    EXPECT_TRUE(result.info.palette);
    EXPECT_EQ(result.info.alpha, Alpha::straight);
    expectSamePixels(bitmap, result.png);
}

TEST(PngEncoder, resolutionIsWrittenInWholePixelsPerMetre) {
    const Written result = written(makePhoto(30, 20), {300, 144});
    EXPECT_DOUBLE_EQ(result.info.dpiX, 299.9994);
    EXPECT_DOUBLE_EQ(result.info.dpiY, 5669 * 0.0254);
    EXPECT_NEAR(written(makePhoto(30, 20)).info.dpiX, 72, 0.01);
    EXPECT_NEAR(written(makePhoto(30, 20), {NAN, 0}).info.dpiX, 72, 0.01);
}

TEST(PngEncoder, profileAndGammaGoAlong) {
    Bitmap profiled = makePhoto(30, 20);
    profiled.colorSpace.iccProfile = makeProfile(ColorModel::rgb, 3000);
    EXPECT_EQ(written(profiled).info.colorSpace.iccProfile, profiled.colorSpace.iccProfile);
    Bitmap calibrated = makePhoto(30, 20);
    calibrated.colorSpace.gamma = 1.0;
    EXPECT_DOUBLE_EQ(written(calibrated).info.colorSpace.gamma, 1.0);
    EXPECT_EQ(written(makePhoto(30, 20)).info.colorSpace.gamma, 0);
}

TEST(PngEncoder, cmykIsRefused) {
    EXPECT_FALSE(encodePNG(makePhoto(20, 20, ColorModel::cmyk), {}));
}

TEST(PngEncoder, aLimitIsKeptExactly) {
    const Bitmap bitmap = makePhoto(300, 200);
    const std::size_t size = encodePNG(bitmap, {})->size();
    EXPECT_TRUE(encodePNG(bitmap, {72, 72, PNGOptions::automaticLevel, size}));
    EXPECT_FALSE(encodePNG(bitmap, {72, 72, PNGOptions::automaticLevel, size - 1}));
    // Large enough for parts to be tried first.
    const Bitmap large = makePhoto(1200, 900);
    const std::size_t most = encodePNG(large, {})->size();
    EXPECT_FALSE(encodePNG(large, {72, 72, PNGOptions::automaticLevel, most / 10}));
    EXPECT_TRUE(encodePNG(large, {72, 72, PNGOptions::automaticLevel, most}));
}

TEST(PngEncoder, rowsThatRepeatAreNotMistakenForLost) {
    // Noise that deflate sees once: parts look expensive, the whole is cheap.
    for (const std::int64_t period : {1, 2, 9, 20}) {
        Bitmap bitmap = Bitmap::make(1500, 1200, 8, {ColorModel::gray, {}, 0});
        std::uint32_t noise = 1;
        for (std::int64_t y = 0; y < bitmap.height; ++y) {
            for (std::int64_t x = 0; x < bitmap.width; ++x) {
                noise = noise * 1664525u + 1013904223u;
                bitmap.row(y)[x] = y < period ? static_cast<std::uint8_t>(noise >> 24) : bitmap.row(y - period)[x];
            }
        }
        const std::size_t size = encodePNG(bitmap, {})->size();
        EXPECT_LT(size, 60000u) << period;
        EXPECT_TRUE(encodePNG(bitmap, {72, 72, PNGOptions::automaticLevel, size})) << period;
    }
}

TEST(PngEncoder, ownDataIsUsableByAPDF) {
    const auto stream = pngStream(*encodePNG(makePhoto(50, 40), {}));
    ASSERT_TRUE(stream);
    EXPECT_EQ(stream->colors, 3);
}

TEST(PngEncoder, isNoLargerThanWhatOthersWrite) {
    for (const char* name : {"baiona.png", "baiona_colormapped.png", "crom.png", "linn.png", "typewriter.png"}) {
        const auto path = scan(name);
        if (path.empty()) {
            GTEST_SKIP() << "the shared collection of scans is absent";
        }
        const Bytes png = readFile(path);
        const Bitmap bitmap = decodeImage(png, readImageInfo(png).front());
        const std::size_t ours = encodePNG(bitmap, {})->size();
        const std::size_t theirs = convert(png, "gm convert png:in -quality 95 png:out").size();
        EXPECT_LE(ours, theirs) << name;
    }
}
