#include "OrvexPDF/Page_p.h"
#include "OrvexPDF/Utils+ExtractImages.h"

#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Document.h"
#include "Platform/Imaging/Codecs.h"
#include "Support/ImageFixture.h"
#include "Support/ImagePage.h"
#include "Support/LogRecorder.h"
#include "Support/PDFFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvex {
namespace {

using test::FixtureXObject;
using test::imageDictionary;
using test::pdfWithXObjects;
using testing::ElementsAre;
using testing::IsEmpty;

using Named = std::pair<std::string, EmbeddedImage>;

/// What one walk over the first page gave and said.
struct Walk {
    std::vector<Named> images;
    std::vector<std::string> lines;
    std::string printed;
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> list;
        for (const auto& image : images) {
            list.push_back(image.first);
        }
        return list;
    }
    [[nodiscard]] PDFImagePtr raw(std::size_t index = 0) const {
        const auto* raw = index < images.size() ? std::get_if<EmbeddedRaw>(&images[index].second) : nullptr;
        return raw ? raw->image : nullptr;
    }
    [[nodiscard]] Bytes jpg(std::size_t index = 0) const {
        const auto* jpg = index < images.size() ? std::get_if<EmbeddedJPG>(&images[index].second) : nullptr;
        return jpg ? jpg->data : Bytes();
    }
};

Walk walk(const PDFPage& page) {
    Walk result;
    const test::LogRecorder log(moduleLogger());
    testing::internal::CaptureStdout();
    walkEmbeddedImages(
        page, [&](const EmbeddedImage& image, const std::string& name) { result.images.emplace_back(name, image); });
    result.printed = testing::internal::GetCapturedStdout();
    result.lines = log.texts();
    return result;
}

OrvexPDFPagePtr firstPage(const Bytes& file) {
    return OrvexPDFDocument::fromData(file)->orvexPage(0);
}

Walk walk(const std::vector<FixtureXObject>& objects, const std::vector<std::string>& more = {}) {
    return walk(*firstPage(pdfWithXObjects(objects, more)));
}

std::string warning(const std::string& error) {
    return "Utils+ExtractImages iterator(key:object:info:) warning: Error " + error;
}

/// The error of a walk over one image.
std::string errorOf(const std::string& dictionary, const std::string& data = "abc",
                    const std::vector<std::string>& more = {}) {
    const Walk result = walk({{"Im1", dictionary, data}}, more);
    EXPECT_THAT(result.images, IsEmpty()) << dictionary;
    return result.lines.size() == 1 ? result.lines.front() : std::to_string(result.lines.size()) + " lines";
}

PDFReadErrorCode failureOf(const PDFPage& page) {
    try {
        walkEmbeddedImages(page, [](const EmbeddedImage&, const std::string&) { ADD_FAILURE() << "an image"; });
    } catch (const PDFReadError& error) {
        return error.code();
    }
    ADD_FAILURE() << "no failure";
    return PDFReadErrorCode::couldNotOpenPage;
}

std::string photoJPEG(ColorModel model = ColorModel::rgb) {
    return std::string(encodeJPEG(test::makePhoto(16, 8, model), {})->text());
}

// The page

