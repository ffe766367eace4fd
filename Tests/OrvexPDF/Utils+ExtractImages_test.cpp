#include "OrvexPDF/Utils+ExtractImages.h"

#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Document.h"
#include "Platform/Imaging/Codecs.h"
#include "Platform/Imaging/Deflate.h"
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
    const Walk result =
        walk({{"Fm1", "/Subtype /Form /BBox [0 0 1 1]", ""}, {"X", "", ""}, {"Y", "/Subtype (Image)", ""}});
    EXPECT_THAT(result.images, IsEmpty());
    EXPECT_THAT(result.lines, IsEmpty());
    EXPECT_EQ(result.printed, "");
    // An image is a stream: a dictionary that calls itself one is none, nor is anything else that stands there.
    const auto page = firstPage(Bytes(test::pdfFromObjects(
        {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
         "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] /Resources << /XObject << /A << /Subtype /Image >> /B 7 "
         "/C [/Image] /D 99 0 R >> >> >>"})));
    const Walk others = walk(*page);
    EXPECT_THAT(others.images, IsEmpty());
    EXPECT_THAT(others.lines, IsEmpty());
    EXPECT_EQ(others.printed, "");
}

TEST(WalkEmbeddedImages, ImagesInsideFormsAreNotReached) {
    const Walk result = walk({{"Fm1", "/Subtype /Form /BBox [0 0 1 1] /Resources << /XObject << /Im1 4 0 R >> >>", ""}},
                             {test::streamBody("a", imageDictionary(1, 1, 8, "/DeviceGray"))});
    EXPECT_THAT(result.images, IsEmpty());
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

TEST(WalkEmbeddedImages, JPEG2000IsHandedOutAsStoredWhateverItsColorSpace) {
    const Bytes jp2 = *encodeJPEG2000(test::makePhoto(16, 8), {0.5});
    for (const std::string space : {"/DeviceRGB", "/DeviceGray", "/Pattern"}) {
        const Walk result =
            walk({{"Im1", imageDictionary(16, 8, 8, space, "/Filter /JPXDecode"), std::string(jp2.text())}});
        EXPECT_EQ(result.jpg(), jp2) << space;
        EXPECT_THAT(result.lines, IsEmpty()) << space;
    }
}

TEST(WalkEmbeddedImages, AFilterAroundAJPEGIsUndone) {
    const std::string jpeg = photoJPEG();
    const Bytes packed = deflate({reinterpret_cast<const std::uint8_t*>(jpeg.data()), jpeg.size()});
    const std::string filters = "/Filter [/FlateDecode /DCTDecode]";
    const Walk result = walk({{"Im1", "/Subtype /Image " + filters, std::string(packed.text())},
                              {"Im2", imageDictionary(16, 8, 8, "/DeviceRGB", filters), std::string(packed.text())}});
    EXPECT_EQ(result.jpg(0).text(), jpeg);
    ASSERT_TRUE(result.raw(1));
    EXPECT_EQ(result.raw(1)->data.text(), jpeg);
}

TEST(WalkEmbeddedImages, ADecodeArrayOfAJPEGIsNotRequiredToBeNumbers) {
    const std::string entries = imageDictionary(16, 8, 8, "/DeviceRGB", "/Filter /DCTDecode /Decode [/One]");
    EXPECT_TRUE(walk({{"Im1", entries, photoJPEG()}}).raw());
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

TEST(WalkEmbeddedImages, ADecodeEntryThatIsNoArrayCountsAsNone) {
    const Walk result = walk({{"Im1", imageDictionary(1, 1, 8, "/DeviceGray", "/Decode /One"), "a"}});
    ASSERT_TRUE(result.raw());
    EXPECT_THAT(result.raw()->decode, IsEmpty());
}

TEST(WalkEmbeddedImages, TheFirstOfSeveralFaultsIsNamed) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"/Subtype /Image /Filter /Unheard", "cannotCopyData"}, // without colour space and size
        {"/Subtype /Image", "noColorSpace(nil)"},
        {"/Subtype /Image /ColorSpace /CalRGB", "unkownColorSpace(\"CalRGB\")"}, // without a size
        {"/Subtype /Image /ColorSpace /DeviceGray", "cannotReadSize"},           // without a depth
        {"/Subtype /Image /ColorSpace /DeviceGray /Width 0 /Height 1", "cannotReadBitsPerComponent"},
        {imageDictionary(1, 1, 8, "[/Indexed /Pattern 256 7]"), "unkownColorSpace(\"Pattern\")"},
        {imageDictionary(1, 1, 8, "[/Indexed /DeviceRGB 256 7]"), "corruptColorSpace"},
    };
    for (const auto& [dictionary, error] : cases) {
        EXPECT_EQ(errorOf(dictionary), warning(error)) << dictionary;
    }
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
        {imageDictionary(1, 1, 8, "[/CalGray << /WhitePoint [1 1 1] >>]"), "unkownColorSpace(\"CalGray\")"},
        {imageDictionary(1, 1, 8, "[/DeviceN [/Spot] /DeviceRGB 5 0 R]"), "unkownColorSpace(\"DeviceN\")"},
        {imageDictionary(1, 1, 8, "[/Pattern /DeviceRGB]"), "unkownColorSpace(\"Pattern\")"},
        {imageDictionary(1, 1, 8, "[/DeviceRGB]"), "unkownColorSpace(\"DeviceRGB\")"}, // arrays are for families
        {imageDictionary(1, 1, 8, "/Indexed"), "unkownColorSpace(\"Indexed\")"},
        {imageDictionary(1, 1, 8, "/RGB"), "unkownColorSpace(\"RGB\")"}, // a short form is for inline images
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
        {"[/Indexed /DeviceRGB 0 10 0 R]", "corruptColorSpace"},
        {"[/ICCBased 11 0 R]", "corruptColorSpace"},
        {"[/ICCBased 12 0 R]", "corruptColorSpace"},
    };
    const std::vector<std::string> more = {
        profile,
        test::streamBody("no profile"),
        test::streamBody("no profile", "/N 2"),
        test::streamBody("no profile", "/N 3 /Alternate /Pattern"),
        test::streamBody("no profile", "/N 3 /Alternate /DeviceGray"),
        "[/Indexed 9 0 R 0 (abc)]",
        test::streamBody("abc", "/Filter /Unheard"),
        test::streamBody("no profile", "/N 3 /Filter /Unheard"),
        test::streamBody("no profile", "/N 3.0"),
    };
    for (const auto& [space, error] : cases) {
        EXPECT_EQ(errorOf(imageDictionary(1, 1, 8, space), "abc", more), warning(error)) << space;
    }
}

