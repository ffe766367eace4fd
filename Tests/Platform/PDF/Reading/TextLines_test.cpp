// Lines of pages that are small enough to be worked out by hand. Helvetica: H 0.722, e 0.556, l 0.222, o 0.556, blank
// 0.278 of the font size.
#include "Platform/PDF/PDFPage.h"
#include "Support/OpenDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace orvex {
namespace {

using Lines = std::vector<std::string>;
using test::opened;
using test::pdfFromObjects;
using test::pdfFromPages;
using test::streamBody;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<TextLine> linesOf(const Bytes& pdf, std::int64_t page = 0) {
    return opened(pdf)->page(page)->textLines();
}

Lines texts(const std::vector<TextLine>& lines) {
    Lines result;
    std::ranges::transform(lines, std::back_inserter(result), &TextLine::text);
    return result;
}

Lines read(const std::string& content, const std::string& more = {}) {
    return texts(linesOf(pdfFromPages({{content, "[0 0 612 792]", more}})));
}

TEST(TextLines, APageWithoutTextHasNone) {
    EXPECT_THAT(read(""), IsEmpty());
    EXPECT_THAT(read("0 0 100 100 re f BT ET"), IsEmpty());
    EXPECT_THAT(PDFPage().textLines(), IsEmpty());
    EXPECT_FALSE(opened(pdfFromPages({{""}}))->page(0)->hasText());
}

TEST(TextLines, ALineHasItsAdvancesAndItsFontsHeightAsBox) {
    const auto lines = linesOf(pdfFromPages({{"BT /F1 10 Tf 72 700 Td (Hello) Tj ET"}}));
    ASSERT_EQ(texts(lines), Lines{"Hello"});
    EXPECT_NEAR(lines[0].box.x, 72, 0.01);
    EXPECT_NEAR(lines[0].box.width, 22.78, 0.01);
    EXPECT_LT(lines[0].box.y, 700);
    EXPECT_GT(lines[0].box.maxY(), 707);
    EXPECT_NEAR(lines[0].box.height, 10, 2.5);
}

TEST(TextLines, WhiteSpaceAloneIsALineButNoText) {
    const auto page = opened(pdfFromPages({{"BT /F1 10 Tf 72 700 Td (  ) Tj ET"}}))->page(0);
    EXPECT_THAT(texts(page->textLines()), ElementsAre("  "));
    EXPECT_FALSE(page->hasText());
}

TEST(TextLines, BlanksAreThoseOfThePage) {
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td (a  b ) Tj ET"), ElementsAre("a  b "));
}

TEST(TextLines, AGapWithoutABlankPartsWords) {
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td [(one) -300 (two) -100 (three)] TJ ET"), ElementsAre("one twothree"));
}

TEST(TextLines, EveryOperatorThatShowsTextMovesOn) {
    EXPECT_THAT(read("BT /F1 10 Tf 14 TL 72 700 Td (a) Tj (b) ' 1 0.5 (c) \" T* (d) Tj 0 -14 TD (e) Tj T* (f) Tj ET"),
                ElementsAre("a", "b", "c", "d", "e", "f"));
}

TEST(TextLines, SpacingScalingAndRiseMoveThePen) {
    const auto lines =
        linesOf(pdfFromPages({{"BT /F1 10 Tf 2 Tc 5 Tw 50 Tz 3 Ts 1 0 0 1 72 700 Tm (H o) Tj (!) Tj ET"}}));
    ASSERT_EQ(texts(lines), Lines{"H o!"});
    // (7.22 + 2) + (2.78 + 2 + 5) + (5.56 + 2) and the last glyph's own 2.78, all of it halved
    EXPECT_NEAR(lines[0].box.width, (9.22 + 9.78 + 7.56 + 2.78) / 2, 0.01);
    EXPECT_GT(lines[0].box.maxY(), 703 + 7);
}

TEST(TextLines, LetterspacedTextIsNotTornApart) {
    EXPECT_THAT(read("BT /F1 10 Tf 4 Tc 72 700 Td (SPACED OUT) Tj ET"), ElementsAre("SPACED OUT"));
}

TEST(TextLines, SavedStatesKeepTheirFontAndMatrix) {
    EXPECT_THAT(read("/F1 10 Tf q 2 0 0 2 100 100 cm q BT 10 10 Td (a) Tj ET Q Q BT 72 700 Td (b) Tj ET Q Q Q "
                     "BT 72 600 Td (c) Tj ET"),
                ElementsAre("a", "b", "c"));
}

TEST(TextLines, InvisibleTextIsText) {
    for (int mode = 0; mode < 8; ++mode) {
        EXPECT_THAT(read("BT " + std::to_string(mode) + " Tr /F1 10 Tf 72 700 Td (seen) Tj ET"), ElementsAre("seen"));
    }
}

TEST(TextLines, OverstrikesAndFakeBoldAreReadOnce) {
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td (bold) Tj ET BT /F1 10 Tf 72.3 700 Td (bold) Tj ET"), ElementsAre("bold"));
    EXPECT_THAT(read("BT /F1 10 Tf 1 0 0 1 72 700 Tm (b) Tj 1 0 0 1 72.3 700 Tm (b) Tj 1 0 0 1 77.56 700 Tm (o) Tj "
                     "1 0 0 1 77.86 700 Tm (o) Tj ET"),
                ElementsAre("bo"));
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td (two words) Tj ET BT /F1 10 Tf 72.2 700.2 Td (two) Tj ET"),
                ElementsAre("two words"));
}