TEST(WalkEmbeddedImages, APageWithoutImagesGivesNone) {
    const std::string head = "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] ";
    for (const std::string resources : {"/Resources << >>", "/Resources << /XObject 7 >>"}) {
        const auto page = firstPage(
            Bytes(test::pdfFromObjects({"<< /Type /Catalog /Pages 2 0 R >>",
                                        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>", head + resources + " >>"})));
        const Walk result = walk(*page);
        EXPECT_THAT(result.images, IsEmpty()) << resources;
        EXPECT_THAT(result.lines, IsEmpty()) << resources;
        EXPECT_EQ(result.printed, "") << resources;
    }
}

TEST(WalkEmbeddedImages, APageWithoutResourcesOfItsOwnFails) {
    const auto page = firstPage(Bytes(test::pdfFromObjects({
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 /Resources << /XObject << >> >> >>", // inherited ones do not count
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] >>",
    })));
    EXPECT_EQ(failureOf(*page), PDFReadErrorCode::couldNotReadResources);
}

TEST(WalkEmbeddedImages, ABlankPageHasNoObject) {
    EXPECT_EQ(failureOf(PDFPage()), PDFReadErrorCode::couldNotGetPageReference);
}

TEST(WalkEmbeddedImages, AnImagePageHasItsImage) {
    const auto image = Image::fromData(Bytes(photoJPEG()));
    const Walk result = walk(*OrvexPDFPage::fromImage(image));
    ASSERT_EQ(result.images.size(), 1U);
    ASSERT_TRUE(result.raw());
    EXPECT_EQ(result.raw()->data, image->representations().front()->encoded());
}

// Order, names and what is printed

TEST(WalkEmbeddedImages, ImagesComeInTheOrderOfTheFile) {
    const std::string gray = imageDictionary(1, 1, 8, "/DeviceGray");
    const Walk result = walk({{"Im10", gray, "a"}, {"Im2", gray, "b"}, {"A", gray, "c"}, {"Im1", gray, "d"}});
    EXPECT_THAT(result.names(), ElementsAre("Im10", "Im2", "A", "Im1"));
    EXPECT_EQ(result.printed, "Im10\nIm2\nA\nIm1\n");
    EXPECT_EQ(result.raw(2)->data.text(), "c");
}

TEST(WalkEmbeddedImages, FormsAndOtherThingsAreSkippedInSilence) {
    const Walk result = walk({{"Fm1", "/Subtype /Form /BBox [0 0 1 1]", ""}, {"X", "", ""}});
    EXPECT_THAT(result.images, IsEmpty());
    EXPECT_THAT(result.lines, IsEmpty());
    EXPECT_EQ(result.printed, "");
}

TEST(WalkEmbeddedImages, AFailingImageIsLoggedAndTheWalkGoesOn) {
    const Walk result = walk(
        {{"Bad", imageDictionary(1, 1, 8, "/Pattern"), "a"}, {"Good", imageDictionary(1, 1, 8, "/DeviceGray"), "b"}});
    EXPECT_THAT(result.names(), ElementsAre("Good"));
    EXPECT_THAT(result.lines, ElementsAre(warning("unkownColorSpace(\"Pattern\")")));
    EXPECT_EQ(result.printed, "Bad\nGood\n");
}

TEST(WalkEmbeddedImages, WhatTheHandlerThrowsEndsTheWalk) {
    const std::string gray = imageDictionary(1, 1, 8, "/DeviceGray");
    const auto page = firstPage(pdfWithXObjects({{"A", gray, "a"}, {"B", gray, "b"}}));
    int calls = 0;
    const auto handler = [&calls](const EmbeddedImage&, const std::string&) {
        ++calls;
        throw std::runtime_error("enough");
    };
    EXPECT_THROW(walkEmbeddedImages(*page, handler), std::runtime_error);
    EXPECT_EQ(calls, 1);
}

// JPEG data

TEST(WalkEmbeddedImages, AJPEGWithAColorSpaceIsAnImageOfItsOwnBytes) {
    const std::string jpeg = photoJPEG();
    const Walk result = walk({{"Im1", imageDictionary(16, 8, 8, "/DeviceRGB", "/Filter /DCTDecode"), jpeg}});
    ASSERT_TRUE(result.raw());
    EXPECT_EQ(result.raw()->format, PDFStreamFormat::jpeg);
    EXPECT_EQ(result.raw()->data.text(), jpeg);
    EXPECT_EQ(result.raw()->width, 16);
    EXPECT_THAT(result.raw()->decode, IsEmpty());
    EXPECT_THAT(result.lines, IsEmpty());
}

TEST(WalkEmbeddedImages, AJPEGThatDoesNotGoWithItsColorSpaceIsHandedOutAsStored) {
    const std::string jpeg = photoJPEG();
    const std::vector<std::string> spaces = {
        "[/CalRGB << /WhitePoint [1 1 1] >>]", // a space that is not supported
        "/DeviceGray",                         // another number of components
        "[/Indexed /DeviceRGB 300 (abc)]",     // a broken one
    };
    for (const std::string& space : spaces) {
        const Walk result = walk({{"Im1", imageDictionary(16, 8, 8, space, "/Filter /DCTDecode"), jpeg}});
        EXPECT_EQ(result.jpg().text(), jpeg) << space;
        EXPECT_THAT(result.lines, IsEmpty()) << space;
    }
    const Walk without = walk({{"Im1", "/Subtype /Image /Filter /DCTDecode", jpeg}});
    EXPECT_EQ(without.jpg().text(), jpeg);
}

TEST(WalkEmbeddedImages, BytesThatAreNoJPEGAreHandedOutAsStored) {
    const Walk result = walk({{"Im1", imageDictionary(1, 1, 8, "/DeviceRGB", "/Filter /DCTDecode"), "no JPEG"},
                              {"Im2", imageDictionary(1, 1, 8, "/DeviceRGB", "/Filter /JPXDecode"), "j2k"}});
    EXPECT_EQ(result.jpg(0).text(), "no JPEG");
    EXPECT_EQ(result.jpg(1).text(), "j2k");
    EXPECT_THAT(result.lines, IsEmpty());
}

// Samples

TEST(WalkEmbeddedImages, SamplesKeepTheirDecodeArray) {
    const std::string data = "abcdefghijklmnopqr";
    const Walk result = walk({{"Im1", imageDictionary(3, 2, 8, "/DeviceRGB", "/Decode [1 0 1 0 1 0]"), data}});
    ASSERT_TRUE(result.raw());
    EXPECT_EQ(result.raw()->bytesPerRow, 9);
    EXPECT_EQ(result.raw()->bitsPerPixel, 24);
    EXPECT_THAT(result.raw()->decode, ElementsAre(1, 0, 1, 0, 1, 0));
    EXPECT_EQ(result.raw()->data.text(), data);
    const auto bitmap = result.raw()->makeRep()->bitmap();
    EXPECT_EQ(bitmap->samples[0], 255 - 'a');
    EXPECT_EQ(bitmap->samples[17], 255 - 'r');
}

TEST(WalkEmbeddedImages, ABegunByteIsDroppedFromTheRowLength) {
    const Walk result = walk({{"Im1", imageDictionary(10, 2, 1, "/DeviceGray"), "\xA5\x40\xFF\x80"}});
    ASSERT_TRUE(result.raw());
    EXPECT_EQ(result.raw()->bytesPerRow, 1);
}

TEST(WalkEmbeddedImages, SamplesThatMakeNoImageAreNamedErrors) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"/Subtype /Image /Width 1 /Height 1 /BitsPerComponent 8", "noColorSpace(nil)"},
        {"/Subtype /Image /ImageMask true /Filter /RunLengthDecode", "noColorSpace(Optional([\"RunLengthDecode\"]))"},
        {"/Subtype /Image /Filter [/ASCIIHexDecode /RunLengthDecode]",
         "noColorSpace(Optional([\"ASCIIHexDecode\", \"RunLengthDecode\"]))"},
        {"/Subtype /Image /Filter []", "noColorSpace(Optional([]))"},
        {imageDictionary(1, 1, 8, "/CalRGB"), "unkownColorSpace(\"CalRGB\")"},
        {imageDictionary(1, 1, 8, "[/CalRGB << /WhitePoint [1 1 1] >>]"), "unkownColorSpace(\"CalRGB\")"},
        {imageDictionary(1, 1, 8, "[/Separation /Spot /DeviceRGB 5 0 R]"), "unkownColorSpace(\"Separation\")"},
        {imageDictionary(1, 1, 8, "/Odd#22#0A"), "unkownColorSpace(\"Odd\\\"\\n\")"},
        {imageDictionary(1, 1, 8, "7"), "corruptColorSpace"},
        {imageDictionary(1, 1, 8, "<< >>"), "corruptColorSpace"},
        {imageDictionary(1, 1, 8, "[]"), "corruptColorSpace"},
        {imageDictionary(1, 1, 8, "[7 /DeviceRGB]"), "corruptColorSpace"},
        {"/Subtype /Image /Height 1 /BitsPerComponent 8 /ColorSpace /DeviceGray", "cannotReadSize"},
        {"/Subtype /Image /Width 1 /BitsPerComponent 8 /ColorSpace /DeviceGray", "cannotReadSize"},
        {"/Subtype /Image /Width 1.0 /Height 1 /BitsPerComponent 8 /ColorSpace /DeviceGray", "cannotReadSize"},
        {"/Subtype /Image /Width 1 /Height 1 /ColorSpace /DeviceGray", "cannotReadBitsPerComponent"},
        {imageDictionary(0, 1, 8, "/DeviceGray"), "cannotConstructImage"},
        {imageDictionary(1, -1, 8, "/DeviceGray"), "cannotConstructImage"},
        {imageDictionary(1, 1, 3, "/DeviceGray"), "cannotConstructImage"},
        {imageDictionary(1, 1, 32, "/DeviceGray"), "cannotConstructImage"},
        {imageDictionary(7, 1, 1, "/DeviceGray"), "cannotConstructImage"},
        {imageDictionary(1, 1, 16, "[/Indexed /DeviceRGB 0 (abc)]"), "cannotConstructImage"},
        {imageDictionary(1, 1, 8, "/DeviceGray", "/Filter /Crypt"), "cannotCopyData"},
        {imageDictionary(1, 1, 8, "/DeviceGray", "/Filter /Unheard"), "cannotCopyData"},
        {imageDictionary(1, 1, 8, "/DeviceGray", "/Filter [/DCTDecode /ASCIIHexDecode]"), "cannotCopyData"},
        {imageDictionary(1, 1, 8, "/DeviceGray", "/Filter [7]"), "cannotCopyData"},
    };
    for (const auto& [dictionary, error] : cases) {
        EXPECT_EQ(errorOf(dictionary), warning(error)) << dictionary;
    }
    EXPECT_EQ(errorOf(imageDictionary(1, 1, 8, "/DeviceGray"), ""), warning("cannotConstructImage"));
}

