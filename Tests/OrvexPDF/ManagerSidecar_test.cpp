#include "ManagerSupport.h"

#include "Platform/Imaging/Codecs.h"
#include "Support/ImageFixture.h"
#include "Support/ImagePage.h"

namespace orvex::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string gray = "/DeviceGray";

OrvexPDFDocumentPtr sidecar(const Bytes& file) {
    auto document = OrvexPDFDocument::fromData(file);
    document->userInfo["sidecar"] = false; // its presence counts, not its value
    return document;
}

ImagePtr imageOfPage(OrvexPDFDocumentManager& manager, std::int64_t at) {
    const auto* content = std::get_if<ImagePageContent>(&manager.page(at)->content());
    return content != nullptr ? content->image : nullptr;
}

/// The walk prints names, which is nothing to the tests here.
std::vector<std::string> append(OrvexPDFDocumentManager& manager, const OrvexPDFDocumentPtr& document) {
    testing::internal::CaptureStdout();
    auto ids = manager.append(document);
    testing::internal::GetCapturedStdout();
    return ids;
}

TEST(ManagerSidecar, AnImageTakesThePlaceOfItsPageAt300DPI) {
    const auto manager = managerOfPages(1);
    const std::string data(2480 * 3508 / 8, 'x');
    const auto document = sidecar(pdfWithXObjects({{"Im1", imageDictionary(2480, 3508, 1, gray), data}}));
    std::vector<std::string> ids;
    editUndoRedo(*manager, [&] { ids = append(*manager, document); });
    ASSERT_EQ(manager->pdfDoc->pageCount(), 2);
    EXPECT_EQ(manager->page(1)->bounds(PDFDisplayBox::media), (Rect{0, 0, 2480 * 0.24, 3508 * 0.24}));
    EXPECT_NEAR(manager->page(1)->bounds(PDFDisplayBox::media).width, 595.2, 1e-9);
    EXPECT_NEAR(manager->page(1)->bounds(PDFDisplayBox::media).height, 841.92, 1e-9);
    const auto meta = manager->meta(1);
    EXPECT_THAT(ids, ElementsAre(meta->id));
    EXPECT_EQ(meta->originalImage, imageOfPage(*manager, 1));
    EXPECT_EQ(meta->originalPage, nullptr);
    EXPECT_TRUE(meta->fresh);
}

TEST(ManagerSidecar, TheLastOfSeveralImagesIsTaken) {
    const auto manager = managerOfPages(0);
    append(*manager, sidecar(pdfWithXObjects({{"Im9", imageDictionary(100, 10, 8, gray), std::string(1000, 'a')},
                                              {"Im2", imageDictionary(50, 10, 8, gray), std::string(500, 'b')}})));
    ASSERT_EQ(manager->pdfDoc->pageCount(), 1);
    EXPECT_EQ(imageOfPage(*manager, 0)->representations().front()->pixelsWide(), 50);
}

TEST(ManagerSidecar, WhenTheLastImageCannotBeReadThePageItselfGoesIn) {
    const auto manager = managerOfPages(0);
    const auto document = sidecar(pdfWithXObjects({{"Im1", imageDictionary(50, 10, 8, gray), std::string(500, 'b')},
                                                   {"Im2", "/Subtype /Image /Filter /DCTDecode", "no JPEG"}}));
    append(*manager, document);
    EXPECT_EQ(manager->page(0), document->orvexPage(0));
}

TEST(ManagerSidecar, AnImageThatFailsIsNotTheLastOne) {
    const auto manager = managerOfPages(0);
    append(*manager, sidecar(pdfWithXObjects({{"Im1", imageDictionary(50, 10, 8, gray), std::string(500, 'b')},
                                              {"Im2", imageDictionary(50, 10, 8, "/Pattern"), "x"}})));
    ASSERT_NE(imageOfPage(*manager, 0), nullptr);
    EXPECT_EQ(imageOfPage(*manager, 0)->representations().front()->pixelsWide(), 50);
}

TEST(ManagerSidecar, StoredBytesBecomeAPageOfTheirOwnSize) {
    const auto manager = managerOfPages(0);
    const std::string jpeg(encodeJPEG(makePhoto(80, 40), {0.9, 144, 144})->text());
    append(*manager, sidecar(pdfWithXObjects({{"Im1", "/Subtype /Image /Filter /DCTDecode", jpeg}})));
    EXPECT_EQ(manager->page(0)->bounds(PDFDisplayBox::media), (Rect{0, 0, 40, 20}));
    EXPECT_EQ(imageOfPage(*manager, 0)->representations().front()->encoded().text(), jpeg);
}

TEST(ManagerSidecar, WithoutAReadableImageThePageItselfGoesIn) {
    for (const std::string dictionary : {"/Subtype /Form /BBox [0 0 1 1]", "/Subtype /Image", // fails with an error
                                         "/Subtype /Image /Filter /DCTDecode"}) {             // bytes that are no JPEG
        const auto manager = managerOfPages(0);
        const auto document = sidecar(pdfWithXObjects({{"X", dictionary, "abc"}}));
        EXPECT_EQ(append(*manager, document).size(), 1U) << dictionary;
        EXPECT_EQ(manager->page(0), document->orvexPage(0)) << dictionary;
        EXPECT_EQ(manager->meta(0)->originalImage, nullptr) << dictionary;
    }
}

TEST(ManagerSidecar, AWalkThatFailsIsLoggedAndThePageItselfGoesIn) {
    const auto manager = managerOfPages(0);
    const auto document =
        sidecar(Bytes(pdfFromObjects({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                                      "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] >>"})));
    const ManagerLog log;
    EXPECT_EQ(append(*manager, document).size(), 1U);
    EXPECT_EQ(manager->page(0), document->orvexPage(0));
    EXPECT_THAT(log.texts(), testing::Contains("Manager insert(document:atIndex:) warning: "
                                               "Problem extracting images couldNotReadResources"));
}

TEST(ManagerSidecar, OtherDocumentsKeepTheirPages) {
    const auto manager = managerOfPages(0);
    const auto document = sidecar(pdfWithXObjects({{"Im1", imageDictionary(10, 10, 8, gray), std::string(100, 'a')}}));
    document->userInfo.clear();
    document->userInfo["Sidecar"] = true; // another key
    append(*manager, document);
    EXPECT_EQ(manager->page(0), document->orvexPage(0));
}

TEST(ManagerSidecar, PagesOfBothKindsAreOneStep) {
    const auto manager = managerOfPages(1);
    const auto mixed = sidecar(pdfWithXObjects({{"Im1", imageDictionary(10, 10, 8, gray), std::string(100, 'a')}}));
    mixed->insertPage(OrvexPDFDocument::fromData(pdfFromPages({{""}}))->page(0), 0);
    editUndoRedo(*manager, [&] { append(*manager, mixed); });
    EXPECT_EQ(imageOfPage(*manager, 1), nullptr);
    EXPECT_NE(imageOfPage(*manager, 2), nullptr);
    manager->undoManager->undo();
    EXPECT_EQ(manager->pdfDoc->pageCount(), 1);
}

} // namespace
} // namespace orvex::test
