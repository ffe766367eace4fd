// Outline, named destinations, links and actions after pages were removed, moved or inserted.
#include "Platform/PDF/Saving/SavingTests.h"

namespace orvex {
namespace {

/// Three pages (objects 5, 7, 9) with an outline of four items: Alpha > Beta, Gamma, By name.
Bytes outlined() {
    return pdfFromPages({pageShowing("Alpha"), pageShowing("Beta"), pageShowing("Gamma")}, {},
                        "/Outlines 11 0 R /Names << /Dests << /Names [(beta) [7 0 R /Fit] (gamma) 16 0 R] >> >>",
                        {"<< /Type /Outlines /First 12 0 R /Last 15 0 R /Count 4 >>",
                         "<< /Title (Alpha) /Parent 11 0 R /Next 14 0 R /First 13 0 R /Last 13 0 R /Count 1 "
                         "/Dest [5 0 R /Fit] >>",
                         "<< /Title (Beta) /Parent 12 0 R /A << /S /GoTo /D [7 0 R /Fit] >> >>",
                         "<< /Title (Gamma) /Parent 11 0 R /Prev 12 0 R /Next 15 0 R /Dest [9 0 R /Fit] >>",
                         "<< /Title (By name) /Parent 11 0 R /Prev 14 0 R /Dest (beta) >>",
                         "<< /D [9 0 R /FitH 700] >>"});
}

TEST(SavedOutline, ItemsFollowTheirPagesWhenTheOrderChanges) {
    const auto document = opened(outlined());
    test::reversePages(*document);
    const std::string outline = SavedDocument(*document).show("outline");
    EXPECT_THAT(outline, HasSubstr("\"Alpha\"\t#page=3"));
    EXPECT_THAT(outline, HasSubstr("\"Beta\"\t#page=2"));
    EXPECT_THAT(outline, HasSubstr("\"Gamma\"\t#page=1"));
    EXPECT_THAT(outline, HasSubstr("\"By name\"\t#page=2"));
}

TEST(SavedOutline, ItemsToRemovedPagesStayAndLeadNowhere) {
    const auto document = opened(outlined());
    document->removePage(1);
    const SavedDocument saved(*document);
    const std::string outline = saved.show("outline");
    EXPECT_THAT(outline, HasSubstr("\"Alpha\"\t#page=1"));
    EXPECT_THAT(outline, HasSubstr("\"Gamma\"\t#page=2"));
    EXPECT_THAT(outline, HasSubstr("\"Beta\""));
    EXPECT_THAT(outline, HasSubstr("\"By name\""));
    EXPECT_EQ(saved.show("trailer/Root/Outlines/First/First/A"), "null\n");
    EXPECT_EQ(saved.show("trailer/Root/Outlines/Last/Dest"), "null\n");
    EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("null")));
}

TEST(SavedNames, ThoseOfRemovedPagesAreGoneAndTheOthersStay) {
    const auto document = opened(outlined());
    document->removePage(1);
    const std::string names = SavedDocument(*document).tool("pdfinfo -dests");
    EXPECT_THAT(names, HasSubstr("\"gamma\""));
    EXPECT_THAT(names, Not(HasSubstr("\"beta\"")));
}

TEST(SavedNames, ThoseOfADictionaryGoAsWell) {
    const auto document = opened(pdfFromPages({pageShowing("A"), pageShowing("B")}, {},
                                              "/Dests << /old [5 0 R /XYZ 0 0 0] /kept << /D [7 0 R /Fit] >> >>"));
    document->removePage(0);
    const std::string names = SavedDocument(*document).tool("pdfinfo -dests");
    EXPECT_THAT(names, HasSubstr("\"kept\""));
    EXPECT_THAT(names, Not(HasSubstr("\"old\"")));
}

TEST(SavedNames, ALargeTreeStaysSearchable) {
    std::string names;
    for (int i = 0; i < 10000; ++i) {
        const std::string number = std::to_string(10000 + i);
        names += "(n" + number + ") [" + (i % 2 == 0 ? "5" : "7") + " 0 R /Fit] ";
    }
    const auto document = opened(
        pdfFromPages({pageShowing("A"), pageShowing("B")}, {}, "/Names << /Dests << /Names [" + names + "] >> >>"));
    document->removePage(0);
    const SavedDocument saved(*document);
    const std::string listed = saved.tool("pdfinfo -dests");
    EXPECT_EQ(std::ranges::count(listed, '"'), 10000);
    EXPECT_THAT(listed, HasSubstr("\"n10001\""));
    EXPECT_THAT(listed, HasSubstr("\"n19999\""));
    EXPECT_EQ(saved.show("trailer/Root/Names/Dests/Kids/1/Kids/1/Limits"), "[ (n10001) (n10127) ]\n");
}