TEST(WalkEmbeddedImages, AMaskWithoutAColorSpaceNamesItsFilter) {
    const std::string mask = "/Subtype /Image /ImageMask true /Width 8 /Height 1 /Filter /CCITTFaxDecode "
                             "/DecodeParms << /K -1 /Columns 8 >>";
    EXPECT_EQ(errorOf(mask, "\x80\x01"), warning("noColorSpace(Optional([\"CCITTFaxDecode\"]))"));
}

TEST(WalkEmbeddedImages, ColorSpacesThatCannotBeBuiltAreNamedErrors) {
    const std::string profile = test::streamBody("no profile", "/N 3");
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"[/Indexed /DeviceRGB 256 (abc)]", "corruptColorSpace"},
        {"[/Indexed /DeviceRGB -1 (abc)]", "corruptColorSpace"},
        {"[/Indexed /DeviceRGB 1.0 (abc)]", "corruptColorSpace"},
        {"[/Indexed /DeviceRGB]", "corruptColorSpace"},
        {"[/Indexed]", "corruptColorSpace"},
        {"[/Indexed /DeviceRGB 0 7]", "noLookupTable"},
        {"[/Indexed /DeviceRGB 0]", "noLookupTable"},
        {"[/Indexed /Pattern 0 (abc)]", "unkownColorSpace(\"Pattern\")"},
        {"[/Indexed [/Indexed /DeviceRGB 0 (abc)] 0 (a)]", "corruptColorSpace"},
        {"[/ICCBased]", "corruptColorSpace"},
        {"[/ICCBased << /N 3 >>]", "corruptColorSpace"},
        {"[/ICCBased 5 0 R]", "corruptColorSpace"}, // no /N
        {"[/ICCBased 6 0 R]", "corruptColorSpace"}, // /N 2
        {"[/ICCBased 7 0 R]", "unkownColorSpace(\"Pattern\")"},
        {"[/ICCBased 8 0 R]", "corruptColorSpace"}, // an alternate of one component for three
        {"[/Lab]", "corruptColorSpace"},
        {"[/Lab << >>]", "corruptColorSpace"},
        {"[/Lab << /WhitePoint 7 >>]", "corruptColorSpace"},
        {"[/Lab << /WhitePoint [1 1] >>]", "corruptColorSpace"},
        {"[/Lab << /WhitePoint [1 1 1] /Range [0 1] >>]", "corruptColorSpace"},
        {"9 0 R", "corruptColorSpace"}, // built on itself
    };
    const std::vector<std::string> more = {
        profile,
        test::streamBody("no profile"),
        test::streamBody("no profile", "/N 2"),
        test::streamBody("no profile", "/N 3 /Alternate /Pattern"),
        test::streamBody("no profile", "/N 3 /Alternate /DeviceGray"),
        "[/Indexed 9 0 R 0 (abc)]",
    };
    for (const auto& [space, error] : cases) {
        EXPECT_EQ(errorOf(imageDictionary(1, 1, 8, space), "abc", more), warning(error)) << space;
    }
}

