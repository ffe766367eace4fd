#include "ManagerSupport.h"
#include "Platform/Foundation/Strings.h"
#include "Support/Command.h"

#include <filesystem>
#include <fstream>
#include <set>

namespace orvex::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

const Bytes notAPDF = Bytes::copyOf(std::string_view("This is a shopping list: bread, milk."));

/// A page that tells when it is drawn, which is what serialising does.
class CountingPage final : public OrvexPDFPage {
public:
    using OrvexPDFPage::OrvexPDFPage;
    void draw(PDFDisplayBox box, GraphicsContext& context) override {
        ++drawn;
        OrvexPDFPage::draw(box, context);
    }
    int drawn = 0;
};

std::shared_ptr<CountingPage> countingPage() {
    auto page = std::make_shared<CountingPage>(pageOfWidth(150)->content());
    auto found = std::make_shared<OrvexFoundPage>(OrvexFoundSize(100, 100));
    found->items = std::vector{OrvexFoundItem("text", OrvexFoundBox(Rect{10, 10, 50, 10}))};
    page->foundPage = found;
    return page;
}

// A new manager

TEST(Manager, StartsEmptyAndFresh) {
    const auto manager = OrvexPDFDocumentManager::create();
    EXPECT_EQ(manager->pdfDoc->pageCount(), 0);
    EXPECT_TRUE(manager->pagesMeta.empty());
    EXPECT_EQ(manager->documentBytes, 0);
    EXPECT_EQ(manager->originalBytes, 0);
    EXPECT_EQ(manager->silent, 0);
    EXPECT_FALSE(manager->needsUpdateDocumentBytes);
    EXPECT_EQ(manager->undoManager, nullptr);
    EXPECT_EQ(manager->pdfProducer, "Quillo.app");
}

TEST(Manager, HasAnIdentityOfItsOwn) {
    const auto manager = OrvexPDFDocumentManager::create();
    EXPECT_THAT(manager->id, MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));
    EXPECT_NE(manager->id, OrvexPDFDocumentManager::create()->id);
}

TEST(Manager, CreatedFromAFileThatCannotBeReadIsEmpty) {
    const ManagerLog log;
    const auto manager = OrvexPDFDocumentManager::create(std::filesystem::path("/no/such/file.pdf"));
    EXPECT_EQ(manager->pdfDoc->pageCount(), 0);
    EXPECT_TRUE(manager->pagesMeta.empty());
}

// Loading

TEST(ManagerLoading, RejectsBytesThatAreNoPDFAndChangesNothing) {
    const auto manager = managerOfPages(2);
    const auto document = manager->pdfDoc;
    const auto original = manager->originalBytes;
    const ManagerLog log;
    EXPECT_FALSE(manager->load(notAPDF));
    EXPECT_EQ(manager->pdfDoc, document);
    EXPECT_EQ(manager->pagesMeta.size(), 2U);
    EXPECT_EQ(manager->originalBytes, original);
    EXPECT_TRUE(log.texts().empty());
    EXPECT_EQ(manager->lastLoadFailure(), PDFOpenFailure::notAPDF);
    EXPECT_FALSE(manager->lastLoadError().empty());
}

TEST(ManagerLoading, MakesARecordPerPageAndTellsTheSizeOnly) {
    const auto data = pdfFromPages({{showing("Hello")}, {showing("   ")}, {"", "[0 0 612 792]", "/Rotate 90"}});
    const auto manager = OrvexPDFDocumentManager::create();
    const News news;
    ASSERT_TRUE(manager->load(data));
    ASSERT_EQ(manager->pagesMeta.size(), 3U);
    EXPECT_EQ(
        std::set<std::string>({manager->pagesMeta[0].id, manager->pagesMeta[1].id, manager->pagesMeta[2].id}).size(),
        3U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_FALSE(manager->pagesMeta[i].fresh);
        EXPECT_EQ(manager->pagesMeta[i].originalPage, manager->page(static_cast<std::int64_t>(i)));
        EXPECT_EQ(manager->pagesMeta[i].originalImage, nullptr);
    }
    EXPECT_TRUE(manager->pagesMeta[0].originalPageHasText);
    EXPECT_FALSE(manager->pagesMeta[1].originalPageHasText);
    EXPECT_FALSE(manager->pagesMeta[2].originalPageHasText);
    EXPECT_EQ(manager->pagesMeta[0].originalPageRotation, 0);
    EXPECT_EQ(manager->pagesMeta[2].originalPageRotation, 90);
    EXPECT_EQ(manager->originalBytes, static_cast<std::int64_t>(data.size()));
    EXPECT_EQ(manager->documentBytes, manager->originalBytes);
    EXPECT_FALSE(manager->needsUpdateDocumentBytes);
    EXPECT_EQ(news.bytes, 1);
    EXPECT_EQ(news.content, 0);
    EXPECT_EQ(news.object, manager->pdfDoc);
    EXPECT_TRUE(manager->lastLoadError().empty());
    EXPECT_EQ(manager->lastLoadFailure(), std::nullopt);
}

