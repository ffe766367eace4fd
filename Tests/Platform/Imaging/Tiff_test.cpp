// TIFF reading on files that GraphicsMagick, netpbm and libtiff's tools wrote.
#include "Platform/Imaging/Codecs.h"

#include "Support/ImageFixture.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

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

/// A file of 8 x 8 pixels a page, all pages with the same strips; entries as the format has them: tag, type, count,
/// value.
class TinyTiff {
public:
    std::uint32_t put(std::string_view data) {
        const auto at = static_cast<std::uint32_t>(text_.size());
        text_ += data;
        text_.resize(text_.size() + text_.size() % 2);
        return at;
    }
    static std::string number(std::uint32_t value, int bytes) {
        std::string text;
        for (int i = 0; i < bytes; ++i) {
            text += static_cast<char>(value >> 8 * i & 0xFF);
        }
        return text;
    }
    void page(std::vector<std::array<std::uint32_t, 4>> entries) {
        entries.insert(entries.end(), {{256, 4, 1, 8}, {257, 4, 1, 8}, {259, 3, 1, 1}, {278, 4, 1, 8}});
        std::ranges::sort(entries);
        std::string directory = number(static_cast<std::uint32_t>(entries.size()), 2);
        for (const auto& [tag, type, count, value] : entries) {
            directory += number(tag, 2) + number(type, 2) + number(count, 4) + number(value, 4);
        }
        const std::uint32_t at = put(directory + number(0, 4));
        text_.replace(next_, 4, number(at, 4));
        next_ = at + directory.size();
    }
    [[nodiscard]] Bytes bytes() const { return Bytes(std::string(text_)); }

private:
    std::string text_ = std::string("II*\0\0\0\0\0", 8);
    std::size_t next_ = 4; ///< where the place of the next page goes
};

/// Pages of one grey strip, each with the `length` bytes from `profiles` on that begin `step` behind the last one's.
Bytes profiledPages(std::uint32_t count, std::string_view profiles, std::uint32_t length, std::uint32_t step) {
    TinyTiff tiff;
    const auto strip = tiff.put(std::string(64, '\x80'));
    const auto at = tiff.put(profiles);
    for (std::uint32_t i = 0; i < count; ++i) {
        tiff.page(
            {{258, 3, 1, 8}, {262, 3, 1, 1}, {273, 4, 1, strip}, {279, 4, 1, 64}, {34675, 7, length, at + i * step}});
    }
    return tiff.bytes();
}

TEST(Tiff, pagesShareTheirProfile) {
    const Bytes profile = makeProfile(ColorModel::gray, 5000);
    const auto pages = readImageInfo(profiledPages(3, profile.text(), 5000, 0));
    ASSERT_EQ(pages.size(), 3U);
    for (const auto& page : pages) {
        EXPECT_EQ(page.colorSpace.iccProfile, profile);
        EXPECT_EQ(page.colorSpace.iccProfile.data(), pages[0].colorSpace.iccProfile.data());
    }
    const auto two = std::string(profile.text()) + std::string(makeProfile(ColorModel::gray, 4999).text()) + 'q';
    const auto apart = readImageInfo(profiledPages(2, two, 5000, 5000));
    EXPECT_EQ(apart.at(0).colorSpace.iccProfile, profile);
    EXPECT_EQ(apart.at(1).colorSpace.iccProfile.text().back(), 'q');
}

TEST(Tiff, profilesThatOverlapAreRefusedBeforeTheyFillTheMemory) {
    std::string numbers;
    for (std::uint32_t i = 0; i < 2000; ++i) {
        numbers += TinyTiff::number(i, 4);
    }
    EXPECT_THROW((void)readImageInfo(profiledPages(20, numbers, 4000, 4)), ImageError);
}

TEST(Tiff, aProfileThatIsTooLargeIsLeftOut) {
    const Bytes profile = makeProfile(ColorModel::gray, (4 << 20) + 1);
    EXPECT_TRUE(onlyPage(profiledPages(1, profile.text(), (4 << 20) + 1, 0)).colorSpace.iccProfile.empty());
}

TEST(Tiff, indicesInTheirOwnPlaneAreNotThoseOfAnotherPlane) {
    TinyTiff tiff;
    const auto indices = tiff.put(std::string(64, '\1'));
    const auto others = tiff.put(std::string(64, '\2'));
    const auto strips = tiff.put(TinyTiff::number(indices, 4) + TinyTiff::number(others, 4));
    const auto sizes = tiff.put(TinyTiff::number(64, 4) + TinyTiff::number(64, 4));
    std::string map(std::size_t{3} * 256 * 2, '\0');
    map.replace(1 * 2, 2, "\xFF\xFF");         // red of 1
    map.replace((256 + 2) * 2, 2, "\xFF\xFF"); // green of 2
    const auto palette = tiff.put(map);
    tiff.page({{258, 3, 2, 8 | 8 << 16},
               {262, 3, 1, 3},
               {273, 4, 2, strips},
               {277, 3, 1, 2},
               {279, 4, 2, sizes},
               {284, 3, 1, 2},
               {320, 3, 768, palette},
               {338, 3, 1, 0}});
    const Bitmap decoded = decodeImage(tiff.bytes(), onlyPage(tiff.bytes()));
    EXPECT_EQ(std::vector(decoded.row(7) + 7 * 3, decoded.row(7) + 8 * 3), (std::vector<std::uint8_t>{255, 0, 0}));
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
