// JPEG 2000 beside OpenJPEG's own programs, which read what we write and write what we read.
#include "Platform/Imaging/Codecs.h"

#include "Support/ImageFixture.h"

#include <gtest/gtest.h>

using namespace orvex;
using namespace orvex::test;

namespace {

Bitmap decoded(const Bytes& data) {
    return decodeImage(data, readImageInfo(data).front());
}

/// By another's decoder.
Bitmap read(const Bytes& jp2, const std::string& extension) {
    return fromNetpbm(convert(jp2, "cp in in.jp2 && opj_decompress -i in.jp2 -o o." + extension +
                                       " >log && pamtopnm o." + extension + " >out"));
}

Bytes written(const Bitmap& bitmap, const std::string& options, const std::string& format) {
    const std::string source = bitmap.channels() == 1 ? "in.pgm" : "in.ppm";
    return convert(toNetpbm(bitmap), "cp in " + source + " && opj_compress -i " + source + " -o o." + format + " " +
                                         options + " >log && mv o." + format + " out");
}

} // namespace

TEST(Jpeg2000, qualityOneLosesNothing) {
    for (const int bits : {8, 16}) {
        for (const ColorModel model : {ColorModel::gray, ColorModel::rgb}) {
            for (const Alpha alpha : {Alpha::none, Alpha::straight}) {
                const Bitmap source = makePhoto(61, 43, model, bits, alpha);
                const Bytes jp2 = *encodeJPEG2000(source, {1.0});
                EXPECT_EQ(readImageInfo(jp2).front().bitsPerComponent, bits);
                EXPECT_EQ(largestDifference(decoded(jp2), source), 0) << bits << " bits";
                if (alpha == Alpha::none) {
                    EXPECT_EQ(largestDifference(read(jp2, model == ColorModel::gray ? "pgm" : "ppm"), source), 0);
                }
            }
        }
    }
}

TEST(Jpeg2000, lowerQualitiesGiveSmallerFilesThatStillLookAlike) {
    const Bitmap source = makePhoto(400, 300);
    std::size_t before = SIZE_MAX;
    for (const double quality : {1.0, 0.9, 0.75, 0.5, 0.25, 0.0}) {
        const Bytes jp2 = *encodeJPEG2000(source, {quality});
        EXPECT_LT(jp2.size(), before) << quality;
        EXPECT_GT(similarity(decoded(jp2), source), quality >= 0.5 ? 0.8 : 0.5) << quality;
        before = jp2.size();
    }
}

TEST(Jpeg2000, resolutionAndProfileGoAlong) {
    Bitmap source = makePhoto(40, 30);
    source.colorSpace.iccProfile = makeProfile(ColorModel::rgb, 3000);
    for (const auto& [dpiX, dpiY] : {std::pair(300.0, 300.0), std::pair(72.0, 144.5), std::pair(2400.0, 12000.0)}) {
        const ImageInfo info = readImageInfo(*encodeJPEG2000(source, {1.0, dpiX, dpiY})).front();
        EXPECT_DOUBLE_EQ(info.dpiX, dpiX);
        EXPECT_DOUBLE_EQ(info.dpiY, dpiY);
        EXPECT_EQ(info.colorSpace.iccProfile, source.colorSpace.iccProfile);
    }
}

TEST(Jpeg2000, layoutsThatTheFormatLacksAreConverted) {
    EXPECT_EQ(readImageInfo(*encodeJPEG2000(makePhoto(40, 30, ColorModel::cmyk), {0.5})).front().colorSpace.model,
              ColorModel::rgb);
    const Bytes lines = *encodeJPEG2000(makeLineArt(40, 30), {1.0});
    EXPECT_EQ(readImageInfo(lines).front().colorSpace.model, ColorModel::gray);
    EXPECT_GT(similarity(decoded(lines), makeLineArt(40, 30)), 0.999);
}

TEST(Jpeg2000, anySizeIsEncoded) {
    for (const auto& [width, height] : {std::pair(1, 1), std::pair(1, 200), std::pair(3, 2), std::pair(33, 1)}) {
        const Bitmap source = makePhoto(width, height);
        EXPECT_EQ(largestDifference(decoded(*encodeJPEG2000(source, {1.0})), source), 0) << width << "x" << height;
    }
}

TEST(Jpeg2000, filesOfOthersAreReadAsTheyReadThem) {
    const Bitmap color = makePhoto(301, 203);
    const Bitmap gray = makePhoto(301, 203, ColorModel::gray);
    for (const char* format : {"jp2", "j2k"}) {
        for (const char* options : {"", "-r 10", "-I -r 20", "-t 64,64", "-n 1", "-p RPCL -c [64,64] -d 5,7 -T 0,0"}) {
            for (const Bitmap& source : {color, gray}) {
                const Bytes file = written(source, options, format);
                const char* extension = source.channels() == 1 ? "pgm" : "ppm";
                const Bitmap theirs =
                    fromNetpbm(convert(file, std::string("cp in in.") + format + " && opj_decompress -i in." + format +
                                                 " -o o." + extension + " >log && pamtopnm o." + extension + " >out"));
                EXPECT_EQ(largestDifference(decoded(file), theirs), 0) << format << " " << options;
            }
        }
    }
}

TEST(Jpeg2000, theCodestreamSaysHowLargeThePictureIs) {
    Bytes jp2 = *encodeJPEG2000(makePhoto(40, 30), {1.0});
    std::string lying(jp2.text());
    const auto header = lying.find("ihdr");
    lying.replace(header + 4, 4, std::string("\x7f\xff\xff\xff", 4)); // its height
    EXPECT_EQ(readImageInfo(Bytes(std::move(lying))).front().height, 30);
}

TEST(Jpeg2000, filesThatStopEarlyAreRefused) {
    for (const Bytes& file :
         {*encodeJPEG2000(makePhoto(120, 90), {0.75}), written(makePhoto(120, 90), "-t 40,40", "j2k")}) {
        const ImageInfo info = readImageInfo(file).front();
        EXPECT_NO_THROW(verifyEncoded(file, info));
        for (const std::size_t kept : {file.size() / 2, file.size() - 200}) {
            EXPECT_THROW(verifyEncoded(file.slice(0, kept), info), ImageError) << kept;
            EXPECT_THROW((void)decodeImage(file.slice(0, kept), info), ImageError) << kept;
        }
    }
}
