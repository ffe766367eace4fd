// The pages that are found in a file's bytes are those that qpdf lists.
#include "Platform/PDF/Loading/PageList_p.h"
#include "Platform/PDF/PDFSource_p.h"
#include "Support/PDFFixture.h"
#include "Support/Places.h"

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFWriter.hh>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <optional>

namespace orvex {
namespace {

std::shared_ptr<QPDF> parsed(const Bytes& file) {
    auto pdf = QPDF::create();
    pdf->setSuppressWarnings(true);
    pdf->processMemoryFile("input", reinterpret_cast<const char*>(file.data()), file.size());
    return pdf;
}

PageList listed(const Bytes& file) {
    const auto pdf = parsed(file);
    return listPages(*pdf, file, ObjectTable(*pdf));
}

using Ids = std::vector<QPDFObjGen>;

Ids idsOf(const std::vector<QPDFObjectHandle>& pages) {
    Ids ids;
    for (const auto& page : pages) {
        ids.push_back(page.getObjGen());
    }
    return ids;
}

/// Ids and turns against the library's pages. What it refuses, the list refuses too.
void expectSameAsLibrary(const Bytes& file) {
    std::shared_ptr<QPDF> pdf;
    std::vector<QPDFObjectHandle> pages;
    try {
        pdf = parsed(file);
    } catch (const std::exception&) {
        return; // not even a table to look into
    }
    try {
        pages = pdf->getAllPages();
    } catch (const std::exception&) {
        EXPECT_ANY_THROW(listed(file));
        return;
    }
    const PageList list = listed(file);
    EXPECT_EQ(list.ids, idsOf(pages));
    ASSERT_EQ(list.turns.size(), list.ids.size());
    for (std::size_t i = 0; i < std::min(pages.size(), list.turns.size()); ++i) {
        if (list.turns[i] != PageList::unknownTurn) {
            EXPECT_EQ(list.turns[i] * 90, pageRotation(pages[i])) << "page " << i + 1;
        }
    }
}

// Trees by hand

struct Case {
    std::string name;
    std::vector<std::string> objects; ///< from object 2, the root of the tree
    std::size_t pages;
    bool plain;
};

void PrintTo(const Case& given, std::ostream* out) {
    *out << given.name;
}

class Tree : public testing::TestWithParam<Case> {
protected:
    static std::size_t pageCount() { return GetParam().pages; }
    static Bytes file() {
        std::vector<std::string> bodies{"<< /Type /Catalog /Pages 2 0 R >>"};
        bodies.insert(bodies.end(), GetParam().objects.begin(), GetParam().objects.end());
        return Bytes(test::pdfFromObjects(bodies));
    }
    static Bytes rewritten(const std::function<void(QPDFWriter&)>& settings) {
        const Bytes original = file();
        const auto pdf = parsed(original);
        QPDFWriter writer(*pdf);
        writer.setOutputMemory();
        writer.setStaticID(true);
        settings(writer);
        writer.write();
        const auto buffer = writer.getBufferSharedPointer();
        return Bytes::copyOf({buffer->getBuffer(), buffer->getSize()});
    }
};

TEST_P(Tree, HasThePagesThatTheLibraryFinds) {
    expectSameAsLibrary(file());
    const PageList list = listed(file());
    EXPECT_EQ(list.ids.size(), GetParam().pages);
    EXPECT_EQ(!list.repaired, GetParam().plain);
}

/// The library repairs the others when it writes them.
class PlainTree : public Tree {
protected:
    static void expectPlain(const Bytes& file) {
        expectSameAsLibrary(file);
        EXPECT_EQ(listed(file).ids.size(), pageCount());
        EXPECT_FALSE(listed(file).repaired);
    }
};

TEST_P(PlainTree, IsFoundInObjectStreams) {
    expectPlain(rewritten([](auto& writer) { writer.setObjectStreamMode(qpdf_o_generate); }));
}

TEST_P(PlainTree, IsFoundInEncryptedFiles) {
    for (const auto mode : {qpdf_o_disable, qpdf_o_generate}) {
        expectPlain(rewritten([mode](auto& writer) {
            writer.setObjectStreamMode(mode);
            writer.setR6EncryptionParameters("", "owner", true, true, true, true, true, true, qpdf_r3p_full, true);
        }));
    }
}

const std::string page = "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] >>";

std::string rootOf(const std::string& kids, const std::string& more = "") {
    return "<< /Type /Pages /Count 1 /Kids [" + kids + "] " + more + ">>";
}

const std::vector<Case> plainTrees{
    Case{"OnePage", {rootOf("3 0 R"), page}, 1, true},
    Case{"NoPages", {rootOf("")}, 0, true},
    Case{"Nested",
         {rootOf("3 0 R 6 0 R"), "<< /Type /Pages /Parent 2 0 R /Count 2 /Kids [4 0 R 5 0 R] /Rotate 90 >>",
          "<< /Type /Page /Parent 3 0 R >>", "<< /Type /Page /Parent 3 0 R /Rotate -90 >>", page},
         3,
         true},
    Case{"EmptyNodes",
         {rootOf("3 0 R 4 0 R 5 0 R"), "<< /Type /Pages /Kids [] >>", page, "<< /Type /Pages /Kids [ ] >>"},
         1,
         true},
    Case{"TightlySpelled", {"<</Kids[3 0 R]/Type/Pages/Count 1>>", "<</Type/Page/Rotate 450/Parent 2 0 R>>"}, 1, true},
    Case{
        "WidelySpelled", {"<<\r\n/Kids [ 3\t0\n R\r]\r/Type\n/Pages >>", "<< /Type /Page /Parent\n2 0\nR >>"}, 1, true},
    Case{"CountThatLies", {"<< /Type /Pages /Count -7 /Kids [3 0 R] >>", page}, 1, true},
    Case{"NoCount", {"<< /Type /Pages /Kids [3 0 R] >>", page}, 1, true},
    Case{"PageOfAnotherParent",
         {rootOf("3 0 R", "/Rotate 90 "), "<< /Type /Page /Parent 4 0 R >>", "<< /Type /Pages /Rotate 180 >>"},
         1,
         true},
    Case{"RotateOfAnotherKind",
         {rootOf("3 0 R 4 0 R 5 0 R", "/Rotate 90 "), "<< /Type /Page /Parent 2 0 R /Rotate 45 >>",
          "<< /Type /Page /Parent 2 0 R /Rotate 6 0 R >>", "<< /Type /Page /Parent 2 0 R /Rotate null >>", "270"},
         3,
         true},
    Case{"EverythingInAPage",
         {rootOf("3 0 R"), "<< /Type /Page /Parent 2 0 R /A (a \\) ( ) <<) /B <0a B> /C << /Type /Pages /Kids [1 0 R] "
                           ">> /D [1 -2 .5 +3. true false null (]) [<< >>]] /E /a#20b >>"},
         1,
         true}};

INSTANTIATE_TEST_SUITE_P(Sound, Tree, testing::ValuesIn(plainTrees), testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Sound, PlainTree, testing::ValuesIn(plainTrees), testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(
    Odd, Tree,
    testing::Values(Case{"PageWithoutType", {rootOf("3 0 R"), "<< /Parent 2 0 R >>"}, 1, false},
                    Case{"PageOfAnotherType", {rootOf("3 0 R"), "<< /Type /Template /Parent 2 0 R >>"}, 1, false},
                    Case{"TypeElsewhere", {rootOf("3 0 R"), "<< /Type 4 0 R /Parent 2 0 R >>", "/Page"}, 1, false},
                    Case{"TypeTwice", {rootOf("3 0 R"), "<< /Type /Pages /Type /Page >>"}, 1, false},
                    Case{"TypeEscaped", {rootOf("3 0 R"), "<< /T#79pe /Page >>"}, 1, false},
                    Case{"NodeWithoutType", {"<< /Count 1 /Kids [3 0 R] >>", page}, 1, false},
                    Case{"KidsElsewhere", {"<< /Type /Pages /Kids 4 0 R >>", page, "[3 0 R]"}, 1, false},
                    Case{"KidsNoArray", {"<< /Type /Pages /Kids 3 0 R >>", page}, 0, false},
                    Case{"KidsNull", {"<< /Type /Pages /Kids null >>", page}, 0, false},
                    Case{"KidsTwice", {"<< /Type /Pages /Kids [] /Kids [3 0 R] >>", page}, 1, false},
                    Case{"DirectPage", {rootOf("<< /Type /Page >> 3 0 R"), page}, 2, false},
                    Case{"DirectNode", {rootOf("<< /Type /Pages /Kids [3 0 R] >>"), page}, 1, false},
                    Case{"SamePageTwice", {rootOf("3 0 R 3 0 R"), page}, 2, false},
                    Case{"MissingPage", {rootOf("3 0 R 77 0 R"), page}, 2, false},
                    Case{"AnotherGeneration", {rootOf("3 1 R"), page}, 1, false},
                    Case{"CommentInPage", {rootOf("3 0 R"), "<< /Type /Page % >>\n /Parent 2 0 R >>"}, 1, false},
                    Case{"BrokenPage", {rootOf("3 0 R"), "<< /Type /Page /A"}, 1, false},
                    Case{"StreamAsPage", {rootOf("3 0 R"), test::streamBody("q Q", "/Type /Page ")}, 1, false},
                    Case{"RootIsAPage", {"<< /Type /Page /Parent 3 0 R >>", rootOf("2 0 R")}, 1, false}),
    testing::PrintToStringParamName());

TEST(PageList, RefusesATreeThatIsALoopOrHoldsNumbers) {
    for (const char* kids : {"2 0 R", "3 0 R 3 0 R", "3 0 R", "null"}) {
        const Bytes file(test::pdfFromObjects(
            {"<< /Type /Catalog /Pages 2 0 R >>", rootOf(kids), "<< /Type /Pages /Parent 2 0 R /Kids [2 0 R] >>"}));
        EXPECT_THROW(PDFSource::open(file, {}), PDFOpenError) << kids;
    }
}

/// `levels` nodes, one below the other, and a page below the last.
Bytes deepFile(int levels, const std::string& lastNode = "") {
    std::vector<std::string> bodies{"<< /Type /Catalog /Pages 2 0 R >>"};
    for (int level = 0; level < levels; ++level) {
        const auto reference = [&](int number) { return std::to_string(number) + " 0 R"; };
        bodies.push_back("<< /Type /Pages " + (level > 0 ? "/Parent " + reference(level + 1) : std::string()) +
                         (level == levels - 1 ? lastNode : "") + " /Kids [" + reference(level + 3) + "] >>");
    }
    bodies.push_back("<< /Type /Page /Parent " + std::to_string(levels + 1) + " 0 R >>");
    return Bytes(test::pdfFromObjects(bodies));
}

TEST(PageList, GoesDownToTheLastLevelThatItAllows) {
    expectSameAsLibrary(deepFile(deepestPageTree));
    EXPECT_FALSE(listed(deepFile(deepestPageTree)).repaired);
    EXPECT_TRUE(listed(deepFile(deepestPageTree, "/Odd#3F 1")).repaired);
    expectSameAsLibrary(deepFile(100, "/Rotate 90")); // beyond what is looked up upwards
}

TEST(PageList, RefusesATreeThatIsTooDeepForTheStack) {
    for (const char* lastNode : {"", "/Odd#3F 1"}) {
        EXPECT_THROW(listed(deepFile(deepestPageTree + 1, lastNode)), QPDFExc);
        try {
            PDFSource::open(deepFile(50'000, lastNode), {});
            FAIL() << "opened";
        } catch (const PDFOpenError& error) {
            EXPECT_EQ(error.failure(), PDFOpenFailure::damaged);
            EXPECT_STREQ(error.what(), "damaged PDF: the page tree has more than 2000 levels");
        }
    }
}

TEST(PageList, HasWhatIsLeftOfAFileWithoutATable) {
    std::string text(test::pdfFromObjects({"<< /Type /Catalog /Pages 2 0 R >>", rootOf("3 0 R 4 0 R"), page, page}));
    expectSameAsLibrary(Bytes("%some junk\n" + text));
    for (const std::string broken : {"startxref", "0000000", "trailer", "xref", "3 0 obj", "endobj", "%PDF-"}) {
        std::string damaged = text;
        for (auto at = damaged.find(broken); at != damaged.npos; at = damaged.find(broken, at + 1)) {
            damaged[at] = 'x';
        }
        expectSameAsLibrary(Bytes(std::move(damaged)));
    }
    for (std::size_t length = 0; length < text.size(); length += 7) {
        expectSameAsLibrary(Bytes(text.substr(0, length)));
    }
}

TEST(PageList, SurvivesEveryChangedByte) {
    const std::string text = test::pdfFromObjects({"<< /Type /Catalog /Pages 2 0 R >>", rootOf("3 0 R 4 0 R"), page,
                                                   "<< /Type /Pages /Parent 2 0 R /Rotate 90 /Kids [5 0 R] >>",
                                                   "<< /Type /Page /Parent 4 0 R >>"});
    for (std::size_t at = 0; at < text.size(); ++at) {
        for (const char c : {' ', '0', '9', '/', '<', ']', '(', '%', '\0', 'R'}) {
            std::string changed = text;
            changed[at] = c;
            SCOPED_TRACE(changed.substr(at < 20 ? 0 : at - 20, 40));
            expectSameAsLibrary(Bytes(std::move(changed)));
        }
    }
}

TEST(PageList, LeavesTheParseWithoutPages) {
    std::vector<test::FixturePage> pages(500, {test::showing("page")});
    const Bytes file = test::pdfFromPages(pages);
    const auto pdf = parsed(file);
    const PageList list = listPages(*pdf, file, ObjectTable(*pdf));
    EXPECT_EQ(list.ids.size(), 500U);
    EXPECT_FALSE(list.repaired);
    const auto source = PDFSource::open(file, {});
    EXPECT_EQ(source->pageNumber(source->pageID(77)), 77);
    EXPECT_EQ(source->pageNumber(QPDFObjGen(1, 0)), std::nullopt);
    EXPECT_TRUE(source->page(499).isDictionaryOfType("/Page"));
}

// Real files

TEST(PageList, IsTheLibrarysForRealFiles) {
    const auto files = test::sharedPDFs(12);
    if (files.empty()) {
        GTEST_SKIP() << "no shared files here";
    }
    std::size_t plain = 0;
    std::size_t looked = 0;
    for (const auto& path : files) {
        const Bytes file = readFile(path);
        SCOPED_TRACE(path.filename().string());
        expectSameAsLibrary(file);
        try {
            plain += listed(file).repaired ? 0U : 1U;
            ++looked;
        } catch (const std::exception&) { // compared above
        }
    }
    EXPECT_GT(plain * 2, looked) << "most files are sound";
    RecordProperty("plain", static_cast<int>(plain));
    RecordProperty("looked", static_cast<int>(looked));
}

} // namespace
} // namespace orvex
