#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Document.h"
#include "OrvexPDF/Page.h"
#include "Platform/PDF/RecordingContext.h"
#include "Support/LogRecorder.h"
#include "Support/PDFFixture.h"
#include "Support/SavedDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace orvex {
namespace {

using Operation = RecordingContext::Operation;
using Kind = RecordingContext::Kind;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double infinite = std::numeric_limits<double>::infinity();

std::shared_ptr<OrvexPDFPage> blankPage(const std::string& mediaBox = "[0 0 500 1000]") {
    return OrvexPDFDocument::fromData(test::pdfFromPages({{"", mediaBox, ""}}))->orvexPage(0);
}

OrvexFoundItem item(const std::string& text, const Rect& box) {
    return OrvexFoundItem(text, OrvexFoundBox(box));
}

std::vector<Operation> layerOf(OrvexPDFPage& page, const OrvexFoundPage& found) {
    page.foundPage = std::make_shared<const OrvexFoundPage>(found);
    RecordingContext context;
    page.drawInvisibleText(PDFDisplayBox::media, context);
    return context.operations();
}

OrvexFoundPage foundPage(std::vector<OrvexFoundItem> items, Size size = {1000, 2000}) {
    OrvexFoundPage found{OrvexFoundSize(size)};
    found.items = std::move(items);
    return found;
}

std::vector<Operation> textsOf(const OrvexFoundPage& found) {
    auto operations = layerOf(*blankPage(), found);
    std::erase_if(operations, [](const Operation& operation) { return operation.kind != Kind::text; });
    return operations;
}

std::vector<std::string> shown(const OrvexFoundPage& found) {
    std::vector<std::string> texts;
    for (const auto& operation : textsOf(found)) {
        texts.push_back(operation.text);
    }
    return texts;
}

/// Where a text operation ends up on the page.
Rect target(const Operation& operation) {
    return operation.transform.apply(operation.rect);
}

void expectRect(const Rect& rect, const Rect& expected) {
    EXPECT_NEAR(rect.x, expected.x, 1e-9);
    EXPECT_NEAR(rect.y, expected.y, 1e-9);
    EXPECT_NEAR(rect.width, expected.width, 1e-9);
    EXPECT_NEAR(rect.height, expected.height, 1e-9);
}

TEST(InvisibleText, ABoxIsScaledToThePageAndTurnedRightSideUp) {
    const auto texts = textsOf(foundPage({item("Found", {100, 100, 200, 50})}));
    ASSERT_EQ(texts.size(), 1U);
    expectRect(target(texts[0]), {50, 925, 100, 25});
    EXPECT_EQ(texts[0].number, 25) << "the font is as high as the box";
    EXPECT_EQ(texts[0].mode, TextMode::invisible);
}

TEST(InvisibleText, TheWidthIsStretchedAndTheHeightIsNot) {
    const auto texts = textsOf(foundPage({item("Found", {100, 100, 200, 50})}));
    ASSERT_EQ(texts.size(), 1U);
    const double natural = Font::require("Helvetica")->lineWidth("Found") * 25;
    EXPECT_NEAR(texts[0].transform.a, 100 / natural, 1e-12);
    EXPECT_EQ(texts[0].transform.d, 1);
    EXPECT_NEAR(texts[0].rect.width, natural, 1e-9);
}

TEST(InvisibleText, TextIsTrimmed) {
    EXPECT_THAT(shown(foundPage({item(" \n\tFound it \u00A0\n", {100, 100, 200, 50})})), ElementsAre("Found it"));
}

TEST(InvisibleText, AnItemOfBlanksAndLineEndsDrawsNothing) {
    EXPECT_THAT(shown(foundPage({item(" \n \r\n\t", {100, 100, 200, 50})})), IsEmpty());
}

TEST(InvisibleText, ItemsWithoutTextBoxOrPartOfTheBoxAreSkipped) {
    OrvexFoundItem noText;
    noText.box = OrvexFoundBox(Rect{1, 1, 100, 10});
    OrvexFoundItem noBox;
    noBox.text = "no box";
    std::vector<OrvexFoundItem> items = {noText, noBox};
    for (auto part : {&OrvexFoundBox::x, &OrvexFoundBox::y, &OrvexFoundBox::w, &OrvexFoundBox::h}) {
        items.push_back(item("part of a box", {1, 1, 100, 10}));
        (*items.back().box).*part = std::nullopt;
    }
    items.push_back(item("whole", {1, 1, 100, 10}));
    EXPECT_THAT(shown(foundPage(items)), ElementsAre("whole"));
}

TEST(InvisibleText, TextWithoutWidthIsSkipped) {
    EXPECT_THAT(shown(foundPage({item("\u0301\u200D", {100, 100, 200, 50})})), IsEmpty());
}

TEST(InvisibleText, BoxesThatLieNowhereAreSkipped) {
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THAT(shown(foundPage({item("a", {notANumber, 1, 100, 10}), item("b", {1, infinite, 100, 10}),
                                 item("c", {1, 1, infinite, 10}), item("d", {1, 1, 100, notANumber}),
                                 item("e", {1e300, 1, 100, 10}), item("f", {1, 1, 1e12, 10})})),
                IsEmpty());
    EXPECT_THAT(shown(foundPage({item("no extent", {1, 1, 10, 10})}, {0, 0})), IsEmpty());
}

TEST(InvisibleText, NegativeExtentsMeanTheSameRectangle) {
    const auto texts = textsOf(foundPage({item("Found", {300, 150, -200, -50})}));
    ASSERT_EQ(texts.size(), 1U);
    expectRect(target(texts[0]), {50, 925, 100, 25});
}

TEST(InvisibleText, DegenerateBoxesLoseNoWordAndStayFinite) {
    for (const Rect& box : {Rect{100, 100, 200, 0}, Rect{100, 100, 0, 50}, Rect{100, 100, 0, 0},
                            Rect{100, 100, 200, 0.5}, Rect{100, 100, 0.5, 50}, Rect{100, 100, 1e-300, 1e-300}}) {
        const auto texts = textsOf(foundPage({item("Found it", box)}));
        ASSERT_EQ(texts.size(), 1U);
        const Rect rect = target(texts[0]);
        EXPECT_GT(rect.width, 0.05);
        EXPECT_GT(rect.height, 0.2);
        EXPECT_LT(rect.width, 200);
        EXPECT_LT(rect.height, 100);
        EXPECT_TRUE(std::isfinite(texts[0].transform.a));
    }
}

TEST(InvisibleText, WordsWhoseBoxesTouchDrawBackFromEachOther) {
    const auto texts = textsOf(foundPage({item("touching", {100, 100, 200, 50}), item("words", {300, 100, 150, 50})}));
    ASSERT_EQ(texts.size(), 2U);
    const double gap = target(texts[1]).x - target(texts[0]).maxX();
    EXPECT_GE(gap, 0.03 * 25);
    EXPECT_GT(target(texts[0]).width, 0.92 * 100);
    EXPECT_GT(target(texts[1]).width, 0.92 * 75);
}

TEST(InvisibleText, IdeographsOfOneRowBecomeOneRunAndDistantOnesDoNot) {
    const auto near = textsOf(foundPage({item("永", {100, 100, 50, 50}), item("和", {165, 100, 50, 50})}));
    EXPECT_LT(target(near.at(1)).x - target(near.at(0)).maxX(), 0.1 * 25);
    const auto far = textsOf(foundPage({item("永", {100, 100, 50, 50}), item("和", {265, 100, 50, 50})}));
    EXPECT_NEAR(target(far.at(0)).width, 25, 1e-9);
    const auto below = textsOf(foundPage({item("永", {100, 100, 50, 50}), item("和", {165, 160, 50, 50})}));
    EXPECT_NEAR(target(below.at(0)).width, 25, 1e-9);
}

TEST(InvisibleText, LinesOfOneItemStandOverEachOther) {
    const auto texts = textsOf(foundPage({item("two\nlines", {100, 100, 200, 50})}));
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_EQ(texts[0].text, "two\nlines");
    EXPECT_EQ(texts[0].rect.height, 50) << "two lines of 25 points";
}

TEST(InvisibleText, EachItemHasItsOwnState) {
    const auto operations =
        layerOf(*blankPage(), foundPage({item("one", {1, 1, 100, 10}), item("two", {1, 50, 100, 10})}));
    std::vector<Kind> kinds;
    std::ranges::transform(operations, std::back_inserter(kinds), &Operation::kind);
    EXPECT_THAT(kinds, ElementsAre(Kind::save, Kind::save, Kind::concatenate, Kind::text, Kind::restore, Kind::save,
                                   Kind::concatenate, Kind::text, Kind::restore, Kind::restore));
}

TEST(InvisibleText, TheOriginOfTheBoxDoesNotCount) {
    const OrvexFoundPage found = foundPage({item("Found", {100, 100, 200, 50})});
    const auto operations = layerOf(*blankPage("[100 -200 600 800]"), found);
    ASSERT_EQ(operations.size(), 6U);
    expectRect(target(operations[3]), {50, 925, 100, 25});
}

TEST(InvisibleText, LogsHowManyItemsItDrawsAndInWhichWay) {
    const test::LogRecorder recorder(moduleLogger(), LogLevel::debug);
    const auto page = blankPage();
    layerOf(*page, foundPage(std::vector<OrvexFoundItem>(12, item("a", {1, 1, 10, 10}))));
    page->debug = true;
    layerOf(*page, foundPage({item("a", {1, 1, 10, 10}), OrvexFoundItem()}));
    EXPECT_THAT(
        recorder.texts(),
        ElementsAre("Page+DrawContent drawInvisibleText(box:context:) debug: Draws 12 found items. debug = false",
                    "Page+DrawContent drawInvisibleText(box:context:) debug: Draws 2 found items. debug = true"));
}

TEST(InvisibleText, AnEmptyListLogsNoItemsAndDrawsNothing) {
    const test::LogRecorder recorder(moduleLogger(), LogLevel::debug);
    EXPECT_THAT(shown(foundPage({})), IsEmpty());
    EXPECT_THAT(
        recorder.texts(),
        ElementsAre("Page+DrawContent drawInvisibleText(box:context:) debug: Draws 0 found items. debug = false"));
}

TEST(InvisibleText, WithoutFoundPageSizeOrItemsNothingIsDrawnOrLogged) {
    const test::LogRecorder recorder(moduleLogger(), LogLevel::debug);
    OrvexFoundPage noSize = foundPage({item("a", {1, 1, 10, 10})});
    noSize.size = std::nullopt;
    OrvexFoundPage noWidth = foundPage({item("a", {1, 1, 10, 10})});
    noWidth.size->w = std::nullopt;
    OrvexFoundPage noItems{OrvexFoundSize(10, 10)};
    for (const auto& found : {noSize, noWidth, noItems}) {
        EXPECT_THAT(layerOf(*blankPage(), found), IsEmpty());
    }
    RecordingContext context;
    blankPage()->drawInvisibleText(PDFDisplayBox::media, context);
    EXPECT_THAT(context.operations(), IsEmpty());
    EXPECT_THAT(recorder.texts(), IsEmpty());
}

TEST(InvisibleText, TheSameItemsGiveTheSameBytes) {
    const auto save = [] {
        const auto page = blankPage();
        page->foundPage = std::make_shared<const OrvexFoundPage>(
            foundPage({item("Žluťoučký", {100, 100, 200, 50}), item("שלום 😀", {100, 200, 200, 50})}));
        return test::SavedDocument(*page->createDocumentFromPage()).bytes;
    };
    EXPECT_TRUE(save() == save());
}

} // namespace
} // namespace orvex
