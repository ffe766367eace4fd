// What whole documents bring along, and pages of them do not: outline and attached files.
#include "Platform/PDF/Saving/SavingTests.h"

namespace orvex {
namespace {

/// Two pages with an outline of a chapter and a section, and a file attached.
Bytes book(const std::string& title) {
    return pdfFromPages(
        {pageShowing(title + " one"), pageShowing(title + " two")}, {},
        "/Outlines 9 0 R /Names << /EmbeddedFiles << /Names [(note.txt) 12 0 R] >> /Dests << /Names [(two) [7 0 R "
        "/Fit]] "
        ">> >> /AF [12 0 R]",
        {"<< /Type /Outlines /First 10 0 R /Last 10 0 R /Count 2 >>",
         "<< /Title (" + title + ") /Parent 9 0 R /First 11 0 R /Last 11 0 R /Count 1 /Dest [5 0 R /Fit] >>",
         "<< /Title (" + title + " section) /Parent 10 0 R /A << /S /GoTo /D (two) >> >>",
         "<< /Type /Filespec /F (note.txt) /UF (note.txt) /EF << /F 13 0 R >> /AFRelationship /Data >>",
         test::streamBody("about " + title, "/Type /EmbeddedFile")});
}

TEST(SavedWholeDocuments, BringTheirOutline) {
    const auto document = opened(book("Alpha"));
    test::appendPages(*document, *opened(book("Beta")));
    const SavedDocument saved(*document);
    const std::string outline = saved.show("outline");
    EXPECT_THAT(outline, HasSubstr("\"Alpha\"\t#page=1"));
    EXPECT_THAT(outline, HasSubstr("\"Alpha section\"\t#page=2"));
    EXPECT_THAT(outline, HasSubstr("\"Beta\"\t#page=3"));
    EXPECT_THAT(outline, HasSubstr("\"Beta section\"\t#page=4"));
    EXPECT_EQ(saved.show("trailer/Root/Outlines/Count"), "4\n");
    EXPECT_EQ(saved.show("trailer/Root/Outlines/Last/Prev/Title"), "(Alpha)\n");
}

TEST(SavedWholeDocuments, BringTheirAttachedFiles) {
    const auto document = opened(book("Alpha"));
    test::appendPages(*document, *opened(book("Beta")));
    const SavedDocument saved(*document);
    EXPECT_THAT(saved.tool("pdfdetach -list"), HasSubstr("2 embedded files"));
    EXPECT_THAT(saved.tool("qpdf --show-attachment=note.txt"), HasSubstr("about Alpha"));
    EXPECT_THAT(saved.tool("qpdf --show-attachment=note.txt_2"), HasSubstr("about Beta"));
    EXPECT_THAT(saved.show("trailer/Root/AF/2"), HasSubstr("/Filespec"));
}

TEST(SavedWholeDocuments, MakeADocumentOfTheirOwn) {
    PDFDocument document;
    test::appendPages(document, *opened(book("Alpha")));
    const SavedDocument saved(document);
    EXPECT_THAT(saved.show("outline"), HasSubstr("\"Alpha section\"\t#page=2"));
    EXPECT_THAT(saved.tool("pdfdetach -list"), HasSubstr("1 embedded files"));
}

TEST(SavedWholeDocuments, SinglePagesBringNeither) {
    const auto document = opened(book("Alpha"));
    document->insertPage(opened(book("Beta"))->page(0), 2);
    const SavedDocument saved(*document);
    EXPECT_THAT(saved.show("outline"), Not(HasSubstr("Beta")));
    EXPECT_THAT(saved.tool("pdfdetach -list"), HasSubstr("1 embedded files"));
}

TEST(SavedWholeDocuments, RemovedPagesLeaveTheAttachedFiles) {
    const auto document = opened(book("Alpha"));
    document->removePage(0);
    EXPECT_THAT(SavedDocument(*document).tool("pdfdetach -list"), HasSubstr("1 embedded files"));
}

} // namespace
} // namespace orvex
