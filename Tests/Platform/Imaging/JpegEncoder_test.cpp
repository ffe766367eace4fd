// JPEG writing: read back by djpeg and GraphicsMagick.
#include "Platform/Imaging/Codecs.h"

#include "Support/ImageFixture.h"

#include <cmath>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

using namespace orvex;
using namespace orvex::test;

namespace {

Bytes encoded(const Bitmap& bitmap, const JPEGOptions& options = {}) {
    const auto jpeg = encodeJPEG(bitmap, options);
    EXPECT_TRUE(jpeg.has_value());
    return *jpeg;
}

/// As djpeg shows it.
Bitmap shown(const Bytes& jpeg) {
    return fromNetpbm(convert(jpeg, "djpeg -pnm -outfile out in"));
}

/// Sampling factors of the first component, from the frame header.
int sampling(const Bytes& jpeg) {
    const std::size_t frame = jpeg.text().find("\xFF\xC0");
    return frame == std::string_view::npos ? -1 : jpeg.data()[frame + 11];
}

} // namespace

TEST(JpegEncoder, coloursAndGraysReadBackNearly) {
    for (const ColorModel model : {ColorModel::gray, ColorModel::rgb}) {
        for (const int bits : {8, 16}) {
            const Bitmap source = makePhoto(123, 77, model, bits);
            const Bitmap back = shown(encoded(source, {0.95}));
            EXPECT_EQ(back.colorSpace.model, model);
            EXPECT_GT(similarity(back, source), 0.97);
        }
    }
}

TEST(JpegEncoder, colourThatIsGrayEverywhereIsStoredGray) {
    const Bitmap gray = makePhoto(60, 40, ColorModel::gray);
    Bitmap colored = Bitmap::make(60, 40, 8, {ColorModel::rgb, {}, 0});
    for (std::size_t i = 0; i < colored.samples.size(); ++i) {
        colored.samples[i] = gray.samples[i / 3];
    }
    EXPECT_EQ(encoded(colored), encoded(gray));
}

TEST(JpegEncoder, bilevelBecomesGray) {
    const Bitmap lines = makeLineArt(90, 60);
    const Bitmap back = shown(encoded(lines, {1.0}));
    EXPECT_EQ(back.channels(), 1);
    EXPECT_LE(largestDifference(back, lines), 6);
}

TEST(JpegEncoder, transparentPartsBecomeWhite) {
    for (const ColorModel model : {ColorModel::gray, ColorModel::rgb}) {
        Bitmap clear = Bitmap::make(32, 32, 8, {model, {}, 0}, Alpha::straight); // black, wholly transparent
        const Bitmap back = shown(encoded(clear, {1.0}));
        EXPECT_EQ(*std::min_element(back.samples.begin(), back.samples.end()), 255);
        for (std::size_t i = 0; i < clear.samples.size(); ++i) {
            const bool last = (i + 1) % static_cast<std::size_t>(clear.channels()) == 0;
            clear.samples[i] = last ? 128 : 0;
        }
        EXPECT_NEAR(shown(encoded(clear, {1.0})).samples.front(), 127, 1);
    }
}

TEST(JpegEncoder, qualityIsAPercentageAndClamped) {
    const Bitmap source = makePhoto(100, 80);
    const auto size = [&](double quality) { return encoded(source, {quality}).size(); };
    EXPECT_LT(size(0.25), size(0.5));
    EXPECT_LT(size(0.5), size(0.75));
    EXPECT_EQ(encoded(source, {0.0}), encoded(source, {0.01}));
    EXPECT_EQ(encoded(source, {-0.1}), encoded(source, {0.0}));
    EXPECT_EQ(encoded(source, {1.5}), encoded(source, {1.0}));
    EXPECT_EQ(encoded(source, {NAN}), encoded(source, {0.0}));
}

TEST(JpegEncoder, stepsOfLightnessGrowWithTheFrequencyAndThoseOfChromaAreTheStandards) {
    std::ostringstream tables;
    for (int i = 0; i < 64; ++i) {
        tables << std::lround(13 + 4.5 * std::hypot(i % 8, i / 8)) << ' ';
    }
    // The standard's annex K, table K.2.
    const std::map<int, int> few = {{0, 17},  {1, 18},  {2, 24},  {3, 47},  {8, 18},  {9, 21}, {10, 26},
                                    {11, 66}, {16, 24}, {17, 26}, {18, 56}, {24, 47}, {25, 66}};
    for (int i = 0; i < 64; ++i) {
        tables << (few.contains(i) ? few.at(i) : 99) << ' ';
    }
    for (const int quality : {10, 60, 95}) {
        const Bitmap source = makePhoto(100, 80);
        const Bytes ours = encoded(source, {quality / 100.0});
        const Bytes theirs = convert(
            toNetpbm(source), "echo '" + tables.str() + "' >t && cjpeg -quality " + std::to_string(quality) +
                                  (quality < 90 ? "" : " -sample 1x1") + " -qtables t -optimize -outfile out in");
        EXPECT_EQ(largestDifference(shown(ours), shown(theirs)), 0) << quality;
    }
}