TEST(WalkEmbeddedImages, ColorSpacesAreReadAsTheFileWritesThem) {
    using Family = PDFColorSpace::Family;
    struct Case {
        std::string space;
        Family family;
        int components;
    };
    const std::vector<Case> cases = {
        {"/DeviceGray", Family::device, 1},
        {"/DeviceRGB", Family::device, 3},
        {"/DeviceCMYK", Family::device, 4},
        {"[/Indexed /DeviceRGB 0 4 0 R]", Family::indexed, 1},
        {"[/Indexed /DeviceRGB 255 (abc)]", Family::indexed, 1},
        {"[/ICCBased 5 0 R]", Family::device, 3}, // the range of the stream is not read
        {"[/Lab << /WhitePoint [1 1 1] >>]", Family::lab, 3},
        {"[/Lab << /WhitePoint [1 1 1] /BlackPoint [0 0 0] /Range [-9 9 -8 8] >>]", Family::lab, 3},
        {"[/Lab << /WhitePoint [1 1 1] /BlackPoint 7 /Range /None >>]", Family::lab, 3},
    };
    const std::vector<std::string> more = {test::streamBody("xyz"),
                                           test::streamBody("no profile", "/N 3 /Range [/One /Two]")};
    for (const auto& [space, family, components] : cases) {
        const Walk result = walk({{"Im1", imageDictionary(1, 1, 8, space), "abcd"}}, more);
        ASSERT_TRUE(result.raw()) << space;
        EXPECT_EQ(result.raw()->colorSpace->family(), family) << space;
        EXPECT_EQ(result.raw()->colorSpace->components(), components) << space;
    }
    const Walk indexed =
        walk({{"Im1", imageDictionary(1, 1, 8, "[/Indexed /DeviceRGB 0 4 0 R]"), std::string(1, '\0')}}, more);
    EXPECT_EQ(indexed.raw()->makeRep()->bitmap()->samples, (std::vector<std::uint8_t>{'x', 'y', 'z'}));
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
    const std::string lab = "[/Lab << /WhitePoint [1 1 1] ";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"/DeviceGray", "/Decode [0 /One]"},
        {"[/Lab << /WhitePoint [1 /One 1] >>]", ""},
        {lab + "/BlackPoint [0 0 (0)] >>]", ""},
        {lab + "/Range [0 1 null 1] >>]", ""},
        {lab + "/Range [0 1 /One 1] >>]", "/Filter /DCTDecode"}, // no error that stored data would hide
    };
    for (const auto& [space, more] : cases) {
        const auto page = firstPage(pdfWithXObjects({{"Im1", imageDictionary(1, 1, 8, space, more), "abc"}}));
        EXPECT_DEATH(walkEmbeddedImages(*page, [](const EmbeddedImage&, const std::string&) {}), "array of numbers")
            << space;
    }
}

