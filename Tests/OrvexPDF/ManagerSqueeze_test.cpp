#include "ManagerSupport.h"
#include "OrvexPDF/Images.h"

#include <limits>

namespace orvex::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

OrvexPDFSqueezeModePtr strong() {
    return generateDefaultSqueezeModes()[0];
}

OrvexPDFSqueezeModePtr low() {
    return generateDefaultSqueezeModes()[2];
}

/// A page of a file, with its record.
OrvexPDFPageMeta recordOf(const FixturePage& page) {
    const auto manager = OrvexPDFDocumentManager::create();
    EXPECT_TRUE(manager->load(pdfFromPages({page})));
    auto meta = manager->pagesMeta[0];
    meta.squeeze = strong();
    return meta;
}

/// Content that marks nothing and that no filter makes small.
std::string bulk() {
    std::string text;
    std::uint32_t state = 7;
    for (int line = 0; line < 2000; ++line) {
        text += "% ";
        for (int i = 0; i < 60; ++i) {
            state = state * 1664525 + 1013904223;
            text += static_cast<char>('!' + (state >> 24) % 90);
        }
        text += '\n';
    }
    return text;
}

std::shared_ptr<OrvexFoundPage> recognised() {
    auto found = std::make_shared<OrvexFoundPage>(OrvexFoundSize(100, 100));
    found->items = std::vector{OrvexFoundItem("text", OrvexFoundBox(Rect{10, 10, 50, 10}))};
    return found;
}

OrvexPDFPagePtr generated(const OrvexPDFPageMeta& meta) {
    return OrvexPDFDocumentManager::create()->generatePage(meta);
}

bool isImage(const OrvexPDFPagePtr& page) {
    return page && std::holds_alternative<ImagePageContent>(page->content());
}

TEST(SqueezedPage, ThatIsSmallerByItselfStaysAsItIs) {
    auto meta = recordOf({showing("Vectors survive")});
    meta.squeeze = low();
    const auto page = generated(meta);
    ASSERT_NE(page, nullptr);
    EXPECT_FALSE(isImage(page));
    EXPECT_THAT(page->string(), HasSubstr("Vectors survive"));
}

TEST(SqueezedPage, ThatIsLargerThanItsPictureBecomesAnImage) {
    const auto meta = recordOf({bulk() + showing("Title"), "[0 0 300 200]", ""});
    const auto page = generated(meta);
    ASSERT_TRUE(isImage(page));
    EXPECT_NEAR(page->bounds(PDFDisplayBox::media).width, 300, 0.05);
    EXPECT_NEAR(page->bounds(PDFDisplayBox::media).height, 200, 0.05);
    const auto image = std::get<ImagePageContent>(page->content()).image;
    EXPECT_EQ(image->representations().front()->pixelsWide(), 300); // the preset's 72 dpi
}

/// What the page takes, saved by itself.
std::int64_t bytesOf(const OrvexPDFPageMeta& meta) {
    return static_cast<std::int64_t>(meta.originalPage->createDocumentFromPage()->dataRepresentation()->size());
}

TEST(SqueezedPage, IsCopiedOnlyWhenItIsStrictlySmallerThanItsPicture) {
    const auto padded = [](std::int64_t padding) {
        auto meta = recordOf({std::string(static_cast<std::size_t>(padding), ' ') + showing("A few words")});
        meta.squeeze = low();
        return meta;
    };
    const auto first = padded(1000);
    const auto picture = optimizeImage(*first.originalPage, first.squeeze)->count;
    // Blanks are kept as they are, one byte each, and show nothing.
    auto padding = 1000 + picture - bytesOf(first);
    ASSERT_GT(padding, 0);
    padding += picture - bytesOf(padded(padding)); // numbers in the file may have become shorter
    ASSERT_EQ(bytesOf(padded(padding)), picture);
    EXPECT_FALSE(isImage(generated(padded(padding - 1))));
    EXPECT_TRUE(isImage(generated(padded(padding))));
    EXPECT_TRUE(isImage(generated(padded(padding + 1))));
}

TEST(SqueezedPage, KeepsItsOwnTextUnseenWhereNoneWasRecognised) {
    auto meta = recordOf({bulk() + showing("Own words"), "[0 0 612 792]", "/Rotate 90"});
    const auto page = generated(meta);
    ASSERT_TRUE(isImage(page));
    ASSERT_NE(page->foundPage, nullptr);
    ASSERT_EQ(page->foundPage->items->size(), 1U);
    EXPECT_EQ(page->foundPage->items->front().text, "Own words");
    EXPECT_EQ(page->textRotation, -90); // the words stand as they did, the picture was turned
    meta.foundPage = recognised();
    EXPECT_EQ(generated(meta)->foundPage, meta.foundPage);
}

