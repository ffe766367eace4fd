#include "OrvexPDF/Page.h"

#include "OrvexPDF/Document.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Platform/PDF/RecordingContext.h"
#include "Support/Command.h"
#include "Support/PDFFixture.h"
#include "Support/SavedDocument.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace orvex {
namespace {

using test::pdfFromPages;
using test::showing;
using Kind = RecordingContext::Kind;

ImagePtr whiteImage(std::int64_t width, std::int64_t height) {
    auto bitmap = std::make_shared<Bitmap>();
    bitmap->width = width;
    bitmap->height = height;
    bitmap->colorSpace.model = ColorModel::gray;
    bitmap->bytesPerRow = static_cast<std::size_t>(width);
    bitmap->samples.assign(static_cast<std::size_t>(width * height), 255);
    return Image::fromBitmap(bitmap);
}

std::shared_ptr<const OrvexFoundPage> found(const std::string& text) {
    OrvexFoundPage page(OrvexFoundSize(300, 200));
    page.items = {OrvexFoundItem(text, OrvexFoundBox(Rect{10, 20, 100, 12}))};
    return std::make_shared<const OrvexFoundPage>(page);
}

std::vector<RecordingContext::Operation> drawn(OrvexPDFPage& page) {
    RecordingContext context;
    page.draw(PDFDisplayBox::media, context);
    return context.operations();
}

/// What turning the text layer concatenates, or the identity.
AffineTransform turn(std::int64_t degrees) {
    const auto page = OrvexPDFPage::fromImage(whiteImage(300, 200));
    page->textRotation = degrees;
    const auto operations = drawn(*page);
    return operations.size() > 4 && operations[4].kind == Kind::concatenate ? operations[4].transform
                                                                            : AffineTransform{};
}

void expectNear(const AffineTransform& a, const AffineTransform& b, std::int64_t degrees) {
    constexpr double tolerance = 1e-9;
    EXPECT_NEAR(a.a, b.a, tolerance) << degrees;
    EXPECT_NEAR(a.b, b.b, tolerance) << degrees;
    EXPECT_NEAR(a.c, b.c, tolerance) << degrees;
    EXPECT_NEAR(a.d, b.d, tolerance) << degrees;
    EXPECT_NEAR(a.tx, b.tx, tolerance) << degrees;
    EXPECT_NEAR(a.ty, b.ty, tolerance) << degrees;
}

TEST(Page, StartsWithoutSettings) {
    const auto loaded = OrvexPDFDocument::fromData(pdfFromPages({{showing("A")}}))->orvexPage(0);
    for (const auto& page : {std::make_shared<OrvexPDFPage>(), OrvexPDFPage::fromImage(whiteImage(300, 200)), loaded}) {
        EXPECT_EQ(page->id, std::nullopt);
        EXPECT_FALSE(page->debug);
        EXPECT_EQ(page->watermarkText, std::nullopt);
        EXPECT_EQ(page->watermarkBackgroundColor, (Color{1, 1, 1, 1}));
        EXPECT_EQ(page->watermarkForegroundColor, (Color{0.65, 0, 0, 1}));
        EXPECT_EQ(page->textRotation, 0);
        EXPECT_EQ(page->foundPage, nullptr);
    }
}

TEST(Page, MakesADocumentOfItselfAlone) {
    const auto from = OrvexPDFDocument::fromData(pdfFromPages({{showing("A")}, {showing("B")}}));
    const auto document = from->orvexPage(1)->createDocumentFromPage();
    EXPECT_EQ(document->pageCount(), 1);
    EXPECT_EQ(document->page(0), from->page(1));
    EXPECT_EQ(from->pageCount(), 2);
}

TEST(Page, ContentComesFirstAndEachPartInItsOwnState) {
    const auto page = OrvexPDFPage::fromImage(whiteImage(300, 200));
    const auto operations = drawn(*page);
    ASSERT_GE(operations.size(), 5U);
    EXPECT_EQ(operations[0].kind, Kind::save);
    EXPECT_EQ(operations[1].kind, Kind::pageContent);
    EXPECT_EQ(operations[2].kind, Kind::restore);
    EXPECT_EQ(operations[3].kind, Kind::save);
    EXPECT_EQ(operations.back().kind, Kind::restore);
}

TEST(Page, FullTurnsOfTheTextDrawAsNone) {
    for (const std::int64_t degrees : {0, 360, -360, 720}) {
        EXPECT_TRUE(turn(degrees).isIdentity()) << degrees;
    }
}

TEST(Page, HalfTurnsRotateWithoutScaling) {
    for (const std::int64_t degrees : {180, -180, 540}) {
        expectNear(turn(degrees), {-1, 0, 0, -1, 300, 200}, degrees);
    }
}

TEST(Page, OtherTurnsRotateAndScaleToTheBox) {
    for (const std::int64_t degrees : {-450, -270, -90, 1, 45, 89, 90, 270, 450}) {
        const double radians = static_cast<double>(degrees % 360) * std::numbers::pi / 180;
        const double sx = 200.0 / 300;
        const double sy = 300.0 / 200;
        AffineTransform expected{
            sx * std::cos(radians), sx * std::sin(radians), -sy * std::sin(radians), sy * std::cos(radians), 0, 0};
        const Point moved = expected.apply(Point{-150, -100});
        expected.tx = 150 + moved.x;
        expected.ty = 100 + moved.y;
        expectNear(turn(degrees), expected, degrees);
    }
}

TEST(Page, WithAnOffsetBoxTheTurnIsAboutItsMiddleAndTheLayerStartsAtItsCorner) {
    const auto document =
        OrvexPDFDocument::fromData(pdfFromPages({{"", "[100 -50 400 150]", "/CropBox [150 0 350 100]"}}));
    const auto page = document->orvexPage(0);
    for (const std::int64_t degrees : {-450, -90, 45, 89, 90, 180}) {
        page->textRotation = degrees;
        for (const auto box : {PDFDisplayBox::media, PDFDisplayBox::crop}) {
            RecordingContext context;
            page->draw(box, context);
            const auto& operations = context.operations();
            const Rect bounds = page->bounds(box);
            const Point middle = operations.at(4).transform.apply(Point{bounds.midX(), bounds.midY()});
            EXPECT_NEAR(middle.x, bounds.midX(), 1e-9) << degrees;
            EXPECT_NEAR(middle.y, bounds.midY(), 1e-9) << degrees;
            EXPECT_EQ(operations.at(5).transform, AffineTransform{}.translated(bounds.x, bounds.y)) << degrees;
        }
    }
}

TEST(Page, AQuarterTurnFillsTheBoxAgain) {
    const Rect box = turn(90).apply(Rect{0, 0, 300, 200});
    EXPECT_NEAR(box.x, 0, 1e-9);
    EXPECT_NEAR(box.y, 0, 1e-9);
    EXPECT_NEAR(box.width, 300, 1e-9);
    EXPECT_NEAR(box.height, 200, 1e-9);
}

TEST(Page, TheDebugDefaultSwitchesAPageToDebugForGood) {
    const auto page = OrvexPDFPage::fromImage(whiteImage(10, 10));
    drawn(*page);
    EXPECT_FALSE(page->debug);
    UserDefaults::standard().set("debug", true);
    drawn(*page);
    EXPECT_TRUE(page->debug);
    UserDefaults::standard().remove("debug");
    drawn(*page);
    EXPECT_TRUE(page->debug);
}

TEST(Page, ACloneHasEverySettingAndNoId) {
    const auto page = OrvexPDFPage::fromImage(whiteImage(300, 200));
    page->id = "the id";
    page->debug = true;
    page->watermarkText = "DRAFT";
    page->watermarkBackgroundColor = {0.1, 0.2, 0.3, 1};
    page->watermarkForegroundColor = {0.4, 0.5, 0.6, 1};
    page->textRotation = -90;
    page->foundPage = found("hello");
    page->setRotation(90);
    const auto copy = page->clone();
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, page);
    EXPECT_FALSE(copy->id.has_value());
    EXPECT_EQ(copy->debug, page->debug);
    EXPECT_EQ(copy->watermarkText, page->watermarkText);
    EXPECT_EQ(copy->watermarkBackgroundColor, page->watermarkBackgroundColor);
    EXPECT_EQ(copy->watermarkForegroundColor, page->watermarkForegroundColor);
    EXPECT_EQ(copy->textRotation, page->textRotation);
    EXPECT_EQ(copy->foundPage, page->foundPage);
    EXPECT_EQ(copy->rotation(), 90);
    EXPECT_EQ(copy->bounds(PDFDisplayBox::media), page->bounds(PDFDisplayBox::media));
    page->setRotation(0);
    EXPECT_EQ(copy->rotation(), 90);
}