TEST(WalkEmbeddedImagesDeathTest, BitsThatOverflowAreFatal) {
    const std::string most = "9223372036854775807";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"/Width " + most + " /Height 1 /BitsPerComponent 8 /ColorSpace /DeviceGray", "image's row"},
        {"/Width 1 /Height 1 /BitsPerComponent " + most + " /ColorSpace /DeviceRGB", "image's pixel"},
    };
    for (const auto& [entries, what] : cases) {
        const auto page = firstPage(pdfWithXObjects({{"Im1", "/Subtype /Image " + entries, "a"}}));
        EXPECT_DEATH(walkEmbeddedImages(*page, [](const EmbeddedImage&, const std::string&) {}), what);
    }
}

// Readers of entries

/// The resources of the page stand for any dictionary.
PDFObject entries(const std::string& text) {
    const auto page = firstPage(Bytes(test::pdfFromObjects(
        {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
         "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] /Resources << " + text + " >> >>", "[/Far 1 /Away]"})));
    return PDFObject::ofPage(*page).get("Resources");
}

TEST(EmbeddedImageEntries, NamesAreANameOrThoseOfAnArray) {
    const PDFObject in = entries("/One /A /Some [/B 7 (C) /D null] /None [] /Number 7 /Text (E) /Reference 4 0 R");
    EXPECT_EQ(names("One", in), (std::vector<std::string>{"A"}));
    EXPECT_EQ(names("Some", in), (std::vector<std::string>{"B", "D"}));
    EXPECT_EQ(names("None", in), std::vector<std::string>());
    EXPECT_EQ(names("Reference", in), (std::vector<std::string>{"Far", "Away"}));
    for (const char* key : {"Number", "Text", "Missing"}) {
        EXPECT_EQ(names(key, in), std::nullopt) << key;
    }
}

TEST(EmbeddedImageEntries, NumbersAreIntegersAndReals) {
    const PDFObject in = entries("/A [1 -2.5 0] /B []");
    EXPECT_THAT(numbers(in.get("A")), ElementsAre(1, -2.5, 0));
    EXPECT_THAT(numbers(in.get("B")), IsEmpty());
}

// Descriptions

TEST(PDFReadError, DescribesItselfByItsName) {
    const std::vector<std::string> names = {"couldNotOpenPage", "couldNotGetPageReference",
                                            "couldNotOpenPageDictionary", "couldNotReadResources", "cannotCopyData"};
    for (std::size_t i = 1; i < names.size(); ++i) {
        EXPECT_EQ(PDFReadError(static_cast<PDFReadErrorCode>(i)).what(), names[i]);
    }
    const auto error = PDFReadError::couldNotOpenPage(3);
    EXPECT_STREQ(error.what(), "couldNotOpenPage(3)");
    EXPECT_EQ(error.page(), 3);
}

TEST(RawDecodingError, DescribesItselfByItsNameAndWhatItCarries) {
    const std::vector<std::string> names = {"noColorSpace",   "unkownColorSpace",           "cannotConstructImage",
                                            "cannotReadSize", "cannotReadBitsPerComponent", "corruptColorSpace",
                                            "noLookupTable"};
    for (std::size_t i = 2; i < names.size(); ++i) {
        EXPECT_EQ(RawDecodingError(static_cast<RawDecodingErrorCode>(i)).what(), names[i]);
    }
    const auto none = RawDecodingError::noColorSpace(std::vector<std::string>{"A", "B"});
    EXPECT_EQ(none.code(), RawDecodingErrorCode::noColorSpace);
    EXPECT_THAT(*none.filters(), ElementsAre("A", "B"));
    const auto unknown = RawDecodingError::unkownColorSpace("CalRGB");
    EXPECT_EQ(unknown.code(), RawDecodingErrorCode::unkownColorSpace);
    EXPECT_EQ(unknown.name(), "CalRGB");
}

} // namespace
} // namespace orvex
