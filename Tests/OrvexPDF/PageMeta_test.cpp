#include "OrvexPDF/PageMeta.h"

#include <gtest/gtest.h>
#include <limits>

namespace orvex {
namespace {

TEST(PageMeta, NewRecordsDifferInIdAloneAndAreFreshAndEmpty) {
    const OrvexPDFPageMeta a;
    const OrvexPDFPageMeta b;
    EXPECT_NE(a.id, b.id);
    for (const auto& meta : {a, b}) {
        EXPECT_EQ(meta.id.size(), 36U);
        EXPECT_TRUE(meta.fresh);
        EXPECT_FALSE(meta.originalPage);
        EXPECT_FALSE(meta.originalPageHasText);
        EXPECT_EQ(meta.originalPageRotation, 0);
        EXPECT_FALSE(meta.originalImage);
        EXPECT_FALSE(meta.foundPage);
        EXPECT_FALSE(meta.squeeze);
        EXPECT_EQ(meta.rotation, 0);
        EXPECT_EQ(meta.textRotation, 0);
        EXPECT_FALSE(meta.watermarkText);
        EXPECT_FALSE(meta.thumbnailImage);
    }
}

TEST(PageMeta, TheTextRotationIsTheSumAndIsNotReduced) {
    OrvexPDFPageMeta meta;
    meta.originalPageRotation = 90;
    meta.rotation = 270;
    meta.setTextRotationTop();
    EXPECT_EQ(meta.textRotation, 360);
    meta.rotation = -180;
    meta.setTextRotationTop();
    EXPECT_EQ(meta.textRotation, -90);
}

TEST(PageMeta, ACopyIsItsOwnButSharesWhatItRefersTo) {
    OrvexPDFPageMeta meta;
    meta.foundPage = std::make_shared<const OrvexFoundPage>(OrvexFoundSize(1, 2));
    meta.squeeze = getSqueezeMode("low");
    OrvexPDFPageMeta copy = meta;
    copy.rotation = 90;
    copy.watermarkText = "DRAFT";
    EXPECT_EQ(copy.id, meta.id);
    EXPECT_EQ(meta.rotation, 0);
    EXPECT_FALSE(meta.watermarkText);
    EXPECT_EQ(copy.foundPage, meta.foundPage);
    EXPECT_EQ(copy.squeeze, meta.squeeze);
}

TEST(PageMeta, TheTextFlagReadsAndAssignsLikeABoolean) {
    OrvexPDFPageMeta meta;
    meta.originalPageHasText = true;
    EXPECT_TRUE(meta.originalPageHasText);
    meta.originalPageHasText = false;
    EXPECT_FALSE(meta.originalPageHasText);
}

TEST(PageMeta, TheTextFlagOfAPageAsksThePageAndKeepsItAlive) {
    auto page = std::make_shared<PDFPage>();
    const std::weak_ptr<PDFPage> watch = page;
    {
        const auto flag = OrvexPageTextFlag::of(page);
        page.reset();
        EXPECT_FALSE(watch.expired());
        EXPECT_FALSE(flag) << "a blank page has no text";
    }
    EXPECT_TRUE(watch.expired());
    EXPECT_FALSE(OrvexPageTextFlag::of(nullptr));
}

TEST(PageMetaDeathTest, ATextRotationThatOverflowsIsFatal) {
    OrvexPDFPageMeta meta;
    meta.originalPageRotation = 1;
    meta.rotation = std::numeric_limits<std::int64_t>::max();
    EXPECT_DEATH(meta.setTextRotationTop(), "integer overflow in the text layer's rotation");
}

} // namespace
} // namespace orvex
