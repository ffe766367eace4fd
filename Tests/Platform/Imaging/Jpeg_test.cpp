// JPEG reading beside libjpeg-turbo's own djpeg, on files that other tools wrote.
#include "Platform/Imaging/Codecs.h"

#include "Support/Command.h"
#include "Support/ImageFixture.h"

#include <gtest/gtest.h>

using namespace orvex;
using namespace orvex::test;

namespace {

/// A JPEG of makePhoto(), written by cjpeg with `options`.
Bytes makeJPEG(const std::string& options = "", ColorModel model = ColorModel::rgb) {
    return convert(toNetpbm(makePhoto(67, 45, model)), "cjpeg -quality 92 " + options + " -outfile out in");
}

struct JpegKind {
    const char* name;
    const char* options;
    ColorModel model;
};

class JpegKinds : public testing::TestWithParam<JpegKind> {};

} // namespace

TEST_P(JpegKinds, decodesToTheSamplesThatDjpegGives) {
    const Bytes jpeg = makeJPEG(GetParam().options, GetParam().model);
    const ImageInfo info = readImageInfo(jpeg).front();
    EXPECT_EQ(info.width, 67);
    EXPECT_EQ(info.height, 45);
    EXPECT_EQ(info.progressiveOrInterlaced, std::string(GetParam().options).find("progressive") != std::string::npos);
    EXPECT_EQ(info.arithmeticCoded, std::string(GetParam().options).find("arithmetic") != std::string::npos);
    const Bitmap expected = fromNetpbm(convert(jpeg, "djpeg -pnm -outfile out in"));
    EXPECT_EQ(largestDifference(decodeImage(jpeg, info), expected), 0);
    EXPECT_NO_THROW(verifyEncoded(jpeg, info));
}

INSTANTIATE_TEST_SUITE_P(Jpeg, JpegKinds,
                         testing::Values(JpegKind{"gray", "-grayscale", ColorModel::gray},
                                         JpegKind{"baseline", "-baseline", ColorModel::rgb},
                                         JpegKind{"fullChroma", "-sample 1x1", ColorModel::rgb},
                                         JpegKind{"oddSampling", "-sample 1x2,1x1,2x1", ColorModel::rgb},
                                         JpegKind{"optimised", "-optimize", ColorModel::rgb},
                                         JpegKind{"progressive", "-progressive", ColorModel::rgb},
                                         JpegKind{"restarts", "-restart 1", ColorModel::rgb},
                                         JpegKind{"arithmetic", "-arithmetic", ColorModel::rgb},
                                         JpegKind{"storedRGB", "-rgb", ColorModel::rgb}),
                         [](const auto& row) { return row.param.name; });

TEST(Jpeg, readsCMYKWithAdobeMarkerAsInkAmounts) {
    const Bytes jpeg = convert(toNetpbm(makePhoto(40, 30)),
                               "gm convert ppm:in -colorspace CMYK -quality 100 -sampling-factor 1x1 jpeg:out");
    const ImageInfo info = readImageInfo(jpeg).front();
    EXPECT_EQ(info.colorSpace.model, ColorModel::cmyk);
    EXPECT_TRUE(info.adobeInvertedCMYK);
    const Bitmap bitmap = decodeImage(jpeg, info);
    // Raw samples of the same file: one byte an ink, 255 = full.
    const Bytes inks = convert(jpeg, "gm convert jpeg:in -depth 8 cmyk:out");
    ASSERT_EQ(inks.size(), bitmap.samples.size());
    for (std::size_t i = 0; i < inks.size(); ++i) {
        ASSERT_NEAR(inks.data()[i], bitmap.samples[i], 1) << i;
    }
}

TEST(Jpeg, takesResolutionFromJFIFInBothUnits) {
    const Bytes jpeg = makeJPEG();
    const std::string_view text = jpeg.text();
    const auto with = [&](char unit, char high, char low) {
        std::string changed(text);
        const std::size_t at = changed.find("JFIF");
        changed[at + 7] = unit;
        changed[at + 8] = changed[at + 10] = high;
        changed[at + 9] = changed[at + 11] = low;
        return readImageInfo(Bytes(std::move(changed))).front();
    };
    EXPECT_DOUBLE_EQ(with(1, 1, 0x2C).dpiX, 300);
    EXPECT_DOUBLE_EQ(with(2, 0, 118).dpiX, 118 * 2.54);
    EXPECT_DOUBLE_EQ(with(0, 0, 1).dpiX, 72); // an aspect ratio only
    EXPECT_DOUBLE_EQ(with(1, 0, 0).dpiX, 72);
    EXPECT_DOUBLE_EQ(with(1, 0, 1).dpiX, 72); // an aspect ratio in all but name
}

TEST(Jpeg, takesOrientationAndResolutionFromExif) {
    const Bytes plain = makeJPEG(); // cjpeg gives an aspect ratio, no resolution
    for (const bool littleEndian : {true, false}) {
        const ImageInfo info = readImageInfo(withJPEGSegment(plain, 0xE1, exifBlock(6, 240, 2, littleEndian))).front();
        EXPECT_EQ(info.orientation, 6);
        EXPECT_DOUBLE_EQ(info.dpiX, 240);
        EXPECT_DOUBLE_EQ(info.dpiY, 480);
        EXPECT_DOUBLE_EQ(readImageInfo(withJPEGSegment(plain, 0xE1, exifBlock(1, 100, 3, littleEndian))).front().dpiX,
                         254);
    }
    EXPECT_EQ(readImageInfo(withJPEGSegment(plain, 0xE1, exifBlock(9, 240, 2, true))).front().orientation, 1);
}

