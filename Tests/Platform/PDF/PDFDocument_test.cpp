#include "Platform/PDF/PDFDocument.h"

#include "Support/Command.h"
#include "Support/OpenDocument.h"
#include "Support/PDFFixture.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace orvex {
namespace {

using test::opened;
using test::pagesShowing;
using test::pdfFromObjects;
using test::pdfFromPages;

PDFOpenFailure failureOf(const Bytes& data) {
    try {
        opened(data);
    } catch (const PDFOpenError& error) {
        return error.failure();
    }
    ADD_FAILURE() << "it opened";
    return PDFOpenFailure::damaged;
}

TEST(PDFDocument, RefusesBytesWithoutAHeaderInTheFirstKilobyte) {
    const std::string good(pagesShowing({"A"}).text());
    EXPECT_EQ(failureOf(Bytes::copyOf("hello")), PDFOpenFailure::notAPDF);
    EXPECT_EQ(failureOf(Bytes()), PDFOpenFailure::notAPDF);
    EXPECT_EQ(failureOf(Bytes(std::string(1100, ' ') + good)), PDFOpenFailure::notAPDF);
    EXPECT_EQ(opened(Bytes("junk\n" + good))->pageCount(), 1);
}

TEST(PDFDocument, RefusesAHeaderWithNothingBehindIt) {
    EXPECT_EQ(failureOf(Bytes::copyOf("%PDF-1.7\n%%EOF\n")), PDFOpenFailure::damaged);
}

TEST(PDFDocument, RepairsALostCrossReferenceTable) {
    std::string text(pagesShowing({"A", "B"}).text());
    text.replace(text.find("xref\n0"), 4, "lost");
    EXPECT_EQ(opened(Bytes(std::move(text)))->pageCount(), 2);
}

TEST(PDFDocument, AsksForAPasswordOnlyWhenOneIsNeeded) {
    const test::TempFolder folder;
    const std::string in = (folder.path() / "in.pdf").string();
    std::ofstream(in, std::ios::binary) << pagesShowing({"secret"}).text();
    for (const std::string user : {"", "open"}) {
        const std::string out = (folder.path() / "out.pdf").string();
        ASSERT_EQ(test::run("qpdf --encrypt '" + user + "' owner 256 -- " + in + " " + out).exitCode, 0);
        const Bytes data = readFile(out);
        if (user.empty()) {
            EXPECT_EQ(opened(data)->pageCount(), 1);
        } else {
            EXPECT_EQ(failureOf(data), PDFOpenFailure::passwordNeeded);
            EXPECT_EQ(opened(data, user)->pageCount(), 1);
        }
    }
}

TEST(PDFDocument, ReadsBoxesAndRotationAlsoWhenInherited) {
    const auto document = opened(Bytes(pdfFromObjects({
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R 4 0 R 5 0 R] /Count 3 /MediaBox [300 400 100 200] /Rotate -90 >>",
        "<< /Type /Page /Parent 2 0 R >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 500 500] /CropBox [10 10 900 900] /Rotate 450 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 0 0] /Rotate 45 /TrimBox [0 0 10 10] >>",
    })));
    EXPECT_EQ(document->page(0)->bounds(PDFDisplayBox::media), (Rect{100, 200, 200, 200}));
    EXPECT_EQ(document->page(0)->bounds(PDFDisplayBox::crop), (Rect{100, 200, 200, 200}));
    EXPECT_EQ(document->page(0)->rotation(), 270);
    EXPECT_EQ(document->page(1)->bounds(PDFDisplayBox::crop), (Rect{10, 10, 490, 490}));
    EXPECT_EQ(document->page(1)->bounds(PDFDisplayBox::art), (Rect{10, 10, 490, 490}));
    EXPECT_EQ(document->page(1)->rotation(), 90);
    EXPECT_EQ(document->page(2)->bounds(PDFDisplayBox::media), (Rect{0, 0, 612, 792}));
    EXPECT_EQ(document->page(2)->bounds(PDFDisplayBox::trim), (Rect{0, 0, 10, 10}));
    EXPECT_EQ(document->page(2)->rotation(), 0);
}

