// Every allocation of loading, editing and saving fails once: an error comes out, or the result is whole.
#include "Memory/FailingMemory.h"
#include "OrvexPDF/Manager.h"
#include "Platform/Imaging/Codecs.h"
#include "Support/ImageFixture.h"
#include "Support/PDFFixture.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

namespace orvex {
namespace {

std::shared_ptr<const OrvexFoundPage> someText() {
    OrvexFoundPage page(OrvexFoundSize(792, 612));
    page.items = {OrvexFoundItem("found", OrvexFoundBox(Rect{10, 10, 50, 8}))};
    return std::make_shared<const OrvexFoundPage>(page);
}

Bytes twoPages() {
    return test::pdfFromPages({{test::showing("one")}, {test::showing("two")}}, "/Title (T)");
}

Bytes packedPages() {
    return Bytes(test::packedPDFFromObjects({"<< /Type /Catalog /Pages 2 0 R >>",
                                             "<< /Type /Pages /Kids [3 0 R 4 0 R] /Count 2 /MediaBox [0 0 300 200] >>",
                                             "<< /Type /Page /Parent 2 0 R /Contents 5 0 R >>",
                                             "<< /Type /Page /Parent 2 0 R >>", test::streamBody("0 0 9 9 re f")}));
}

/// With CHECK_EVERY=1 in the environment each single allocation fails; otherwise every few, others in each test run of
/// another length.
long step(long total, long runs) {
    const char* every = std::getenv("CHECK_EVERY");
    return every != nullptr ? std::max(1L, std::strtol(every, nullptr, 10)) : std::max(1L, total / runs);
}

/// Runs `work` with failing allocations, one after the other. It returns whether it claims to have succeeded; what it
/// throws is a failure that was told. `check` then has to find everything in order.
void failEverywhere(long runs, const std::function<bool()>& work, const std::function<void(bool succeeded)>& check) {
    EXPECT_TRUE(work()); // what is made once for all is made here
    test::failAllocation(0);
    EXPECT_TRUE(work());
    const long total = test::stopFailing();
    ASSERT_GT(total, 100);
    int failures = 0;
    for (long at = 1; at <= total; at += step(total, runs)) {
        SCOPED_TRACE(at);
        bool succeeded = false;
        test::failAllocation(at);
        try {
            succeeded = work();
        } catch (const std::exception&) {
            succeeded = false;
        }
        test::stopFailing();
        failures += succeeded ? 0 : 1;
        check(succeeded);
    }
    std::printf("%ld allocations; %d failures told\n", total, failures);
    EXPECT_GT(failures, 0);
}

void expectOldOrNewOf(const Bytes& file) {
    const test::TempFolder folder;
    const auto target = folder.path() / "out.pdf";
    const Bytes old(std::string("what stood here before"));
    const auto work = [&, text = someText()] {
        const auto manager = OrvexPDFDocumentManager::create();
        manager->undoManager = std::make_shared<UndoManager>();
        if (!manager->load(file)) {
            return false;
        }
        manager->rotate(0, true);
        auto meta = manager->meta(std::int64_t{1});
        meta->foundPage = text;
        meta->watermarkText = "DRAFT";
        manager->updateMeta(*meta, false);
        manager->move({1}, 0);
        AtomicFile out(target);
        const bool written = manager->write(out);
        out.commit();
        return written;
    };
    ASSERT_TRUE(work());
    const Bytes made = readFile(target);
    test::writeFile(target, old);
    failEverywhere(300, work, [&](bool succeeded) {
        const Bytes found = readFile(target);
        EXPECT_TRUE(found == made || (!succeeded && found == old));
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
        test::writeFile(target, old);
    });
}

TEST(FailingAllocations, OfLoadingEditingAndSavingLeaveTheOldFileOrTheNewOne) {
    expectOldOrNewOf(twoPages());
}

TEST(FailingAllocations, OfSavingAPackedFileLeaveTheOldFileOrTheNewOne) {
    expectOldOrNewOf(packedPages());
}

TEST(FailingAllocations, OfReadingTextGiveAllOfItOrNone) {
    const auto document = OrvexPDFDocument::fromData(twoPages());
    const OrvexFoundPage expected = document->orvexPage(1)->extractFoundPage();
    ASSERT_EQ(expected.items->size(), 1U);
    OrvexFoundPage found;
    const auto work = [&, file = twoPages()] {
        const auto again = OrvexPDFDocument::fromData(file);
        found = again ? again->orvexPage(1)->extractFoundPage() : OrvexFoundPage();
        return again != nullptr;
    };
    failEverywhere(300, work, [&](bool succeeded) {
        EXPECT_TRUE(!succeeded || found == expected || found.items->empty()); // none comes with a warning
    });
}

TEST(FailingAllocations, OfMakingAndReadingAnImagePageGiveTheImageOrAnError) {
    const Bytes jpeg = *encodeJPEG(test::makePhoto(48, 32), {});
    std::optional<Bytes> saved;
    std::size_t images = 0;
    const auto work = [&] {
        saved.reset();
        const auto page = OrvexPDFPage::fromImage(Image::fromData(jpeg));
        saved = page ? page->createDocumentFromPage()->dataRepresentation() : std::nullopt;
        const auto again = saved ? OrvexPDFDocument::fromData(*saved) : nullptr;
        images = again ? again->orvexPage(0)->extractEmbeddedImages().size() : 0;
        return images == 1;
    };
    ASSERT_TRUE(work());
    const Bytes expected = *saved;
    failEverywhere(300, work, [&](bool succeeded) { EXPECT_TRUE(!succeeded || *saved == expected); });
}

} // namespace
} // namespace orvex
