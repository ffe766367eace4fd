// PNG reading beside netpbm's reader, on files that netpbm and GraphicsMagick wrote.
#include "Platform/Imaging/Codecs.h"

#include "Support/ImageFixture.h"

#include <gtest/gtest.h>

using namespace orvex;
using namespace orvex::test;

namespace {

std::uint32_t crcOf(std::string_view data) {
    std::uint32_t crc = ~0u;
    for (const char byte : data) {
        crc ^= static_cast<std::uint8_t>(byte);
        for (int i = 0; i < 8; ++i) {
            crc = crc >> 1 ^ (0xEDB88320u & (0u - (crc & 1)));
        }
    }
    return ~crc;
}

std::string number(std::uint32_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
            static_cast<char>(value)};
}

std::string chunk(const std::string& type, const std::string& payload) {
    return number(static_cast<std::uint32_t>(payload.size())) + type + payload + number(crcOf(type + payload));
}

constexpr std::size_t behindHeader = 33;

/// The file with chunks put in behind its header.
Bytes withChunks(const Bytes& png, const std::string& chunks) {
    return Bytes(std::string(png.text().substr(0, behindHeader)) + chunks +
                 std::string(png.text().substr(behindHeader)));
}

/// The file with its IDAT cut into pieces of `size` bytes.
Bytes withSplitData(const Bytes& png, std::size_t size) {
    std::string result(png.text().substr(0, 8));
    for (std::size_t at = 8; at + 12 <= png.size();) {
        const auto* p = png.data() + at;
        const std::size_t length = static_cast<std::size_t>(p[0] << 24 | p[1] << 16 | p[2] << 8 | p[3]);
        const std::string type(png.text().substr(at + 4, 4));
        const std::string payload(png.text().substr(at + 8, length));
        for (std::size_t from = 0; type == "IDAT" && from < length; from += size) {
            result += chunk(type, payload.substr(from, size));
        }
        result += type == "IDAT" ? "" : std::string(png.text().substr(at, length + 12));
        at += length + 12;
    }
    return Bytes(std::move(result));
}

Bytes makePNG(const Bitmap& bitmap, const std::string& options = "") {
    return convert(toNetpbm(bitmap), "pamtopng " + options + " in > out");
}

struct PngKind {
    const char* name;
    std::function<Bitmap()> source;
    const char* options;
    Alpha alpha;
};

class PngKinds : public testing::TestWithParam<PngKind> {};

Bitmap photo(ColorModel model, int bits, Alpha alpha = Alpha::none) {
    return makePhoto(53, 31, model, bits, alpha);
}

} // namespace

TEST_P(PngKinds, decodesToTheSamplesThatWereWritten) {
    const Bitmap source = GetParam().source();
    const Bytes png = makePNG(source, GetParam().options);
    const ImageInfo info = readImageInfo(png).front();
    EXPECT_EQ(info.format, ImageFormat::png);
    EXPECT_EQ(info.alpha, GetParam().alpha);
    EXPECT_EQ(info.progressiveOrInterlaced, std::string(GetParam().options).find("interlace") != std::string::npos);
    const Bitmap decoded = decodeImage(png, info);
    EXPECT_EQ(decoded.bitsPerComponent, source.bitsPerComponent);
    EXPECT_EQ(largestDifference(decoded, source), 0);
    EXPECT_NO_THROW(verifyEncoded(png, info));
}

INSTANTIATE_TEST_SUITE_P(
    Png, PngKinds,
    testing::Values(
        PngKind{"bilevel", [] { return makeLineArt(61, 40); }, "", Alpha::none},
        PngKind{"gray8", [] { return photo(ColorModel::gray, 8); }, "", Alpha::none},
        PngKind{"gray16", [] { return photo(ColorModel::gray, 16); }, "", Alpha::none},
        PngKind{"grayAlpha8", [] { return photo(ColorModel::gray, 8, Alpha::straight); }, "", Alpha::straight},
        PngKind{"grayAlpha16", [] { return photo(ColorModel::gray, 16, Alpha::straight); }, "", Alpha::straight},
        PngKind{"rgb8", [] { return photo(ColorModel::rgb, 8); }, "", Alpha::none},
        PngKind{"rgb16", [] { return photo(ColorModel::rgb, 16); }, "", Alpha::none},
        PngKind{"rgbAlpha8", [] { return photo(ColorModel::rgb, 8, Alpha::straight); }, "", Alpha::straight},
        PngKind{"rgbAlpha16", [] { return photo(ColorModel::rgb, 16, Alpha::straight); }, "", Alpha::straight},
        PngKind{"interlaced", [] { return photo(ColorModel::rgb, 8); }, "-interlace", Alpha::none},
        PngKind{"interlacedBilevel", [] { return makeLineArt(61, 40); }, "-interlace", Alpha::none}),
    [](const auto& row) { return row.param.name; });

