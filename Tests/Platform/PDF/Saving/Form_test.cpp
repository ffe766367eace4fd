// Form fields, annotations and signatures after pages were removed, moved or inserted.
#include "Platform/PDF/Saving/SavingTests.h"
#include "Support/TempFolder.h"

#include <fstream>

namespace orvex {
namespace {

std::string widget(const std::string& more) {
    return "<< /Type /Annot /Subtype /Widget /Rect [72 600 272 640] /F 4 /AP << /N 15 0 R >> " + more + " >>";
}

/// Two pages: the field "name" on the first, "group.second" on the second, "both" on either.
Bytes form(const std::string& value, const std::string& face = "Helvetica", const std::string& more = {}) {
    return pdfFromPages(
        {pageShowing("One", "/Annots [9 0 R 11 0 R]"), pageShowing("Two", "/Annots [13 0 R 12 0 R]")}, {},
        "/AcroForm << /Fields [9 0 R 10 0 R 14 0 R] /DA (/Helv 12 Tf 0 g) /CO [9 0 R 13 0 R] " + more +
            " /DR << /Font << /Helv << /Type /Font /Subtype /Type1 /BaseFont /" + face +
            " >> /Unused << /Type /Font /Subtype /Type1 /BaseFont /Courier >> >> >> >>",
        {widget("/FT /Tx /T (name) /P 5 0 R /V (" + value + ")"),
         "<< /FT /Tx /T (both) /V (shared) /Kids [11 0 R 12 0 R] >>", widget("/Parent 10 0 R"),
         widget("/Parent 10 0 R"), widget("/Parent 14 0 R /FT /Tx /T (second) /DA (/Helv 8 Tf)"),
         "<< /T (group) /Kids [13 0 R] >>",
         test::streamBody("0.5 g 0 0 200 40 re f", "/Type /XObject /Subtype /Form /BBox [0 0 200 40]")});
}

/// What qpdf finds: a line per widget with page, full name and value.
std::string fields(const SavedDocument& saved) {
    const std::string script = "import json,sys; d=json.load(sys.stdin)['acroform']\n"
                               "for f in d['fields']: print(f['pageposfrom1'], f['fullname'], f['value'] or '')\n";
    return test::run("qpdf --json --json-key=acroform " + test::quoted(saved.path()) + " | python3 -c " +
                     test::quoted(script))
        .output;
}

TEST(SavedForm, KeepsTheFieldsOfThePagesThatAreLeft) {
    const auto document = opened(form("Ada"));
    document->removePage(1);
    const SavedDocument saved(*document);
    EXPECT_EQ(fields(saved), "1 name u:Ada\n1 both u:shared\n");
    EXPECT_THAT(saved.show("trailer/Root/AcroForm/CO/1"), HasSubstr("(name)"));
    EXPECT_EQ(saved.show("trailer/Root/AcroForm/CO/2"), "null\n");
    EXPECT_EQ(saved.show("trailer/Root/AcroForm/Fields/2/Kids/2"), "null\n");
    EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("second")));
    EXPECT_EQ(saved.picture(1), SavedDocument(*opened(form("Ada"))).picture(1));
}

TEST(SavedForm, AFieldGoesWithItsLastWidget) {
    const auto document = opened(form("Ada"));
    test::removePages(*document, 0, 1);
    document->insertPage(std::make_shared<PDFPage>(), 0);
    const SavedDocument saved(*document);
    EXPECT_EQ(saved.show("trailer/Root/AcroForm/Fields"), "[ ]\n");
    EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("/Widget")));
}

TEST(SavedForm, AnInsertedFormBringsItsFieldsUnderNamesOfTheirOwn) {
    const auto document = opened(form("Ada"));
    test::appendPages(*document, *opened(form("Bob")));
    const SavedDocument saved(*document);
    EXPECT_EQ(fields(saved), "1 name u:Ada\n1 both u:shared\n2 group.second \n2 both u:shared\n"
                             "3 name_2 u:Bob\n3 both_2 u:shared\n4 group_2.second \n4 both_2 u:shared\n");
    EXPECT_EQ(saved.picture(3), saved.picture(1));
    EXPECT_THAT(saved.show("trailer/Root/AcroForm/CO/4"), HasSubstr("(second)"));
}

