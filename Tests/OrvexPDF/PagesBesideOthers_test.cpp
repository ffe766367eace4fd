// Text layers of several pages are drawn at a time: the file must not show it.
#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Document.h"
#include "OrvexPDF/Page.h"
#include "Platform/Foundation/Strings.h"
#include "Support/LogRecorder.h"
#include "Support/PDFFixture.h"
#include "Support/SavedDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace orvex {
namespace {

constexpr int pageCount = 300; // more than are drawn at a time

OrvexPDFDocumentPtr fileOfPages(int count) {
    std::vector<test::FixturePage> pages;
    for (int i = 0; i < count; ++i) { // some leave a state open that the layer has to close
        pages.push_back({i % 5 == 0 ? "q " + test::showing("own") : test::showing("own")});
    }
    return OrvexPDFDocument::fromData(test::pdfFromPages(pages));
}

/// Words that bring new characters on every page, some of them from the right to the left.
std::shared_ptr<const OrvexFoundPage> foundOn(int page) {
    OrvexFoundPage found{OrvexFoundSize(612, 792)};
    auto& items = found.items.emplace();
    const auto add = [&items](const std::string& text) {
        items.emplace_back(text, OrvexFoundBox(Rect{50, 40 + 20.0 * static_cast<double>(items.size()), 90, 12}));
    };
    std::string ideographs;
    for (int i = 0; i < 3; ++i) {
        appendUTF8(ideographs, static_cast<char32_t>(0x4E00 + 7 * page + i));
    }
    add("page " + std::to_string(page));
    add(ideographs);
    add(page % 3 == 0 ? "\u05E9\u05DC\u05D5\u05DD" : "Straße");
    add(ideographs + " again");
    return std::make_shared<const OrvexFoundPage>(std::move(found));
}

/// Layers on pages of the file itself, on one that stands there twice, on blank ones and on those of another file; some
/// visible, some with a watermark, some without any.
OrvexPDFDocumentPtr documentOfManyKinds() {
    auto document = fileOfPages(pageCount);
    const auto other = fileOfPages(3);
    document->insertPage(other->orvexPage(1), 40);
    document->insertPage(document->orvexPage(3)->clone(), 100);
    document->insertPage(std::make_shared<OrvexPDFPage>(), 0);
    for (int i = 0; i < document->pageCount(); ++i) {
        auto& page = *document->orvexPage(i);
        page.foundPage = i % 11 == 10 ? nullptr : foundOn(i);
        page.debug = i % 37 == 5;
        page.watermarkText = i % 29 == 7 ? std::optional("Übung " + std::to_string(i)) : std::nullopt;
    }
    return document;
}

TEST(PagesBesideOthers, GiveTheFileThatPagesOneAfterTheOtherGive) {
    const auto document = documentOfManyKinds();
    const auto saved = document->dataRepresentation();
    const test::LogRecorder inTurn(moduleLogger(), LogLevel::debug); // what is logged has to be in order
    ASSERT_FALSE(document->orvexPage(1)->isDrawnBesideOthers());
    EXPECT_TRUE(*saved == *document->dataRepresentation());
    EXPECT_GT(inTurn.lines(LogLevel::debug).size(), 250U) << "a line for each layer";
}

std::vector<std::string> textsOf(const OrvexFoundPage& found) {
    std::vector<std::string> texts;
    for (const auto& item : *found.items) {
        texts.push_back(item.text.value());
    }
    return texts;
}

TEST(PagesBesideOthers, EveryPageIsReadBackWithItsOwnText) {
    const auto document = documentOfManyKinds();
    const test::SavedDocument saved(*document);
    const auto read = OrvexPDFDocument::fromData(saved.bytes);
    for (int i = 0; i < document->pageCount(); ++i) {
        const auto& page = *document->orvexPage(i);
        const auto drawn = page.foundPage && !page.debug ? textsOf(*page.foundPage) : std::vector<std::string>();
        ASSERT_EQ(textsOf(read->orvexPage(i)->extractTextLayer()), drawn) << "page " << i + 1;
    }
    EXPECT_THAT(saved.words(), testing::HasSubstr("page 299"));
}

/// A host's page draws when it is told to, on the thread that saves.
class HostPage : public OrvexPDFPage {
public:
    using OrvexPDFPage::OrvexPDFPage;
    void draw(PDFDisplayBox box, GraphicsContext& context) override {
        EXPECT_EQ(std::this_thread::get_id(), thread_);
        EXPECT_EQ(drawn++, number);
        OrvexPDFPage::draw(box, context);
    }
    int number = 0;
    static inline int drawn = 0;

private:
    std::thread::id thread_ = std::this_thread::get_id();
};

TEST(PagesBesideOthers, PagesOfAHostsClassAreDrawnInTurnByTheThreadThatSaves) {
    OrvexPDFDocument document;
    HostPage::drawn = 0;
    for (int i = 0; i < 20; ++i) {
        const auto page = std::make_shared<HostPage>();
        page->number = i;
        page->foundPage = foundOn(i);
        document.insertPage(page, i);
    }
    EXPECT_TRUE(document.dataRepresentation());
    EXPECT_EQ(HostPage::drawn, 20);
}

} // namespace
} // namespace orvex
