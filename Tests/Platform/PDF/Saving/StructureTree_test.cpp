// Tags after pages were removed, moved or inserted.
#include "Platform/PDF/Saving/SavingTests.h"

namespace orvex {
namespace {

/// Two pages: a heading on each, a paragraph over both, a link on the second; the role /Head stands for H1 or `role`.
Bytes tagged(const std::string& first, const std::string& second, const std::string& role = "/H1",
             const std::string& catalog = "/Lang (en)") {
    return pdfFromPages(
        {{"/H << /MCID 0 >> BDC " + test::showing(first) + " EMC /P << /MCID 1 >> BDC EMC", "[0 0 612 792]",
          "/StructParents 0"},
         {"/H << /MCID 0 >> BDC " + test::showing(second) + " EMC /P << /MCID 1 >> BDC EMC", "[0 0 612 792]",
          "/StructParents 1 /Annots [17 0 R]"}},
        {}, "/StructTreeRoot 9 0 R /MarkInfo << /Marked true >> " + catalog,
        {"<< /Type /StructTreeRoot /K 10 0 R /ParentTree 15 0 R /ParentTreeNextKey 3 /RoleMap << /Head " + role +
             " >> /IDTree << /Names [(first) 11 0 R (second) 12 0 R] >> >>",
         "<< /Type /StructElem /S /Document /P 9 0 R /K [11 0 R 12 0 R 13 0 R 14 0 R 16 0 R] >>",
         "<< /Type /StructElem /S /Head /P 10 0 R /Pg 5 0 R /K 0 /ID (first) /T (" + first + ") >>",
         "<< /Type /StructElem /S /Head /P 10 0 R /Pg 7 0 R /K [0] /ID (second) /T (" + second + ") >>",
         "<< /Type /StructElem /S /P /P 10 0 R /Pg 5 0 R /K [1 << /Type /MCR /Pg 7 0 R /MCID 1 >>] >>",
         "<< /Type /StructElem /S /Link /P 10 0 R /K << /Type /OBJR /Pg 7 0 R /Obj 17 0 R >> >>",
         "<< /Nums [0 [11 0 R 13 0 R] 1 [12 0 R 13 0 R] 2 14 0 R] >>",
         "<< /Type /StructElem /S /TD /P 10 0 R /A << /O /Table /Headers [(first)] >> >>",
         "<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] /StructParent 2 /Dest [5 0 R /Fit] >>"});
}

/// What poppler reads of the tags.
std::string tags(const SavedDocument& saved) {
    return saved.tool("pdfinfo -struct-text");
}

/// The elements that stand for the marked content and the annotations of a page, as their /T or /S.
std::string elementsOf(const SavedDocument& saved, int page) {
    const std::string number = saved.show("pages/" + std::to_string(page) + "/StructParents");
    const std::string script =
        "import json,sys\n"
        "o=json.load(sys.stdin)['qpdf'][1]\n"
        "v=lambda x: o['obj:'+x]['value'] if isinstance(x,str) and x.endswith(' R') else x\n"
        "nums=v(v(v(o['trailer']['value']['/Root'])['/StructTreeRoot'])['/ParentTree'])['/Nums']\n"
        "for k,e in zip(nums[::2],nums[1::2]):\n"
        "  if k==int(sys.argv[1]): print(*[(lambda d:d.get('/T','') or d['/S'])(v(x)) if x else None for x in v(e)])\n";
    return test::run("qpdf --json=2 --json-key=qpdf " + test::quoted(saved.path()) + " | python3 -c " +
                     test::quoted(script) + " " + number)
        .output;
}

TEST(SavedTags, StayWhileThePagesDoAndFollowThem) {
    const auto document = opened(tagged("Alpha", "Beta"));
    EXPECT_THAT(tags(SavedDocument(*document)), HasSubstr("Alpha"));
    test::reversePages(*document);
    const SavedDocument saved(*document);
    EXPECT_EQ(elementsOf(saved, 1), "u:Beta /P\n");
    EXPECT_EQ(elementsOf(saved, 2), "u:Alpha /P\n");
}

TEST(SavedTags, OfRemovedPagesAreGone) {
    const auto document = opened(tagged("Alpha", "Beta"));
    document->removePage(1);
    const SavedDocument saved(*document);
    EXPECT_EQ(elementsOf(saved, 1), "u:Alpha /P\n");
    EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("Beta")));
    EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("/OBJR")));
    EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("/MCR")));
    EXPECT_THAT(saved.bytes.text(), HasSubstr("/TD"));
    EXPECT_EQ(saved.show("trailer/Root/StructTreeRoot/IDTree/Names/3"), "null\n");
    EXPECT_EQ(saved.show("trailer/Root/StructTreeRoot/ParentTree/Nums/3"), "null\n");
}

