// What pages and documents say of their own text.
#include "OrvexPDF/Document.h"
#include "Platform/Foundation/Workers.h"
#include "Support/PDFFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvex {
namespace {

using test::pdfFromPages;
using test::showing;

std::shared_ptr<OrvexPDFDocument> documentOf(const std::vector<test::FixturePage>& pages,
                                             const std::string& info = {}) {
    return OrvexPDFDocument::fromData(pdfFromPages(pages, info));
}

std::shared_ptr<const OrvexFoundPage> stored(const std::vector<std::string>& texts) {
    OrvexFoundPage page{OrvexFoundSize(10, 20)};
    page.dpi = 300;
    page.items.emplace();
    for (const auto& text : texts) {
        page.items->emplace_back(text, OrvexFoundBox({1, 2, 3, 4}));
    }
    return std::make_shared<const OrvexFoundPage>(page);
}

TEST(ExtractFoundPage, APageWithoutTextHasSizeAndAnEmptyListOfItems) {
    const auto document = documentOf({{"", "[0 0 612 792]"}});
    EXPECT_EQ(document->orvexPage(0)->extractFoundPage().toJSONString(false),
              R"({"size":{"h":792,"w":612},"items":[]})");
    EXPECT_EQ(OrvexPDFPage().extractFoundPage().toJSONString(false), R"({"size":{"h":792,"w":612},"items":[]})");
}

TEST(ExtractFoundPage, BoxesCountFromTheTop) {
    const auto document = documentOf({{"BT /F1 12 Tf 72 702.76 Td (Hello) Tj ET"}});
    const auto page = document->orvexPage(0);
    const auto line = page->textLines().at(0).box;
    const auto found = page->extractFoundPage();
    EXPECT_EQ(found.size, OrvexFoundSize(612, 792));
    ASSERT_EQ(found.items->size(), 1U);
    const auto& item = found.items->front();
    EXPECT_EQ(item.text, "Hello");
    EXPECT_EQ(item.box, OrvexFoundBox({line.x, 792 - line.y - line.height, line.width, line.height}));
    EXPECT_NEAR(*item.box->x, 72, 0.001);
    EXPECT_FALSE(item.font || item.bl || item.cf);
    EXPECT_FALSE(found.fonts || found.dpi);
}

TEST(ExtractFoundPage, AnOffsetOfTheMediaBoxStaysInTheBoxes) {
    const std::string content = "BT /F1 12 Tf 72 700 Td (Hello) Tj ET";
    const auto document = documentOf({{content, "[0 0 612 792]"}, {content, "[0 100 612 892]"}});
    const auto plain = document->orvexPage(0)->extractFoundPage();
    const auto offset = document->orvexPage(1)->extractFoundPage();
    EXPECT_EQ(plain, offset);
}

TEST(ExtractFoundPage, RotationAndCropBoxPlayNoPart) {
    const std::string content = "BT /F1 12 Tf 72 700 Td (Hello) Tj ET";
    const auto document = documentOf({{content}, {content, "[0 0 612 792]", "/Rotate 90 /CropBox [10 10 50 50]"}});
    EXPECT_EQ(document->orvexPage(0)->extractFoundPage(), document->orvexPage(1)->extractFoundPage());
}

TEST(ExtractFoundPage, LinesOfWhiteSpaceAreKept) {
    const auto document = documentOf({{"BT /F1 12 Tf 72 700 Td (  ) Tj 0 -20 Td (a ) Tj ET"}});
    const auto found = document->orvexPage(0)->extractFoundPage();
    ASSERT_EQ(found.items->size(), 2U);
    EXPECT_EQ(found.items->at(0).text, "  ");
    EXPECT_EQ(found.items->at(1).text, "a ");
}

TEST(ExtractFoundPage, IsAPureRead) {
    const auto document = documentOf({{showing("A")}});
    const auto page = document->orvexPage(0);
    page->foundPage = stored({"kept"});
    EXPECT_EQ(page->extractFoundPage().items->at(0).text, "A");
    EXPECT_EQ(page->foundPage->items->at(0).text, "kept");
    page->foundPage.reset();
    EXPECT_EQ(page->extractFoundPage().items->at(0).text, "A");
    EXPECT_EQ(page->foundPage, nullptr);
}

TEST(ExtractFoundDocument, AnEmptyDocumentHasAllFourKeys) {
    for (const auto& found : {OrvexPDFDocument().extractFoundDocument(), OrvexPDFDocument().foundDocument()}) {
        EXPECT_EQ(found.toJSONString(false), R"({"author":"","creator":"","source":"pdf","pages":[]})");
    }
}

TEST(ExtractFoundDocument, HasAuthorCreatorAndEveryPage) {
    const auto document = documentOf({{showing("A")}, {""}, {showing("C")}}, "/Author (An) /Creator (Other)");
    const auto found = document->extractFoundDocument();
    EXPECT_EQ(found.author, "An");
    EXPECT_EQ(found.creator, "Other");
    EXPECT_EQ(found.source, "pdf");
    ASSERT_EQ(found.pages->size(), 3U);
    EXPECT_EQ(found.pages->at(0).items->at(0).text, "A");
    EXPECT_TRUE(found.pages->at(1).items->empty());
    EXPECT_EQ(found.pages->at(2).items->at(0).text, "C");
}

TEST(ExtractFoundDocument, PassesOverWhatIsStored) {
    const auto document = documentOf({{showing("A")}});
    document->orvexPage(0)->foundPage = stored({"stored"});
    EXPECT_EQ(document->extractFoundDocument().pages->at(0).items->at(0).text, "A");
}

TEST(ExtractFoundDocument, ManyPagesReadSideBySideStayInOrder) {
    std::vector<test::FixturePage> pages;
    for (int i = 0; i < 300; ++i) {
        pages.push_back({showing(std::to_string(i))});
    }
    const auto document = documentOf(pages);
    const auto found = document->extractFoundDocument();
    ASSERT_EQ(found.pages->size(), pages.size());
    for (std::size_t i = 0; i < pages.size(); ++i) {
        EXPECT_EQ(found.pages->at(i).items->at(0).text, std::to_string(i));
    }
    EXPECT_EQ(document->extractFoundDocument(), found);
}

TEST(ExtractFoundDocument, APageThatFailsLeavesTheOthersTheirText) {
    const auto document = documentOf({{showing("A")}, {showing("B")}, {showing("C")}});
    const auto fails = std::make_shared<const std::function<void(PDFDisplayBox, GraphicsContext&)>>(
        [](PDFDisplayBox, GraphicsContext&) { throw std::runtime_error("cannot be drawn"); });
    const auto content = document->orvexPage(1)->content();
    document->removePage(1);
    document->insertPage(std::make_shared<OrvexPDFPage>(content, PDFPageLayers{fails}), 1);
    const auto found = document->extractFoundDocument();
    ASSERT_EQ(found.pages->size(), 3U);
    EXPECT_EQ(found.pages->at(0).items->at(0).text, "A");
    EXPECT_EQ(found.pages->at(1), document->orvexPage(1)->extractFoundPage());
    EXPECT_TRUE(found.pages->at(1).items->empty());
    EXPECT_EQ(found.pages->at(2).items->at(0).text, "C");
}

TEST(FoundDocument, PrefersStoredPagesThatHoldItems) {
    const auto document = documentOf({{showing("A")}, {showing("B")}, {showing("C")}, {showing("D")}});
    document->orvexPage(0)->foundPage = stored({});
    document->orvexPage(1)->foundPage = stored({"one", "two"});
    document->orvexPage(2)->foundPage = std::make_shared<const OrvexFoundPage>(OrvexFoundSize(1, 1));
    const auto found = document->foundDocument();
    ASSERT_EQ(found.pages->size(), 4U);
    EXPECT_EQ(found.pages->at(0).items->at(0).text, "A");
    EXPECT_EQ(found.pages->at(1), *document->orvexPage(1)->foundPage);
    EXPECT_EQ(found.pages->at(2).items->at(0).text, "C");
    EXPECT_EQ(found.pages->at(3).items->at(0).text, "D");
    EXPECT_EQ(found.source, "pdf");
}

TEST(FoundDocument, PassesOverPlatformPages) {
    const auto document = documentOf({{showing("A")}, {showing("B")}});
    document->insertPage(std::make_shared<PDFPage>(), 1);
    EXPECT_EQ(document->pageCount(), 3);
    EXPECT_EQ(document->foundDocument().pages->size(), 2U);
    EXPECT_EQ(document->extractFoundDocument().pages->size(), 2U);
}

/// A page in two fonts: codes of one of Adobe's character maps, and a rare name of a glyph.
Bytes pageInFontsOfItsOwn(const std::string& map, const std::string& ordering, const std::string& codes) {
    const std::string rare =
        "<< /Type /Font /Subtype /Type1 /BaseFont /Rare /Encoding << /Differences [65 /afii10017] >> >>";
    const std::string wide = "<< /Type /Font /Subtype /Type0 /BaseFont /Wide /Encoding /" + map +
                             " /DescendantFonts [<< /Type /Font /Subtype /CIDFontType0 /BaseFont /Wide /DW 1000 "
                             "/CIDSystemInfo << /Registry (Adobe) /Ordering (" +
                             ordering + ") /Supplement 0 >> >>] >>";
    return Bytes(test::pdfFromObjects(
        {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
         "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents 4 0 R /Resources << /Font << /Rare " + rare +
             " /Wide " + wide + " >> >> >>",
         test::streamBody("BT /Rare 12 Tf 72 700 Td (A) Tj /Wide 12 Tf 0 -50 Td <" + codes + "> Tj ET")}));
}

TEST(ExtractFoundDocument, SeveralDocumentsAreOpenedReadAndClosedSideBySide) {
    const std::vector<std::pair<Bytes, std::string>> files = {
        {pageInFontsOfItsOwn("90ms-RKSJ-H", "Japan1", "93FA967B"), "日本"},
        {pageInFontsOfItsOwn("GBK-EUC-H", "GB1", "D6D0CEC4"), "中文"},
        {pageInFontsOfItsOwn("UniJIS-UCS2-H", "Japan1", "65E5672C"), "日本"},
        {pageInFontsOfItsOwn("ETen-B5-H", "CNS1", "A4A4A4E5"), "中文"}};
    std::vector<std::vector<std::string>> texts(64);
    forEachInParallel(texts.size(), [&](std::size_t i) {
        const auto document = OrvexPDFDocument::fromData(files[i % files.size()].first);
        const auto page = document->orvexPage(0)->extractFoundPage();
        for (const auto& item : *page.items) {
            texts[i].push_back(*item.text);
        }
    });
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(texts[i], (std::vector<std::string>{"А", files[i % files.size()].second})) << i;
    }
}

} // namespace
} // namespace orvex
