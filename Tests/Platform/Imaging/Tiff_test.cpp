// TIFF reading on files that GraphicsMagick, netpbm and libtiff's tools wrote.
#include "Platform/Imaging/Codecs.h"

#include "Support/ImageFixture.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

using namespace orvex;
using namespace orvex::test;

namespace {

struct TiffKind {
    const char* name;
    std::function<Bitmap()> source;
    const char* command; ///< from the netpbm file "in" to the TIFF "out"
    int tolerance;
};

class TiffKinds : public testing::TestWithParam<TiffKind> {};

Bitmap photo(ColorModel model, int bits = 8, Alpha alpha = Alpha::none) {
    return makePhoto(75, 61, model, bits, alpha);
}
Bitmap lines() {
    return makeLineArt(75, 61);
}

ImageInfo onlyPage(const Bytes& tiff) {
    const auto pages = readImageInfo(tiff);
    EXPECT_EQ(pages.size(), 1u);
    return pages.front();
}

} // namespace

TEST_P(TiffKinds, decodesToTheSamplesThatWereWritten) {
    const Bitmap source = GetParam().source();
    const Bytes tiff = convert(toNetpbm(source), GetParam().command);
    const ImageInfo info = onlyPage(tiff);
    const Bitmap decoded = decodeImage(tiff, info);
    EXPECT_EQ(decoded.bitsPerComponent, source.bitsPerComponent);
    EXPECT_EQ(decoded.colorSpace.model, source.colorSpace.model);
    EXPECT_LE(largestDifference(decoded, source), GetParam().tolerance);
    EXPECT_NO_THROW(verifyEncoded(tiff, info));
}

INSTANTIATE_TEST_SUITE_P(
    Tiff, TiffKinds,
    testing::Values(
        TiffKind{"group4", lines, "pamtotiff -g4 -output=out in", 0},
        TiffKind{"group3", lines, "pamtotiff -g3 -output=out in", 0},
        TiffKind{"group3TwoDimensional", lines, "pamtotiff -g3 -2d -fill -output=out in", 0},
        TiffKind{"bilevelPacked", lines, "pamtotiff -packbits -output=out in", 0},
        TiffKind{"bilevelMinIsWhite", lines, "pamtotiff -none -miniswhite -output=out in", 0},
        TiffKind{"bilevelLeastBitFirst", lines, "pamtotiff -g4 -output=a in && tiffcp -f lsb2msb a out", 0},
        TiffKind{"bilevelTiled", lines, "pamtotiff -none -output=a in && tiffcp -t -w 32 -l 16 a out", 0},
        TiffKind{"grayNone", [] { return photo(ColorModel::gray); }, "pamtotiff -none -output=out in", 0},
        TiffKind{"grayLZW", [] { return photo(ColorModel::gray); }, "pamtotiff -lzw -predictor=2 -output=out in", 0},
        TiffKind{"grayMinIsWhite", [] { return photo(ColorModel::gray); }, "pamtotiff -none -miniswhite -output=out in",
                 0},
        TiffKind{"gray16", [] { return photo(ColorModel::gray, 16); }, "gm convert pgm:in -compress LZW tiff:out", 0},
        TiffKind{"gray16BigEndian", [] { return photo(ColorModel::gray, 16); },
                 "gm convert pgm:in -endian MSB tiff:out", 0},
        TiffKind{"rgbNone", [] { return photo(ColorModel::rgb); }, "pamtotiff -none -truecolor -output=out in", 0},
        TiffKind{"rgbDeflate", [] { return photo(ColorModel::rgb); }, "gm convert ppm:in -compress Zip tiff:out", 0},
        TiffKind{"rgb16", [] { return photo(ColorModel::rgb, 16); }, "gm convert ppm:in -compress LZW tiff:out", 0},
        TiffKind{"rgbSeparatePlanes", [] { return photo(ColorModel::rgb); },
                 "pamtotiff -none -truecolor -output=a in && tiffcp -p separate a out", 0},
        TiffKind{"rgbTiled", [] { return photo(ColorModel::rgb); },
                 "pamtotiff -none -truecolor -output=a in && tiffcp -t -w 32 -l 16 -c lzw a out", 0},
        TiffKind{"rgbTiledSeparatePlanes", [] { return photo(ColorModel::rgb); },
                 "pamtotiff -none -truecolor -output=a in && tiffcp -t -w 16 -l 16 -p separate a out", 0},
        TiffKind{"rgbOneRowPerStrip", [] { return photo(ColorModel::rgb); },
                 "pamtotiff -none -truecolor -rowsperstrip=1 -output=out in", 0},
        TiffKind{"rgbJPEG", [] { return photo(ColorModel::rgb); },
                 "pamtotiff -none -truecolor -output=a in && tiffcp -r 16 -c jpeg:95 a out", 40},
        TiffKind{"grayJPEG", [] { return photo(ColorModel::gray); },
                 "pamtotiff -none -output=a in && tiffcp -r 16 -c jpeg:95 a out", 20},
        TiffKind{"rgbAlpha", [] { return photo(ColorModel::rgb, 8, Alpha::straight); },
                 "pamtopng in > a && gm convert png:a tiff:out && tiffset -s 338 1 2 out", 0},
        TiffKind{"palette", [] { return makeFlat(75, 61, 200); }, "pamtotiff -lzw -output=out in", 0},
        TiffKind{"paletteFourBits", [] { return makeFlat(75, 61, 13); }, "pamtotiff -lzw -output=out in", 0},
        TiffKind{"bigTIFF", [] { return photo(ColorModel::rgb); },
                 "pamtotiff -none -truecolor -output=a in && tiffcp -8 a out", 0}),
    [](const auto& row) { return row.param.name; });

