#include "Platform/PDF/Objects/PDFImage.h"

#include "Platform/Imaging/Codecs.h"
#include "Support/ImageFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvex {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;

PDFColorSpacePtr space(ColorModel model) {
    return PDFColorSpace::device(model);
}

/// Samples with rows of whole bytes.
PDFImage samples(std::int64_t width, std::int64_t height, int bits, PDFColorSpacePtr meaning, std::string data,
                 std::vector<double> decode = {}) {
    PDFImage image;
    image.width = width;
    image.height = height;
    image.bitsPerComponent = bits;
    image.bitsPerPixel = bits * meaning->components();
    image.bytesPerRow = (width * image.bitsPerPixel + 7) / 8;
    image.colorSpace = std::move(meaning);
    image.decode = std::move(decode);
    image.data = Bytes(std::move(data));
    return image;
}

Bitmap pixels(PDFImage image) {
    const PDFImagePtr made = PDFImage::fromSamples(std::move(image));
    return made ? *made->makeRep()->bitmap() : Bitmap{};
}

std::vector<int> values(const Bitmap& bitmap) {
    return {bitmap.samples.begin(), bitmap.samples.end()};
}

std::vector<int> deepValues(const Bitmap& bitmap) {
    const auto* samples = reinterpret_cast<const std::uint16_t*>(bitmap.samples.data());
    return {samples, samples + bitmap.samples.size() / 2};
}

// Depths and decode arrays

TEST(PDFImage, BilevelGreyStaysBilevel) {
    const Bitmap plain = pixels(samples(10, 2, 1, space(ColorModel::gray), std::string("\xA5\xFF\x0F\x00", 4)));
    EXPECT_EQ(plain.bitsPerComponent, 1);
    EXPECT_THAT(values(plain), ElementsAre(0xA5, 0xC0, 0x0F, 0x00));
    const Bitmap inverted =
        pixels(samples(10, 2, 1, space(ColorModel::gray), std::string("\xA5\xFF\x0F\x00", 4), {1, 0}));
    EXPECT_EQ(inverted.bitsPerComponent, 1);
    EXPECT_THAT(values(inverted), ElementsAre(0x5A, 0x00, 0xF0, 0xC0));
}

TEST(PDFImage, SamplesOfAnyDepthFillTheirRange) {
    EXPECT_THAT(values(pixels(samples(4, 1, 2, space(ColorModel::gray), "\x1B"))), ElementsAre(0, 85, 170, 255));
    EXPECT_THAT(values(pixels(samples(3, 1, 4, space(ColorModel::gray), "\x08\xF0"))), ElementsAre(0, 136, 255));
    EXPECT_THAT(values(pixels(samples(1, 1, 8, space(ColorModel::rgb), "abc"))), ElementsAre('a', 'b', 'c'));
    EXPECT_THAT(values(pixels(samples(1, 1, 1, space(ColorModel::rgb), "\xA0"))), ElementsAre(255, 0, 255));
    EXPECT_THAT(values(pixels(samples(1, 1, 8, space(ColorModel::cmyk), "abcd"))), ElementsAre('a', 'b', 'c', 'd'));
    const Bitmap deep = pixels(samples(2, 1, 16, space(ColorModel::gray), "\x12\x34\xFF\xFF"));
    EXPECT_EQ(deep.bitsPerComponent, 16);
    EXPECT_THAT(deepValues(deep), ElementsAre(0x1234, 0xFFFF));
}

TEST(PDFImage, ADecodeArrayMapsEachComponent) {
    EXPECT_THAT(values(pixels(samples(1, 1, 8, space(ColorModel::rgb), "\x40\x40\x40", {1, 0, 0, 0.5, 0.5, 1}))),
                ElementsAre(0xBF, 0x20, 160));
    EXPECT_THAT(values(pixels(samples(2, 1, 1, space(ColorModel::gray), "\x40", {0.25, 0.75}))), ElementsAre(64, 191));
    EXPECT_THAT(values(pixels(samples(2, 1, 8, space(ColorModel::gray), std::string("\0\xFF", 2), {-5, 5}))),
                ElementsAre(0, 255));
    EXPECT_THAT(deepValues(pixels(samples(1, 1, 16, space(ColorModel::gray), "\x12\x34", {1, 0}))),
                ElementsAre(0xFFFF - 0x1234));
}

TEST(PDFImage, ADecodeArrayThatIsTooShortCountsAsNone) {
    const auto image = PDFImage::fromSamples(samples(1, 1, 8, space(ColorModel::rgb), "abc", {1, 0, 1, 0}));
    ASSERT_TRUE(image);
    EXPECT_TRUE(image->decode.empty());
}