TEST(WalkEmbeddedImages, ProfilesThatAreRefusedGiveTheAlternate) {
    const std::vector<std::string> more = {
        test::streamBody("no profile", "/N 3"),
        test::streamBody("no profile", "/N 3 /Alternate [/Lab << /WhitePoint [1 1 1] >>]"),
    };
    const Walk result = walk({{"A", imageDictionary(1, 1, 8, "[/ICCBased 4 0 R]"), "abc"},
                              {"B", imageDictionary(1, 1, 8, "[/ICCBased 5 0 R]"), "abc"}},
                             more);
    EXPECT_THAT(result.lines, IsEmpty());
    ASSERT_EQ(result.images.size(), 2U);
    EXPECT_EQ(result.raw(0)->colorSpace->family(), PDFColorSpace::Family::device);
    EXPECT_EQ(result.raw(1)->colorSpace->family(), PDFColorSpace::Family::lab);
}

TEST(WalkEmbeddedImagesDeathTest, AnArrayOfNumbersWithSomethingElseIsFatal) {
    const auto page =
        firstPage(pdfWithXObjects({{"Im1", imageDictionary(1, 1, 8, "/DeviceGray", "/Decode [0 /One]"), "a"}}));
    EXPECT_DEATH(walkEmbeddedImages(*page, [](const EmbeddedImage&, const std::string&) {}), "array of numbers");
}