TEST(Tiff, fourBitGrayDecodesToBytes) {
    Bitmap source = Bitmap::make(41, 20, 8, {ColorModel::gray, {}, 0});
    for (std::size_t i = 0; i < source.samples.size(); ++i) {
        source.samples[i] = static_cast<std::uint8_t>(i % 16 * 17);
    }
    const Bytes tiff = convert(toNetpbm(source), "pamdepth 15 in > a && pamtotiff -lzw -output=out a");
    EXPECT_EQ(onlyPage(tiff).bitsPerComponent, 4);
    EXPECT_EQ(largestDifference(decodeImage(tiff, onlyPage(tiff)), source), 0);
}

TEST(Tiff, cmykIsInkAmounts) {
    const Bytes tiff = convert(toNetpbm(photo(ColorModel::rgb)), "gm convert ppm:in -colorspace CMYK tiff:out");
    const ImageInfo info = onlyPage(tiff);
    EXPECT_EQ(info.colorSpace.model, ColorModel::cmyk);
    const Bytes inks = convert(tiff, "gm convert tiff:in -depth 8 cmyk:out");
    const Bitmap bitmap = decodeImage(tiff, info);
    EXPECT_TRUE(std::equal(inks.span().begin(), inks.span().end(), bitmap.samples.begin(), bitmap.samples.end()));
}

TEST(Tiff, spacesThatAreNotOursComeThroughAsRGB) {
    // YCbCr without JPEG, and CIE L*a*b*.
    for (const char* settings : {"tiffset -s 262 6 out && tiffset -s 530 1 1 out", "tiffset -s 262 8 out"}) {
        const Bytes tiff = convert(toNetpbm(photo(ColorModel::rgb)),
                                   std::string("pamtotiff -none -truecolor -output=out in && ") + settings);
        const Bitmap decoded = decodeImage(tiff, onlyPage(tiff));
        EXPECT_EQ(decoded.colorSpace.model, ColorModel::rgb);
        const Bitmap expected = fromNetpbm(convert(tiff, "tiff2rgba -c none in a && tifftopnm a > out"));
        EXPECT_EQ(largestDifference(decoded, expected), 0) << settings;
    }
}

TEST(Tiff, everyPageIsAnEntryAndDecodesByItself) {
    const Bitmap source = photo(ColorModel::rgb);
    const Bytes tiff = convert(toNetpbm(source), "pamtotiff -none -truecolor -output=a in && pamflip -cw in > b && "
                                                 "pamtotiff -lzw -truecolor -output=c b && "
                                                 "pamtotiff -none -truecolor -output=d in && tiffcp a c d out");
    const auto pages = readImageInfo(tiff);
    ASSERT_EQ(pages.size(), 3u);
    EXPECT_EQ(pages[1].width, source.height);
    EXPECT_EQ(largestDifference(decodeImage(tiff, pages[1]), turned(source, 1)), 0);
    EXPECT_EQ(largestDifference(decodeImage(tiff, pages[2]), source), 0);
    EXPECT_EQ(Image::fromData(tiff)->representations().size(), 3u);
    EXPECT_EQ(Image::pagesFromData(tiff).size(), 3u);
    EXPECT_EQ(Image::pagesFromData(tiff)[1]->representations().front()->pixelsWide(), source.height);
}

TEST(Tiff, reducedCopiesAreNoPages) {
    const Bytes tiff = convert(toNetpbm(photo(ColorModel::rgb)),
                               "pamtotiff -none -truecolor -output=a in && pamtotiff -none -truecolor -output=b in && "
                               "tiffset -s 254 1 b && tiffcp a b out");
    const auto pages = readImageInfo(tiff);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_EQ(pages.front().page, 0);
}

