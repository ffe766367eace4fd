#include "ManagerSupport.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Support/Command.h"
#include "Support/SavedDocument.h"

namespace orvex::test {
namespace {

using testing::HasSubstr;

std::shared_ptr<const OrvexFoundPage> found(const std::string& text, double y = 20) {
    OrvexFoundPage page(OrvexFoundSize(612, 792));
    page.items = {OrvexFoundItem(text, OrvexFoundBox(Rect{10, y, 100, 12}))};
    return std::make_shared<const OrvexFoundPage>(page);
}

OrvexPDFPagePtr pageWithSettings() {
    const auto page = OrvexPDFDocument::fromData(pdfFromPages({{showing("own")}}))->orvexPage(0);
    page->foundPage = found("recognised");
    page->watermarkText = "DRAFT";
    page->setRotation(90);
    page->id = "id";
    return page;
}

std::string savedWords(OrvexPDFPage& page) {
    return SavedDocument(*page.createDocumentFromPage()).words();
}

/// To compare pictures.
std::vector<std::uint8_t> pixels(const Image& image) {
    return image.representations().front()->bitmap()->samples;
}

TEST(FlattenedPage, HasWhatWasDrawnAndNoSettings) {
    const auto page = pageWithSettings();
    const auto copy = page->flattened();
    EXPECT_EQ(copy->foundPage, nullptr);
    EXPECT_EQ(copy->watermarkText, std::nullopt);
    EXPECT_EQ(copy->id, std::nullopt);
    EXPECT_EQ(copy->rotation(), 90);
    EXPECT_EQ(savedWords(*copy), savedWords(*page));
}

TEST(FlattenedPage, IsNotTouchedByWhatHappensToItsSource) {
    const auto page = pageWithSettings();
    const auto copy = page->flattened();
    const auto before = savedWords(*copy);
    page->foundPage = found("later");
    page->watermarkText.reset();
    page->setRotation(0);
    EXPECT_EQ(savedWords(*copy), before);
    EXPECT_EQ(copy->rotation(), 90);
}

TEST(FlattenedPage, TakesFurtherSettingsAndCopiesOnTopOfWhatItHas) {
    const auto page = pageWithSettings();
    const auto copy = page->flattened();
    copy->foundPage = found("second", 60);
    const auto twice = copy->clone()->flattened();
    EXPECT_EQ(twice->layers().size(), 2U);
    const auto words = savedWords(*twice);
    for (const auto* word : {"own", "recognised", "second", "DRAFT"}) {
        EXPECT_EQ(words.find(word), words.rfind(word)) << words;
        EXPECT_THAT(words, HasSubstr(word));
    }
}

TEST(FlattenedPage, ReadsAsItsSavedFileDoes) {
    const auto copy = pageWithSettings()->flattened();
    EXPECT_THAT(copy->string(), HasSubstr("recognised"));
    EXPECT_THAT(copy->string(), HasSubstr("DRAFT"));
    EXPECT_TRUE(copy->hasText());
    const auto image = OrvexPDFPage::fromImage(grayImage(200, 100));
    EXPECT_FALSE(image->flattened()->hasText());
    image->foundPage = found("recognised");
    EXPECT_FALSE(image->hasText());
    EXPECT_TRUE(image->flattened()->hasText());
}

TEST(FlattenedPage, ShowsItsBannerInBareRenderingsToo) {
    const auto page = pageWithSettings();
    const auto copy = page->flattened();
    const auto readBack = OrvexPDFDocument::fromData(*page->createDocumentFromPage()->dataRepresentation());
    EXPECT_TRUE(pixels(*copy->image(36)) == pixels(*readBack->orvexPage(0)->image(36)));
    EXPECT_FALSE(pixels(*copy->image(36)) == pixels(*page->image(36)));
}

TEST(FlattenedPage, KeepsTheDebugDrawingThatWasOnWhenItWasMade) {
    const auto page = OrvexPDFPage::fromImage(grayImage(200, 100));
    page->foundPage = found("seen");
    const auto plain = pixels(*page->flattened()->image(72));
    UserDefaults::standard().set("debug", true);
    const auto copy = page->flattened();
    UserDefaults::standard().remove("debug");
    EXPECT_FALSE(copy->debug);
    EXPECT_FALSE(pixels(*copy->image(72)) == plain);
}

TEST(FlattenedPage, OfAPageWithoutSettingsIsTheSamePageOfTheSameFile) {
    const auto page = pageOfWidth(150);
    const auto copy = page->flattened();
    EXPECT_NE(copy, page);
    EXPECT_TRUE(copy->layers().empty());
    EXPECT_EQ(copy->inAFile()->source, page->inAFile()->source);
}

TEST(PageInAFile, IsMadeOnceForImagesAndNotForBlankPages) {
    const auto image = OrvexPDFPage::fromImage(grayImage(200, 100));
    const auto file = image->inAFile();
    ASSERT_TRUE(file);
    EXPECT_EQ(image->inAFile()->source, file->source);
    EXPECT_FALSE(OrvexPDFPage().inAFile());
}

// What the manager makes of it

/// Two pages, a bookmark and a link to the second, a text field on it.
Bytes fileWithStructure() {
    const auto page = [](const std::string& more) {
        return "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 300 200] /Resources << >> " + more + " >>";
    };
    const auto text = pdfFromObjects({
        "<< /Type /Catalog /Pages 2 0 R /Outlines 5 0 R /AcroForm << /Fields [8 0 R] >> >>",
        "<< /Type /Pages /Count 2 /Kids [3 0 R 4 0 R] >>",
        page("/Annots [7 0 R]"),
        page("/Annots [8 0 R]"),
        "<< /Type /Outlines /First 6 0 R /Last 6 0 R /Count 1 >>",
        "<< /Title (Second) /Parent 5 0 R /Dest [4 0 R /Fit] >>",
        "<< /Type /Annot /Subtype /Link /Rect [0 0 50 50] /Dest [4 0 R /Fit] >>",
        "<< /Type /Annot /Subtype /Widget /FT /Tx /T (name) /V (Ada) /Rect [60 0 100 20] /P 4 0 R >>",
    });
    return Bytes::copyOf(std::string_view(text));
}

TEST(ManagerRotate, KeepsBookmarksLinksAndFieldsOfThePage) {
    const auto manager = OrvexPDFDocumentManager::create();
    ASSERT_TRUE(manager->load(fileWithStructure()));
    auto meta = *manager->meta(1);
    meta.foundPage = found("recognised");
    meta.watermarkText = "DRAFT";
    manager->updateMeta(meta, true);
    manager->rotate(1, false);
    EXPECT_FALSE(manager->page(1)->layers().empty());
    const SavedDocument saved(*manager->pdfDoc);
    EXPECT_THAT(saved.tool("pdfinfo -f 2 -l 2"), HasSubstr("rot:   90"));
    EXPECT_THAT(run("mutool show " + quoted(saved.path()) + " outline").output, HasSubstr("#page=2"));
    const auto json = saved.tool("qpdf --json");
    EXPECT_THAT(json, HasSubstr("\"alternativename\": \"name\""));
    EXPECT_THAT(saved.words(), HasSubstr("recognised"));
    const auto again = OrvexPDFDocument::fromData(saved.bytes);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->pageCount(), 2);
}

TEST(ManagerReplace, ByForceLeavesWhatWasDrawnAndUndoBringsBackTheVeryPages) {
    const auto manager = managerOfPages(2);
    const auto first = manager->page(1);
    first->watermarkText = "STAYS A SETTING";
    const auto page = pageWithSettings();
    manager->replace(1, page, {}, true);
    const auto copy = manager->page(1);
    EXPECT_NE(copy, page);
    EXPECT_EQ(copy->foundPage, nullptr);
    EXPECT_THAT(savedWords(*copy), HasSubstr("recognised"));
    for (int i = 0; i < 2; ++i) {
        manager->undoManager->undo();
        EXPECT_EQ(manager->page(1), first);
        EXPECT_EQ(first->watermarkText, "STAYS A SETTING");
        manager->undoManager->redo();
        EXPECT_EQ(manager->page(1), copy);
    }
}

TEST(ManagerReplace, ByForceReadsBackWhatAHostsOwnPageDraws) {
    class Ruled final : public OrvexPDFPage {
    public:
        using OrvexPDFPage::OrvexPDFPage;
        void draw(PDFDisplayBox box, GraphicsContext& context) override {
            OrvexPDFPage::draw(box, context);
            context.drawText("ruled", Font::named("Helvetica"), 20, {20, 20, 100, 24}, TextMode::visible);
        }
    };
    const auto manager = managerOfPages(1);
    manager->replace(0, std::make_shared<Ruled>(), {}, true);
    EXPECT_TRUE(manager->page(0)->layers().empty());
    EXPECT_THAT(manager->page(0)->string(), HasSubstr("ruled"));
}

} // namespace
} // namespace orvex::test