TEST(Png, palettesOfEveryDepthDecodeToTheirColours) {
    for (const int colors : {2, 3, 4, 13, 16, 17, 200, 256}) {
        const Bitmap source = makeFlat(70, 50, colors);
        const Bytes png = convert(toNetpbm(source), "pnmtopng in > out");
        const ImageInfo info = readImageInfo(png).front();
        EXPECT_TRUE(info.palette) << colors;
        EXPECT_EQ(largestDifference(decodeImage(png, info), source), 0) << colors;
    }
}

TEST(Png, grayOfTwoAndFourBitsDecodesToBytes) {
    for (const int levels : {4, 16}) {
        Bitmap source = Bitmap::make(40, 20, 8, {ColorModel::gray, {}, 0});
        for (std::size_t i = 0; i < source.samples.size(); ++i) {
            source.samples[i] =
                static_cast<std::uint8_t>(i % static_cast<unsigned>(levels) * 255 / static_cast<unsigned>(levels - 1));
        }
        const Bytes png = convert(toNetpbm(source), "pnmtopng in > out");
        const ImageInfo info = readImageInfo(png).front();
        EXPECT_EQ(info.bitsPerComponent, levels == 4 ? 2 : 4);
        EXPECT_FALSE(info.palette);
        EXPECT_EQ(largestDifference(decodeImage(png, info), source), 0);
    }
}

TEST(Png, aTransparentColourBecomesAlpha) {
    const Bitmap source = makeFlat(30, 20, 3);
    for (const char* tool :
         {"pnmtopng -transparent =rgb:01/ff/00 in > out", "pnmtopng -force -transparent =rgb:01/ff/00 in > out"}) {
        const Bytes png = convert(toNetpbm(source), tool);
        const ImageInfo info = readImageInfo(png).front();
        EXPECT_EQ(info.alpha, Alpha::straight);
        const Bitmap decoded = decodeImage(png, info);
        ASSERT_EQ(decoded.channels(), 4);
        EXPECT_EQ(decoded.samples[3], 0);
        EXPECT_EQ(decoded.samples[4 * 3 + 3], 255);
    }
}

TEST(Png, resolutionIsWholePixelsPerMetre) {
    const Bytes png = makePNG(photo(ColorModel::gray, 8));
    const auto dpi = [&](std::uint32_t x, std::uint32_t y, char unit) {
        const ImageInfo info = readImageInfo(withChunks(png, chunk("pHYs", number(x) + number(y) + unit))).front();
        return std::pair(info.dpiX, info.dpiY);
    };
    EXPECT_DOUBLE_EQ(dpi(11811, 11811, 1).first, 299.9994);
    EXPECT_DOUBLE_EQ(dpi(11811, 5906, 1).second, 5906 * 0.0254);
    EXPECT_DOUBLE_EQ(dpi(2, 1, 0).first, 72); // an aspect ratio only
    EXPECT_DOUBLE_EQ(dpi(0, 0, 1).first, 72);
    EXPECT_DOUBLE_EQ(readImageInfo(png).front().dpiX, 72);
}

TEST(Png, calibrationIsCarried) {
    const Bytes png = makePNG(photo(ColorModel::rgb, 8));
    EXPECT_DOUBLE_EQ(readImageInfo(withChunks(png, chunk("gAMA", number(45455)))).front().colorSpace.gamma,
                     100000.0 / 45455);
    EXPECT_DOUBLE_EQ(readImageInfo(withChunks(png, chunk("gAMA", number(100000)))).front().colorSpace.gamma, 1);
    const Bytes standard = withChunks(png, chunk("sRGB", std::string(1, 0)) + chunk("gAMA", number(100000)));
    EXPECT_EQ(readImageInfo(standard).front().colorSpace.gamma, 0);
    Bitmap profiled = photo(ColorModel::rgb, 8);
    profiled.colorSpace.iccProfile = makeProfile(ColorModel::rgb, 700);
    EXPECT_EQ(readImageInfo(*encodePNG(profiled, {})).front().colorSpace, profiled.colorSpace);
    const Bytes broken = withChunks(png, chunk("iCCP", std::string("p\0\0nonsense", 11)));
    EXPECT_TRUE(readImageInfo(broken).front().colorSpace.iccProfile.empty());
    EXPECT_NO_THROW((void)decodeImage(broken, readImageInfo(broken).front()));
}

TEST(Png, ownCompressedDataIsHandedOutWithoutACopy) {
    const Bytes png = makePNG(photo(ColorModel::rgb, 8));
    const auto stream = pngStream(png);
    ASSERT_TRUE(stream);
    EXPECT_EQ(stream->colors, 3);
    EXPECT_EQ(stream->bitsPerComponent, 8);
    EXPECT_TRUE(stream->palette.empty());
    EXPECT_GE(stream->deflate.data(), png.data());
    EXPECT_LT(stream->deflate.data(), png.data() + png.size());
    const auto joined = pngStream(withSplitData(png, 100));
    ASSERT_TRUE(joined);
    EXPECT_EQ(joined->deflate, stream->deflate);
}