TEST(PDFImage, IndexedSamplesTakeTheirColors) {
    const auto palette = PDFColorSpace::indexed(space(ColorModel::rgb), 2, Bytes::copyOf("abcdefghi"));
    EXPECT_THAT(values(pixels(samples(4, 1, 2, palette, "\x1B"))), // the last one is beyond the table
                ElementsAreArray({'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'g', 'h', 'i'}));
    EXPECT_THAT(values(pixels(samples(2, 1, 1, palette, "\x40", {1, 0}))),
                ElementsAreArray({'d', 'e', 'f', 'a', 'b', 'c'}));
    EXPECT_THAT(values(pixels(samples(1, 1, 8, palette, "\x02"))), ElementsAre('g', 'h', 'i'));
    const auto gray = PDFColorSpace::indexed(space(ColorModel::gray), 1, Bytes::copyOf("ab"));
    EXPECT_THAT(values(pixels(samples(2, 1, 8, gray, std::string("\1\0", 2)))), ElementsAre('b', 'a'));
    const auto one = PDFColorSpace::indexed(space(ColorModel::gray), 0, Bytes::copyOf("a"));
    EXPECT_THAT(values(pixels(samples(1, 1, 8, one, "\xFF"))), ElementsAre('a'));
}

TEST(PDFImage, LabSamplesBecomeSRGB) {
    const auto lab = PDFColorSpace::lab({0.9642, 1, 0.8249}, {}, std::vector<double>{-128, 127, -128, 127});
    const std::string white("\xFF\x80\x80", 3);
    EXPECT_THAT(values(pixels(samples(1, 1, 8, lab, white))), ElementsAre(255, 255, 255));
    EXPECT_THAT(values(pixels(samples(1, 1, 8, lab, std::string("\x8A\xD1\xC6", 3)))),
                ElementsAre(testing::Ge(252), testing::Le(8), testing::Le(8))); // red
    const auto palette = PDFColorSpace::indexed(lab, 0, Bytes::copyOf(white));
    EXPECT_THAT(values(pixels(samples(1, 1, 8, palette, std::string(1, '\0')))), ElementsAre(255, 255, 255));
    const Bitmap deep =
        pixels(samples(1, 1, 16, PDFColorSpace::lab({1, 1, 1}, {}, {}), std::string("\xFF\xFF\x80\0\x80\0", 6)));
    EXPECT_EQ(deep.bitsPerComponent, 16);
    EXPECT_THAT(deepValues(deep), Each(testing::Ge(65400)));
}

// Rows and data that are short

TEST(PDFImage, RowsFollowEachOtherAsTheRowLengthSays) {
    PDFImage image = samples(10, 2, 1, space(ColorModel::gray), std::string("\xFF\x00\xFF\x00", 4));
    image.bytesPerRow = 1; // one byte and two bits of the next row's
    const PDFImagePtr made = PDFImage::fromSamples(image);
    ASSERT_TRUE(made);
    EXPECT_THAT(values(*made->makeRep()->bitmap()), ElementsAre(0xFF, 0x00, 0x00, 0xC0));
    EXPECT_THAT(values(*made->withWholeByteRows()->makeRep()->bitmap()), ElementsAre(0xFF, 0x00, 0xFF, 0x00));
    PDFImage gray = samples(3, 2, 4, space(ColorModel::gray), "\x12\x34");
    gray.bytesPerRow = 1;
    EXPECT_THAT(values(pixels(gray)), ElementsAre(17, 34, 51, 51, 68, 0));
}

TEST(PDFImage, MissingSamplesAreZero) {
    EXPECT_THAT(values(pixels(samples(2, 2, 8, space(ColorModel::gray), "a"))), ElementsAre('a', 0, 0, 0));
    EXPECT_THAT(values(pixels(samples(8, 3, 1, space(ColorModel::gray), "\xFF"))), ElementsAre(255, 0, 0));
    EXPECT_THAT(values(pixels(samples(8, 2, 1, space(ColorModel::gray), "\xFF", {1, 0}))), ElementsAre(0, 255));
}

TEST(PDFImage, WhatMakesNoImageIsRefused) {
    const auto gray = space(ColorModel::gray);
    const auto refused = [](PDFImage image) { return PDFImage::fromSamples(std::move(image)) == nullptr; };
    EXPECT_TRUE(refused(samples(0, 1, 8, gray, "a")));
    EXPECT_TRUE(refused(samples(1, 0, 8, gray, "a")));
    EXPECT_TRUE(refused(samples(-1, 1, 8, gray, "a")));
    EXPECT_TRUE(refused(samples(1, 1, 3, gray, "a")));
    EXPECT_TRUE(refused(samples(1, 1, 0, gray, "a")));
    EXPECT_TRUE(refused(samples(1, 1, 8, gray, "")));
    EXPECT_TRUE(refused(samples(1, 1, 16, PDFColorSpace::indexed(gray, 0, Bytes()), "ab")));
    PDFImage stride = samples(16, 1, 1, gray, "ab");
    stride.bytesPerRow = 1;
    EXPECT_TRUE(refused(stride));
    PDFImage narrow = samples(7, 1, 1, gray, "a");
    narrow.bytesPerRow = 0;
    EXPECT_TRUE(refused(narrow));
    PDFImage wrongPixel = samples(1, 1, 8, gray, "abc");
    wrongPixel.bitsPerPixel = 24;
    EXPECT_TRUE(refused(wrongPixel));
}

TEST(PDFImage, DimensionsThatLieAreRefused) {
    const auto gray = space(ColorModel::gray);
    const auto refused = [](PDFImage image) { return PDFImage::fromSamples(std::move(image)) == nullptr; };
    EXPECT_TRUE(refused(samples(40000, 40000, 8, gray, "a"))); // more than is ever decoded
    EXPECT_TRUE(refused(samples(20000, 20000, 8, gray, "a"))); // 400 MB of nothing
    EXPECT_TRUE(refused(samples(60000, 60000, 1, space(ColorModel::rgb), std::string(1 << 20, 'a'))));
    EXPECT_TRUE(refused(samples(std::int64_t{1} << 40, 1, 8, gray, "a")));
    EXPECT_FALSE(refused(samples(8000, 8000, 8, gray, "a"))); // a little of nothing is filled in
    EXPECT_FALSE(refused(samples(20000, 20000, 1, gray, std::string(20 << 20, 'a'))));
}

// JPEG data

TEST(PDFImage, JPEGDataStayAsTheyAre) {
    const Bytes jpeg = *encodeJPEG(test::makePhoto(40, 30), {});
    const PDFImagePtr image = PDFImage::fromJPEG(jpeg);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->bitsPerPixel, 24);
    EXPECT_EQ(image->bytesPerRow, 0);
    const auto rep = image->withColorSpace(space(ColorModel::rgb))->makeRep();
    EXPECT_EQ(rep->encoded(), jpeg);
    EXPECT_EQ(rep->size(), (Size{40, 30}));
    EXPECT_FALSE(image->withColorSpace(space(ColorModel::cmyk)));
    EXPECT_FALSE(image->withColorSpace(nullptr));
    EXPECT_FALSE(PDFImage::fromJPEG(Bytes::copyOf("no JPEG")));
    EXPECT_FALSE(PDFImage::fromJPEG(jpeg.slice(0, 20)));
}

TEST(PDFImage, AJPEGMayBeIndexed) {
    Bitmap gray = Bitmap::make(16, 16, 8, {ColorModel::gray, {}, 0});
    std::fill(gray.samples.begin(), gray.samples.end(), std::uint8_t{128});
    const auto palette = PDFColorSpace::indexed(space(ColorModel::rgb), 255, Bytes(std::string(128 * 3, 'a') + "xyz"));
    const auto image = PDFImage::fromJPEG(*encodeJPEG(gray, {1, 72, 72}))->withColorSpace(palette);
    ASSERT_TRUE(image);
    const BitmapPtr bitmap = image->makeRep()->bitmap();
    EXPECT_EQ(bitmap->colorSpace.model, ColorModel::rgb);
    EXPECT_EQ(bitmap->samples[0], 'x');
}

TEST(PDFImage, WhatTheCameraNotedIsNothingToThePage) {
    const Bytes jpeg =
        test::withJPEGSegment(*encodeJPEG(test::makePhoto(16, 8), {}), 0xE1, test::exifBlock(6, 300, 2, true));
    const auto image = PDFImage::fromJPEG(jpeg)->withColorSpace(space(ColorModel::rgb));
    EXPECT_EQ(image->makeRep()->info().orientation, 1);
}

TEST(PDFImage, InksAreInvertedWhereTheFileSaysSo) {
    const Bitmap photo = test::makePhoto(16, 16, ColorModel::cmyk);
    const Bytes jpeg = *encodeJPEG(photo, {1, 72, 72});
    const auto at = [&](bool inverted) {
        return *PDFImage::fromJPEG(jpeg, inverted)->withColorSpace(space(ColorModel::cmyk))->makeRep()->bitmap();
    };
    const Bitmap plain = at(false);
    const Bitmap inverted = at(true);
    for (std::size_t i = 0; i < plain.samples.size(); ++i) {
        ASSERT_EQ(plain.samples[i] + inverted.samples[i], 255);
    }
}

} // namespace
} // namespace orvex