TEST(SavedLinks, ToRemovedPagesStayOnThePageAndLeadNowhere) {
    const auto document = opened(
        pdfFromPages({pageShowing("A", "/Annots [<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] /Dest [7 0 R /Fit] >> "
                                       "<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] /A << /S /GoTo /D [7 0 R /Fit] "
                                       "/Next << /S /URI /URI (http://example.com) >> >> >> "
                                       "<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] /A << /S /GoTo /D (b) >> >> "
                                       "<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] /A << /S /URI /URI (x) >> >>] "
                                       "/AA << /O << /S /GoTo /D [7 0 R /Fit] >> >>"),
                      pageShowing("B")},
                     {}, "/Names << /Dests << /Names [(b) [7 0 R /Fit]] >> >> /OpenAction [7 0 R /Fit]"));
    document->removePage(1);
    const SavedDocument saved(*document);
    EXPECT_EQ(saved.show("pages/1/Annots/1/Dest"), "null\n");
    EXPECT_THAT(saved.show("pages/1/Annots/2/A"), HasSubstr("example.com"));
    EXPECT_EQ(saved.show("pages/1/Annots/3/A"), "null\n");
    EXPECT_THAT(saved.show("pages/1/Annots/4/A"), HasSubstr("/URI"));
    EXPECT_EQ(saved.show("pages/1/AA/O"), "null\n");
    EXPECT_EQ(saved.show("trailer/Root/OpenAction"), "null\n");
    EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("/GoTo")));
}

TEST(SavedLinks, ByPageNumberLeadToThePageThatHadIt) {
    const auto document = opened(
        pdfFromPages({pageShowing("A", "/Annots [<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] /Dest [1 /Fit] >>]"),
                      pageShowing("B"), pageShowing("C")},
                     {}, "/OpenAction << /S /GoTo /D [2 /Fit] >>"));
    document->removePage(1);
    const SavedDocument saved(*document);
    EXPECT_EQ(saved.show("pages/1/Annots/1/Dest"), "null\n");
    EXPECT_EQ(saved.show("trailer/Root/OpenAction/D/1"), saved.show("pages/2"));
}

/// Two pages that lead to each other by name and by place.
Bytes interlinked() {
    return pdfFromPages({pageShowing("One", "/Annots [<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] /Dest (two) >>]"),
                         pageShowing("Two", "/Annots [<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] "
                                            "/A << /S /GoTo /D [5 0 R /Fit] >> >>]")},
                        {}, "/Names << /Dests << /Names [(two) << /D [7 0 R /FitH 5] >>] >> >>");
}

TEST(SavedLinks, BetweenInsertedPagesLeadToTheInsertedCopies) {
    const auto document =
        opened(pdfFromPages({pageShowing("Base")}, {}, "/Names << /Dests << /Names [(two) [5 0 R /Fit]] >> >>"));
    const auto from = opened(interlinked());
    test::appendPages(*document, *from);
    test::appendPages(*document, *from);
    const SavedDocument saved(*document);
    EXPECT_EQ(saved.words(), "Base |One |Two |One |Two |");
    EXPECT_EQ(saved.show("pages/2/Annots/1/Dest/1"), saved.show("pages/3"));
    EXPECT_EQ(saved.show("pages/3/Annots/1/A/D/1"), saved.show("pages/2"));
    EXPECT_EQ(saved.show("pages/4/Annots/1/Dest/1"), saved.show("pages/5"));
    EXPECT_EQ(saved.show("pages/5/Annots/1/A/D/1"), saved.show("pages/4"));
}

TEST(SavedLinks, OfAnInsertedPageAloneGoDead) {
    const auto document =
        opened(pdfFromPages({pageShowing("Base")}, {}, "/Names << /Dests << /Names [(two) [5 0 R /Fit]] >> >>"));
    document->insertPage(opened(interlinked())->page(0), 1);
    EXPECT_EQ(SavedDocument(*document).show("pages/2/Annots/1/Dest"), "null\n");
}

TEST(SavedLinks, OfAPageThatStandsTwiceBelongToTheirOwnPage) {
    const auto document = opened(interlinked());
    document->insertPage(document->page(0), 2);
    const SavedDocument saved(*document);
    EXPECT_EQ(saved.show("pages/1/Annots/1/Dest"), "(two)\n");
    EXPECT_EQ(saved.show("pages/3/Annots/1/Dest/1"), saved.show("pages/2"));
    EXPECT_EQ(saved.show("pages/3/Annots/1/P"), saved.show("pages/3"));
}

TEST(SavedThreads, PassOverRemovedPages) {
    const auto document = opened(pdfFromPages(
        {pageShowing("A", "/B [12 0 R]"), pageShowing("B", "/B [13 0 R]"), pageShowing("C", "/B [14 0 R]")}, {},
        "/Threads [11 0 R]",
        {"<< /F 12 0 R /I << /Title (Story) >> >>", "<< /T 11 0 R /N 13 0 R /V 14 0 R /P 5 0 R /R [0 0 9 9] >>",
         "<< /N 14 0 R /V 12 0 R /P 7 0 R /R [0 0 9 9] >>", "<< /N 12 0 R /V 13 0 R /P 9 0 R /R [0 0 9 9] >>"}));
    document->removePage(0);
    const SavedDocument saved(*document);
    EXPECT_EQ(saved.show("trailer/Root/Threads/1/F/P"), saved.show("pages/1"));
    EXPECT_EQ(saved.show("trailer/Root/Threads/1/F/N/P"), saved.show("pages/2"));
    EXPECT_EQ(saved.show("trailer/Root/Threads/1/F/N/N/P"), saved.show("pages/1"));
    test::removePages(*document, 0, 1);
    document->insertPage(std::make_shared<PDFPage>(), 0);
    EXPECT_EQ(SavedDocument(*document).show("trailer/Root/Threads"), "null\n");
}

} // namespace
} // namespace orvex