/// A page that shows one glyph, which stands for these UTF-16 code units.
Bytes fileShowing(const std::string& units) {
    const std::string map = "/CIDInit /ProcSet findresource begin 12 dict begin begincmap\n"
                            "1 begincodespacerange <00> <FF> endcodespacerange\n1 beginbfchar <41> <" +
                            units + "> endbfchar\nendcmap end end";
    return Bytes(pdfFromObjects({
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents 4 0 R /Resources << /Font << /F1 5 0 R >> >> "
        ">>",
        streamBody("BT /F1 24 Tf 72 700 Td (A) Tj ET"),
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /ToUnicode 6 0 R >>",
        streamBody(map),
    }));
}

TEST(ManagerLoading, WhiteSpaceOfAnyKindAloneIsNoText) {
    const auto hasText = [](const std::string& units) {
        const auto manager = OrvexPDFDocumentManager::create();
        EXPECT_TRUE(manager->load(fileShowing(units)));
        return static_cast<bool>(manager->pagesMeta[0].originalPageHasText);
    };
    for (const std::string space :
         {"0009", "000A", "000B", "000C", "000D", "0020", "0085",     "00A0",     "1680",        "2000",
          "2001", "2002", "2003", "2004", "2005", "2006", "2007",     "2008",     "2009",        "200A",
          "200B", "2028", "2029", "202F", "205F", "3000", "00200020", "000D000A", "002000A02003"}) {
        EXPECT_FALSE(hasText(space)) << space;
    }
    for (const std::string text : {"0041", "002E", "FEFF", "2060", "180E", "00200041", "D83DDE00"}) {
        EXPECT_TRUE(hasText(text)) << text;
    }
}

TEST(ManagerLoading, LogsTheSizeAndItsNews) {
    const auto data = fileOfPages(1);
    const auto manager = OrvexPDFDocumentManager::create();
    const ManagerLog log;
    manager->load(data);
    const auto size = formatByteCount(static_cast<std::int64_t>(data.size()));
    EXPECT_THAT(log.texts(), ElementsAre("Manager setDocumentBytes(_:) debug: setDocumentBytes " + size,
                                         "Manager setDocumentBytes(_:) debug: notify setDocumentBytes " + size));
}

TEST(ManagerLoading, ASecondTimeKeepsTheOldRecordsInFrontAndTellsNothing) {
    const auto manager = managerOfPages(3);
    const auto first = ids(*manager);
    const News news;
    ASSERT_TRUE(manager->load(fileOfPages(3)));
    ASSERT_EQ(manager->pagesMeta.size(), 6U);
    EXPECT_EQ(manager->pdfDoc->pageCount(), 3);
    EXPECT_TRUE(std::equal(first.begin(), first.end(), ids(*manager).begin()));
    EXPECT_EQ(news.bytes, 0);
}

TEST(ManagerLoading, ClearsTheUndoHistory) {
    const auto manager = managerOfPages(2);
    manager->remove(0);
    ASSERT_TRUE(manager->undoManager->canUndo());
    manager->load(fileOfPages(1));
    EXPECT_FALSE(manager->undoManager->canUndo());
    EXPECT_FALSE(manager->undoManager->canRedo());
}

TEST(ManagerLoading, StampsTheProducer) {
    const auto manager = OrvexPDFDocumentManager::create();
    manager->pdfProducer = "Some host";
    manager->load(pdfFromPages({{}}, "/Producer (Another) /Creator (Typesetter) /Title (Kept)"));
    EXPECT_EQ(manager->pdfDoc->producer(), "Some host");
    EXPECT_EQ(manager->pdfDoc->creator(), "Typesetter");
    EXPECT_EQ(manager->pdfDoc->title(), "Kept");
}

TEST(ManagerLoading, WarnsAboutAFileThatCannotBeReadAndSaysWhy) {
    const auto manager = managerOfPages(1);
    const ManagerLog log;
    EXPECT_FALSE(manager->load(std::filesystem::path("/no such folder/a b.pdf")));
    EXPECT_THAT(log.texts(), ElementsAre("Manager load(url:) warning: Error loading document from "
                                         "file:///no%20such%20folder/a%20b.pdf"));
    EXPECT_THAT(manager->lastLoadError(), HasSubstr("No such file"));
    EXPECT_EQ(manager->lastLoadFailure(), std::nullopt);
    EXPECT_EQ(manager->pagesMeta.size(), 1U);
}

