#include "ToolSupport.h"

#include "Support/PDFFixture.h"

namespace orvex::test {
namespace {

using testing::HasSubstr;

class Pages : public ToolTest {
protected:
    void SetUp() override {
        write("five.pdf", document("ABCDE"));
        write("two.pdf", document("XY"));
    }
    /// A page per letter, showing it.
    static Bytes document(const std::string& names) {
        std::vector<FixturePage> pages;
        for (const char name : names) {
            pages.push_back({showing(std::string(1, name))});
        }
        return pdfFromPages(pages);
    }
    /// What poppler reads, a letter per page; a dot for a page without text.
    [[nodiscard]] std::string letters(const std::string& name) const {
        std::string text;
        for (const char one : oracle("pdftotext " + quoted(name) + " - | tr -d '\\n'")) {
            if (one != '\f') {
                text += one;
            } else if (text.empty() || text.back() == '|') {
                text += ".|";
            } else {
                text += '|';
            }
        }
        std::erase(text, '|');
        return text;
    }
    void expectPages(const std::string& operations, const std::string& expected) const {
        toolOutput("pages five.pdf " + operations + " -o out.pdf");
        EXPECT_EQ(letters("out.pdf"), expected) << operations;
        expectSound("out.pdf");
    }
};

TEST_F(Pages, AreRemovedMovedAndReversed) {
    expectPages("--remove 3", "ABDE");
    expectPages("--remove 2-4", "AE");
    expectPages("--remove 5,1,1", "BCD");
    expectPages("--move 5,1:3", "BEACD");
    expectPages("--move 1-2:end", "CDEAB");
    expectPages("--move 4-end:1", "DEABC");
    expectPages("--reverse", "EDCBA");
}

TEST_F(Pages, RangesMayCountDown) {
    expectPages("--remove 4-2", "AE");
    expectPages("--remove end-2", "A");
    expectPages("--move 5-4:1", "EDABC");
    expectPages("--move end-1:1", "EDCBA");
    expectPages("--move 3-1,5:end", "DCBAE");
    expectPages("--rotate 3-2:left", "ABCDE");
    EXPECT_EQ(pdfinfo("out.pdf", "Page    2 rot", 2), "270");
    EXPECT_EQ(pdfinfo("out.pdf", "Page    3 rot", 3), "270");
    EXPECT_EQ(pdfinfo("out.pdf", "Page    4 rot", 4), "0");
    EXPECT_THAT(toolOutput("text five.pdf --pages 5-3,1"), testing::MatchesRegex("E[^A-Z]*D[^A-Z]*C[^A-Z]*A[^A-Z]*"));
}

TEST_F(Pages, OperationsHappenInTheOrderGiven) {
    expectPages("--remove 1 --reverse --remove 1", "DCB");
    expectPages("--reverse --remove 1 --remove 1", "CBA");
    expectPages("--append two.pdf --move end:1 --remove 2-end --append two.pdf", "YXY");
    expectPages("--insert two.pdf:2 --remove 1 --insert two.pdf:1 --reverse", "EDCBYXYX");
}

TEST_F(Pages, OfOtherDocumentsAreInsertedAndTurned) {
    expectPages("--insert two.pdf:1", "XYABCDE");
    expectPages("--insert two.pdf:3", "ABXYCDE");
    expectPages("--insert two.pdf:6", "ABCDEXY");
    expectPages("--insert two.pdf:end", "ABCDEXY");
    expectPages("--insert two.pdf", "ABCDEXY");
    expectPages("--append two.pdf --rotate 6-7:right --rotate 7:right --rotate 1:left", "ABCDEXY");
    EXPECT_EQ(pdfinfo("out.pdf", "Page    1 rot", 1), "270");
    EXPECT_EQ(pdfinfo("out.pdf", "Page    2 rot", 2), "0");
    EXPECT_EQ(pdfinfo("out.pdf", "Page    6 rot", 6), "90");
    EXPECT_EQ(pdfinfo("out.pdf", "Page    7 rot", 7), "180");
}

TEST_F(Pages, AreMadeFromImages) {
    copySample("1-article.jpg", "scan.jpg");
    expectPages("--insert scan.jpg:1", ".ABCDE");
    EXPECT_THAT(oracle("pdfimages -list out.pdf"), HasSubstr("jpeg"));
    write("turned.jpg", withOrientation(read("scan.jpg"), 6));
    expectPages("--remove 2-end --append turned.jpg", "A.");
    EXPECT_EQ(pdfinfo("out.pdf", "Page    2 rot", 2), "90");
    const auto piped = shell("orvexpdf pages five.pdf --insert -:2 -o out.pdf < scan.jpg");
    EXPECT_EQ(piped.exitCode, done) << piped.errors;
    EXPECT_EQ(letters("out.pdf"), "A.BCDE");
}

TEST_F(Pages, AColonMayBePartOfAName) {
    write("a:1", read("two.pdf"));
    write("b:c", read("two.pdf"));
    expectPages("--insert a:1", "ABCDEXY");
    expectPages("--insert a:1:1", "XYABCDE");
    expectPages("--insert b:c", "ABCDEXY");
    expectPages("--append a:1", "ABCDEXY");
}

TEST_F(Pages, OfAnEncryptedDocumentNeedItsPassword) {
    oracle("qpdf --encrypt user owner 256 -- five.pdf locked.pdf");
    expectRefusal("orvexpdf pages locked.pdf --reverse -o out.pdf", locked, {"locked.pdf", "a password is needed"});
    expectRefusal("orvexpdf pages locked.pdf --password wrong --reverse -o out.pdf", locked, {"not the right one"});
    expectRefusal("orvexpdf pages five.pdf --append locked.pdf -o out.pdf", locked, {"locked.pdf"});
    for (const std::string password : {"user", "owner"}) {
        toolOutput("pages locked.pdf --password " + password + " --reverse -o out.pdf");
        toolOutput("pages five.pdf --password " + password + " --remove 2-end --append locked.pdf -o more.pdf");
        EXPECT_EQ(letters("more.pdf"), "AABCDE");
    }
}

TEST_F(Pages, OfAnEncryptedDocumentStayEncryptedWithItsPassword) {
    oracle("qpdf --encrypt user owner 256 --modify=none -- five.pdf locked.pdf");
    oracle("qpdf --encrypt '' owner 256 --modify=none -- five.pdf owned.pdf");
    for (const std::string file : {"locked.pdf", "owned.pdf"}) {
        const auto result = tool("pages " + file + " --password owner --remove 1 -o out.pdf");
        EXPECT_EQ(result.errors, "orvexpdf: wrote out.pdf, encrypted as before\n");
        EXPECT_EQ(oracle("qpdf --show-encryption --password=owner out.pdf"),
                  oracle("qpdf --show-encryption --password=owner " + file));
    }
}

TEST_F(Pages, ThatAreNoLongerEncryptedAreToldOf) {
    oracle("qpdf --encrypt '' owner 256 -- five.pdf owned.pdf");
    for (const std::string password : {"", "--password wrong "}) {
        const auto result = tool("pages owned.pdf " + password + "--remove 1 -o out.pdf");
        EXPECT_EQ(result.exitCode, done);
        EXPECT_THAT(result.errors, HasSubstr("orvexpdf: warning: owned.pdf was encrypted and out.pdf is not"));
        EXPECT_THAT(result.errors, HasSubstr("--password"));
        EXPECT_THAT(oracle("qpdf --show-encryption out.pdf"), HasSubstr("File is not encrypted"));
    }
    EXPECT_EQ(tool("pages owned.pdf --reverse -o out.pdf --quiet").errors, "");
    EXPECT_THAT(tool("pages two.pdf --append owned.pdf -o out.pdf").errors,
                HasSubstr("warning: owned.pdf is encrypted, and its pages are written in the open"));
    EXPECT_EQ(tool("pages owned.pdf --password owner --append owned.pdf -o out.pdf").errors,
              "orvexpdf: wrote out.pdf, encrypted as before\n");
    EXPECT_THAT(tool("watermark owned.pdf --text DRAFT -o out.pdf").errors, HasSubstr("owned.pdf was encrypted"));
    EXPECT_THAT(tool("squeeze owned.pdf --mode low -o out.pdf").errors, HasSubstr("owned.pdf was encrypted"));
}

TEST_F(Pages, AreChangedInPlaceWhenAsked) {
    toolOutput("pages five.pdf --remove 1 --in-place");
    EXPECT_EQ(letters("five.pdf"), "BCDE");
    toolOutput("pages five.pdf --append five.pdf --in-place");
    EXPECT_EQ(letters("five.pdf"), "BCDEBCDE");
}

TEST_F(Pages, WrongUsageIsRefusedWithTheReason) {
    struct Case {
        std::string arguments;
        std::vector<std::string> parts;
    };
    const std::vector<Case> cases = {
        {"five.pdf -o out.pdf", {"nothing to do"}},
        {"five.pdf --reverse", {"-o"}},
        {"five.pdf --reverse -o five.pdf", {"is an input"}},
        {"five.pdf --append two.pdf -o two.pdf", {"is an input"}},
        {"five.pdf --insert two.pdf:1 -o two.pdf", {"is an input"}},
        {"five.pdf --remove 6 -o out.pdf", {"6", "5 pages"}},
        {"five.pdf --remove 6-2 -o out.pdf", {"6-2", "5 pages"}},
        {"five.pdf --remove 0-2 -o out.pdf", {"0-2", "5 pages"}},
        {"five.pdf --remove 2- -o out.pdf", {"2-", "not a list of pages"}},
        {"five.pdf --remove 1-2-3 -o out.pdf", {"1-2-3", "not a list of pages"}},
        {"five.pdf --remove 1,,2 -o out.pdf", {"1,,2", "not a list of pages"}},
        {"five.pdf --remove '' -o out.pdf", {"no pages are named"}},
        {"five.pdf --remove 1-end -o out.pdf", {"no page would be left"}},
        {"five.pdf --remove 4-5 --remove 4 -o out.pdf", {"3 pages"}},
        {"five.pdf --move 5,1 -o out.pdf", {"--move 5,1", "5,1:3"}},
        {"five.pdf --move 5,5:1 -o out.pdf", {"a page is named twice"}},
        {"five.pdf --move 5:7 -o out.pdf", {"from 1 to 6"}},
        {"five.pdf --move 5:0 -o out.pdf", {"from 1 to 6"}},
        {"five.pdf --rotate 1:up -o out.pdf", {"--rotate 1:up", "1-3:left"}},
        {"five.pdf --rotate 1 -o out.pdf", {"1-3:left"}},
        {"five.pdf --insert two.pdf:9 -o out.pdf", {"--insert two.pdf:9", "from 1 to 6"}},
        {"- --append - -o out.pdf", {"only once"}},
        {"five.pdf --turn 1 -o out.pdf", {"--turn"}},
    };
    for (const auto& one : cases) {
        expectRefusal("orvexpdf pages " + one.arguments, usage, one.parts);
    }
}

TEST_F(Pages, WhatIsNoFileOfAnOperationMayBeTheOutput) {
    for (const std::string operation :
         {"--remove 1", "--move 1:2", "--append two.pdf --remove 1", "--insert two.pdf:1"}) {
        write("1", "an older file of this name");
        EXPECT_EQ(tool("pages five.pdf " + operation + " -o 1").exitCode, done) << operation;
        expectSound("1");
    }
    expectRefusal("orvexpdf pages five.pdf --append 1 -o ./1", usage, {"./1 is an input"});
    expectRefusal("orvexpdf pages five.pdf --insert 1:1 -o 1", usage, {"1 is an input"});
}

TEST_F(Pages, UnusableFilesAreNamed) {
    write("notes.txt", "bread, milk");
    expectRefusal("orvexpdf pages five.pdf --append notes.txt -o out.pdf", unusable,
                  {"notes.txt", "neither a PDF nor an image"});
    expectRefusal("orvexpdf pages five.pdf --append absent.pdf -o out.pdf", unreadable, {"absent.pdf"});
    expectRefusal("orvexpdf pages notes.txt --reverse -o out.pdf", unusable, {"notes.txt", "not a PDF"});
}

/// Two pages: a bookmark and a link to the second, a text field, labels, an attachment, a tagged paragraph.
class PagesKeep : public Pages {
protected:
    void SetUp() override {
        Pages::SetUp();
        const auto page = [](const std::string& letter, const std::string& more) {
            return "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 300 200] /Resources << /Font << /F1 9 0 R >> >> "
                   "/StructParents 0 /Contents " +
                   letter + " 0 R " + more + " >>";
        };
        write(
            "rich.pdf",
            pdfFromObjects({
                "<< /Type /Catalog /Pages 2 0 R /Outlines 5 0 R /AcroForm << /Fields [8 0 R] /DR << /Font << /F1 9 0 R "
                ">> >> /DA (/F1 12 Tf) >> /PageLabels << /Nums [0 << /S /r >> 1 << /S /D /St 7 >>] >> "
                "/Names << /EmbeddedFiles << /Names [(note) 12 0 R] >> >> /MarkInfo << /Marked true >> "
                "/StructTreeRoot 14 0 R >>",
                "<< /Type /Pages /Count 2 /Kids [3 0 R 4 0 R] >>",
                page("10", "/Annots [7 0 R]"),
                page("11", "/Annots [8 0 R]"),
                "<< /Type /Outlines /First 6 0 R /Last 6 0 R /Count 1 >>",
                "<< /Title (Second) /Parent 5 0 R /Dest [4 0 R /Fit] >>",
                "<< /Type /Annot /Subtype /Link /Rect [0 0 50 50] /Border [0 0 0] /Dest [4 0 R /Fit] >>",
                "<< /Type /Annot /Subtype /Widget /FT /Tx /T (name) /V (Ada) /DA (/F1 12 Tf) /Rect [60 0 100 20] "
                "/P 4 0 R >>",
                "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
                streamBody("BT /F1 24 Tf 30 100 Td (one) Tj ET"),
                streamBody("/P << /MCID 0 >> BDC BT /F1 24 Tf 30 100 Td (two) Tj ET EMC"),
                "<< /Type /Filespec /F (note.txt) /UF (note.txt) /EF << /F 13 0 R >> >>",
                streamBody("a note", "/Type /EmbeddedFile"),
                "<< /Type /StructTreeRoot /K [15 0 R] /ParentTree << /Nums [0 [15 0 R]] >> >>",
                "<< /Type /StructElem /S /P /P 14 0 R /Pg 4 0 R /K 0 >>",
            }));
    }
};

TEST_F(PagesKeep, WhatBelongsToTheDocument) {
    toolOutput("pages rich.pdf --rotate 2:right --move 2:1 --append two.pdf -o out.pdf");
    expectSound("out.pdf");
    EXPECT_THAT(oracle("mutool show out.pdf outline"), HasSubstr("Second\"\t#page=1"));
    EXPECT_THAT(oracle("pdfdetach -list out.pdf"), HasSubstr("note.txt"));
    EXPECT_THAT(oracle("qpdf --json out.pdf"), HasSubstr("\"fullname\": \"name\""));
    EXPECT_THAT(oracle("qpdf --json out.pdf"), HasSubstr("u:Ada"));
    EXPECT_THAT(oracle("pdfinfo -struct-text out.pdf"), HasSubstr("two"));
    EXPECT_EQ(pdfinfo("out.pdf", "Tagged"), "yes");
    EXPECT_EQ(pdfinfo("out.pdf", "Page    1 rot", 1), "90");
    EXPECT_THAT(oracle("qpdf --json out.pdf"), HasSubstr("\"pagelabels\": [\n"));
    EXPECT_THAT(oracle("qpdf --json --json-key=pagelabels out.pdf"), HasSubstr("\"/S\": \"/r\""));
    EXPECT_THAT(oracle("qpdf --qdf out.pdf - | grep -a -B16 Subtype./Link"), HasSubstr("/Dest"));
}

TEST_F(PagesKeep, NoLinkToAPageThatIsGone) {
    toolOutput("pages rich.pdf --remove 2 -o out.pdf");
    expectSound("out.pdf");
    EXPECT_EQ(letters("out.pdf"), "one");
    EXPECT_THAT(oracle("pdfdetach -list out.pdf"), HasSubstr("note.txt"));
    EXPECT_THAT(oracle("pdftotext out.pdf -"), testing::Not(HasSubstr("two")));
}

} // namespace
} // namespace orvex::test