TEST(Tiff, resolutionAndOrientationAreRead) {
    const auto make = [](const std::string& settings) {
        return onlyPage(convert(toNetpbm(photo(ColorModel::gray)), "pamtotiff -none -output=out in && " + settings));
    };
    const ImageInfo inches = make("tiffset -s 282 300 out && tiffset -s 283 150 out && tiffset -s 296 2 out");
    EXPECT_DOUBLE_EQ(inches.dpiX, 300);
    EXPECT_DOUBLE_EQ(inches.dpiY, 150);
    const ImageInfo metric = make("tiffset -s 282 118.11 out && tiffset -s 283 118.11 out && tiffset -s 296 3 out");
    EXPECT_NEAR(metric.dpiX, 300, 1e-3);
    EXPECT_EQ(make("tiffset -s 282 300 out && tiffset -s 296 1 out").dpiX, 72);
    EXPECT_EQ(make("tiffset -s 274 6 out").orientation, 6);
}

TEST(Tiff, aMirroredPageIsMirroredBackAndATurnedOneStays) {
    const Bitmap source = photo(ColorModel::gray);
    const auto pixels = [&](int orientation) {
        const Bytes tiff = convert(toNetpbm(source), "pamtotiff -none -output=out in && tiffset -s 274 " +
                                                         std::to_string(orientation) + " out");
        return *Image::fromData(tiff)->representations().front()->bitmap();
    };
    EXPECT_EQ(largestDifference(pixels(2), mirrored(source, true, false)), 0);
    EXPECT_EQ(largestDifference(pixels(4), mirrored(source, false, true)), 0);
    EXPECT_EQ(largestDifference(pixels(6), source), 0);
}

TEST(Tiff, aProfileIsCarried) {
    const Bytes profile = realProfile("srgb.icc");
    const TempFolder folder;
    const auto path = folder.path() / "srgb.icc";
    writeFile(path, profile);
    const Bytes tiff = convert(toNetpbm(photo(ColorModel::rgb)),
                               "gm convert ppm:in +profile '*' -profile " + path.string() + " tiff:out");
    EXPECT_EQ(onlyPage(tiff).colorSpace.iccProfile, profile);
}

TEST(Tiff, everyTruncationIsAnErrorOrTheWholePicture) {
    for (const char* command :
         {"pamtotiff -none -truecolor -rowsperstrip=8 -output=out in", "pamtotiff -lzw -truecolor -output=out in",
          "gm convert ppm:in -compress Zip tiff:out"}) {
        const Bytes tiff = convert(toNetpbm(makePhoto(20, 15)), command);
        const Bitmap whole = decodeImage(tiff, onlyPage(tiff));
        for (std::size_t length = 0; length < tiff.size(); ++length) {
            const Bytes cut = tiff.slice(0, length);
            try {
                const auto pages = readImageInfo(cut);
                EXPECT_EQ(largestDifference(decodeImage(cut, pages.front()), whole), 0) << command << length;
            } catch (const ImageError& error) {
                EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
            }
        }
    }
}

TEST(Tiff, stripsBehindTheEndAreFoundWithoutDecoding) {
    // The directory stands first, so that a cut takes pixels only.
    const Bytes tiff =
        convert(toNetpbm(makePhoto(64, 64)), "pamtotiff -none -truecolor -output=a in && tiffcp -8 a b && "
                                             "tiffcp b out");
    const ImageInfo info = onlyPage(tiff);
    EXPECT_NO_THROW(verifyEncoded(tiff, info));
    const Bytes cut = tiff.slice(0, tiff.size() / 2);
    EXPECT_THROW(verifyEncoded(cut, info), ImageError);
    EXPECT_THROW((void)decodeImage(cut, info), ImageError);
}

TEST(Tiff, aSmallFileThatClaimsManyPixelsIsRefusedBeforeAnyAreReserved) {
    const Bytes small = convert(toNetpbm(photo(ColorModel::rgb)), "pamtotiff -lzw -truecolor -output=out in");
    const auto claiming = [&](const std::string& side) {
        return convert(small, "cp in out && tiffset -s 256 " + side + " out && tiffset -s 257 " + side +
                                  " out && tiffset -s 278 " + side + " out");
    };
    const Bytes bomb = claiming("20000");
    try {
        (void)decodeImage(bomb, readImageInfo(bomb).front());
        FAIL() << "more pixels than the data can hold";
    } catch (const ImageError& error) {
        EXPECT_STREQ(error.what(), "truncated TIFF data");
    }
    EXPECT_THROW((void)readImageInfo(claiming("60000")), ImageError);
}
