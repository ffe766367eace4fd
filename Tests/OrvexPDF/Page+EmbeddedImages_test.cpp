#include "OrvexPDF/Page_p.h"

#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Document.h"
#include "Platform/Imaging/Codecs.h"
#include "Support/ImageFixture.h"
#include "Support/ImagePage.h"
#include "Support/LogRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvex {
namespace {

using test::imageDictionary;
using test::pdfWithXObjects;
using testing::ElementsAre;
using testing::IsEmpty;

OrvexPDFPagePtr firstPage(const Bytes& file) {
    return OrvexPDFDocument::fromData(file)->orvexPage(0);
}

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
    const std::string jpeg(encodeJPEG(test::makePhoto(16, 8), {})->text());
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
