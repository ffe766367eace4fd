#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Document.h"
#include "OrvexPDF/Page.h"
#include "Platform/PDF/RecordingContext.h"
#include "Platform/Text/Shaping.h"
#include "Support/LogRecorder.h"
#include "Support/PDFFixture.h"
#include "Support/SavedDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace orvex {
namespace {

using Kind = RecordingContext::Kind;
using testing::HasSubstr;

OrvexPDFPagePtr pageOf(double width, double height, const std::string& text) {
    auto page = OrvexPDFDocument::fromData(
                    test::pdfFromPages({{"", "[0 0 " + std::to_string(width) + " " + std::to_string(height) + "]"}}))
                    ->orvexPage(0);
    page->watermarkText = text;
    return page;
}

std::vector<RecordingContext::Operation> drawn(OrvexPDFPage& page, Kind kind) {
    RecordingContext context;
    page.draw(PDFDisplayBox::media, context);
    auto operations = context.operations();
    std::erase_if(operations, [kind](const auto& operation) { return operation.kind != kind; });
    return operations;
}

double widthAt(const std::string& text, double size) {
    return measureShownText(text, *Font::require("Helvetica Bold"), size).width;
}

struct Case {
    const char* name;
    double width;
    double height;
    double margin; ///< points
};
class Watermark : public testing::TestWithParam<Case> {};

TEST_P(Watermark, StandsAboveTheBottomEdgeByTheMargin) {
    const auto [name, width, height, margin] = GetParam();
    const auto page = pageOf(width, height, "DRAFT");
    const auto banners = drawn(*page, Kind::roundedRect);
    ASSERT_EQ(banners.size(), 1U);
    const double radius = margin / 2;
    const double text = widthAt("DRAFT", margin);
    constexpr double tolerance = 1e-9;
    EXPECT_NEAR(banners[0].number, radius, tolerance);
    EXPECT_NEAR(banners[0].rect.width, text + 3 * radius, tolerance);
    EXPECT_NEAR(banners[0].rect.height, margin + radius, tolerance);
    EXPECT_NEAR(banners[0].rect.y, margin - radius / 2, tolerance);
    // A margin to the left of the page's middle.
    EXPECT_NEAR(banners[0].rect.midX(), width / 2 - margin, tolerance);

    const auto texts = drawn(*page, Kind::text);
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_EQ(texts[0].text, "DRAFT");
    EXPECT_EQ(texts[0].mode, TextMode::visible);
    EXPECT_NEAR(texts[0].number, margin, tolerance);
    EXPECT_NEAR(texts[0].rect.midX(), banners[0].rect.midX(), tolerance);
    EXPECT_NEAR(texts[0].rect.midY(), banners[0].rect.midY(), tolerance);
    EXPECT_NEAR(texts[0].rect.width, text, tolerance);
}

INSTANTIATE_TEST_SUITE_P(Pages, Watermark,
                         testing::Values(Case{"A4", 595, 842, 842.0 / 60}, Case{"WideAndLow", 2000, 100, 10},
                                         Case{"Landscape", 900, 600, 15}, Case{"Square", 600, 600, 10}),
                         [](const auto& tested) { return tested.param.name; });

TEST(WatermarkBanner, OnA4IsTwentyOnePointsHigh) {
    const auto banner = drawn(*pageOf(595, 842, "DRAFT"), Kind::roundedRect).at(0);
    EXPECT_NEAR(banner.rect.height, 21.05, 1e-9);
    EXPECT_NEAR(banner.rect.y, 10.525, 1e-9);
}

TEST(WatermarkBanner, OfALongTextGoesBeyondThePageAndIsNotCut) {
    const std::string text(200, 'W');
    const auto banner = drawn(*pageOf(595, 842, text), Kind::roundedRect).at(0);
    EXPECT_NEAR(banner.rect.width, widthAt(text, 842.0 / 60) + 1.5 * 842 / 60, 1e-6);
    EXPECT_LT(banner.rect.x, 0);
    EXPECT_GT(banner.rect.maxX(), 595);
}

TEST(WatermarkBanner, HasItsOwnColoursWhateverThePagesAre) {
    const auto page = pageOf(595, 842, "DRAFT");
    page->watermarkBackgroundColor = {0, 1, 0, 1};
    page->watermarkForegroundColor = {0, 0, 1, 1};
    const auto fills = drawn(*page, Kind::fillColor);
    ASSERT_EQ(fills.size(), 2U);
    EXPECT_EQ(fills[0].color, (Color{0.65, 0, 0, 1}));
    EXPECT_EQ(fills[1].color, (Color{1, 1, 1, 1}));
    EXPECT_EQ(drawn(*page, Kind::strokeColor).at(0).color, (Color{1, 1, 1, 1}));
}

TEST(WatermarkBanner, TurnsWithTheText) {
    const auto page = pageOf(595, 842, "DRAFT");
    page->textRotation = 90;
    const auto banner = drawn(*page, Kind::roundedRect).at(0);
    // A quarter turn counter-clockwise takes the bottom edge to the right one, stretched to fit the page.
    const Rect shown = banner.transform.apply(banner.rect);
    EXPECT_GT(shown.x, 595 * 0.9);
    EXPECT_NEAR(shown.midY(), (595.0 / 2 - 842.0 / 60) * 842 / 595, 1e-6);
}

TEST(WatermarkBanner, WithoutTextNothingIsDrawnOrLogged) {
    const test::LogRecorder log(moduleLogger(), LogLevel::debug);
    const auto page = pageOf(595, 842, "");
    EXPECT_TRUE(drawn(*page, Kind::roundedRect).empty());
    page->watermarkText.reset();
    EXPECT_TRUE(drawn(*page, Kind::roundedRect).empty());
    EXPECT_TRUE(log.lines().empty());
    page->watermarkText = " ";
    EXPECT_EQ(drawn(*page, Kind::roundedRect).size(), 1U);
    EXPECT_EQ(log.texts(),
              std::vector<std::string>{"Page+DrawWatermark drawWatermark(box:context:) debug: Draws watermark"});
}

TEST(WatermarkBanner, ShowsScriptsThatItsFaceLacks) {
    const std::string text =
        "Entwurf \u4e0b\u66f8\u304d \u0645\u0633\u0648\u062f\u0629 \u03c3\u03c7\u03ad\u03b4\u03b9\u03bf";
    const test::SavedDocument saved(*pageOf(595, 842, text)->createDocumentFromPage());
    for (const char* word : {"Entwurf", "\u4e0b\u66f8\u304d", "\u03c3\u03c7\u03ad\u03b4\u03b9\u03bf"}) {
        EXPECT_THAT(saved.words(), HasSubstr(word));
    }
    std::istringstream fonts(saved.tool("pdffonts"));
    for (std::string line; std::getline(fonts, line);) {
        if (line.find('+') != std::string::npos) { // the subsets; the page has a font of its own
            EXPECT_THAT(line, HasSubstr("yes yes yes")) << "embedded, a subset, with a map to Unicode";
        }
    }
}

TEST(WatermarkBanner, CostsAFileNoMoreThanTheGlyphsUsed) {
    const auto sizeOf = [](const std::string& text) {
        return test::SavedDocument(*pageOf(595, 842, text)->createDocumentFromPage()).bytes.size();
    };
    const std::size_t plain = sizeOf("");
    const std::size_t letter = sizeOf("A");
    EXPECT_LT(letter - plain, 4000U);
    EXPECT_LT(sizeOf("ABCDEFGHIJKLMNOPQRSTUVWXYZ") - letter, 26U * 200);
    EXPECT_LT(sizeOf("AAAAAAAAAAAAAAAAAAAAAAAAAA") - letter, 100U);
}

} // namespace
} // namespace orvex
