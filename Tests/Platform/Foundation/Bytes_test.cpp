#include "Platform/Foundation/Bytes.h"
#include "Support/OrdinaryUser.h"
#include "Support/TempFolder.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

namespace orvex {
namespace {

using test::TempFolder;

void writeText(const std::filesystem::path& path, std::string_view text) {
    std::ofstream(path) << text;
}

TEST(Bytes, ACopySharesTheBuffer) {
    const Bytes a(std::string("a buffer long enough to live outside the string object"));
    const Bytes b = a;
    EXPECT_EQ(a.data(), b.data());
    EXPECT_EQ(a, b);
}

TEST(Bytes, TakesAVectorOverWithoutCopying) {
    std::vector<std::uint8_t> buffer(100, 7);
    const auto* place = buffer.data();
    const Bytes bytes(std::move(buffer));
    EXPECT_EQ(bytes.data(), place);
    EXPECT_EQ(bytes.size(), 100U);
}

TEST(Bytes, ABorrowedViewKeepsItsOwner) {
    auto owner = std::make_shared<const std::vector<std::uint8_t>>(std::vector<std::uint8_t>{1, 2, 3});
    const std::weak_ptr<const void> watch = owner;
    Bytes bytes(owner, *owner);
    owner.reset();
    EXPECT_FALSE(watch.expired());
    bytes = Bytes();
    EXPECT_TRUE(watch.expired());
}

TEST(Bytes, ASliceIsClampedAndSharesTheBuffer) {
    const Bytes bytes = Bytes::copyOf(std::string_view("0123456789"));
    EXPECT_EQ(bytes.slice(2, 3).text(), "234");
    EXPECT_EQ(bytes.slice(2, 3).data(), bytes.data() + 2);
    EXPECT_EQ(bytes.slice(8, 100).text(), "89");
    EXPECT_TRUE(bytes.slice(11, 1).empty());
    EXPECT_EQ(bytes.slice(4, std::numeric_limits<std::size_t>::max()).text(), "456789");
}

TEST(Bytes, EqualityIsByContents) {
    EXPECT_EQ(Bytes::copyOf(std::string_view("ab")), Bytes(std::string("ab")));
    EXPECT_FALSE(Bytes::copyOf(std::string_view("ab")) == Bytes(std::string("abc")));
    EXPECT_EQ(Bytes(), Bytes(std::string()));
}

TEST(ReadFile, ReadsAWholeFileWithZerosInIt) {
    const TempFolder folder;
    const std::string content("a\0b\xFF", 4);
    writeText(folder.path() / "f", content);
    EXPECT_EQ(readFile(folder.path() / "f").text(), content);
}

TEST(ReadFile, AnEmptyFileIsEmptyBytes) {
    const TempFolder folder;
    writeText(folder.path() / "f", "");
    EXPECT_TRUE(readFile(folder.path() / "f").empty());
}

TEST(ReadFile, FilesThatTellNoSizeAreReadToTheirEnd) {
    EXPECT_GT(readFile("/proc/self/maps").size(), 100U);
}

TEST(ReadFile, APipeIsReadToItsEnd) {
    const TempFolder folder;
    const auto pipe = folder.path() / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::string content(300'000, 'x');
    std::thread writer([&] { writeText(pipe, content); });
    const Bytes bytes = readFile(pipe);
    writer.join();
    EXPECT_EQ(bytes.text(), content);
}

struct BadPath {
    std::filesystem::path path;
    int error;
};

TEST(ReadFile, AnErrorIsOneLineThatNamesPathAndReason) {
    const TempFolder folder;
    for (const auto& [path, error] : {BadPath{folder.path() / "missing", ENOENT}, BadPath{folder.path(), EISDIR},
                                      BadPath{folder.path() / "a\nb", ENOENT}}) {
        try {
            (void)readFile(path);
            ADD_FAILURE() << path;
        } catch (const FileError& e) {
            const std::string what = e.what();
            EXPECT_EQ(e.systemError(), error);
            EXPECT_EQ(e.path(), path);
            EXPECT_EQ(what.find('\n'), std::string::npos);
            EXPECT_NE(what.find(folder.path().string()), std::string::npos) << what;
            EXPECT_TRUE(what.starts_with("cannot read ")) << what;
        }
    }
}

TEST(ReadFile, AFileThatMayNotBeReadIsAnError) {
    const TempFolder folder;
    writeText(folder.path() / "f", "secret");
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
    std::filesystem::permissions(folder.path() / "f", std::filesystem::perms(0000));
    const test::OrdinaryUser user;
    try {
        (void)readFile(folder.path() / "f");
        ADD_FAILURE();
    } catch (const FileError& e) {
        EXPECT_EQ(e.systemError(), EACCES);
        EXPECT_NE(std::string(e.what()).find("Permission denied"), std::string::npos) << e.what();
    }
}

} // namespace
} // namespace orvex
