#include "ManagerSupport.h"
#include "OrvexPDF/Images.h"

namespace orvex::test {
namespace {

using testing::ElementsAre;

std::shared_ptr<OrvexFoundPage> foundPage() {
    return std::make_shared<OrvexFoundPage>(OrvexFoundSize(100, 100));
}

const ImagePageContent* imageContent(const OrvexPDFPagePtr& page) {
    return page ? std::get_if<ImagePageContent>(&page->content()) : nullptr;
}

TEST(GeneratePage, PrefersTheImageToThePage) {
    const auto manager = OrvexPDFDocumentManager::create();
    OrvexPDFPageMeta meta;
    meta.originalImage = grayImage(40, 30);
    meta.originalPage = pageOfWidth(101);
    const auto page = manager->generatePage(meta);
    ASSERT_NE(imageContent(page), nullptr);
    EXPECT_EQ(imageContent(page)->image, meta.originalImage); // without a preset: as it is
    EXPECT_EQ(page->bounds(PDFDisplayBox::media).size(), (Size{40, 30}));
}

TEST(GeneratePage, BringsAnImageDownToThePreset) {
    const auto manager = OrvexPDFDocumentManager::create();
    OrvexPDFPageMeta meta;
    meta.originalImage = grayImage(400, 300);
    meta.originalImage->setSize({100, 75}); // 288 dpi
    meta.originalImage->representations()[0]->setSize({100, 75});
    meta.squeeze = generateDefaultSqueezeModes()[0];
    const auto page = manager->generatePage(meta);
    ASSERT_NE(imageContent(page), nullptr);
    EXPECT_EQ(imageContent(page)->image->representations()[0]->pixelsWide(), 100); // 72 dpi
    EXPECT_NEAR(page->bounds(PDFDisplayBox::media).width, 100, 0.02);
    EXPECT_NEAR(page->bounds(PDFDisplayBox::media).height, 75, 0.02);
}

TEST(GeneratePage, SetsTextAndTurnOnAnImagePage) {
    const auto manager = OrvexPDFDocumentManager::create();
    OrvexPDFPageMeta meta;
    meta.originalImage = grayImage(40, 30);
    meta.foundPage = foundPage();
    meta.textRotation = 90;
    meta.rotation = 450;
    meta.watermarkText = "DRAFT";
    const auto page = manager->generatePage(meta);
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(page->foundPage, meta.foundPage);
    EXPECT_EQ(page->textRotation, 90);
    EXPECT_EQ(page->rotation(), 90);
    EXPECT_EQ(page->watermarkText, "DRAFT");
    EXPECT_EQ(page->id, std::nullopt);
}

TEST(GeneratePage, CopiesAPageWithItsTurnAndTheRecordsText) {
    const auto manager = OrvexPDFDocumentManager::create();
    manager->load(pdfFromPages({{"", "[0 0 100 200]", "/Rotate 90"}}));
    auto meta = manager->pagesMeta[0];
    meta.textRotation = 90;
    meta.rotation = 90;
    meta.foundPage = foundPage();
    const auto page = manager->generatePage(meta);
    ASSERT_NE(page, nullptr);
    EXPECT_NE(page, meta.originalPage);
    EXPECT_EQ(page->textRotation, 90); // a clone keeps it; only a rendered page is upright already
    EXPECT_EQ(page->rotation(), 180);
    EXPECT_EQ(page->foundPage, meta.foundPage);
    EXPECT_EQ(meta.originalPage->rotation(), 90);
    meta.foundPage = nullptr;
    EXPECT_EQ(manager->generatePage(meta)->foundPage, nullptr);
}

TEST(GeneratePage, TakesTheSettingsOfTheRecordAloneNotThoseOfItsSource) {
    OrvexPDFPageMeta meta;
    meta.originalPage = pageOfWidth(101);
    meta.originalPage->foundPage = foundPage();
    meta.originalPage->textRotation = 90;
    meta.originalPage->watermarkText = "SOURCE";
    meta.originalPage->id = "source";
    const auto page = OrvexPDFDocumentManager::create()->generatePage(meta);
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(page->foundPage, nullptr);
    EXPECT_EQ(page->textRotation, 0);
    EXPECT_EQ(page->watermarkText, std::nullopt);
    EXPECT_EQ(page->id, std::nullopt);
    EXPECT_EQ(meta.originalPage->watermarkText, "SOURCE");
}

TEST(GeneratePage, LogsWhatItSet) {
    const auto manager = OrvexPDFDocumentManager::create();
    OrvexPDFPageMeta meta;
    meta.originalPage = pageOfWidth(101);
    meta.rotation = -90;
    meta.textRotation = 45;
    const auto line = [&] {
        const ManagerLog log;
        (void)manager->generatePage(meta);
        return log.texts().back();
    };
    EXPECT_EQ(line(), "Manager+Meta generatePage(meta:) debug: "
                      "Page meta: rotation = 270, textRotation = 45, watermark = nil");
    meta.watermarkText = "For \"you\"";
    EXPECT_EQ(line(), "Manager+Meta generatePage(meta:) debug: Page meta: rotation = 270, textRotation = 45, "
                      "watermark = Optional(\"For \\\"you\\\"\")");
}

TEST(GeneratePage, WithoutASourceGivesNothing) {
    const auto manager = managerOfPages(1);
    EXPECT_EQ(manager->generatePage({}), nullptr);
    auto meta = manager->pagesMeta[0];
    meta.originalPage = nullptr;
    manager->updateMeta(meta, false);
    EXPECT_NE(manager->pagesMeta[0].originalPage, nullptr);
    EXPECT_FALSE(manager->undoManager->canUndo());
}

TEST(GeneratePage, FromAnImageThatCannotFillAPageGivesNothing) {
    OrvexPDFPageMeta meta;
    meta.originalImage = std::make_shared<Image>();
    EXPECT_EQ(OrvexPDFDocumentManager::create()->generatePage(meta), nullptr);
}

TEST(GeneratePage, RefusesATurnThatIsNoQuarter) {
    OrvexPDFPageMeta meta;
    meta.originalPage = pageOfWidth(101);
    meta.rotation = 45;
    EXPECT_THROW((void)OrvexPDFDocumentManager::create()->generatePage(meta), std::invalid_argument);
}

using GeneratePageDeathTest = testing::Test;

TEST(GeneratePageDeathTest, WithoutASourceIsFatalWhenDebugLinesAreOn) {
    const auto manager = OrvexPDFDocumentManager::create();
    moduleLogger().setLevel(LogLevel::debug);
    EXPECT_DEATH((void)manager->generatePage({}), "without a usable source");
    moduleLogger().setLevel(LogLevel::warning);
}

TEST(GeneratePageDeathTest, ATurnBeyondTheIntegersIsFatal) {
    const auto manager = OrvexPDFDocumentManager::create();
    manager->load(pdfFromPages({{"", "[0 0 100 200]", "/Rotate 90"}}));
    manager->pagesMeta[0].rotation = std::numeric_limits<std::int64_t>::max();
    EXPECT_DEATH((void)manager->generatePage(manager->pagesMeta[0]), "rotation");
}

TEST(GeneratePage, ShowsTheHostAFinishedPage) {
    const auto manager = OrvexPDFDocumentManager::create();
    const auto host = std::make_shared<Host>();
    manager->delegate = host;
    OrvexPDFPageMeta meta;
    meta.originalPage = pageOfWidth(101);
    meta.rotation = 90;
    meta.watermarkText = "DRAFT";
    (void)manager->generatePage(meta);
    EXPECT_EQ(host->generated, 1);
    EXPECT_EQ(host->generatedRotation, 90);
    EXPECT_EQ(host->generatedWatermark, "DRAFT");
}

TEST(UpdateMeta, SwapsPageAndRecordUndoably) {
    const auto manager = managerOfPages(3);
    auto meta = *manager->meta(1);
    meta.rotation = 90;
    const News news;
    editUndoRedo(*manager, [&] { manager->updateMeta(meta, false); });
    EXPECT_EQ(letters(*manager), "ABC");
    EXPECT_EQ(manager->page(1)->rotation(), 90);
    EXPECT_EQ(manager->pagesMeta[1].rotation, 90);
    EXPECT_EQ(news.content, 5);
}

TEST(UpdateMeta, OfAnUnknownRecordChangesNothing) {
    const auto manager = managerOfPages(2);
    OrvexPDFPageMeta meta;
    meta.originalPage = manager->page(0);
    const Snapshot before(*manager);
    const ManagerLog log;
    manager->updateMeta(meta, true);
    EXPECT_TRUE(Snapshot(*manager) == before);
    EXPECT_FALSE(manager->undoManager->canUndo());
    EXPECT_EQ(log.texts().back(),
              "Manager replace(pageAt:withPage:withMeta:force:) debug: Replace at:9223372036854775807");
}

TEST(UpdateMeta, FollowsAQuarterTurn) {
    const auto manager = managerOfPages(1);
    manager->rotate(0, true);
    manager->rotate(0, true);
    const auto page = manager->generatePage(manager->pagesMeta[0]);
    EXPECT_EQ(page->rotation(), 180);
}

} // namespace
} // namespace orvex::test
