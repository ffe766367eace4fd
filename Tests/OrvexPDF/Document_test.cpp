#include "OrvexPDF/Document.h"

#include "OrvexPDF/Alias.h"
#include "Support/LogRecorder.h"
#include "Support/PDFFixture.h"
#include "Support/SavedDocument.h"
#include "Support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace orvex {
namespace {

using test::pdfFromPages;
using test::showing;

TEST(Document, AFreshDocumentHasNoUserInfo) {
    const Bytes data = pdfFromPages({{showing("A")}});
    const test::TempFolder folder;
    std::ofstream(folder.path() / "a.pdf", std::ios::binary) << data.text();
    EXPECT_TRUE(OrvexPDFDocument().userInfo.empty());
    EXPECT_TRUE(OrvexPDFDocument::fromData(data)->userInfo.empty());
    EXPECT_TRUE(OrvexPDFDocument::fromFile(folder.path() / "a.pdf")->userInfo.empty());
}

TEST(Document, WhatCannotBeOpenedGivesNothingAndAReason) {
    std::optional<PDFOpenError> why;
    EXPECT_EQ(OrvexPDFDocument::fromData(Bytes::copyOf("text"), &why), nullptr);
    ASSERT_TRUE(why.has_value());
    EXPECT_EQ(why->failure(), PDFOpenFailure::notAPDF);
    EXPECT_EQ(OrvexPDFDocument::fromFile("/nowhere/at/all.pdf"), nullptr);
}

TEST(Document, EveryPageOfALoadedDocumentIsALibraryPage) {
    const auto document = OrvexPDFDocument::fromData(pdfFromPages({{showing("A")}, {showing("B")}}));
    ASSERT_EQ(document->orvexPages().size(), 2U);
    EXPECT_EQ(document->orvexPages()[1], document->orvexPage(1));
    EXPECT_EQ(document->orvexPage(1), document->page(1));
    EXPECT_EQ(document->orvexPage(2), nullptr);
}

TEST(Document, APlainPlatformPageIsPassedOver) {
    const auto document = OrvexPDFDocument::fromData(pdfFromPages({{showing("A")}, {showing("B")}}));
    document->insertPage(std::make_shared<PDFPage>(), 1);
    EXPECT_EQ(document->pageCount(), 3);
    EXPECT_EQ(document->orvexPages().size(), 2U);
    EXPECT_EQ(document->orvexPage(1), nullptr);
}

/// The second of its three pages is no object that a parser can make anything of.
OrvexPDFDocumentPtr withAPageThatCannotBeRead() {
    return OrvexPDFDocument::fromData(test::pdfFromPages({{test::showing("One")},
                                                          {test::showing("Two"), "[0 0 9999999999999999999999 100]"},
                                                          {test::showing("Three")}}));
}

TEST(Document, APageThatCannotBeReadIsSavedEmptyWithAWarning) {
    const std::string warned = " was saved empty: nothing of it could be read in its damaged file";
    const auto document = withAPageThatCannotBeRead();
    document->page(1)->setRotation(90);
    OrvexPDFDocument other;
    other.insertPage(withAPageThatCannotBeRead()->page(1), 0);
    const test::LogRecorder log(moduleLogger(), LogLevel::warning);
    EXPECT_EQ(test::SavedDocument(*document).words(), "One ||Three |");
    EXPECT_EQ(test::SavedDocument(other).words(), "|");
    EXPECT_THAT(log.texts(), testing::ElementsAre("Document write(sink:) warning: Page 2" + warned,
                                                  "Document write(sink:) warning: Page 1" + warned));
}

TEST(Document, MeasuringWarnsOfNothing) {
    const auto document = withAPageThatCannotBeRead();
    const test::LogRecorder log(moduleLogger(), LogLevel::warning);
    EXPECT_TRUE(document->measuredSize());
    EXPECT_THAT(log.texts(), testing::IsEmpty());
}

TEST(Document, MissingAndNonTextAttributesReadAsEmpty) {
    const auto document = OrvexPDFDocument::fromData(pdfFromPages({{""}}, "/Title 19991231 /Subject (S)"));
    EXPECT_EQ(document->author(), "");
    EXPECT_EQ(document->title(), "");
    EXPECT_EQ(OrvexPDFDocument().producer(), "");
}

TEST(Document, FourAttributesAreReadAndWrittenUnderTheirNames) {
    struct Attribute {
        const char* entry;
        std::string (OrvexPDFDocument::*read)() const;
        void (OrvexPDFDocument::*write)(std::string);
    };
    const Attribute attributes[] = {
        {"/Title", &OrvexPDFDocument::title, &OrvexPDFDocument::setTitle},
        {"/Author", &OrvexPDFDocument::author, &OrvexPDFDocument::setAuthor},
        {"/Creator", &OrvexPDFDocument::creator, &OrvexPDFDocument::setCreator},
        {"/Producer", &OrvexPDFDocument::producer, &OrvexPDFDocument::setProducer},
    };
    const std::string info = "/Title (old /Title) /Author (old /Author) /Creator (old /Creator) "
                             "/Producer (old /Producer) /Keywords (kept) /Own (kept)";
    for (const auto& one : attributes) {
        const auto document = OrvexPDFDocument::fromData(pdfFromPages({{""}}, info));
        EXPECT_EQ(((*document).*one.read)(), std::string("old ") + one.entry);
        ((*document).*one.write)("new");
        EXPECT_EQ(((*document).*one.read)(), "new") << one.entry;
        const std::string json = test::SavedDocument(*document).tool("qpdf --json");
        for (const auto& other : attributes) {
            const std::string entry = other.entry;
            const std::string value = other.entry == one.entry ? "new" : "old " + entry;
            EXPECT_NE(json.find("\"" + entry + "\": \"u:" + value + "\""), std::string::npos) << entry;
        }
        for (const char* kept : {"\"/Keywords\": \"u:kept\"", "\"/Own\": \"u:kept\""}) {
            EXPECT_NE(json.find(kept), std::string::npos) << kept;
        }
    }
}

TEST(Document, WritingAnAttributeMakesJustThatEntry) {
    OrvexPDFDocument document;
    document.insertPage(std::make_shared<OrvexPDFPage>(), 0);
    document.setProducer("P");
    const test::SavedDocument saved(document);
    const auto again = OrvexPDFDocument::fromData(saved.bytes);
    EXPECT_EQ(again->producer(), "P");
    const std::string json = saved.tool("qpdf --json");
    EXPECT_NE(json.find("/Producer"), std::string::npos);
    for (const char* absent : {"/Title", "/Author", "/Creator"}) {
        EXPECT_EQ(json.find(absent), std::string::npos) << absent;
    }
}

TEST(Document, WritingAnEmptyAttributeKeepsAnEmptyEntry) {
    const auto document = OrvexPDFDocument::fromData(pdfFromPages({{""}}, "/Author (Somebody) /Subject (kept)"));
    document->setAuthor("");
    const std::string json = test::SavedDocument(*document).tool("qpdf --json");
    EXPECT_NE(json.find("\"/Author\": \"u:\""), std::string::npos) << json;
    EXPECT_NE(json.find("\"/Subject\": \"u:kept\""), std::string::npos) << json;
}

} // namespace
} // namespace orvex
