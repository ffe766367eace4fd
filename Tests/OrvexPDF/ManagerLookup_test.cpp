#include "ManagerSupport.h"

#include <limits>

namespace orvex::test {
namespace {

TEST(PageMeta, DefaultsAreEmptyButForAnIdOfItsOwn) {
    const OrvexPDFPageMeta one;
    const OrvexPDFPageMeta two;
    EXPECT_NE(one.id, two.id);
    EXPECT_TRUE(one.fresh);
    EXPECT_EQ(one.originalPage, nullptr);
    EXPECT_FALSE(one.originalPageHasText);
    EXPECT_EQ(one.originalPageRotation, 0);
    EXPECT_EQ(one.originalImage, nullptr);
    EXPECT_EQ(one.foundPage, nullptr);
    EXPECT_EQ(one.squeeze, nullptr);
    EXPECT_EQ(one.rotation, 0);
    EXPECT_EQ(one.textRotation, 0);
    EXPECT_EQ(one.watermarkText, std::nullopt);
    EXPECT_EQ(one.thumbnailImage, nullptr);
}

TEST(PageMeta, TextRotationOnTopIsTheSumWithoutReduction) {
    OrvexPDFPageMeta meta;
    meta.originalPageRotation = 90;
    meta.rotation = 270;
    meta.setTextRotationTop();
    EXPECT_EQ(meta.textRotation, 360);
}

using ManagerLookupDeathTest = testing::Test;

TEST(ManagerLookupDeathTest, TextRotationBeyondTheIntegersIsFatal) {
    OrvexPDFPageMeta meta;
    meta.originalPageRotation = 90;
    meta.rotation = std::numeric_limits<std::int64_t>::max();
    EXPECT_DEATH(meta.setTextRotationTop(), "rotation");
}

TEST(PageMeta, TheTextFlagIsABoolThatMayAskThePage) {
    const auto document = OrvexPDFDocument::fromData(pdfFromPages({{showing("text")}, {""}}));
    OrvexPDFPageMeta meta;
    meta.originalPageHasText = OrvexPageTextFlag::of(document->page(0));
    EXPECT_TRUE(meta.originalPageHasText);
    meta.originalPageHasText = OrvexPageTextFlag::of(document->page(1));
    EXPECT_FALSE(meta.originalPageHasText);
    meta.originalPageHasText = true;
    EXPECT_TRUE(meta.originalPageHasText);
    meta.originalPageHasText = OrvexPageTextFlag::of(nullptr);
    EXPECT_FALSE(meta.originalPageHasText);
}

TEST(ManagerLookup, RecordsByIndex) {
    const auto manager = managerOfPages(3);
    EXPECT_EQ(manager->meta(-1), std::nullopt);
    EXPECT_EQ(manager->meta(4), std::nullopt);
    ASSERT_TRUE(manager->meta(2));
    EXPECT_EQ(manager->meta(2)->id, manager->pagesMeta.back().id);
}

TEST(ManagerLookupDeathTest, TheRecordAtTheCountIsFatal) {
    const auto manager = managerOfPages(3);
    EXPECT_DEATH((void)manager->meta(3), "page record 3");
}

TEST(ManagerLookup, PagesByIndex) {
    const auto manager = managerOfPages(3);
    EXPECT_EQ(manager->page(-1), nullptr);
    EXPECT_EQ(manager->page(3), nullptr);
    EXPECT_EQ(manager->page(4), nullptr);
    EXPECT_EQ(manager->page(2), manager->pdfDoc->page(2));
    manager->pdfDoc->insertPage(std::make_shared<PDFPage>(), 0);
    EXPECT_EQ(manager->page(0), nullptr); // not one of the library's pages
}

TEST(ManagerLookup, ById) {
    const auto manager = managerOfPages(3);
    const auto id = manager->pagesMeta[1].id;
    EXPECT_EQ(manager->pageIndex(id), 1);
    ASSERT_TRUE(manager->meta(id));
    EXPECT_EQ(manager->meta(id)->originalPage, manager->page(1));
}

TEST(ManagerLookup, AnUnknownIdIsNotFound) {
    const auto manager = managerOfPages(3);
    EXPECT_EQ(manager->pageIndex("unknown"), notFound);
    EXPECT_EQ(manager->meta("unknown"), std::nullopt);
    EXPECT_EQ(managerOfPages(0)->pageIndex("unknown"), notFound);
    EXPECT_EQ(notFound, std::numeric_limits<std::int64_t>::max());
}

TEST(ManagerLookup, TheFirstOfEqualIdsWins) {
    const auto manager = managerOfPages(3);
    manager->pagesMeta[2].id = manager->pagesMeta[1].id;
    EXPECT_EQ(manager->pageIndex(manager->pagesMeta[2].id), 1);
}

TEST(ManagerLookup, ARecordBehindThePagesIsNotFoundByItsId) {
    const auto manager = managerOfPages(1);
    for (int i = 0; i < 3; ++i) {
        manager->pagesMeta.emplace_back();
    }
    EXPECT_TRUE(manager->meta(manager->pagesMeta[1].id)); // an index equal to the page count passes
    EXPECT_EQ(manager->meta(manager->pagesMeta[2].id), std::nullopt);
    EXPECT_EQ(manager->pageIndex(manager->pagesMeta[2].id), 2);
}

TEST(ManagerLookup, ARecordThatWasHandedOutIsACopyUntilItIsWrittenBack) {
    const auto manager = managerOfPages(2);
    auto meta = *manager->meta(1);
    meta.watermarkText = "DRAFT";
    meta.rotation = 90;
    EXPECT_EQ(manager->pagesMeta[1].watermarkText, std::nullopt);
    manager->updateMeta(meta, false);
    EXPECT_EQ(manager->pagesMeta[1].watermarkText, "DRAFT");
    EXPECT_EQ(manager->page(1)->watermarkText, "DRAFT");
    meta.watermarkText = "FINAL";
    manager->replace(0, pageOfWidth(110), meta, false);
    EXPECT_EQ(manager->pagesMeta[0].watermarkText, "FINAL");
}

} // namespace
} // namespace orvex::test
