// What is saved, read back by other people's tools.
#include "Platform/PDF/PDFDocument.h"

#include "Support/Command.h"
#include "Support/OpenDocument.h"
#include "Support/PDFFixture.h"
#include "Support/SavedDocument.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace orvex {
namespace {

using test::FixturePage;
using test::opened;
using test::pagesShowing;
using test::pdfFromObjects;
using test::pdfFromPages;
using test::SavedDocument;
using test::showing;

bool holds(const Bytes& bytes, std::string_view text) {
    return bytes.text().find(text) != std::string_view::npos;
}

void moveFirstPageToTheEnd(PDFDocument& document) {
    const PDFPagePtr first = document.page(0);
    document.removePage(0);
    document.insertPage(first, document.pageCount());
}

/// Two pages, the first with a link to the second.
Bytes linkedPages() {
    return pdfFromPages({{showing("Alpha"), "[0 0 612 792]",
                          "/Annots [<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] /Dest [7 0 R /Fit] >>]"},
                         {showing("Beta"), "[0 0 612 792]", ""}});
}

TEST(Saving, ADocumentWithoutPagesGivesNothing) {
    EXPECT_FALSE(PDFDocument().dataRepresentation().has_value());
    const auto document = opened(pagesShowing({"A"}));
    document->removePage(0);
    EXPECT_FALSE(document->dataRepresentation().has_value());
}

TEST(Saving, TheSameStateGivesTheSameBytes) {
    const auto document = opened(pagesShowing({"A", "B"}));
    const Bytes before = *document->dataRepresentation();
    EXPECT_EQ(*document->dataRepresentation(), before);
    const PDFPagePtr page = document->page(0);
    document->removePage(0);
    EXPECT_FALSE(*document->dataRepresentation() == before);
    document->insertPage(page, 0);
    EXPECT_EQ(*document->dataRepresentation(), before);
}

TEST(Saving, PagesComeInTheDocumentsOrder) {
    const auto document = opened(pagesShowing({"Alpha", "Beta", "Gamma"}));
    moveFirstPageToTheEnd(*document);
    EXPECT_EQ(SavedDocument(*document).words(), "Beta |Gamma |Alpha |");
}

TEST(Saving, OnePageMayStandTwice) {
    const auto document = opened(pagesShowing({"Alpha", "Beta"}));
    document->insertPage(document->page(0), 2);
    EXPECT_EQ(SavedDocument(*document).words(), "Alpha |Beta |Alpha |");
}

TEST(Saving, ARemovedPageLeavesNothingBehind) {
    const auto document = opened(linkedPages());
    document->removePage(1);
    const SavedDocument saved(*document);
    EXPECT_EQ(saved.words(), "Alpha |");
    EXPECT_FALSE(holds(saved.bytes, "Beta"));
}

TEST(Saving, PagesOfOtherFilesBringWhatTheyNeedAndOutliveTheirDocument) {
    PDFDocument document;
    document.insertPage(opened(pagesShowing({"Alpha", "Beta"}))->page(1), 0);
    document.insertPage(opened(pagesShowing({"Gamma"}))->page(0), 1);
    document.insertPage(std::make_shared<PDFPage>(), 2);
    EXPECT_EQ(SavedDocument(document).words(), "Beta |Gamma ||");
}

TEST(Saving, ForeignPagesKeepInheritedAttributes) {
    const auto from = opened(Bytes(pdfFromObjects({
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 /MediaBox [0 0 300 400] /Rotate 90 "
        "/Resources << /Font << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> >> >>",
        "<< /Type /Page /Parent 2 0 R /Contents 4 0 R >>",
        test::streamBody("BT /F1 24 Tf 20 300 Td (Inherited) Tj ET"),
    })));
    PDFDocument document;
    document.insertPage(from->page(0), 0);
    const SavedDocument saved(document);
    EXPECT_EQ(saved.words(), "Inherited |");
    const std::string info = saved.tool("pdfinfo");
    EXPECT_NE(info.find("300 x 400 pts"), std::string::npos) << info;
    EXPECT_NE(info.find("Page rot:        90"), std::string::npos) << info;
}

TEST(Saving, LinksToPagesThatAreNotCopiedGoDead) {
    PDFDocument document;
    document.insertPage(opened(linkedPages())->page(0), 0);
    const SavedDocument saved(document);
    EXPECT_EQ(saved.words(), "Alpha |");
    EXPECT_FALSE(holds(saved.bytes, "Beta"));
}

TEST(Saving, LinksBetweenCopiedPagesLeadToTheCopies) {
    const auto from = opened(linkedPages());
    PDFDocument document;
    document.insertPage(from->page(1), 0);
    document.insertPage(from->page(0), 1);
    const SavedDocument saved(document);
    EXPECT_EQ(saved.words(), "Beta |Alpha |");
    const std::string target = test::run("mutool show " + saved.path() + " pages/1").output;
    const std::string link = test::run("mutool show " + saved.path() + " pages/2/Annots/1/Dest/1").output;
    EXPECT_FALSE(link.empty());
    EXPECT_EQ(link, target);
}

TEST(Saving, WhatIsNotPagesSurvives) {
    const test::TempFolder folder;
    const std::string plain = (folder.path() / "plain.pdf").string();
    const std::string note = (folder.path() / "note.txt").string();
    const std::string full = (folder.path() / "full.pdf").string();
    std::ofstream(plain, std::ios::binary)
        << pagesShowing({"Alpha", "Beta"}, "/PageLabels << /Nums [0 << /S /r >>] >> /Lang (en)").text();
    std::ofstream(note) << "attached";
    ASSERT_EQ(test::run("qpdf " + plain + " --add-attachment " + note + " -- " + full).exitCode, 0);
    const auto document = opened(readFile(full));
    moveFirstPageToTheEnd(*document);
    const SavedDocument saved(*document);
    EXPECT_NE(saved.tool("pdfdetach -list").find("note.txt"), std::string::npos);
    const std::string json = saved.tool("qpdf --json");
    EXPECT_NE(json.find("/PageLabels"), std::string::npos);
    EXPECT_NE(json.find("/Lang"), std::string::npos);
}

TEST(Saving, UnchangedPagesKeepTheirBytes) {
    const auto document = opened(pagesShowing({"Alpha", "Beta"}));
    moveFirstPageToTheEnd(*document);
    const Bytes saved = *document->dataRepresentation();
    EXPECT_TRUE(holds(saved, showing("Alpha")));
    EXPECT_TRUE(holds(saved, showing("Beta")));
}

TEST(Saving, InformationIsStampedAndTheRestSurvives) {
    const auto document = opened(pdfFromPages({{""}}, "/Title (Old) /Keywords (kept) /Author (J\\374rgen)"));
    document->setInfo(PDFInfoKey::title, "\u03a9 neu");
    document->setInfo(PDFInfoKey::producer, "");
    const SavedDocument saved(*document);
    const std::string info = saved.tool("pdfinfo -enc UTF-8");
    EXPECT_NE(info.find("Title:           \u03a9 neu"), std::string::npos) << info;
    EXPECT_NE(info.find("Keywords:        kept"), std::string::npos) << info;
    EXPECT_NE(info.find("Author:          J\u00fcrgen"), std::string::npos) << info;
    EXPECT_EQ(opened(saved.bytes)->info(PDFInfoKey::title), "\u03a9 neu");
    EXPECT_NE(saved.tool("qpdf --json").find("\"/Producer\": \"u:\""), std::string::npos);
}

TEST(Saving, ANewDocumentHoldsJustTheEntryThatWasSet) {
    PDFDocument document;
    document.insertPage(std::make_shared<PDFPage>(), 0);
    document.setInfo(PDFInfoKey::producer, "P");
    EXPECT_EQ(test::run("mutool show " + SavedDocument(document).path() + " trailer/Info").output.find("Title"),
              std::string::npos);
    EXPECT_EQ(opened(*document.dataRepresentation())->info(PDFInfoKey::producer), "P");
}

TEST(Saving, ACountOfPagesThatIsMissingIsWritten) {
    const auto document = opened(Bytes(pdfFromObjects({
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 100 100] >>",
    })));
    EXPECT_EQ(SavedDocument(*document).tool("qpdf --show-npages"), "1\n");
}

