#include "ManagerSupport.h"
#include "Support/Command.h"
#include "Support/Places.h"
#include "Support/TempFolder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace orvex::test {
namespace {

namespace fs = std::filesystem;

const fs::path sharedFiles = sharedFolder() / "corpus";

/// Every `step`-th PDF of a folder, by name.
std::vector<fs::path> filesOf(const fs::path& folder, std::size_t step) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() == ".pdf") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    std::vector<fs::path> chosen;
    for (std::size_t i = 0; i < files.size(); i += step) {
        chosen.push_back(files[i]);
    }
    return chosen;
}

/// What a user may do in a minute, one undo step each.
void editAround(OrvexPDFDocumentManager& manager) {
    manager.rotate(0, false);
    manager.append(pageOfWidth(101));
    manager.move({manager.pdfDoc->pageCount() - 1}, 0);
    manager.append(grayImage(60, 40), {});
    manager.remove(1);
    manager.updateMeta(manager.pagesMeta.front(), true);
}

/// Edits, takes everything back and does it again; the file that is saved then holds the pages.
void editAndSave(const fs::path& path) {
    const auto manager = OrvexPDFDocumentManager::create();
    manager->undoManager = std::make_shared<UndoManager>();
    if (!manager->load(path)) {
        EXPECT_FALSE(manager->lastLoadError().empty()) << path;
        EXPECT_TRUE(manager->lastLoadFailure()) << path;
        return;
    }
    expectOneRecordPerPage(*manager);
    if (manager->pdfDoc->pageCount() == 0) {
        return;
    }
    const Snapshot before(*manager);
    editAround(*manager);
    expectOneRecordPerPage(*manager);
    const Snapshot after(*manager);
    while (manager->undoManager->canUndo()) {
        manager->undoManager->undo();
        expectOneRecordPerPage(*manager);
    }
    EXPECT_TRUE(Snapshot(*manager) == before) << path;
    while (manager->undoManager->canRedo()) {
        manager->undoManager->redo();
    }
    EXPECT_TRUE(Snapshot(*manager) == after) << path;
    const auto saved = manager->dataRepresentation();
    ASSERT_TRUE(saved) << path;
    const auto reread = OrvexPDFDocument::fromData(*saved);
    ASSERT_NE(reread, nullptr) << path;
    EXPECT_EQ(reread->pageCount(), manager->pdfDoc->pageCount()) << path;
}

TEST(ManagerFiles, WrittenByOtherToolsAreEditedAndSavedSoundly) {
    const TempFolder folder;
    const auto at = [&folder](const std::string& name) { return (folder.path() / name).string(); };
    std::ofstream(at("three.ps")) << "%!\n1 1 3 { /Helvetica findfont 40 scalefont setfont 72 500 moveto "
                                     "(page ) show 10 string cvs show showpage } for\n";
    ASSERT_EQ(run("gs -q -sDEVICE=pdfwrite -o " + at("gs.pdf") + " " + at("three.ps")).exitCode, 0);
    ASSERT_EQ(run("qpdf --object-streams=generate --linearize " + at("gs.pdf") + " " + at("packed.pdf")).exitCode, 0);
    ASSERT_EQ(run("qpdf --qdf " + at("gs.pdf") + " " + at("plain.pdf")).exitCode, 0);
    for (const std::string name : {"gs.pdf", "packed.pdf", "plain.pdf"}) {
        const auto manager = OrvexPDFDocumentManager::create(fs::path(at(name)));
        ASSERT_EQ(manager->pdfDoc->pageCount(), 3) << name;
        EXPECT_TRUE(manager->pagesMeta[2].originalPageHasText) << name;
        manager->move({2}, 0);
        manager->rotate(1, true);
        const auto saved = manager->dataRepresentation();
        ASSERT_TRUE(saved);
        std::ofstream(at("saved.pdf"), std::ios::binary) << saved->text();
        const auto check = run("qpdf --check " + at("saved.pdf"));
        EXPECT_EQ(check.exitCode, 0) << name << check.output << check.errors;
        EXPECT_EQ(run("pdftotext -l 1 " + at("saved.pdf") + " - | tr -d '\\f\\n'").output, "page 3") << name;
        EXPECT_THAT(run("pdfinfo -f 2 -l 2 " + at("saved.pdf")).output, testing::HasSubstr("rot:   270")) << name;
        editAndSave(at(name));
    }
}

TEST(ManagerFiles, ThatAreEncryptedOpenWithEitherPassword) {
    const TempFolder folder;
    const auto at = [&folder](const std::string& name) { return folder.path() / name; };
    std::ofstream(at("open.pdf"), std::ios::binary) << fileOfPages(2).text();
    const auto encrypt = [&](const std::string& user, const std::string& name) {
        const auto command = "qpdf --encrypt '" + user + "' owner 256 -- " + at("open.pdf").string() + " ";
        ASSERT_EQ(run(command + at(name).string()).exitCode, 0);
    };
    encrypt("user", "locked.pdf");
    encrypt("", "half.pdf");
    const auto opens = [&](const std::string& name, const std::string& password) {
        return OrvexPDFDocumentManager::create()->load(at(name), password);
    };
    for (const auto* password : {"user", "owner"}) {
        EXPECT_TRUE(opens("locked.pdf", password)) << password;
    }
    for (const auto* password : {"", "owner", "anything"}) {
        EXPECT_TRUE(opens("half.pdf", password)) << password;
        EXPECT_TRUE(opens("open.pdf", password)) << password;
    }
    const auto manager = OrvexPDFDocumentManager::create();
    EXPECT_FALSE(manager->load(at("locked.pdf")));
    EXPECT_EQ(manager->lastLoadError(), "a password is needed");
    EXPECT_FALSE(manager->load(at("locked.pdf"), "wrong"));
    EXPECT_EQ(manager->lastLoadError(), "the password is not the right one");
    EXPECT_EQ(manager->lastLoadFailure(), PDFOpenFailure::passwordNeeded);
    ASSERT_TRUE(manager->load(at("locked.pdf"), "user"));
    manager->remove(0);
    EXPECT_TRUE(manager->dataRepresentation());
}

TEST(ManagerFiles, FromTheWildSurviveEditsUndoAndSaving) {
    if (!fs::exists(sharedFiles)) {
        GTEST_SKIP() << "the shared files are not here";
    }
    // Enough of each folder to meet every kind of producer and damage, in seconds.
    for (const auto& [folder, step] : {std::pair("mixed", 9U), std::pair("conformance", 9U), std::pair("scans", 2U)}) {
        for (const auto& path : filesOf(sharedFiles / folder, step)) {
            editAndSave(path);
        }
    }
}

} // namespace
} // namespace orvex::test