TEST(Page, ACloneCarriesItsTextOnce) {
    const auto page = OrvexPDFPage::fromImage(whiteImage(300, 200));
    page->foundPage = found("hello");
    const auto copy = page->clone();
    EXPECT_EQ(test::SavedDocument(*copy->createDocumentFromPage()).words(), "hello |");
}

TEST(Page, ASavedPageHasItsOverlayInItsContentAndNoSettings) {
    const auto page = OrvexPDFPage::fromImage(whiteImage(300, 200));
    page->foundPage = found("hello");
    const test::SavedDocument saved(*page->createDocumentFromPage());
    EXPECT_EQ(saved.words(), "hello |");
    const auto again = OrvexPDFDocument::fromData(saved.bytes);
    EXPECT_EQ(again->orvexPage(0)->foundPage, nullptr);
    EXPECT_TRUE(again->orvexPage(0)->hasText());
}

TEST(Page, WhatDrawsNothingAddsNothingToTheFile) {
    const auto document = OrvexPDFDocument::fromData(pdfFromPages({{showing("A"), "[0 0 300 200]"}}));
    const auto page = document->orvexPage(0);
    const auto plain = document->dataRepresentation();
    const OrvexFoundBox box(Rect{10, 20, 100, 12});
    const auto withItems = [](std::optional<std::vector<OrvexFoundItem>> items) {
        OrvexFoundPage nothing(OrvexFoundSize(300, 200));
        nothing.items = std::move(items);
        return nothing;
    };
    OrvexFoundPage withoutSize = *found("text");
    withoutSize.size.reset();
    OrvexFoundItem withoutBox = OrvexFoundItem("text", box);
    withoutBox.box.reset();
    page->textRotation = 90;
    page->watermarkText = "";
    for (const auto& nothing :
         {withItems({}), withItems(std::vector<OrvexFoundItem>()), withItems(std::vector{withoutBox}), withoutSize,
          withItems(std::vector{OrvexFoundItem(" \n\u00A0", box)})}) {
        page->foundPage = std::make_shared<const OrvexFoundPage>(nothing);
        EXPECT_EQ(document->dataRepresentation(), plain);
    }
    page->foundPage = found("text");
    EXPECT_NE(document->dataRepresentation(), plain);
}

