// Pages that are one picture, made from that picture, beside PDFium drawing the page.
#include "OrvexPDF/Document.h"
#include "OrvexPDF/Page_p.h"
#include "Platform/Imaging/Codecs.h"
#include "Platform/PDF/Renderer.h"
#include "Support/ImageFixture.h"
#include "Support/PDFFixture.h"
#include "Support/Places.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <ostream>

namespace orvex {
namespace {

using namespace test;

/// PDFium reduces more softly: pages of strokes are this much alike, and not lighter or darker on the whole.
constexpr double leastSimilarity = 0.95;
constexpr double mostMeanDifference = 1;

double mean(const Bitmap& bitmap, std::size_t channel) {
    double sum = 0;
    for (std::size_t i = channel; i < bitmap.samples.size(); i += 4) {
        sum += bitmap.samples[i];
    }
    return sum * 4 / static_cast<double>(bitmap.samples.size());
}

void expectAlike(const Bitmap& ours, const Bitmap& theirs, const std::string& what) {
    EXPECT_GT(similarity(ours, theirs), leastSimilarity) << what;
    for (std::size_t channel = 0; channel < 4; ++channel) {
        EXPECT_NEAR(mean(ours, channel), mean(theirs, channel), mostMeanDifference) << what << " channel " << channel;
    }
}

struct Scan {
    std::string content = "q 300 0 0 200 0 0 cm /Im1 Do Q";
    std::string page = "";  ///< further entries of the page
    std::string image = ""; ///< further entries of the picture
    std::string colorSpace = "/DeviceRGB";
    std::string mediaBox = "[0 0 300 200]";
    Bytes jpeg;
};

Bytes photo(const std::string& options = "-quality 90") {
    return convert(toNetpbm(makePhoto(900, 600)), "cjpeg " + options + " -outfile out in");
}

OrvexPDFPagePtr pageOf(const Scan& scan, const std::string& filter = "/DCTDecode",
                       std::optional<std::int64_t> bits = 8) {
    const std::string dictionary = "/Type /XObject /Subtype /Image /Width 900 /Height 600" +
                                   (bits ? " /BitsPerComponent " + std::to_string(*bits) : "") + " /ColorSpace " +
                                   scan.colorSpace + (filter.empty() ? "" : " /Filter " + filter) + " " + scan.image;
    return OrvexPDFDocument::fromData(
               Bytes(pdfFromObjects({
                   "<< /Type /Catalog /Pages 2 0 R >>",
                   "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                   "<< /Type /Page /Parent 2 0 R /MediaBox " + scan.mediaBox + " /Contents 4 0 R " + scan.page +
                       " /Resources << /XObject << /Im1 5 0 R /Im2 5 0 R >> /Font << /F1 << /Type /Font /Subtype "
                       "/Type1 /BaseFont /Helvetica >> >> >> >>",
                   streamBody(scan.content),
                   streamBody(std::string((scan.jpeg.empty() ? photo() : scan.jpeg).text()), dictionary),
                   streamBody(std::string(900 * 600, '\x80'),
                              "/Type /XObject /Subtype /Image /Width 900 /Height 600 /BitsPerComponent 8 /ColorSpace "
                              "/DeviceGray"),
               })))
        ->orvexPage(0);
}

struct Case {
    const char* name;
    Scan scan;
};
void PrintTo(const Case& row, std::ostream* out) {
    *out << row.name;
}

class ScanPages : public testing::TestWithParam<Case> {};
class OtherPages : public testing::TestWithParam<Case> {};

} // namespace

TEST_P(ScanPages, lookAsPDFiumDrawsThem) {
    const auto page = pageOf(GetParam().scan);
    const bool turned = page->rotation() % 180 != 0;
    for (const double scale : {1.0, 2.0, 3.0}) {
        const auto wide = static_cast<std::int64_t>(scale * 300);
        const auto high = static_cast<std::int64_t>(scale * 200);
        const RenderRequest request{turned ? high : wide, turned ? wide : high, false, false};
        const auto ours = scanBitmap(*page, request.width, request.height);
        ASSERT_TRUE(ours);
        const auto theirs = orvex::render(*page, request);
        ASSERT_TRUE(theirs);
        expectAlike(*ours, *theirs, std::to_string(scale));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Page, ScanPages,
    testing::Values(Case{"plain", {}}, Case{"withoutSaving", {.content = "300 0 0 200 0 0 cm /Im1 Do"}},
                    Case{"placedInSteps", {.content = "q 0.24 0 0 0.24 0 0 cm q 1250 0 0 833.3333 0 0 cm /Im1 Do Q Q"}},
                    Case{"turnedRight", {.page = "/Rotate 90"}}, Case{"turnedOver", {.page = "/Rotate 180"}},
                    Case{"turnedLeft", {.page = "/Rotate 270"}},
                    Case{"boxAwayFromTheOrigin",
                         {.content = "q 300 0 0 200 40 -30 cm /Im1 Do Q", .mediaBox = "[40 -30 340 170]"}},
                    Case{"cropped", {.page = "/CropBox [50 50 200 150]"}},
                    Case{"annotated", {.page = "/Annots [<< /Type /Annot /Subtype /Square /Rect [0 0 99 99] >>]"}},
                    Case{"transparencyGroup", {.page = "/Group << /S /Transparency /CS /DeviceRGB >>"}}),
    [](const auto& row) { return row.param.name; });

TEST_P(OtherPages, areLeftToPDFium) {
    const auto page = pageOf(GetParam().scan);
    EXPECT_FALSE(scanBitmap(*page, 300, 200));
    EXPECT_NO_THROW((void)page->image(72));
}

INSTANTIATE_TEST_SUITE_P(
    Page, OtherPages,
    testing::Values(
        Case{"nothingDrawn", {.content = "q 300 0 0 200 0 0 cm Q"}}, Case{"noContent", {.content = ""}},
        Case{"twoPictures", {.content = "q 300 0 0 200 0 0 cm /Im1 Do Q q 9 0 0 9 0 0 cm /Im2 Do Q"}},
        Case{"text", {.content = "q 300 0 0 200 0 0 cm /Im1 Do Q BT /F1 9 Tf 9 9 Td (x) Tj ET"}},
        Case{"drawing", {.content = "q 300 0 0 200 0 0 cm /Im1 Do Q 9 9 9 9 re f"}},
        Case{"inlinePicture", {.content = "q 300 0 0 200 0 0 cm /Im1 Do Q BI /W 1 /H 1 /BPC 8 /CS /G ID x EI"}},
        Case{"clip", {.content = "q 0 0 99 99 re W n 300 0 0 200 0 0 cm /Im1 Do Q"}},
        Case{"graphicsState", {.content = "q /G1 gs 300 0 0 200 0 0 cm /Im1 Do Q"}},
        Case{"margin", {.content = "q 290 0 0 190 5 5 cm /Im1 Do Q"}},
        Case{"partOfThePicture", {.content = "q 400 0 0 300 -50 -50 cm /Im1 Do Q"}},
        Case{"mirrored", {.content = "q -300 0 0 200 300 0 cm /Im1 Do Q"}},
        Case{"slanted", {.content = "q 300 5 0 200 0 0 cm /Im1 Do Q"}},
        Case{"turnedByItsMatrix", {.content = "q 0 200 -300 0 300 0 cm /Im1 Do Q"}},
        Case{"placedTooLate", {.content = "q 300 0 0 200 0 0 cm Q /Im1 Do"}},
        Case{"numbersMissing", {.content = "q 300 0 0 200 cm /Im1 Do Q"}},
        Case{"unknownName", {.content = "q 300 0 0 200 0 0 cm /Im9 Do Q"}},
        Case{"longContent", {.content = "q 300 0 0 200 0 0 cm /Im1 Do Q" + std::string(2000, ' ')}},
        Case{"softMask", {.image = "/SMask 6 0 R"}}, Case{"stencilMask", {.image = "/Mask 6 0 R"}},
        Case{"colourKey", {.image = "/Mask [0 9 0 9 0 9]"}}, Case{"decodeArray", {.image = "/Decode [1 0 1 0 1 0]"}},
        Case{"decodeArrayOfNames", {.image = "/Decode [/a /b]"}}, Case{"layer", {.image = "/OC << /Type /OCG >>"}},
        Case{"lab", {.colorSpace = "[/Lab << /WhitePoint [0.9 1 0.8] >>]"}},
        Case{"labWithoutNumbers", {.colorSpace = "[/Lab << /WhitePoint [/x /y /z] >>]"}},
        Case{"calibrated", {.colorSpace = "[/CalRGB << /WhitePoint [0.9 1 0.8] >>]"}},
        Case{"otherComponents", {.colorSpace = "/DeviceGray"}}, Case{"noColorSpace", {.colorSpace = "null"}},
        Case{"damaged", {.jpeg = photo().slice(0, 3000)}}, Case{"noJPEG", {.jpeg = Bytes("nothing")}},
        Case{"userUnit", {.page = "/UserUnit 2"}}),
    [](const auto& row) { return row.param.name; });

TEST(PageScan, aPictureOfFewerPixelsIsLeftToPDFium) {
    EXPECT_TRUE(scanBitmap(*pageOf({}), 900, 600));
    EXPECT_FALSE(scanBitmap(*pageOf({}), 901, 601));
}

TEST(PageScan, samplesOfEveryDepthLookAsPDFiumDrawsThem) {
    for (const int bits : {1, 8}) {
        std::string samples(static_cast<std::size_t>((900 * bits + 7) / 8) * 600, '\0');
        for (std::size_t i = 0; i < samples.size(); ++i) {
            samples[i] = static_cast<char>(bits == 1 ? (i / 113 / 40 % 2 != 0 ? 0xFF : 0x0F) : i / 900 % 256);
        }
        const auto page = pageOf({.colorSpace = "/DeviceGray", .jpeg = Bytes(std::string(samples))}, "", bits);
        const auto ours = scanBitmap(*page, 300, 200);
        ASSERT_TRUE(ours) << bits;
        expectAlike(*ours, *orvex::render(*page, {300, 200, false, false}), std::to_string(bits));
    }
}

TEST(PageScan, aDepthThatNoPictureHasIsLeftToPDFium) {
    const Scan scan{.jpeg = Bytes(std::string(900 * 600 * 3, '\x80'))};
    EXPECT_TRUE(scanBitmap(*pageOf(scan, "", 8), 300, 200));
    for (const std::int64_t bits : {std::int64_t{0}, std::int64_t{17}, std::numeric_limits<std::int64_t>::max()}) {
        const auto page = pageOf(scan, "", bits);
        EXPECT_FALSE(scanBitmap(*page, 300, 200)) << bits;
        EXPECT_NO_THROW((void)page->image(72)) << bits;
    }
}

TEST(PageScan, aJPEGWithoutADepthOfItsPageIsAPicture) {
    EXPECT_TRUE(scanBitmap(*pageOf({}, "/DCTDecode", std::nullopt), 300, 200));
    EXPECT_FALSE(scanBitmap(*pageOf({}, "", std::nullopt), 300, 200));
}

TEST(PageScan, realScansLookAsPDFiumDrawsThem) {
    const auto folder = sharedFolder() / "corpus/scans";
    if (!std::filesystem::is_directory(folder)) {
        GTEST_SKIP() << "the shared collection of files is not there";
    }
    int scans = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".pdf") {
            continue;
        }
        const auto document = OrvexPDFDocument::fromData(readFile(entry.path()));
        const auto page = document ? document->orvexPage(0) : nullptr;
        if (!page) {
            continue;
        }
        const Rect box = page->bounds(PDFDisplayBox::media);
        const bool turned = page->rotation() % 180 != 0;
        const auto width = static_cast<std::int64_t>((turned ? box.height : box.width) * 2);
        const auto height = static_cast<std::int64_t>((turned ? box.width : box.height) * 2);
        constexpr std::int64_t mostPixels = 30'000'000; // PDFium does not draw the largest fax
        const auto ours = width * height > mostPixels ? std::nullopt : scanBitmap(*page, width, height);
        if (ours) {
            const auto theirs = orvex::render(*page, {width, height, false, false});
            ASSERT_TRUE(theirs) << entry.path();
            expectAlike(*ours, *theirs, entry.path().filename());
            ++scans;
        }
    }
    EXPECT_GT(scans, 0);
}

} // namespace orvex