TEST(TextLines, DoubledLettersStay) {
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td [(l) (l) (ll)] TJ ET"), ElementsAre("llll"));
}

TEST(TextLines, ColumnsStayApart) {
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td (left one) Tj 0 -12 Td (left two) Tj ET "
                     "BT /F1 10 Tf 320 700 Td (right one) Tj 0 -12 Td (right two) Tj ET"),
                ElementsAre("left one", "left two", "right one", "right two"));
}

TEST(TextLines, SmallLettersBesideLargeOnesArePartedByGapsOfTheirOwnSize) {
    EXPECT_THAT(read("BT /F1 5 Tf 72 700 Td (14:55) Tj /F1 10 Tf 19 0 Td (Name) Tj ET"), ElementsAre("14:55", "Name"));
    EXPECT_THAT(read("BT /F1 5 Tf 72 700 Td (14:55) Tj /F1 10 Tf 14 0 Td (Name) Tj ET"), ElementsAre("14:55 Name"));
}

TEST(TextLines, WhatStandsOnTheBlankBeforeItGoesOn) {
    EXPECT_THAT(read("BT /F1 10 Tf 10 Tw 1 0 0 1 72 700 Tm (This ) Tj 1 0 0 1 93 700 Tm (agrees) Tj ET"),
                ElementsAre("This agrees"));
    EXPECT_THAT(read("BT /F1 10 Tf 1 0 0 1 72 700 Tm (That) Tj 1 0 0 1 82 700 Tm (differs) Tj ET"),
                ElementsAre("That", "differs"));
}

TEST(TextLines, LeadersBelongToTheirLine) {
    EXPECT_THAT(
        read("BT /F1 10 Tf 72 700 Td (Income) Tj 45 0 Td (.) Tj 13 0 Td (.) Tj 13 0 Td (.) Tj 40 0 Td (12) Tj ET"),
        ElementsAre("Income . . .", "12"));
}

TEST(TextLines, TablesAreReadRowByRowAsTheContentShowsThem) {
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td (Item) Tj 120 0 Td (Price) Tj 80 0 Td (Sum) Tj -200 -14 Td (Paper) Tj "
                     "120 0 Td (4.50) Tj 80 0 Td (9.00) Tj -200 -14 Td (Ink, black) Tj 120 0 Td (12.00) Tj ET"),
                ElementsAre("Item", "Price", "Sum", "Paper", "4.50", "9.00", "Ink, black", "12.00"));
}

TEST(TextLines, FootnotesFollowTheTextAndKeepTheirMarks) {
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td (as was shown) Tj /F1 6 Tf 4 Ts (1) Tj 0 Ts /F1 10 Tf ( before.) Tj "
                     "/F1 6 Tf 1 0 0 1 72 80 Tm 3 Ts (1) Tj 0 Ts /F1 8 Tf ( By others.) Tj ET"),
                ElementsAre("as was shown1 before.", "1 By others."));
}

