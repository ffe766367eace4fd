// What becomes of passwords and permissions.
#include "Support/Command.h"
#include "Support/OpenDocument.h"
#include "Support/Pages.h"
#include "Support/TempFolder.h"

#include <gmock/gmock.h>

#include <fstream>

namespace orvex {
namespace {

using test::opened;
using testing::HasSubstr;
using testing::Not;

struct Lock {
    std::string name;
    std::string options; ///< of qpdf, behind the passwords
};

void PrintTo(const Lock& lock, std::ostream* out) {
    *out << lock.name;
}

class SavedEncryption : public testing::TestWithParam<Lock> {
protected:
    [[nodiscard]] std::string path(const std::string& name) const { return (folder_.path() / name).string(); }

    [[nodiscard]] Bytes locked(const std::string& user, const std::string& owner) const {
        std::ofstream(path("in.pdf"), std::ios::binary) << test::pagesShowing({"Alpha", "Beta"}).text();
        const auto made =
            test::run("qpdf --allow-weak-crypto --encrypt " + test::quoted(user) + " " + test::quoted(owner) + " " +
                      GetParam().options + " -- " + path("in.pdf") + " " + path("locked.pdf"));
        EXPECT_EQ(made.exitCode, 0) << made.errors;
        return readFile(path("locked.pdf"));
    }

    /// What `command` says of the saved document, with a password.
    [[nodiscard]] test::CommandResult ask(const Bytes& saved, const std::string& command) const {
        std::ofstream(path("saved.pdf"), std::ios::binary) << saved.text();
        return test::run(command + " " + path("saved.pdf"));
    }

    test::TempFolder folder_;
};

TEST_P(SavedEncryption, StaysWithEitherPassword) {
    const Bytes original = locked("open", "owner");
    const std::string before = ask(original, "qpdf --show-encryption --password=owner").output;
    for (const std::string password : {"open", "owner"}) {
        const auto document = opened(original, password);
        document->removePage(0);
        document->setInfo(PDFInfoKey::title, "Locked title");
        const Bytes saved = *document->dataRepresentation();
        EXPECT_EQ(*document->dataRepresentation(), saved);
        EXPECT_THAT(saved.text(), Not(HasSubstr("Locked title")));
        EXPECT_EQ(ask(saved, "qpdf --check --password=open").exitCode, 0);
        EXPECT_EQ(ask(saved, "qpdf --show-encryption --password=owner").output, before);
        EXPECT_NE(ask(saved, "qpdf --check --password=wrong").exitCode, 0);
        EXPECT_THAT(ask(saved, "pdfinfo -upw open").output, HasSubstr("Locked title"));
        EXPECT_THAT(ask(saved, "pdftotext -upw open").exitCode, 0);
        EXPECT_THAT(ask(saved, "mutool draw -p open -F text").output, HasSubstr("Beta"));
        EXPECT_EQ(opened(saved, "owner")->pageCount(), 1);
    }
}

/// AES starts from vectors; RC4 has none.
class EncryptionWithVectors : public SavedEncryption {};

TEST_P(EncryptionWithVectors, AnotherDocumentIsEncryptedFromOthers) {
    const auto document = opened(locked("open", "owner"), "open");
    const Bytes one = *document->dataRepresentation();
    document->setInfo(PDFInfoKey::title, "Another title");
    const Bytes other = *document->dataRepresentation();
    const std::size_t header = 2000; // the first objects do not hold the title: only their vectors differ
    EXPECT_NE(one.text().substr(0, header), other.text().substr(0, header));
}

const Lock aes128{"AESof128", "128 --use-aes=y --modify=none"};
const Lock aes256{"AESof256", "256 --extract=n"};
INSTANTIATE_TEST_SUITE_P(Strengths, SavedEncryption,
                         testing::Values(Lock{"RC4of40", "40 --modify=n"},
                                         Lock{"RC4of128", "128 --use-aes=n --print=none"}, aes128, aes256),
                         [](const auto& lock) { return lock.param.name; });
INSTANTIATE_TEST_SUITE_P(Strengths, EncryptionWithVectors, testing::Values(aes128, aes256),
                         [](const auto& lock) { return lock.param.name; });

TEST(SavedEncryption, PagesOfALockedFileAreSavedInTheOpenElsewhere) {
    const test::TempFolder folder;
    const std::string in = (folder.path() / "in.pdf").string();
    const std::string out = (folder.path() / "out.pdf").string();
    std::ofstream(in, std::ios::binary) << test::pagesShowing({"Alpha"}).text();
    ASSERT_EQ(test::run("qpdf --encrypt open owner 256 -- " + in + " " + out).exitCode, 0);
    const auto document = opened(test::pagesShowing({"Base"}));
    document->insertPage(opened(readFile(out), "open")->page(0), 1);
    std::ofstream(in, std::ios::binary) << document->dataRepresentation()->text();
    EXPECT_THAT(test::run("pdftotext " + in + " -").output, HasSubstr("Alpha"));
}

TEST(SavedEncryption, IsToldBeforeAnythingIsSaved) {
    const test::TempFolder folder;
    const std::string in = (folder.path() / "in.pdf").string();
    const std::string out = (folder.path() / "out.pdf").string();
    std::ofstream(in, std::ios::binary) << test::pagesShowing({"Alpha"}).text();
    ASSERT_EQ(test::run("qpdf --encrypt '' owner 256 -- " + in + " " + out).exitCode, 0);
    const Bytes owned = readFile(out);
    struct Case {
        Bytes file;
        std::string password;
        PDFSavedEncryption expected;
    };
    const std::vector<Case> cases = {{readFile(in), "", PDFSavedEncryption::none},
                                     {readFile(in), "any", PDFSavedEncryption::none},
                                     {owned, "", PDFSavedEncryption::removed},
                                     {owned, "wrong", PDFSavedEncryption::removed},
                                     {owned, "owner", PDFSavedEncryption::kept}};
    for (const auto& one : cases) {
        const auto document = opened(one.file, one.password);
        EXPECT_EQ(document->savedEncryption(), one.expected) << one.password;
        std::ofstream(out, std::ios::binary) << document->dataRepresentation()->text();
        EXPECT_EQ(test::run("qpdf --is-encrypted " + out).exitCode == 0, one.expected == PDFSavedEncryption::kept);
    }
    PDFDocument without;
    without.insertPage(opened(owned, "owner")->page(0), 0);
    EXPECT_EQ(without.savedEncryption(), PDFSavedEncryption::none);
}

TEST(SavedEncryption, PasswordsBeyondASCIIOpenOldFilesToo) {
    const test::TempFolder folder;
    const std::string in = (folder.path() / "in.pdf").string();
    const std::string out = (folder.path() / "out.pdf").string();
    std::ofstream(in, std::ios::binary) << test::pagesShowing({"Alpha"}).text();
    ASSERT_EQ(test::run("LC_ALL=C.UTF-8 qpdf --allow-weak-crypto --encrypt 'schl\u00fcssel' owner 128 --use-aes=y -- " +
                        in + " " + out)
                  .exitCode,
              0);
    EXPECT_EQ(opened(readFile(out), "schl\u00fcssel")->pageCount(), 1);
    EXPECT_THROW(opened(readFile(out), "schlussel"), PDFOpenError);
}

} // namespace
} // namespace orvex