TEST(PDFPage, TurnsByMultiplesOfNinetyDegreesOnly) {
    PDFPage page;
    const std::pair<long long, int> cases[] = {{90, 90}, {-90, 270}, {450, 90}, {-450, 270}, {720, 0}};
    for (const auto& [degrees, expected] : cases) {
        page.setRotation(degrees);
        EXPECT_EQ(page.rotation(), expected) << degrees;
    }
    EXPECT_THROW(page.setRotation(45), std::invalid_argument);
}

TEST(PDFDocument, PagesKeepTheirIdentity) {
    const auto document = opened(pagesShowing({"A", "B"}));
    const PDFPagePtr first = document->page(0);
    EXPECT_EQ(document->page(0), first);
    EXPECT_EQ(document->index(first.get()), 0);
    EXPECT_EQ(document->page(2), nullptr);
    EXPECT_EQ(document->page(-1), nullptr);
    document->removePage(0);
    EXPECT_EQ(document->index(first.get()), notFound);
    document->insertPage(first, 1);
    EXPECT_EQ(document->index(first.get()), 1);
    EXPECT_THROW(document->insertPage(first, 3), std::out_of_range);
    EXPECT_THROW(document->removePage(2), std::out_of_range);
}

TEST(PDFDocument, InsertingAPageLeavesItsOwnDocumentAlone) {
    const auto from = opened(pagesShowing({"A", "B"}));
    PDFDocument to;
    to.insertPage(from->page(1), 0);
    EXPECT_EQ(from->pageCount(), 2);
    EXPECT_EQ(to.page(0), from->page(1));
}

TEST(PDFDocument, FindsTextInPages) {
    const auto document = opened(pagesShowing({"Hello world", " "}));
    EXPECT_EQ(document->page(0)->string().substr(0, 11), "Hello world");
    EXPECT_TRUE(document->page(0)->hasText());
    EXPECT_FALSE(document->page(1)->hasText());
    EXPECT_FALSE(PDFPage().hasText());
}

TEST(PDFDocument, ReadsInformationAsTextOnly) {
    const auto document =
        opened(pdfFromPages({{""}}, "/Title /AName /Author (J\\374rgen) /Producer <FEFF03A9> /Creator <EFBBBFCEA9>"));
    EXPECT_EQ(document->info(PDFInfoKey::title), "");
    EXPECT_EQ(document->info(PDFInfoKey::author), "J\u00fcrgen");
    EXPECT_EQ(document->info(PDFInfoKey::producer), "\u03a9");
    EXPECT_EQ(document->info(PDFInfoKey::creator), "\u03a9");
    EXPECT_EQ(opened(pdfFromPages({{""}}, "/Title (T)"))->info(PDFInfoKey::creator), "");
}

TEST(PDFDocument, ChangedInformationReadsBackWithoutSaving) {
    PDFDocument document;
    document.setInfo(PDFInfoKey::title, "T");
    EXPECT_EQ(document.info(PDFInfoKey::title), "T");
}

/// Keeps documents in a static that is older than anything a file brings with it, and ends the process.
[[noreturn]] void leaveWithDocumentsOpen() {
    static std::vector<std::shared_ptr<PDFDocument>> kept;
    for (int i = 0; i < 2; ++i) {
        kept.push_back(opened(pagesShowing({"A"})));
        EXPECT_TRUE(kept.back()->page(0)->hasText());
    }
    std::exit(0);
}

TEST(PDFDocumentDeathTest, StaticsOfTheHostMayHoldDocuments) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe"; // a new process, in which nothing was opened before
    EXPECT_EXIT(leaveWithDocumentsOpen(), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace orvex