TEST(TextLines, ListsKeepTheirMarksUnlessTheyStandInAColumnOfTheirOwn) {
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td (\\225) Tj 9 0 Td (near) Tj -9 -14 Td (1.) Tj 30 0 Td (far) Tj ET"),
                ElementsAre("• near", "1.", "far"));
}

TEST(TextLines, PiecesOfALineComeTogetherWhateverTheirOrder) {
    EXPECT_THAT(read("BT /F1 10 Tf 1 0 0 1 100 700 Tm (world) Tj 1 0 0 1 72 686 Tm (below) Tj "
                     "1 0 0 1 72 700 Tm (Hello,) Tj ET"),
                ElementsAre("Hello, world", "below"));
}

TEST(TextLines, RaisedAndLoweredLettersBelongToTheirLine) {
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td (E=mc) Tj /F1 6 Tf 4 Ts (2) Tj 0 Ts /F1 10 Tf ( holds) Tj ET"),
                ElementsAre("E=mc2 holds"));
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td (H) Tj /F1 6 Tf -2 Ts (2) Tj 0 Ts /F1 10 Tf (O) Tj ET"),
                ElementsAre("H2O"));
}

TEST(TextLines, TurnedAndSkewedLinesHaveTheirOwnDirection) {
    EXPECT_THAT(read("BT /F1 10 Tf 0 1 -1 0 100 100 Tm (up) Tj (wards) Tj ET"), ElementsAre("upwards"));
    EXPECT_THAT(read("BT /F1 10 Tf -1 0 0 -1 300 300 Tm (head) Tj ( over) Tj ET"), ElementsAre("head over"));
    EXPECT_THAT(read("BT /F1 10 Tf 0.996 0.087 -0.087 0.996 72 100 Tm (a long slanted line of words) Tj "
                     "0.996 0.087 -0.087 0.996 73 86 Tm (and another) Tj ET"),
                ElementsAre("a long slanted line of words", "and another"));
    const auto lines = linesOf(pdfFromPages({{"BT /F1 10 Tf 0 1 -1 0 100 100 Tm (Hello) Tj ET"}}));
    EXPECT_NEAR(lines[0].box.height, 22.78, 0.01);
    EXPECT_NEAR(lines[0].box.y, 100, 0.01);
    EXPECT_LT(lines[0].box.x, 93);
}

TEST(TextLines, TextOutsideTheMediaBoxIsLeftOut) {
    EXPECT_THAT(read("BT /F1 10 Tf 72 800 Td (above) Tj 0 -100 Td (inside) Tj ET BT /F1 10 Tf 605 20 Td (abc) Tj ET"),
                ElementsAre("inside", "a"));
}

TEST(TextLines, TextThatIsClippedAwayIsLeftOut) {
    EXPECT_THAT(read("q 72 600 100 50 re W n BT /F1 10 Tf 80 620 Td (kept) Tj 0 100 Td (gone) Tj ET Q "
                     "BT /F1 10 Tf 80 720 Td (after) Tj ET"),
                ElementsAre("kept", "after"));
}

TEST(TextLines, RotationAndCropBoxPlayNoPart) {
    const std::string content = "BT /F1 10 Tf 72 700 Td (Hello) Tj ET";
    const auto plain = linesOf(pdfFromPages({{content}}));
    const auto turned = linesOf(pdfFromPages({{content, "[0 0 612 792]", "/Rotate 90 /CropBox [0 0 50 50]"}}));
    ASSERT_EQ(texts(turned), Lines{"Hello"});
    EXPECT_EQ(turned[0].box, plain[0].box);
}

TEST(TextLines, ActualTextReplacesWhatIsShown) {
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td /Span << /ActualText (ffi) >> BDC (X) Tj EMC (ne) Tj ET"),
                ElementsAre("ffine"));
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td (a) Tj /Span << /ActualText <FEFF00DF> >> BDC (ss) Tj EMC (b) Tj ET"),
                ElementsAre("a\u00DFb"));
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td (a) Tj /Artifact << /ActualText () >> BDC (-) Tj EMC ET"),
                ElementsAre("a"));
}