TEST(SavedTags, AParagraphThatWentOnOnARemainingPageStays) {
    const auto document = opened(tagged("Alpha", "Beta"));
    document->removePage(0);
    const SavedDocument saved(*document);
    EXPECT_EQ(elementsOf(saved, 1), "u:Beta /P\n");
    EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("Alpha")));
    EXPECT_EQ(saved.show("trailer/Root/StructTreeRoot/K/K/2/Pg"), "null\n");
    EXPECT_EQ(saved.show("trailer/Root/StructTreeRoot/K/K/2/K/1/MCID"), "1\n");
}

TEST(SavedTags, OfInsertedPagesJoinTheTree) {
    const auto document = opened(tagged("Alpha", "Beta"));
    const auto from = opened(tagged("Gamma", "Delta", "/H2", "/Lang (de)"));
    document->insertPage(from->page(1), 1);
    const SavedDocument saved(*document);
    EXPECT_EQ(elementsOf(saved, 1), "u:Alpha /P\n");
    EXPECT_EQ(elementsOf(saved, 2), "u:Delta /P\n");
    EXPECT_EQ(elementsOf(saved, 3), "u:Beta /P\n");
    EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("Gamma")));
    const std::string grafted = "trailer/Root/StructTreeRoot/K/2";
    EXPECT_EQ(saved.show(grafted + "/Lang"), "(de)\n");
    EXPECT_EQ(saved.show(grafted + "/K/1/S"), "/Head_2\n");
    EXPECT_EQ(saved.show(grafted + "/K/1/ID"), "(second_2)\n");
    EXPECT_EQ(saved.show("trailer/Root/StructTreeRoot/RoleMap/Head_2"), "/H2\n");
    EXPECT_EQ(saved.show("trailer/Root/StructTreeRoot/RoleMap/Head"), "/H1\n");
    EXPECT_EQ(saved.show(grafted + "/K/2/K/1/Pg"), saved.show("pages/2"));
    EXPECT_EQ(saved.show(grafted + "/K/3/K/1/Obj"), saved.show("pages/2/Annots/1"));
    EXPECT_EQ(saved.show("pages/2/Annots/1/StructParent"), "4\n");
    EXPECT_THAT(tags(saved), HasSubstr("Delta"));
}

TEST(SavedTags, OfAPageThatStandsTwiceStandTwice) {
    const auto document = opened(tagged("Alpha", "Beta"));
    document->insertPage(document->page(0), 2);
    const SavedDocument saved(*document);
    EXPECT_EQ(elementsOf(saved, 1), "u:Alpha /P\n");
    EXPECT_EQ(elementsOf(saved, 3), "u:Alpha /P\n");
    EXPECT_NE(saved.show("pages/1/StructParents"), saved.show("pages/3/StructParents"));
    const std::string headers = saved.show("trailer/Root/StructTreeRoot/K/2/K/3/A/Headers");
    EXPECT_EQ(headers, "[ (first_2) ]\n");
}

TEST(SavedTags, PagesInsertedIntoAnUntaggedDocumentLeaveTheirsBehind) {
    const auto document = opened(test::pagesShowing({"Base"}));
    test::appendPages(*document, *opened(tagged("Alpha", "Beta")));
    const SavedDocument saved(*document);
    EXPECT_EQ(saved.words(), "Base |Alpha |Beta |");
    EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("/StructParent")));
    EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("/StructElem")));
}

TEST(SavedTags, ADocumentOfTaggedPagesAloneIsTagged) {
    PDFDocument document;
    test::appendPages(document, *opened(tagged("Alpha", "Beta")));
    test::appendPages(document, *opened(tagged("Gamma", "Delta")));
    const SavedDocument saved(document);
    EXPECT_THAT(saved.tool("pdfinfo"), HasSubstr("Tagged:          yes"));
    EXPECT_EQ(elementsOf(saved, 1), "u:Alpha /P\n");
    EXPECT_EQ(elementsOf(saved, 4), "u:Delta /P\n");
    document.insertPage(std::make_shared<PDFPage>(), 0);
    EXPECT_THAT(SavedDocument(document).tool("pdfinfo"), HasSubstr("Tagged:          no"));
}

} // namespace
} // namespace orvex
