// Pages that nothing changes, however a file spells them: in whatever order they are saved, each is what it was.
#include "SideBySide.h"
#include "Support/OpenDocument.h"
#include "Support/Pages.h"
#include "Support/Places.h"
#include "Support/SavedDocument.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iostream>

namespace orvex {
namespace {

using test::differenceOfPages;
using test::parsed;
using testing::HasSubstr;
using testing::Not;

constexpr int firstPage = 3;

/// Three pages below one node, whose content follows them; `node` and `page` are further entries of theirs.
std::vector<std::string> objectsOf(const std::string& node, const std::string& page,
                                   const std::vector<std::string>& more) {
    std::vector<std::string> bodies{"<< /Type /Catalog /Pages 2 0 R >>",
                                    "<< /Type /Pages /Kids [3 0 R 4 0 R 5 0 R] /Count 3 " + node + " >>"};
    for (int number = firstPage; number < firstPage + 3; ++number) {
        std::string own = page;
        if (const auto mark = own.find("CONTENT"); mark != std::string::npos) {
            own.replace(mark, 7, std::to_string(number + 3) + " 0 R");
        }
        bodies.push_back("<< /Type /Page /Parent 2 0 R " + own + " >>");
    }
    for (const char* letter : {"A", "B", "C"}) {
        bodies.push_back(test::streamBody(test::showing(letter)));
    }
    bodies.insert(bodies.end(), more.begin(), more.end());
    return bodies;
}

std::string fileOf(const std::string& node, const std::string& page) {
    return test::pdfFromObjects(objectsOf(node, page, {}));
}

/// By their places in the loaded file.
void expectPages(const Bytes& before, const PDFDocument& document, const std::vector<int>& places) {
    const auto after = document.dataRepresentation();
    ASSERT_TRUE(after);
    EXPECT_EQ(differenceOfPages(before, *after, places), "");
    EXPECT_EQ(document.measuredSize(), static_cast<std::int64_t>(after->size()));
}

/// As loaded, reversed, and without the first page.
void expectKept(const std::string& file) {
    const Bytes before = Bytes::copyOf(file);
    const auto document = test::opened(before);
    std::vector<int> places(static_cast<std::size_t>(document->pageCount()));
    for (std::size_t i = 0; i < places.size(); ++i) {
        places[i] = static_cast<int>(i);
    }
    expectPages(before, *document, places);
    test::reversePages(*document);
    std::ranges::reverse(places);
    expectPages(before, *document, places);
    const test::SavedDocument approved(*document);
    document->removePage(0);
    places.erase(places.begin());
    expectPages(before, *document, places);
}

struct Spelling {
    std::string name;
    std::string node;
    std::string page;
    std::vector<std::string> more = {};
};

class KeptPages : public testing::TestWithParam<Spelling> {};

TEST_P(KeptPages, AreWhatTheyWere) {
    const auto objects = objectsOf(GetParam().node, GetParam().page, GetParam().more);
    expectKept(test::pdfFromObjects(objects));
    expectKept(test::packedPDFFromObjects(objects));
}

const std::string box = "/MediaBox [0 0 612 792] ";
const std::string font = "<< /Font << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> >>";

INSTANTIATE_TEST_SUITE_P(
    Spelled, KeptPages,
    testing::Values(
        Spelling{"Plainly", "", box + "/Contents CONTENT /Resources " + font},
        Spelling{"WithWhiteSpace", "", "/MediaBox[0\r\n0\t300 \f 200]/Contents  CONTENT/Resources" + font},
        Spelling{"WithComments", "", "% a comment (\n" + box + "/Contents CONTENT % another\n"},
        Spelling{"WithEscapedKeys", "", "/Media#42ox [0 0 9 9] /Contents CONTENT"},
        Spelling{"WithEscapedNames", "", box + "/Resources << /Font << /F#201 10 0 R >> >>", {"", "(font)"}},
        Spelling{"WithKeysTwice", "", box + "/MediaBox [0 0 9 9] /Contents CONTENT"},
        Spelling{"InheritingAll", box + "/Resources " + font + " /Rotate 90 /CropBox [1 1 99 99]", "/Contents CONTENT"},
        Spelling{"InheritingWhatStandsElsewhere",
                 "/MediaBox 9 0 R /Resources 10 0 R",
                 "/Contents CONTENT",
                 {"[0 0 300 200]", font}},
        Spelling{"InheritingWhatIsNull", box + "/Resources " + font,
                 "/MediaBox null /Resources null /Contents CONTENT"},
        Spelling{"InheritingWhatLeadsNowhere", box + "/Rotate 99 0 R", "/CropBox 99 0 R /Contents CONTENT"},
        Spelling{"InheritingAnOddTurn", box + "/Rotate 45", "/Contents CONTENT"},
        Spelling{"TurnedByAReference", box, "/Rotate 9 0 R /Contents CONTENT", {"90"}},
        Spelling{"WithoutContent", box, ""}, Spelling{"WithContentThatLeadsNowhere", box, "/Contents 99 0 R"},
        Spelling{"WithAnArrayOfContent", box, "/Contents [CONTENT 6 0 R 7 0 R]"},
        Spelling{"WithAnArrayElsewhere", box, "/Contents 9 0 R", {"[6 0 R 7 0 R]"}},
        Spelling{"SharingContent", box, "/Contents 6 0 R"},
        Spelling{"SharingContentWithOthers", box + "/Other 6 0 R", "/Contents [6 0 R 7 0 R]"},
        Spelling{"WithLengthsElsewhere", box, "/Contents 9 0 R", {"<< /Length 10 0 R >>\nstream\nq Q\nendstream", "3"}},
        Spelling{"WithLengthsTooSmall", box, "/Contents 9 0 R", {"<< /Length 1 >>\nstream\nq Q\nendstream"}},
        Spelling{"WithLengthsTooLarge", box, "/Contents 9 0 R", {"<< /Length 300 >>\nstream\nq Q\nendstream"}},
        Spelling{"WithEmptyContent", box, "/Contents 9 0 R", {test::streamBody("")}},
        Spelling{
            "WithFilters",
            box,
            "/Contents 9 0 R",
            {"<< /Length 8 /Filter [10 0 R] /DecodeParms [null] >>\nstream\n71 51 >  \nendstream", "/ASCIIHexDecode"}},
        Spelling{"WithAFormForContent",
                 box,
                 "/Contents 9 0 R",
                 {test::streamBody("q Q", "/Type /XObject /Subtype /Form /BBox [0 0 1 1] /Resources 10 0 R"), font}},
        Spelling{"WithStringsLikeReferences", box, "/ID (1 0 R \\) 2 0 R) /LastModified <31 20 30> /Tabs /R"},
        Spelling{"WithNumbersLikeReferences", box, "/PieceInfo << /A [1 0 0 R 1 0 9 0 R 1. 0 +1 0] >>", {"(nine)"}},
        Spelling{"WithNestedReferences",
                 box,
                 "/PieceInfo << /A << /B [[9 0 R] << /C 10 0 R >>] >> /D 9 0 R >>",
                 {"(nine)", "[11 0 R 9 0 R]", "(eleven)"}},
        Spelling{"WithReferencesOfOtherGenerations", box, "/PieceInfo [6 1 R 6 65535 R 9 0 R 0 0 R]", {"(nine)"}},
        Spelling{"ThatReferToThemselves", "", box + "/PieceInfo [4 0 R 3 0 R]"},
        Spelling{"WithAnnotations", box,
                 "/Annots [<< /Type /Annot /Subtype /Square /Rect [0 0 9 9] >>] /Contents CONTENT"},
        Spelling{"WithUnknownEntries", box, "/Unknown [9 0 R] /Contents CONTENT", {"(nine)"}}),
    [](const auto& given) { return given.param.name; });

TEST(KeptPages, InheritFromEveryNodeAboveThem) {
    expectKept(test::pdfFromObjects(
        {"<< /Type /Catalog /Pages 2 0 R >>",
         "<< /Type /Pages /Kids [3 0 R 7 0 R] /Count 4 /MediaBox [0 0 100 100] /Rotate 90 /Resources << /A 8 0 R >> >>",
         "<< /Type /Pages /Parent 2 0 R /Kids [4 0 R 5 0 R 6 0 R] /Count 3 /CropBox [1 1 50 50] /Rotate 180 >>",
         "<< /Type /Page /Parent 3 0 R >>", "<< /Type /Page /Parent 3 0 R /Rotate 0 /MediaBox [0 0 60 60] >>",
         "<< /Type /Page /Parent 3 0 R /Annots [] >>", "<< /Type /Page /Parent 2 0 R >>", "(eight)"}));
}

TEST(KeptPages, AreSpelledAsTheyWere) {
    const auto document =
        test::opened(Bytes(fileOf("", "/MediaBox [0   0 612 792] /Contents CONTENT /Resources " + font)));
    test::reversePages(*document);
    const test::SavedDocument saved(*document);
    std::string text(saved.bytes.text());
    for (int i = 0; i < 3; ++i) {
        const auto found = text.find("/MediaBox [0   0 612 792]");
        ASSERT_NE(found, std::string::npos);
        text[found] = ' ';
    }
    EXPECT_EQ(saved.words(), "C |B |A |");
}

TEST(KeptPages, AreParsedWhenSomethingIsDrawnOnThem) {
    class Page final : public PDFPage {
    public:
        using PDFPage::PDFPage;
        int draws = 0;
        void draw(PDFDisplayBox which, GraphicsContext& context) override {
            ++draws;
            PDFPage::draw(which, context);
            context.setFillColor({1, 0, 0, 0.5});
            context.fillRect({10, 10, 50, 50});
        }
    };
    // The names that drawing takes are taken.
    const std::string taken =
        "<< /ExtGState << /OrvexAlpha0 << /ca 1 >> >> /Font << /F1 << /Type /Font /Subtype /Type1 "
        "/BaseFont /Helvetica >> >> >>";
    const Bytes before(fileOf("/Resources " + taken + box + "/Rotate 90", "/Contents CONTENT"));
    const auto document = test::opened(before);
    test::reversePages(*document);
    const auto drawn = std::make_shared<Page>(document->page(1)->content());
    document->replacePage(1, drawn);
    const test::SavedDocument saved(*document);
    EXPECT_EQ(drawn->draws, 1);
    EXPECT_EQ(saved.words(), "C |B |A |");
    EXPECT_THAT(saved.show("pages/2/Resources"), HasSubstr("/OrvexAlpha0"));
    EXPECT_THAT(saved.show("pages/2/Resources"), HasSubstr("/Orvex1xAlpha"));
    EXPECT_THAT(saved.show("pages/1/Resources"), Not(HasSubstr("/Orvex1x")));
    EXPECT_EQ(differenceOfPages(before, saved.bytes, {2, 1, 0}, {"/Contents", "/Resources"}), "");
}

TEST(KeptPages, StandBesideCopiesOfThemselvesAndTurnedOnes) {
    const Bytes before(fileOf(box + "/Rotate 90 /Resources " + font, "/Contents CONTENT"));
    const auto document = test::opened(before);
    document->insertPage(std::make_shared<PDFPage>(document->page(0)->content()), 3);
    document->page(1)->setRotation(180);
    const test::SavedDocument saved(*document);
    EXPECT_EQ(saved.words(), "A |B |C |A |");
    EXPECT_THAT(saved.show("pages/2/Rotate"), HasSubstr("180"));
    EXPECT_EQ(differenceOfPages(before, saved.bytes, {0, 1, 2}, {"/Rotate"}), "");
}

TEST(KeptPages, LoseWhatLedToRemovedOnes) {
    const Bytes before(fileOf(box, "/PieceInfo [3 0 R 4 0 R]"));
    const auto document = test::opened(before);
    document->removePage(0);
    const test::SavedDocument saved(*document);
    EXPECT_THAT(saved.tool("f() { qpdf --json=1 --json-key=pages \"$1\" | grep -c '\"object\"'; }; f"), "2\n");
    EXPECT_EQ(differenceOfPages(before, saved.bytes, {1, 2}, {"/PieceInfo"}), "");
    EXPECT_EQ(saved.bytes.text().find("/PieceInfo [3 0 R"), std::string_view::npos);
}

TEST(KeptPages, OfRealFilesAreWhatTheyWere) {
    const auto files = test::sharedPDFs(2);
    if (files.empty()) {
        GTEST_SKIP() << "the shared corpus is not there";
    }
    int compared = 0;
    for (const auto& path : files) {
        const Bytes before = readFile(path);
        std::shared_ptr<PDFDocument> document;
        try {
            document = test::opened(before);
        } catch (const PDFOpenError&) { // refused
            continue;
        }
        if (document->pageCount() < 2 || !test::isSound(*parsed(before))) {
            continue;
        }
        std::vector<int> places;
        for (int i = static_cast<int>(document->pageCount()); i > 0; --i) {
            places.push_back(i - 1);
        }
        test::reversePages(*document);
        EXPECT_EQ(differenceOfPages(before, *document->dataRepresentation(), places, {"/Annots", "/B", "/AA"}), "")
            << path;
        ++compared;
    }
    EXPECT_GT(compared, 5);
    std::cout << compared << " files compared\n";
}

} // namespace
} // namespace orvex