TEST(WalkEmbeddedImagesDeathTest, ARowWhoseBitsOverflowIsFatal) {
    const auto page = firstPage(pdfWithXObjects(
        {{"Im1", "/Subtype /Image /Width 9223372036854775807 /Height 1 /BitsPerComponent 8 /ColorSpace /DeviceGray",
          "a"}}));
    EXPECT_DEATH(walkEmbeddedImages(*page, [](const EmbeddedImage&, const std::string&) {}), "image's row");
}

// Descriptions

TEST(PDFReadError, DescribesItselfByItsName) {
    EXPECT_STREQ(PDFReadError(PDFReadErrorCode::couldNotReadResources).what(), "couldNotReadResources");
    EXPECT_STREQ(PDFReadError(PDFReadErrorCode::cannotCopyData).what(), "cannotCopyData");
    const auto error = PDFReadError::couldNotOpenPage(3);
    EXPECT_STREQ(error.what(), "couldNotOpenPage(3)");
    EXPECT_EQ(error.page(), 3);
}

// As images for a host

TEST(ExtractEmbeddedImages, PixelsBecomeWholePointsAt300DPI) {
    const std::string gray = imageDictionary(1001, 500, 8, "/DeviceGray");
    const auto images = firstPage(pdfWithXObjects({{"Im1", gray, std::string(500500, 'x')}}))->extractEmbeddedImages();
    ASSERT_EQ(images.size(), 1U);
    EXPECT_EQ(images[0]->size(), (Size{240, 120}));
    EXPECT_EQ(images[0]->representations().front()->size(), (Size{240, 120}));
    EXPECT_EQ(images[0]->representations().front()->pixelsWide(), 1001);
}

TEST(ExtractEmbeddedImages, StoredBytesAreImagesOfTheirOwnSizeOrLeftOut) {
    const std::string jpeg(encodeJPEG(test::makePhoto(16, 8), {0.9, 144, 144})->text());
    const std::string jpegEntries = "/Subtype /Image /Filter /DCTDecode";
    const auto page = firstPage(pdfWithXObjects({{"Bad", jpegEntries, "no JPEG"}, {"Good", jpegEntries, jpeg}}));
    const auto images = page->extractEmbeddedImages();
    ASSERT_EQ(images.size(), 1U);
    EXPECT_EQ(images[0]->size(), (Size{8, 4}));
}

TEST(ExtractEmbeddedImages, AJPEGWithAColorSpaceIsNotEncodedAgain) {
    const std::string jpeg = photoJPEG();
    const std::string entries = imageDictionary(16, 8, 8, "/DeviceRGB", "/Filter /DCTDecode");
    const auto images = firstPage(pdfWithXObjects({{"Im1", entries, jpeg}}))->extractEmbeddedImages();
    ASSERT_EQ(images.size(), 1U);
    EXPECT_EQ(images[0]->representations().front()->encoded().text(), jpeg);
    EXPECT_EQ(images[0]->size(), (Size{3, 1}));
}

TEST(ExtractEmbeddedImages, DecodedImagesBeyondTheBoundAreLoggedAndLeftOut) {
    const std::string entries = imageDictionary(100, 10, 8, "/DeviceGray");
    const std::string samples(1000, 'x');
    const auto page = firstPage(pdfWithXObjects({{"Im1", entries, samples},
                                                 {"Im2", entries, samples},
                                                 {"Im3", imageDictionary(10, 10, 8, "/DeviceGray"), samples}}));
    const test::LogRecorder log(moduleLogger());
    EXPECT_EQ(embeddedImages(*page, 2100).size(), 3u);
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_EQ(embeddedImages(*page, 2000).size(), 2u);
    EXPECT_EQ(embeddedImages(*page, 1999).size(), 2u); // a smaller one still fits
    EXPECT_THAT(log.texts(), ElementsAre("Page extractEmbeddedImages() warning: Error cannotConstructImage",
                                         "Page extractEmbeddedImages() warning: Error cannotConstructImage"));
}

TEST(ExtractEmbeddedImages, APageThatCannotBeReadIsLogged) {
    const test::LogRecorder log(moduleLogger());
    EXPECT_THAT(OrvexPDFPage().extractEmbeddedImages(), IsEmpty());
    EXPECT_THAT(log.texts(), ElementsAre("Page extractEmbeddedImages() warning: Error couldNotGetPageReference"));
}

} // namespace
} // namespace orvex