TEST(Page, InvisibleTextIsShownInTheModeForItAndNotByTransparency) {
    const auto page = OrvexPDFPage::fromImage(whiteImage(300, 200));
    page->foundPage = found("hello");
    const test::SavedDocument saved(*page->createDocumentFromPage());
    const std::string file =
        test::run("qpdf --qdf --object-streams=disable " + test::quoted(saved.path()) + " -").output;
    EXPECT_NE(file.find("3 Tr"), std::string::npos);
    EXPECT_EQ(file.find("/ca "), std::string::npos);
    EXPECT_EQ(file.find("/SMask"), std::string::npos);
}

TEST(Page, ASecondLayerOverASavedOneKeepsBothFonts) {
    const auto page = OrvexPDFPage::fromImage(whiteImage(300, 200));
    page->foundPage = found("first");
    const auto again = OrvexPDFDocument::fromData(*page->createDocumentFromPage()->dataRepresentation());
    auto second = *found("second");
    second.items->front().box->y = 100;
    again->orvexPage(0)->foundPage = std::make_shared<const OrvexFoundPage>(second);
    EXPECT_EQ(test::SavedDocument(*again).words(), "first second |");
}

TEST(Page, TheLayerIsNotDisturbedByWhatTheContentLeavesOpen) {
    const char* contents[] = {"q 0.1 0 0 0.1 500 500 cm",
                              "Q Q Q 2 0 0 2 0 0 cm BT /F1 12 Tf",
                              "/Span << /MCID 0 >> BDC q q 3 0 0 3 9 9 cm",
                              "q 0 0 10 10 re W n (unterminated",
                              "q 9 0 0 9 0 0 cm BI /W 1 /H 1 /BPC 8 /CS /G ID q EI Q",
                              "(Q q BT) pop",
                              ""};
    for (const char* content : contents) {
        const auto document = OrvexPDFDocument::fromData(pdfFromPages({{content, "[0 0 300 200]", ""}}));
        document->orvexPage(0)->foundPage = found("steady");
        const std::string box = test::SavedDocument(*document).boxes();
        EXPECT_NE(box.find(">steady<"), std::string::npos) << content << box;
        EXPECT_NE(box.find("xMin=\"10.0"), std::string::npos) << content << box;
    }
}