TEST(ManagerLoading, ReadsAFile) {
    const auto path = std::filesystem::temp_directory_path() / "orvex-manager-load.pdf";
    std::ofstream(path, std::ios::binary) << fileOfPages(2).text();
    const auto manager = OrvexPDFDocumentManager::create(path);
    EXPECT_EQ(letters(*manager), "AB");
    EXPECT_EQ(manager->originalBytes, static_cast<std::int64_t>(std::filesystem::file_size(path)));
    std::ofstream(path, std::ios::binary) << notAPDF.text();
    const ManagerLog log;
    EXPECT_FALSE(manager->load(path));
    EXPECT_TRUE(log.texts().empty());
    std::filesystem::remove(path);
}

TEST(ManagerLoading, FailsForAFileThatNeedsAPassword) {
    const auto folder = std::filesystem::temp_directory_path();
    const auto plain = (folder / "orvex-manager-plain.pdf").string();
    const auto locked = (folder / "orvex-manager-locked.pdf").string();
    std::ofstream(plain, std::ios::binary) << fileOfPages(2).text();
    ASSERT_EQ(run("qpdf --encrypt secret owner 256 -- " + quoted(plain) + " " + quoted(locked)).exitCode, 0);
    const auto manager = OrvexPDFDocumentManager::create();
    EXPECT_FALSE(manager->load(std::filesystem::path(locked)));
    EXPECT_EQ(manager->lastLoadFailure(), PDFOpenFailure::passwordNeeded);
    EXPECT_THAT(manager->lastLoadError(), HasSubstr("password"));
    EXPECT_EQ(manager->pdfDoc->pageCount(), 0);

    ASSERT_EQ(run("qpdf --encrypt '' owner 256 -- " + quoted(plain) + " " + quoted(locked)).exitCode, 0);
    EXPECT_TRUE(manager->load(std::filesystem::path(locked)));
    EXPECT_EQ(letters(*manager), "AB");
    std::filesystem::remove(plain);
    std::filesystem::remove(locked);
}

// Replacing the document

TEST(ManagerReplaceDocument, IsUndoneAndRedoneWithNewDocumentObjects) {
    const auto manager = managerOfPages(3);
    const auto records = ids(*manager);
    const auto first = manager->pdfDoc;
    const News news;
    manager->replaceDocument(fileOfPages(1));
    EXPECT_EQ(letters(*manager), "A");
    EXPECT_EQ(manager->originalBytes, static_cast<std::int64_t>(fileOfPages(1).size()));
    EXPECT_EQ(manager->documentBytes, manager->originalBytes);
    EXPECT_EQ(manager->pdfDoc->producer(), "Quillo.app");
    EXPECT_EQ(ids(*manager), records);
    manager->undoManager->undo();
    EXPECT_EQ(letters(*manager), "ABC");
    EXPECT_NE(manager->pdfDoc, first);
    EXPECT_EQ(ids(*manager), records);
    manager->undoManager->redo();
    EXPECT_EQ(letters(*manager), "A");
    EXPECT_EQ(ids(*manager), records);
    EXPECT_EQ(news.content, 0);
    EXPECT_EQ(news.bytes, 3);
}

TEST(ManagerReplaceDocument, UndoneBringsBackTheBytesWithoutStampingTheirCreator) {
    const auto manager = OrvexPDFDocumentManager::create();
    manager->undoManager = std::make_shared<UndoManager>();
    ASSERT_TRUE(manager->load(pdfFromPages({{"", "[0 0 101 200]"}}, "/Creator (Typesetter)")));
    manager->rotate(0, true);
    const auto old = static_cast<std::int64_t>(manager->pdfDoc->dataRepresentation()->size());
    manager->replaceDocument(fileOfPages(2));
    EXPECT_EQ(manager->pdfDoc->creator(), "");
    manager->undoManager->undo();
    EXPECT_EQ(manager->pdfDoc->creator(), "Typesetter");
    EXPECT_EQ(manager->originalBytes, old);
    EXPECT_EQ(manager->documentBytes, old);
    EXPECT_TRUE(manager->undoManager->canUndo()); // what was done before is still there
}

TEST(ManagerReplaceDocument, IgnoresBytesThatAreNoPDF) {
    const auto manager = managerOfPages(2);
    const auto document = manager->pdfDoc;
    const ManagerLog log;
    manager->replaceDocument(notAPDF);
    EXPECT_EQ(manager->pdfDoc, document);
    EXPECT_FALSE(manager->undoManager->canUndo());
    EXPECT_TRUE(log.texts().empty());
}