TEST(SavedForm, AnInsertedFormKeepsItsFontsWhereNamesCollide) {
    const auto document = opened(form("Ada"));
    test::appendPages(*document, *opened(form("Bob", "Times-Roman")));
    test::appendPages(*document, *opened(form("Cyd")));
    const SavedDocument saved(*document);
    EXPECT_THAT(saved.show("trailer/Root/AcroForm/DR/Font/Helv"), HasSubstr("/Helvetica"));
    EXPECT_THAT(saved.show("trailer/Root/AcroForm/DR/Font/Helv_2"), HasSubstr("/Times-Roman"));
    EXPECT_EQ(saved.show("trailer/Root/AcroForm/DR/Font/Helv_3"), "null\n");
    EXPECT_EQ(saved.show("trailer/Root/AcroForm/Fields/4/DA"), "(/Helv_2 12 Tf 0 g)\n");
    EXPECT_EQ(saved.show("trailer/Root/AcroForm/Fields/6/Kids/1/DA"), "(/Helv_2 8 Tf)\n");
    EXPECT_EQ(saved.show("trailer/Root/AcroForm/Fields/7/DA"), "(/Helv 12 Tf 0 g)\n");
}

TEST(SavedForm, PagesWithoutAFormOfTheirOwnTakeOneOver) {
    const auto document = opened(test::pagesShowing({"Plain"}));
    document->insertPage(opened(form("Bob", "Times-Roman", "/NeedAppearances true"))->page(1), 1);
    const SavedDocument saved(*document);
    EXPECT_EQ(fields(saved), "2 group.second \n2 both u:shared\n");
    EXPECT_EQ(saved.show("trailer/Root/AcroForm/NeedAppearances"), "true\n");
    EXPECT_THAT(saved.show("trailer/Root/AcroForm/DR/Font/Helv"), HasSubstr("/Times-Roman"));
    EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("/Courier")));
}

TEST(SavedForm, APageThatStandsTwiceHasFieldsOfItsOwn) {
    const auto document = opened(form("Ada"));
    document->insertPage(document->page(0), 2);
    document->insertPage(document->page(0), 3);
    const SavedDocument saved(*document);
    EXPECT_EQ(fields(saved), "1 name u:Ada\n1 both u:shared\n2 group.second \n2 both u:shared\n"
                             "3 name_2 u:Ada\n3 both_2 u:shared\n4 name_3 u:Ada\n4 both_3 u:shared\n");
    EXPECT_EQ(saved.picture(3), saved.picture(1));
}

TEST(SavedForm, FormsThatDescribePagesAnewGiveWayToTheFieldsOnceThePagesChange) {
    const auto document = opened(form("Ada", "Helvetica", "/XFA (<xdp/>)"));
    EXPECT_THAT(SavedDocument(*document).bytes.text(), HasSubstr("/XFA"));
    test::reversePages(*document);
    EXPECT_THAT(SavedDocument(*document).bytes.text(), Not(HasSubstr("/XFA")));
}

TEST(SavedAnnotations, KeepTheirRelations) {
    const auto from =
        opened(pdfFromPages({pageShowing("One", "/Annots [7 0 R 8 0 R 9 0 R]")}, {}, {},
                            {"<< /Type /Annot /Subtype /Text /Rect [0 0 9 9] /Contents (note) /Popup 8 0 R /P 5 0 R >>",
                             "<< /Type /Annot /Subtype /Popup /Rect [0 0 9 9] /Parent 7 0 R >>",
                             "<< /Type /Annot /Subtype /Text /Rect [0 0 9 9] /Contents (reply) /IRT 7 0 R >>"}));
    const auto document = opened(test::pagesShowing({"Base"}));
    test::appendPages(*document, *from);
    test::appendPages(*document, *from);
    const SavedDocument saved(*document);
    for (const std::string page : {"pages/2", "pages/3"}) {
        const std::string note = saved.show(page + "/Annots/1");
        EXPECT_EQ(saved.show(page + "/Annots/2/Parent"), note);
        EXPECT_EQ(saved.show(page + "/Annots/3/IRT"), note);
        EXPECT_EQ(saved.show(page + "/Annots/1/Popup"), saved.show(page + "/Annots/2"));
        EXPECT_EQ(saved.show(page + "/Annots/1/P"), saved.show(page));
    }
    EXPECT_NE(saved.show("pages/2/Annots/1"), saved.show("pages/3/Annots/1"));
}

