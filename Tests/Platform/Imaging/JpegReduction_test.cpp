// Reducing a JPEG plane by plane beside decoding it whole and reducing that.
#include "Platform/Imaging/JpegReduction.h"

#include "Platform/Imaging/Codecs.h"

#include "Support/ImageFixture.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

using namespace orvex;
using namespace orvex::test;

namespace {

Bytes makeJPEG(const Bitmap& bitmap, const std::string& options) {
    return convert(toNetpbm(bitmap), "cjpeg -quality 92 " + options + " -outfile out in");
}

Bitmap reduced(const Bytes& jpeg, std::int64_t width, std::int64_t height) {
    return resampleJPEG(jpeg, readImageInfo(jpeg).front(), width, height);
}

Bitmap decodedThenReduced(const Bytes& jpeg, std::int64_t width, std::int64_t height) {
    return resample(decodeImage(jpeg, readImageInfo(jpeg).front()), width, height);
}

/// The mean difference of a channel, with its sign: what a shift in colour or place would show in.
double meanDifference(const Bitmap& a, const Bitmap& b, std::size_t channel) {
    double sum = 0;
    for (std::size_t i = channel; i < a.samples.size(); i += 3) {
        sum += static_cast<double>(a.samples[i]) - b.samples[i];
    }
    return sum * 3 / static_cast<double>(a.samples.size());
}

class JpegReductions : public testing::TestWithParam<const char*> {};

} // namespace

TEST_P(JpegReductions, looksLikeTheWholePictureReduced) {
    const Bytes jpeg = makeJPEG(makePhoto(811, 603), GetParam());
    for (const auto& [width, height] : {std::pair{390, 290}, {200, 149}, {90, 67}, {50, 37}, {700, 603}, {1000, 700}}) {
        const Bitmap ours = reduced(jpeg, width, height);
        const Bitmap expected = decodedThenReduced(jpeg, width, height);
        ASSERT_EQ(ours.colorSpace.model, ColorModel::rgb);
        EXPECT_GT(similarity(ours, expected), 0.985) << width;
        for (std::size_t channel = 0; channel < 3; ++channel) {
            EXPECT_NEAR(meanDifference(ours, expected, channel), 0, 0.5) << width;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sampling, JpegReductions,
                         testing::Values("-sample 1x1", "-sample 2x2", "-sample 2x1", "-sample 1x2", "-sample 4x1",
                                         "-sample 1x2,1x1,2x1", "-progressive", "-restart 1", "-rgb"));

TEST(JpegReduction, aPictureWithoutColourComesOutGrey) {
    const Bitmap gray = makePhoto(400, 300, ColorModel::gray);
    Bitmap rgb = Bitmap::make(400, 300, 8, {ColorModel::rgb, {}, 0});
    for (std::size_t i = 0; i < rgb.samples.size(); ++i) {
        rgb.samples[i] = gray.samples[i / 3];
    }
    const Bitmap ours = reduced(makeJPEG(rgb, "-sample 1x1"), 190, 140);
    EXPECT_EQ(ours.colorSpace.model, ColorModel::gray);
    EXPECT_GT(similarity(ours, reduced(makeJPEG(gray, "-grayscale"), 190, 140)), 0.999);
}

TEST(JpegReduction, colourInTheLastRowsOnlyIsKept) {
    Bitmap page = Bitmap::make(400, 900, 8, {ColorModel::rgb, {}, 0});
    std::fill(page.samples.begin(), page.samples.end(), std::uint8_t{255});
    for (std::int64_t y = 880; y < 900; ++y) {
        for (std::int64_t x = 0; x < 400; ++x) {
            page.row(y)[3 * x + 1] = 0; // magenta
        }
    }
    for (const char* options : {"-sample 1x1", "-sample 2x2"}) {
        const Bitmap ours = reduced(makeJPEG(page, options), 190, 430);
        ASSERT_EQ(ours.colorSpace.model, ColorModel::rgb);
        const auto pixel = [&](std::int64_t y) {
            const std::uint8_t* p = ours.row(y) + std::ptrdiff_t{3 * 95};
            return std::array<int, 3>{p[0], p[1], p[2]};
        };
        EXPECT_EQ(pixel(100), (std::array{255, 255, 255}));
        EXPECT_GT(pixel(426)[0], 240);
        EXPECT_LT(pixel(426)[1], 15);
        EXPECT_GT(pixel(426)[2], 240);
    }
}

TEST(JpegReduction, whatIsNotMadeOfLightnessAndColourIsDecodedFirst) {
    const Bytes inks =
        convert(toNetpbm(makePhoto(400, 300)), "gm convert ppm:in -colorspace CMYK -quality 95 jpeg:out");
    const Bitmap ours = reduced(inks, 300, 225);
    EXPECT_EQ(ours.colorSpace.model, ColorModel::cmyk);
    EXPECT_EQ(largestDifference(ours, decodedThenReduced(inks, 300, 225)), 0);
}

TEST(JpegReduction, damageIsAnErrorAndNoHalfPicture) {
    const Bytes jpeg = makeJPEG(makePhoto(400, 300), "-sample 2x2");
    const ImageInfo info = readImageInfo(jpeg).front();
    for (std::size_t length = 700; length < jpeg.size(); length += jpeg.size() / 40) {
        const Bytes cut = jpeg.slice(0, length);
        EXPECT_THROW((void)resampleJPEG(cut, info, 190, 140), ImageError) << length;
    }
    EXPECT_THROW((void)resampleJPEG(jpeg, info, 0, 10), ImageError);
}