TEST(JpegEncoder, aScanTakesNoMoreBytesThanOthersNeedForTheSameLikeness) {
    const auto path = scan("linn.png");
    if (path.empty()) {
        GTEST_SKIP() << "the shared collection of scans is absent";
    }
    const Bytes png = readFile(path);
    const Bitmap page = resample(decodeImage(png, readImageInfo(png).front()), 1190, 1540);
    const Bytes ours = encoded(page, {0.5});
    const Bytes theirs = convert(toNetpbm(page), "cjpeg -quality 55 -optimize -outfile out in");
    EXPECT_LE(ours.size(), theirs.size());
    EXPECT_GE(similarity(shown(ours), page), similarity(shown(theirs), page));
}

TEST(JpegEncoder, chromaIsHalvedBelowNinetyPercent) {
    const Bitmap source = makePhoto(40, 40);
    EXPECT_EQ(sampling(encoded(source, {0.89})), 0x22);
    EXPECT_EQ(sampling(encoded(source, {0.9})), 0x11);
    EXPECT_EQ(sampling(encoded(makePhoto(40, 40, ColorModel::gray), {0.5})), 0x11);
}

TEST(JpegEncoder, huffmanTablesAreOptimised) {
    const Bitmap source = makePhoto(300, 200);
    const Bytes plain = convert(toNetpbm(source), "cjpeg -quality 50 -outfile out in");
    EXPECT_LT(encoded(source, {0.5}).size(), plain.size());
}

TEST(JpegEncoder, resolutionIsWholeDotsPerInch) {
    const ImageInfo info = readImageInfo(encoded(makePhoto(20, 20), {0.5, 299.9994, 143.6})).front();
    EXPECT_EQ(info.dpiX, 300);
    EXPECT_EQ(info.dpiY, 144);
    EXPECT_EQ(readImageInfo(encoded(makePhoto(20, 20))).front().dpiX, 72);
}

TEST(JpegEncoder, cmykStaysCMYK) {
    const Bitmap source = makePhoto(64, 48, ColorModel::cmyk);
    const Bytes jpeg = encoded(source, {1.0, 300, 300});
    const ImageInfo info = readImageInfo(jpeg).front();
    EXPECT_EQ(info.colorSpace.model, ColorModel::cmyk);
    EXPECT_TRUE(info.adobeInvertedCMYK);
    EXPECT_EQ(info.dpiX, 300);
    EXPECT_LE(largestDifference(decodeImage(jpeg, info), source), 6);
    const Bytes inks = convert(jpeg, "gm convert jpeg:in -depth 8 cmyk:out");
    ASSERT_EQ(inks.size(), source.samples.size());
    for (std::size_t i = 0; i < inks.size(); ++i) {
        ASSERT_NEAR(inks.data()[i], source.samples[i], 6) << i;
    }
}

TEST(JpegEncoder, aProfileGoesAlongAndAGammaGoesIntoTheSamples) {
    Bitmap profiled = makePhoto(30, 20);
    profiled.colorSpace.iccProfile = makeProfile(ColorModel::rgb, 150000); // three segments
    EXPECT_EQ(readImageInfo(encoded(profiled)).front().colorSpace.iccProfile, profiled.colorSpace.iccProfile);
    Bitmap linear = Bitmap::make(16, 16, 8, {ColorModel::gray, {}, 1.0});
    std::fill(linear.samples.begin(), linear.samples.end(), std::uint8_t{55}); // a fifth of the light
    EXPECT_NEAR(shown(encoded(linear, {1.0})).samples.front(), 128, 2);
}

TEST(JpegEncoder, aLimitIsKeptExactly) {
    const Bitmap source = makePhoto(300, 200);
    const std::size_t size = encoded(source).size();
    EXPECT_TRUE(encodeJPEG(source, {0.75, 72, 72, size}));
    EXPECT_FALSE(encodeJPEG(source, {0.75, 72, 72, size - 1}));
    EXPECT_FALSE(encodeJPEG(source, {0.75, 72, 72, 1}));
}

TEST(JpegEncoder, sidesBeyondTheFormatGiveNothing) {
    EXPECT_FALSE(encodeJPEG(Bitmap::make(65536, 1, 8, {ColorModel::gray, {}, 0}), {}));
}