TEST(Png, ownCompressedDataOfPalettesAndDeepGray) {
    const auto palette = pngStream(convert(toNetpbm(makeFlat(70, 50, 13)), "pnmtopng in > out"));
    ASSERT_TRUE(palette);
    EXPECT_EQ(palette->colors, 1);
    EXPECT_EQ(palette->bitsPerComponent, 4);
    EXPECT_EQ(palette->palette.size(), 13u * 3);
    const auto deep = pngStream(makePNG(photo(ColorModel::gray, 16)));
    ASSERT_TRUE(deep);
    EXPECT_EQ(deep->bitsPerComponent, 16);
    EXPECT_EQ(deep->colors, 1);
}

TEST(Png, noCompressedDataWhereAReaderCouldNotUseIt) {
    const Bytes plain = makePNG(photo(ColorModel::rgb, 8));
    EXPECT_FALSE(pngStream(makePNG(photo(ColorModel::rgb, 8), "-interlace")));
    EXPECT_FALSE(pngStream(makePNG(photo(ColorModel::rgb, 8, Alpha::straight))));
    EXPECT_FALSE(pngStream(withChunks(plain, chunk("tRNS", std::string(6, 1)))));
    EXPECT_FALSE(pngStream(plain.slice(0, plain.size() - 1)));
    EXPECT_FALSE(pngStream(Bytes::copyOf("not a PNG")));
}

TEST(Png, everyTruncationIsAnErrorAndIsFoundWithoutDecoding) {
    for (const char* options : {"", "-interlace"}) {
        const Bytes png = withSplitData(makePNG(photo(ColorModel::rgb, 8), options), 500);
        const ImageInfo info = readImageInfo(png).front();
        for (std::size_t length = 0; length < png.size(); ++length) {
            const Bytes cut = png.slice(0, length);
            EXPECT_THROW((void)verifyEncoded(cut, info), ImageError) << length;
            EXPECT_THROW((void)decodeImage(cut, info), ImageError) << length;
        }
    }
}

TEST(Png, aWrongChecksumIsAnErrorInPixelsAndNotInComments) {
    const Bytes png = makePNG(photo(ColorModel::gray, 8));
    std::string damaged(png.text());
    damaged[damaged.size() / 2] = static_cast<char>(damaged[damaged.size() / 2] ^ 1);
    const Bytes broken(std::move(damaged));
    EXPECT_THROW((void)decodeImage(broken, readImageInfo(broken).front()), ImageError);
    std::string comment = chunk("tEXt", std::string("Title\0x", 7));
    comment.back() = static_cast<char>(comment.back() ^ 1);
    const Bytes odd = withChunks(png, comment);
    EXPECT_NO_THROW((void)decodeImage(odd, readImageInfo(odd).front()));
}

TEST(Png, aSmallFileThatClaimsManyPixelsIsRefusedBeforeAnyAreReserved) {
    const auto claiming = [](std::uint32_t width, std::uint32_t height) {
        const std::string header = number(width) + number(height) + std::string("\x08\x02\x00\x00\x00", 5);
        return Bytes("\x89PNG\r\n\x1A\n" + chunk("IHDR", header) + chunk("IDAT", std::string(100, 'x')) +
                     chunk("IEND", ""));
    };
    const Bytes bomb = claiming(20000, 20000);
    EXPECT_THROW((void)decodeImage(bomb, readImageInfo(bomb).front()), ImageError);
    EXPECT_THROW((void)readImageInfo(claiming(0x7FFFFFFF, 0x7FFFFFFF)), ImageError);
    EXPECT_THROW((void)readImageInfo(claiming(0xFFFFFFFF, 1)), ImageError);
    EXPECT_THROW((void)readImageInfo(claiming(0, 5)), ImageError);
}

TEST(Png, readsTheScansOfTheCollection) {
    for (const char* name :
         {"baiona.png", "baiona_alpha.png", "baiona_colormapped.png", "crom.png", "linn.png", "typewriter.png"}) {
        const auto path = scan(name);
        if (path.empty()) {
            GTEST_SKIP() << "the shared collection of scans is absent";
        }
        const Bytes png = readFile(path);
        const ImageInfo info = readImageInfo(png).front();
        const Bitmap bitmap = decodeImage(png, info);
        EXPECT_EQ(bitmap.width, info.width) << name;
        EXPECT_EQ(bitmap.alpha, info.alpha) << name;
        const Bitmap flat =
            fromNetpbm(convert(png, bitmap.alpha == Alpha::none ? "pngtopam in > out" : "pngtopam -alphapam in > out"));
        EXPECT_EQ(bitmap.height, flat.height) << name;
        if (flat.channels() == bitmap.channels() && flat.bitsPerComponent == bitmap.bitsPerComponent) {
            EXPECT_EQ(largestDifference(bitmap, flat), 0) << name;
        }
    }
}