/// One page with a signature field that shows a grey stamp.
Bytes signedPage() {
    return pdfFromPages(
        {pageShowing("Signed", "/Annots [7 0 R]")}, {},
        "/AcroForm << /Fields [7 0 R] /SigFlags 3 >> /Perms << /DocMDP 8 0 R >> /DSS << /Certs [] >>",
        {"<< /Type /Annot /Subtype /Widget /Rect [72 600 272 640] /F 4 /AP << /N 9 0 R >> /FT /Sig /T (sig) "
         "/V 8 0 R >>",
         "<< /Type /Sig /Filter /Adobe.PPKLite /SubFilter /adbe.pkcs7.detached /ByteRange [0 9 9 9] "
         "/Contents <00> /Name (Ada) >>",
         test::streamBody("0.5 g 0 0 200 40 re f", "/Type /XObject /Subtype /Form /BBox [0 0 200 40]")});
}

TEST(SavedSignatures, AreNotClaimedByAFileThatWasWrittenAnew) {
    const auto document = opened(signedPage());
    const auto other = opened(test::pagesShowing({"Base"}));
    other->insertPage(document->page(0), 1);
    for (const auto& edited : {document, other}) {
        const SavedDocument saved(*edited);
        EXPECT_THAT(saved.tool("pdfsig"), HasSubstr("The signature form field is not signed."));
        EXPECT_EQ(saved.show("trailer/Root/AcroForm/SigFlags"), "null\n");
        EXPECT_EQ(saved.show("trailer/Root/AcroForm/Fields/1/V"), "null\n");
        EXPECT_EQ(saved.show("trailer/Root/AcroForm/Fields/1/FT"), "/Sig\n");
        EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("/Perms")));
        EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("/DSS")));
        EXPECT_THAT(saved.bytes.text(), Not(HasSubstr("/ByteRange")));
    }
}

TEST(SavedSignatures, LeaveWhatTheyLookLikeOnThePage) {
    const test::TempFolder folder;
    const std::string path = (folder.path() / "signed.pdf").string();
    std::ofstream(path, std::ios::binary) << signedPage().text();
    EXPECT_EQ(SavedDocument(*opened(signedPage())).picture(1),
              test::run("pdftoppm -r 36 -f 1 -l 1 " + test::quoted(path)).output);
}

TEST(SavedForm, ActionsOfRenamedFieldsNameTheNewOnes) {
    const auto withActions = [](const std::string& text) {
        return pdfFromPages(
            {pageShowing(text, "/Annots [7 0 R 8 0 R 9 0 R]")}, {}, "/AcroForm << /Fields [7 0 R 8 0 R 10 0 R] >>",
            {widget("/FT /Tx /T (name)"),
             widget("/FT /Btn /Ff 65536 /T (reset) /A << /S /ResetForm /Fields [(name) (group.second) (other) 7 0 R] "
                    "/Next [<< /S /Hide /T (name) >> << /S /SubmitForm /F (x) /Fields [(group)] >>] >>"),
             widget("/Parent 10 0 R /FT /Tx /T (second)"), "<< /T (group) /Kids [9 0 R] >>"});
    };
    const auto document = opened(withActions("One"));
    test::appendPages(*document, *opened(withActions("Two")));
    const SavedDocument saved(*document);
    const std::string action = "pages/2/Annots/2/A/";
    EXPECT_EQ(saved.show(action + "Fields/1"), "(name_2)\n");
    EXPECT_EQ(saved.show(action + "Fields/2"), "(group_2.second)\n");
    EXPECT_EQ(saved.show(action + "Fields/3"), "(other)\n");
    EXPECT_EQ(saved.show(action + "Fields/4/T"), "(name_2)\n");
    EXPECT_EQ(saved.show(action + "Next/1/T"), "(name_2)\n");
    EXPECT_EQ(saved.show(action + "Next/2/Fields/1"), "(group_2)\n");
    EXPECT_EQ(saved.show("pages/1/Annots/2/A/Fields/1"), "(name)\n");
}

} // namespace
} // namespace orvex