TEST(TextLines, BrokenContentGivesWhatCanBeRead) {
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td (good) Tj ET >> ] } ) /Nothing 1 2 3 foo bar BT /Missing 1 Tf (x) Tj"),
                ElementsAre("good"));
    EXPECT_THAT(read("BT /F1 10 Tf 72 700 Td (never ends"), IsEmpty());
    EXPECT_THAT(read("Tj TJ ' \" Tf Td Tm cm Do gs BDC EMC EMC Q Q W n BI ID EI"), IsEmpty());
    EXPECT_THAT(read("BT /F1 10 Tf 0 0 0 0 72 700 Tm (flat) Tj 1e400 0 0 1 0 0 Tm (far) Tj ET"), testing::_);
}

TEST(TextLines, InlineImagesArePassedOver) {
    const std::string text = " BT /F1 10 Tf 72 700 Td (after) Tj ET";
    EXPECT_THAT(read("BI /W 4 /H 2 /BPC 8 /CS /G ID (EI Tj)\nEI" + text), ElementsAre("after"));
    EXPECT_THAT(read("BI /W 9 /H 9 /F /Fl ID x EI\x01\x02 (abc Tj\nEI\nQ" + text), ElementsAre("after"));
}

TEST(TextLines, StreamsOfOneContentMayPartAnywhere) {
    const std::vector<std::string> parts = {"BT /F1 10 Tf 72 700 T", "d (He", "llo) T", "j", "ET"};
    std::string contents;
    std::vector<std::string> bodies{"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                                    "", "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"};
    for (const auto& part : parts) {
        bodies.push_back(streamBody(part));
        contents += std::to_string(bodies.size()) + " 0 R ";
    }
    bodies[2] =
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Resources << /Font << /F1 4 0 R >> >> /Contents [" +
        contents + "] >>";
    EXPECT_THAT(texts(linesOf(Bytes(pdfFromObjects(bodies)))), ElementsAre("Hello"));
}

/// A page whose resources hold the forms given, as /X0, /X1 and so on, besides Helvetica and a layer that is off.
Bytes pageWithForms(const std::string& content, const std::vector<std::pair<std::string, std::string>>& forms,
                    const std::string& more = {}) {
    std::string names;
    std::vector<std::string> bodies{
        "<< /Type /Catalog /Pages 2 0 R /OCProperties << /OCGs [5 0 R 6 0 R] /D << /OFF [5 0 R] >> >> >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "",
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
        "<< /Type /OCG /Name (off) >>",
        "<< /Type /OCG /Name (on) >>",
        streamBody(content)};
    for (const auto& [dictionary, data] : forms) {
        bodies.push_back(streamBody(data, "/Type /XObject /Subtype /Form " + dictionary));
        names += "/X" + std::to_string(bodies.size() - 8) + " " + std::to_string(bodies.size()) + " 0 R ";
    }
    bodies[2] =
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents 7 0 R /Resources << /Font << /F1 4 0 R >> "
        "/XObject << " +
        names +
        ">> /Properties << /Off 5 0 R /On 6 0 R /Any << /Type /OCMD /OCGs [5 0 R 6 0 R] "
        ">> /All << /Type /OCMD /OCGs [5 0 R 6 0 R] /P /AllOn >> " +
        more + ">> >> >>";
    return Bytes(pdfFromObjects(bodies));
}

TEST(TextLines, FormsHaveTheirMatrixAndTheirResourcesOrThePages) {
    const auto lines = linesOf(
        pageWithForms("/X0 Do BT /F1 10 Tf 72 600 Td (page) Tj ET",
                      {{"/BBox [0 0 100 100] /Matrix [2 0 0 2 100 200]", "BT /F1 10 Tf 10 10 Td (form) Tj ET"}}));
    ASSERT_EQ(texts(lines), (Lines{"form", "page"}));
    EXPECT_NEAR(lines[0].box.x, 120, 0.01);
    EXPECT_NEAR(lines[0].box.width, 2 * 20, 0.01);
}

TEST(TextLines, FormsThatShowThemselvesEnd) {
    EXPECT_THAT(texts(linesOf(pageWithForms("/X0 Do", {{"/BBox [0 0 612 792] /Resources 3 0 R", "/X0 Do"}}))),
                IsEmpty());
    EXPECT_THAT(texts(linesOf(pageWithForms(
                    "/X0 Do", {{"/BBox [0 0 612 792]", "BT /F1 10 Tf 72 700 Td (once) Tj ET /X0 Do /X1 Do"},
                               {"/BBox [0 0 612 792]", "/X0 Do /X1 Do"}}))),
                ElementsAre("once"));
}

TEST(TextLines, FormsThatMultiplyEnd) {
    std::vector<std::pair<std::string, std::string>> forms;
    for (int i = 0; i < 20; ++i) {
        std::string calls;
        for (int j = 0; j < 10; ++j) {
            calls += "/X" + std::to_string(i + 1) + " Do ";
        }
        forms.emplace_back("/BBox [0 0 612 792]", calls);
    }
    EXPECT_THAT(texts(linesOf(pageWithForms("BT /F1 10 Tf 72 700 Td (alive) Tj ET /X0 Do", forms))),
                ElementsAre("alive"));
}

TEST(TextLines, LayersThatAreOffAreLeftOut) {
    const auto marked = [](const std::string& name) {
        return texts(linesOf(pageWithForms("/OC /" + name +
                                               " BDC BT /F1 10 Tf 72 700 Td (layer) Tj ET EMC "
                                               "BT /F1 10 Tf 72 600 Td (page) Tj ET",
                                           {})));
    };
    EXPECT_THAT(marked("Off"), ElementsAre("page"));
    EXPECT_THAT(marked("On"), ElementsAre("layer", "page"));
    EXPECT_THAT(marked("Any"), ElementsAre("layer", "page"));
    EXPECT_THAT(marked("All"), ElementsAre("page"));
    EXPECT_THAT(texts(linesOf(pageWithForms(
                    "/X0 Do", {{"/BBox [0 0 612 792] /OC 5 0 R", "BT /F1 10 Tf 72 700 Td (off) Tj ET"}}))),
                IsEmpty());
}

TEST(TextLines, MembershipsOfLayersGoByTheirPolicyOrTheirExpression) {
    // 5 is off, 6 is on.
    const std::vector<std::pair<std::string, bool>> shown = {
        {"/OCGs [5 0 R 6 0 R] /P /AnyOn", true},
        {"/OCGs [5 0 R 6 0 R] /P /AnyOff", true},
        {"/OCGs [6 0 R] /P /AnyOff", false},
        {"/OCGs [5 0 R 6 0 R] /P /AllOff", false},
        {"/OCGs [5 0 R null] /P /AllOff", true},
        {"/OCGs [] /P /AllOn", true},
        {"/OCGs [null] /P /AllOn", true},
        {"/OCGs 5 0 R", false},
        {"/OCGs [6 0 R] /VE [/Not 6 0 R]", false},
        {"/VE [/And 5 0 R 6 0 R]", false},
        {"/VE [/Or 5 0 R 6 0 R]", true},
        {"/VE [/And 6 0 R [/Not 5 0 R]]", true},
        {"/VE [/Or 5 0 R [/And 6 0 R [/Not 6 0 R]]]", false},
        {"/VE []", true},
    };
    for (const auto& [membership, expected] : shown) {
        const auto lines = texts(linesOf(pageWithForms("/OC /M BDC BT /F1 10 Tf 72 700 Td (layer) Tj ET EMC", {},
                                                       "/M << /Type /OCMD " + membership + " >> ")));
        EXPECT_EQ(lines, expected ? Lines{"layer"} : Lines{}) << membership;
    }
}

TEST(TextLines, ExpressionsOfLayersThatNestWithoutEndAreBounded) {
    std::string nested = "6 0 R";
    for (int i = 0; i < 400; ++i) {
        nested = "[/And " + nested + "]";
    }
    EXPECT_THAT(texts(linesOf(pageWithForms("/OC /M BDC BT /F1 10 Tf 72 700 Td (layer) Tj ET EMC", {},
                                            "/M << /Type /OCMD /VE " + nested + " >> "))),
                ElementsAre("layer"));
}

} // namespace
} // namespace orvex