TEST(SqueezedPage, WithoutAPresetIsAlwaysACopy) {
    auto meta = recordOf({bulk()});
    meta.squeeze = nullptr;
    EXPECT_FALSE(isImage(generated(meta)));
}

TEST(SqueezedPage, WithRecognisedTextOverItsOwnIsAnImageWhateverTheSizes) {
    auto meta = recordOf({showing("Own text")});
    ASSERT_TRUE(meta.originalPageHasText);
    meta.foundPage = recognised();
    const auto page = generated(meta);
    ASSERT_TRUE(isImage(page));
    EXPECT_EQ(page->foundPage, meta.foundPage);
}

TEST(SqueezedPage, WithRecognisedTextButNoneOfItsOwnIsComparedBySize) {
    auto meta = recordOf({"0 0 1 rg 20 20 100 100 re f"});
    meta.squeeze = low();
    ASSERT_FALSE(meta.originalPageHasText);
    meta.foundPage = recognised();
    const auto page = generated(meta);
    EXPECT_FALSE(isImage(page));
    EXPECT_EQ(page->foundPage, meta.foundPage);
}

TEST(SqueezedPage, HasTheTurnOfItsSourceInItsPixels) {
    auto meta = recordOf({bulk(), "[0 0 300 200]", "/Rotate 90"});
    meta.textRotation = 90;
    meta.rotation = 180;
    const auto image = generated(meta);
    ASSERT_TRUE(isImage(image));
    EXPECT_EQ(image->textRotation, 0);
    EXPECT_EQ(image->rotation(), 180);
    EXPECT_NEAR(image->bounds(PDFDisplayBox::media).width, 200, 0.05);
    meta.squeeze = nullptr;
    const auto copy = generated(meta);
    EXPECT_EQ(copy->textRotation, 90);
    EXPECT_EQ(copy->rotation(), 270);
}

TEST(SqueezedPage, ThatCannotBeRenderedIsCopiedAndTheReasonLogged) {
    OrvexPDFPageMeta meta;
    meta.originalPage = std::make_shared<OrvexPDFPage>();
    meta.squeeze = strong();
    const ManagerLog log;
    const auto page = generated(meta);
    ASSERT_NE(page, nullptr);
    EXPECT_NE(page, meta.originalPage);
    EXPECT_THAT(log.texts(), Contains("Images optimizeImage(page:squeeze:) warning: Error cannotGetPageAndContext"));
}

/// One that shows what every page shows but cannot be saved.
class Unwritable final : public OrvexPDFPage {
public:
    using OrvexPDFPage::OrvexPDFPage;
    void draw(PDFDisplayBox /*box*/, GraphicsContext& /*context*/) override { throw PDFWriteError("no"); }
};

TEST(SqueezedPage, ThatCannotBeSavedForComparisonBecomesAnImage) {
    auto meta = recordOf({showing("Small")});
    meta.originalPage = std::make_shared<Unwritable>(meta.originalPage->content());
    EXPECT_TRUE(isImage(generated(meta)));
}

TEST(SqueezedPage, HasItsWatermarkWhenTheHostSeesIt) {
    const auto manager = OrvexPDFDocumentManager::create();
    const auto host = std::make_shared<Host>();
    manager->delegate = host;
    auto meta = recordOf({bulk()});
    meta.watermarkText = "DRAFT";
    meta.rotation = -90;
    ASSERT_TRUE(isImage(manager->generatePage(meta)));
    EXPECT_EQ(host->generatedWatermark, "DRAFT");
    EXPECT_EQ(host->generatedRotation, 270);
}

TEST(SqueezedPage, GoesInThroughItsRecordAndComesBackOut) {
    const auto manager = OrvexPDFDocumentManager::create();
    manager->undoManager = std::make_shared<UndoManager>();
    ASSERT_TRUE(manager->load(pdfFromPages({{bulk(), "[0 0 101 200]", ""}, {bulk(), "[0 0 102 200]", ""}})));
    const auto before = manager->page(1);
    auto meta = *manager->meta(1);
    meta.squeeze = strong();
    manager->updateMeta(meta, false);
    EXPECT_TRUE(isImage(manager->page(1)));
    EXPECT_EQ(manager->pagesMeta[1].squeeze, meta.squeeze);
    manager->undoManager->undo();
    EXPECT_EQ(manager->page(1), before);
    EXPECT_EQ(manager->pagesMeta[1].squeeze, nullptr);
}

using SqueezedPageDeathTest = testing::Test;

TEST(SqueezedPageDeathTest, ATextTurnBeyondTheIntegersIsFatal) {
    auto meta = recordOf({bulk(), "[0 0 300 200]", "/Rotate 90"});
    meta.textRotation = std::numeric_limits<std::int64_t>::min();
    EXPECT_DEATH((void)generated(meta), "text layer's rotation");
}

} // namespace
} // namespace orvex::test