TEST(Page, ContentThatUnpacksWithoutEndIsRefusedInsteadOfExhaustingTheMachine) {
    const auto packed = test::run("head -c 270000000 /dev/zero | gzip -1 | tail -c +11 | head -c -8"); // bare deflate
    const std::string zlib = std::string("\x78\xda") + packed.output + std::string(4, '\0'); // no reader minds the sum
    const auto document = OrvexPDFDocument::fromData(
        Bytes(test::pdfFromObjects({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                                    "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 300 200] /Contents 4 0 R >>",
                                    test::streamBody(zlib, "/Filter /FlateDecode")})));
    const auto page = document->orvexPage(0);
    EXPECT_TRUE(document->dataRepresentation()); // nothing is drawn: it passes as it is
    page->watermarkText = "DRAFT";
    EXPECT_THROW((void)document->dataRepresentation(), PDFWriteError);
}

TEST(Page, AnOffsetMediaBoxDoesNotShiftTheLayer) {
    const auto plain = OrvexPDFDocument::fromData(pdfFromPages({{"", "[0 0 300 200]", ""}}));
    const auto offset = OrvexPDFDocument::fromData(pdfFromPages({{"", "[100 -50 400 150]", ""}}));
    plain->orvexPage(0)->foundPage = found("steady");
    offset->orvexPage(0)->foundPage = found("steady");
    EXPECT_EQ(test::SavedDocument(*plain).boxes(), test::SavedDocument(*offset).boxes());
}

TEST(Page, InDebugTheBoxesAlternateAndGrowMoreOpaque) {
    const auto page = OrvexPDFPage::fromImage(whiteImage(300, 200));
    page->debug = true;
    OrvexFoundPage three(OrvexFoundSize(300, 200));
    const OrvexFoundBox box(Rect{10, 20, 100, 12});
    three.items = {OrvexFoundItem("one", box), OrvexFoundItem("two", box), OrvexFoundItem("three", box)};
    page->foundPage = std::make_shared<const OrvexFoundPage>(three);
    std::vector<Color> boxes;
    Color color;
    for (const auto& operation : drawn(*page)) {
        color = operation.kind == Kind::fillColor ? operation.color : color;
        if (operation.kind == Kind::fillRect) {
            boxes.push_back(color);
        }
    }
    ASSERT_EQ(boxes.size(), 3U);
    const Color expected[] = {{0, 1, 0, 0.1}, {0, 1, 1, 0.1 + 0.8 / 3}, {0, 1, 0, 0.1 + 1.6 / 3}};
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        EXPECT_EQ(boxes[i].blue, expected[i].blue) << i;
        EXPECT_EQ(boxes[i].green, 1) << i;
        EXPECT_NEAR(boxes[i].alpha, expected[i].alpha, 1e-12) << i;
    }
}

TEST(Page, InDebugASkippedItemFillsNoBoxAndAdvancesNothing) {
    const auto page = OrvexPDFPage::fromImage(whiteImage(300, 200));
    page->debug = true;
    OrvexFoundPage found(OrvexFoundSize(300, 200));
    const OrvexFoundBox box(Rect{10, 20, 100, 12});
    OrvexFoundItem noText;
    noText.box = box;
    found.items = {OrvexFoundItem(" \n ", box), noText, OrvexFoundItem("shown", box)};
    page->foundPage = std::make_shared<const OrvexFoundPage>(found);
    std::vector<Color> colors;
    for (const auto& operation : drawn(*page)) {
        if (operation.kind == Kind::fillColor) {
            colors.push_back(operation.color);
        }
    }
    ASSERT_EQ(colors.size(), 2U);
    EXPECT_EQ(colors[0], (Color{0, 1, 0, 0.1}));
    EXPECT_EQ(colors[1], (Color{1, 0, 0, 0.5}));
}

TEST(Page, AnImageWithoutSizeOrPixelsMakesNoPage) {
    EXPECT_EQ(OrvexPDFPage::fromImage(nullptr), nullptr);
    EXPECT_EQ(OrvexPDFPage::fromImage(std::make_shared<Image>(Size{10, 10})), nullptr);
    for (const double width : {0.0, -1.0, std::numeric_limits<double>::infinity(), std::nan("")}) {
        const auto image = whiteImage(4, 4);
        image->setSize({width, 4});
        EXPECT_EQ(OrvexPDFPage::fromImage(image), nullptr) << width;
    }
}

TEST(Page, AnImagePageIsAsLargeAsItsImageInPoints) {
    const auto image = whiteImage(300, 600);
    image->setSize({72, 144});
    EXPECT_EQ(OrvexPDFPage::fromImage(image)->bounds(PDFDisplayBox::media), (Rect{0, 0, 72, 144}));
}

} // namespace
} // namespace orvex