/// A comment that begins in the middle of a dictionary hides its end; poppler and qpdf count the page all the same.
TEST(Saving, APageThatCannotBeParsedIsAnEmptyPage) {
    std::string text(pagesShowing({"one", "two"}).text());
    text[text.rfind("/Parent") + 2] = '%';
    for (const bool moved : {false, true}) {
        const auto document = opened(Bytes::copyOf(text));
        ASSERT_EQ(document->pageCount(), 2);
        if (moved) {
            moveFirstPageToTheEnd(*document);
        }
        const SavedDocument saved(*document);
        EXPECT_EQ(saved.words(), moved ? "|one |" : "one ||");
        EXPECT_EQ(opened(*document->dataRepresentation())->pageCount(), 2);
    }
}

TEST(Saving, AVersionOfTooManyDigitsIsTakenForAnUsualOne) {
    std::string text(pagesShowing({"one", "two"}).text());
    text.insert(text.find('\n'), 80, '3');
    const auto document = opened(Bytes::copyOf(text));
    moveFirstPageToTheEnd(*document);
    const SavedDocument saved(*document);
    EXPECT_TRUE(saved.bytes.text().starts_with("%PDF-1.7\n"));
    EXPECT_EQ(saved.words(), "two |one |");
    EXPECT_EQ(document->measuredSize(), static_cast<std::int64_t>(saved.bytes.size()));
}

TEST(Saving, RotationIsWritten) {
    const auto document = opened(pagesShowing({"Alpha"}));
    document->page(0)->setRotation(270);
    EXPECT_NE(SavedDocument(*document).tool("pdfinfo").find("Page rot:        270"), std::string::npos);
}

TEST(Saving, AFileThatOpensWithAnEmptyPasswordIsSavedInTheOpen) {
    const test::TempFolder folder;
    const std::string in = (folder.path() / "in.pdf").string();
    const std::string out = (folder.path() / "out.pdf").string();
    std::ofstream(in, std::ios::binary) << pagesShowing({"Alpha"}).text();
    ASSERT_EQ(test::run("qpdf --encrypt '' owner 256 -- " + in + " " + out).exitCode, 0);
    const auto document = opened(readFile(out));
    const SavedDocument saved(*document);
    EXPECT_EQ(saved.words(), "Alpha |");
    EXPECT_NE(saved.tool("pdfinfo").find("Encrypted:       no"), std::string::npos);
    PDFDocument copy;
    copy.insertPage(document->page(0), 0);
    EXPECT_EQ(SavedDocument(copy).words(), "Alpha |");
}

} // namespace
} // namespace orvex