TEST(Jpeg, joinsProfilePartsInOrder) {
    const std::string name("ICC_PROFILE\0", 12);
    const Bytes profile = makeProfile(ColorModel::rgb, 500);
    const auto put = [&](const Bytes& jpeg, const char* numbers, std::size_t from, std::size_t length) {
        return withJPEGSegment(jpeg, 0xE2, name + numbers + std::string(profile.text().substr(from, length)));
    };
    const auto read = [](const Bytes& jpeg) { return readImageInfo(jpeg).front().colorSpace.iccProfile; };
    EXPECT_EQ(read(put(makeJPEG(), "\1\1", 0, 500)), profile);
    EXPECT_EQ(read(put(put(makeJPEG(), "\2\2", 300, 200), "\1\2", 0, 300)), profile);
    EXPECT_TRUE(read(put(put(makeJPEG(), "\3\3", 300, 200), "\1\3", 0, 300)).empty()); // a part is missing
}

TEST(Jpeg, aProfileForOtherSamplesIsDropped) {
    const std::string name("ICC_PROFILE\0\1\1", 14);
    for (const Bytes& profile : {makeProfile(ColorModel::cmyk, 500), makeProfile(ColorModel::gray, 500),
                                 Bytes(std::string(500, 'x')), Bytes(std::string(20, 'x'))}) {
        const Bytes jpeg = withJPEGSegment(makeJPEG(), 0xE2, name + std::string(profile.text()));
        EXPECT_TRUE(readImageInfo(jpeg).front().colorSpace.iccProfile.empty());
    }
}

TEST(Jpeg, everyTruncationIsAnErrorAndIsFoundWithoutDecoding) {
    for (const char* options : {"-baseline", "-progressive", "-restart 1"}) {
        const Bytes jpeg = makeJPEG(options);
        const ImageInfo info = readImageInfo(jpeg).front();
        for (std::size_t length = 0; length < jpeg.size(); ++length) {
            const Bytes cut = jpeg.slice(0, length);
            EXPECT_THROW((void)verifyEncoded(cut, info), ImageError) << options << length;
            EXPECT_THROW((void)decodeImage(cut, info), ImageError) << options << length;
        }
    }
}

TEST(Jpeg, bytesBehindTheImageDoNoHarm) {
    const Bytes jpeg = makeJPEG();
    for (const std::size_t extra : {1u, 1000u, 100000u}) {
        const Bytes padded(std::string(jpeg.text()) + std::string(extra, '\0'));
        const ImageInfo info = readImageInfo(padded).front();
        EXPECT_NO_THROW(verifyEncoded(padded, info));
        EXPECT_NO_THROW((void)decodeImage(padded, info));
    }
}

TEST(Jpeg, damageInsideTheScanIsAnErrorWithOneLine) {
    std::string text(makeJPEG("-baseline").text());
    const std::size_t middle = text.size() * 3 / 4;
    text.replace(middle, 4, "\xFF\xD9\xFF\xD9");
    const Bytes broken(std::move(text));
    try {
        (void)decodeImage(broken, readImageInfo(broken).front());
        FAIL() << "damage was not noticed";
    } catch (const ImageError& error) {
        EXPECT_EQ(std::string(error.what()).find("damaged JPEG data"), 0u) << error.what();
        EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
    }
}

TEST(Jpeg, aSmallFileThatClaimsManyPixelsIsRefusedBeforeAnyAreReserved) {
    std::string text(makeJPEG().text());
    const std::size_t frame = text.find("\xFF\xC0");
    ASSERT_NE(frame, std::string::npos);
    text.replace(frame + 5, 4, "\x40\x00\x40\x00", 4);
    const Bytes bomb = Bytes::copyOf(std::string_view(text));
    EXPECT_THROW((void)decodeImage(bomb, readImageInfo(bomb).front()), ImageError);
    text.replace(frame + 5, 4, "\xFF\xFF\xFF\xFF", 4);
    EXPECT_THROW((void)readImageInfo(Bytes(std::move(text))), ImageError);
}

TEST(Jpeg, processesThatNobodyReadsAreNamed) {
    const auto reason = [](const Bytes& jpeg) -> std::string {
        try {
            (void)readImageInfo(jpeg);
        } catch (const ImageError& error) {
            return error.what();
        }
        return "";
    };
    std::string text(makeJPEG().text());
    const std::size_t frame = text.find("\xFF\xC0");
    std::string lossless = text;
    lossless[frame + 1] = '\xC3';
    EXPECT_EQ(reason(Bytes(std::move(lossless))), "unsupported JPEG process (lossless or hierarchical)");
    std::string deep = text;
    deep[frame + 4] = 12;
    EXPECT_EQ(reason(Bytes(std::move(deep))), "unsupported JPEG precision (12 bits)");
}

TEST(Jpeg, readsTheScansOfTheCollection) {
    const auto path = scan("baiona_color.jpg");
    if (path.empty()) {
        GTEST_SKIP() << "the shared collection of scans is absent";
    }
    const Bytes jpeg = readFile(path);
    const ImageInfo info = readImageInfo(jpeg).front();
    EXPECT_EQ(largestDifference(decodeImage(jpeg, info), fromNetpbm(convert(jpeg, "djpeg -pnm -outfile out in"))), 0);
}