TEST(ManagerReplaceDocument, OfAnEmptyDocumentCannotBeUndone) {
    const auto manager = managerOfPages(0);
    manager->replaceDocument(fileOfPages(1));
    EXPECT_EQ(letters(*manager), "A");
    EXPECT_FALSE(manager->undoManager->canUndo());
}

// Saving and size

TEST(ManagerSaving, StampsProducerAndCreator) {
    const auto manager = managerOfPages(2);
    manager->pdfProducer = "Host 1.0";
    const auto data = manager->dataRepresentation();
    ASSERT_TRUE(data);
    const auto reread = OrvexPDFDocument::fromData(*data);
    ASSERT_NE(reread, nullptr);
    EXPECT_EQ(reread->pageCount(), 2);
    EXPECT_EQ(reread->producer(), "Host 1.0");
    EXPECT_EQ(reread->creator(), "Host 1.0");
}

TEST(ManagerSaving, AnEmptyDocumentGivesNothing) {
    const auto manager = OrvexPDFDocumentManager::create();
    EXPECT_EQ(manager->dataRepresentation(), std::nullopt);
}

TEST(ManagerSaving, StreamsTheSameBytes) {
    struct Sink final : ByteSink {
        void write(std::span<const std::uint8_t> bytes) override {
            text.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        }
        std::string text;
    };
    const auto manager = managerOfPages(3);
    Sink sink;
    EXPECT_TRUE(manager->write(sink));
    EXPECT_EQ(sink.text, manager->dataRepresentation()->text());
    EXPECT_FALSE(OrvexPDFDocumentManager::create()->write(sink));
}

TEST(ManagerSaving, PassesOnWhatTheSinkThrowsWheneverItDoes) {
    struct FullSink final : ByteSink {
        void write(std::span<const std::uint8_t> bytes) override {
            room -= static_cast<std::int64_t>(bytes.size());
            if (room < 0) {
                throw std::runtime_error("full");
            }
        }
        std::int64_t room = 0;
    };
    const auto manager = managerOfPages(3);
    for (int i = 0; i < 20; ++i) {
        manager->append(noiseImage(200, 200, i), {});
    }
    const auto size = static_cast<std::int64_t>(manager->dataRepresentation()->size());
    ASSERT_GT(size, 600'000);
    for (std::int64_t room = 0; room < size; room += 50'000) {
        FullSink sink;
        sink.room = room;
        EXPECT_THROW(manager->write(sink), std::runtime_error) << room;
    }
}

TEST(ManagerSize, IsMeasuredOnceAfterAChange) {
    const auto manager = managerOfPages(1);
    const auto page = countingPage();
    manager->append(page);
    ASSERT_TRUE(manager->needsUpdateDocumentBytes);
    const News news;
    manager->updateDocumentBytes();
    EXPECT_FALSE(manager->needsUpdateDocumentBytes);
    EXPECT_GT(page->drawn, 0);
    EXPECT_EQ(news.bytes, 1);
    EXPECT_EQ(manager->documentBytes, static_cast<std::int64_t>(manager->dataRepresentation()->size()));
}

TEST(ManagerSize, IsNotMeasuredAgainWhenFresh) {
    const auto manager = managerOfPages(1);
    const auto page = countingPage();
    manager->append(page);
    manager->updateDocumentBytes();
    const auto drawn = page->drawn;
    const ManagerLog log;
    manager->updateDocumentBytes();
    EXPECT_EQ(page->drawn, drawn);
    EXPECT_TRUE(log.texts().empty());
}

TEST(ManagerSize, StaysStaleWhenNothingCanBeSerialised) {
    const auto manager = managerOfPages(1);
    manager->remove(0);
    const auto before = manager->documentBytes;
    manager->updateDocumentBytes();
    EXPECT_TRUE(manager->needsUpdateDocumentBytes);
    EXPECT_EQ(manager->documentBytes, before);
}

TEST(ManagerSize, SettingTheCurrentValuePostsNothingButIsFresh) {
    const auto manager = managerOfPages(1);
    manager->needsUpdateDocumentBytes = true;
    const News news;
    manager->setDocumentBytes(manager->documentBytes);
    EXPECT_EQ(news.bytes, 0);
    EXPECT_FALSE(manager->needsUpdateDocumentBytes);
    manager->setDocumentBytes(manager->documentBytes + 1);
    EXPECT_EQ(news.bytes, 1);
}

} // namespace
} // namespace orvex::test
