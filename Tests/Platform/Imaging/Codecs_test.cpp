#include "Platform/Imaging/Codecs.h"

#include "Support/ImageFixture.h"

#include <gtest/gtest.h>

using namespace orvex;
using namespace orvex::test;

TEST(Codecs, formatsAreRecognisedByContent) {
    const auto sniff = [](std::string_view text) { return sniffImageFormat(Bytes::copyOf(text).span()); };
    EXPECT_EQ(sniff("\xFF\xD8\xFF\xE0"), ImageFormat::jpeg);
    EXPECT_EQ(sniff("\x89PNG\r\n\x1A\n"), ImageFormat::png);
    EXPECT_EQ(sniff(std::string_view("II*\0", 4)), ImageFormat::tiff);
    EXPECT_EQ(sniff(std::string_view("MM\0*", 4)), ImageFormat::tiff);
    EXPECT_EQ(sniff(std::string_view("MM\0+", 4)), ImageFormat::tiff);
    EXPECT_EQ(sniff("\xFF\x4F\xFF\x51"), ImageFormat::jpeg2000);
    for (const char* other : {"", "\xFF", "%PDF-1.7", "GIF89a", "hello", "\x89PNG\n\n"}) {
        EXPECT_FALSE(sniff(other)) << other;
    }
}

TEST(Codecs, whatIsNoImageSaysSo) {
    try {
        (void)readImageInfo(Bytes::copyOf("a text file that is called .jpg"));
        FAIL();
    } catch (const ImageError& error) {
        EXPECT_STREQ(error.what(), "not an image (JPEG, PNG, TIFF or JPEG 2000)");
    }
    EXPECT_THROW((void)readImageInfo(Bytes{}), ImageError);
}

TEST(Codecs, jpeg2000IsRecognisedAndItsSizeRead) {
    // A codestream's first marker segments: 300 x 200 pixels, three components of 8 bits.
    const std::string siz("\xFF\x4F\xFF\x51\0\x2F\0\0\0\0\x01\x2C\0\0\0\xC8\0\0\0\0\0\0\0\0\0\0\x01\x2C\0\0\0\xC8"
                          "\0\0\0\0\0\0\0\0\0\x03\x07\x01\x01\x07\x01\x01\x07\x01\x01",
                          51);
    const Bytes codestream = Bytes::copyOf(std::string_view(siz));
    const ImageInfo info = readImageInfo(codestream).front();
    EXPECT_EQ(info.format, ImageFormat::jpeg2000);
    EXPECT_EQ(info.width, 300);
    EXPECT_EQ(info.height, 200);
    EXPECT_EQ(info.colorSpace.model, ColorModel::rgb);
    EXPECT_THROW((void)decodeImage(codestream, info), ImageError);
    EXPECT_THROW((void)readImageInfo(codestream.slice(0, 40)), ImageError);
    std::string box("\0\0\0\x0CjP  \r\n\x87\n\0\0\0\x14"
                    "ftypjp2 \0\0\0\0jp2 \0\0\0\x17jp2h\0\0\0\x0F"
                    "colr\x01\0\0\0\0\0\x12\0\0\0\0jp2c",
                    63);
    const ImageInfo boxed = readImageInfo(Bytes(box + siz)).front();
    EXPECT_EQ(boxed.width, 300);
    EXPECT_EQ(boxed.height, 200);
    EXPECT_THROW((void)readImageInfo(Bytes(std::move(box))), ImageError);
}

namespace {

/// Reads, decodes and encodes whatever comes; only an ImageError may come out of it.
void survive(const Bytes& data) {
    try {
        for (const ImageInfo& info : readImageInfo(data)) {
            if (info.width * info.height > 4'000'000) {
                continue; // a header that was changed into a large one: refused elsewhere, slow here
            }
            const Bitmap bitmap = decodeImage(data, info);

            EXPECT_EQ(bitmap.samples.size(), bitmap.bytesPerRow * static_cast<std::size_t>(bitmap.height));
            (void)pngStream(data);
        }
    } catch (const ImageError& error) {
        EXPECT_EQ(std::string_view(error.what()).find('\n'), std::string_view::npos);
    }
}

std::vector<Bytes> smallFiles() {
    const Bytes color = toNetpbm(makePhoto(33, 21));
    const Bytes lines = toNetpbm(makeLineArt(33, 21));
    std::vector<Bytes> files;
    for (const char* command :
         {"cjpeg -outfile out in", "cjpeg -progressive -restart 1 -outfile out in", "pamtopng in > out",
          "pamtopng -interlace in > out", "pamtotiff -lzw -truecolor -output=out in",
          "pamtotiff -none -truecolor -rowsperstrip=4 -output=out in", "gm convert ppm:in -compress Zip tiff:out",
          "pamtotiff -none -truecolor -output=a in && tiffcp -r 16 -c jpeg a out",
          "pamtotiff -none -truecolor -output=a in && tiffcp -t -w 16 -l 16 -p separate a out",
          "gm convert ppm:in -colorspace CMYK jpeg:out",
          "cp in in.ppm && opj_compress -n 3 -i in.ppm -o o.jp2 >log && mv o.jp2 out",
          "cp in in.ppm && opj_compress -n 2 -i in.ppm -I -r 5 -t 16,16 -o o.j2k >log && mv o.j2k out"}) {
        files.push_back(convert(color, command));
    }
    files.push_back(convert(toNetpbm(makeFlat(33, 21, 13)), "pamtotiff -lzw -output=out in"));
    files.push_back(convert(toNetpbm(makeFlat(33, 21, 13)), "pnmtopng in > out"));
    for (const char* command : {"pamtotiff -g4 -output=out in", "pamtotiff -g3 -output=out in"}) {
        files.push_back(convert(lines, command));
    }
    return files;
}

} // namespace

TEST(Codecs, everyPrefixOfAFileIsReadOrRefused) {
    for (const Bytes& file : smallFiles()) {
        for (std::size_t length = 0; length < file.size(); ++length) {
            // A copy of its own, so that a read past the end is past the buffer.
            survive(Bytes::copyOf(file.span().first(length)));
        }
    }
}

TEST(Codecs, filesWithChangedBytesAreReadOrRefused) {
    std::uint32_t random = 12345;
    const auto next = [&] { return random = random * 1664525u + 1013904223u, random >> 8; };
    for (const Bytes& file : smallFiles()) {
        for (int round = 0; round < 400; ++round) {
            std::vector<std::uint8_t> changed(file.span().begin(), file.span().end());
            for (std::uint32_t i = 0; i <= next() % 4; ++i) {
                // Half of the changes go to the front, where the headers are.
                const std::size_t reach = next() % 2 == 0 ? changed.size() : std::min<std::size_t>(changed.size(), 200);
                changed[next() % reach] = static_cast<std::uint8_t>(next());
            }
            survive(Bytes(std::move(changed)));
        }
    }
}

TEST(Codecs, checkingAFileTouchesLittleOfIt) {
    // A large body between a sound header and a sound end: only a walk that looks at both ends finds it sound, and the
    // body's own bytes, which would be damage to a decoder, do not matter.
    const Bytes jpeg = convert(toNetpbm(makePhoto(64, 64)), "cjpeg -outfile out in");
    std::string large(jpeg.text().substr(0, jpeg.size() - 2));
    large += std::string(30 << 20, 'x') + "\xFF\xD9";
    const Bytes bytes(std::move(large));
    const ImageInfo info = readImageInfo(bytes).front();
    EXPECT_NO_THROW(verifyEncoded(bytes, info));
    EXPECT_THROW(verifyEncoded(bytes.slice(0, bytes.size() - 1), info), ImageError);
}
