#include "Platform/Foundation/Bytes.h"
#include "Support/OrdinaryUser.h"
#include "Support/TempFolder.h"

#include <array>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace orvex {
namespace {

namespace fs = std::filesystem;
using test::TempFolder;

void put(const fs::path& path, std::string_view text) {
    std::ofstream(path) << text;
}
std::string get(const fs::path& path) {
    return std::string(readFile(path).text());
}

std::span<const std::uint8_t> bytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::size_t entries(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

mode_t modeOf(const fs::path& path) {
    return static_cast<mode_t>(fs::status(path).permissions());
}

/// What making, writing and committing `text` at `target` throws; 0 when nothing does.
int errorOf(const fs::path& target, std::string_view text) {
    try {
        AtomicFile file(target);
        file.write(bytes(text));
        file.commit();
        return 0;
    } catch (const FileError& e) {
        EXPECT_TRUE(std::string(e.what()).starts_with("cannot write " + target.string() + ": ")) << e.what();
        EXPECT_EQ(e.path(), target);
        return e.systemError();
    }
}

TEST(AtomicFile, CommitPutsTheFileInPlaceAndLeavesNothingElse) {
    const TempFolder folder;
    EXPECT_EQ(errorOf(folder.path() / "out", "new"), 0);
    EXPECT_EQ(get(folder.path() / "out"), "new");
    EXPECT_EQ(entries(folder.path()), 1U);
}

TEST(AtomicFile, TheTargetStandsUntouchedUntilCommit) {
    const TempFolder folder;
    const auto target = folder.path() / "out";
    put(target, "old");
    AtomicFile file(target);
    file.write(bytes(std::string(1'000'000, 'x')));
    EXPECT_EQ(get(target), "old");
    file.commit();
    EXPECT_EQ(get(target), std::string(1'000'000, 'x'));
}

TEST(AtomicFile, WithoutCommitTheTemporaryIsRemoved) {
    const TempFolder folder;
    put(folder.path() / "out", "old");
    {
        AtomicFile file(folder.path() / "out");
        file.write(bytes("half"));
        EXPECT_EQ(entries(folder.path()), 2U);
    }
    EXPECT_EQ(entries(folder.path()), 1U);
    EXPECT_EQ(get(folder.path() / "out"), "old");
}

TEST(AtomicFile, ManyWritesKeepTheirOrder) {
    const TempFolder folder;
    std::string expected;
    AtomicFile file(folder.path() / "out");
    for (std::size_t i = 0; i < 2000; ++i) {
        const std::string piece(i % 700, static_cast<char>('a' + i % 26));
        expected += piece;
        file.write(bytes(piece));
    }
    const std::string large(600'000, 'L');
    file.write(bytes(large));
    file.write(bytes("end"));
    file.commit();
    EXPECT_EQ(get(folder.path() / "out"), expected + large + "end");
}

TEST(AtomicFile, KeepsThePermissionBitsOfTheFileItReplaces) {
    const TempFolder folder;
    for (const mode_t mode : {0600U, 0640U, 0755U}) {
        put(folder.path() / "out", "old");
        fs::permissions(folder.path() / "out", fs::perms(mode));
        EXPECT_EQ(errorOf(folder.path() / "out", "new"), 0);
        EXPECT_EQ(modeOf(folder.path() / "out"), mode);
    }
}

TEST(AtomicFile, ANewFileGetsTheProcessMask) {
    const TempFolder folder;
    const mode_t previous = ::umask(027);
    EXPECT_EQ(errorOf(folder.path() / "out", "new"), 0);
    ::umask(previous);
    EXPECT_EQ(modeOf(folder.path() / "out"), 0640U);
}

TEST(AtomicFile, ALinkStaysAndItsFileIsReplaced) {
    const TempFolder folder;
    fs::create_directory(folder.path() / "real");
    put(folder.path() / "real" / "file", "old");
    fs::create_symlink("real/file", folder.path() / "link");
    EXPECT_EQ(errorOf(folder.path() / "link", "new"), 0);
    EXPECT_TRUE(fs::is_symlink(folder.path() / "link"));
    EXPECT_EQ(get(folder.path() / "real" / "file"), "new");
}

TEST(AtomicFile, LinksInACircleAreToldAndStay) {
    const TempFolder folder;
    fs::create_symlink("b", folder.path() / "a");
    fs::create_symlink("a", folder.path() / "b");
    EXPECT_EQ(errorOf(folder.path() / "a", "new"), ELOOP);
    EXPECT_TRUE(fs::is_symlink(folder.path() / "a") && fs::is_symlink(folder.path() / "b"));
    EXPECT_EQ(entries(folder.path()), 2U);
    put(folder.path() / "file", "old");
    EXPECT_EQ(errorOf(folder.path() / "file" / "inside", "new"), ENOTDIR);
}

TEST(AtomicFile, ALinkToNothingMakesTheFileItNames) {
    const TempFolder folder;
    fs::create_symlink("later", folder.path() / "link");
    EXPECT_EQ(errorOf(folder.path() / "link", "new"), 0);
    EXPECT_EQ(get(folder.path() / "later"), "new");
}

TEST(AtomicFile, ANameWithoutAFolderIsWrittenWhereTheProcessStands) {
    const TempFolder folder;
    const auto before = fs::current_path();
    fs::current_path(folder.path());
    EXPECT_EQ(errorOf("plain", "new"), 0);
    fs::current_path(before);
    EXPECT_EQ(get(folder.path() / "plain"), "new");
}

TEST(AtomicFile, ALongNameLeavesRoomForTheTemporary) {
    const TempFolder folder;
    const auto target = folder.path() / std::string(255, 'n');
    EXPECT_EQ(errorOf(target, "new"), 0);
    EXPECT_EQ(get(target), "new");
}

TEST(AtomicFile, AFolderIsNoTarget) {
    const TempFolder folder;
    EXPECT_EQ(errorOf(folder.path(), "x"), EISDIR);
    EXPECT_EQ(errorOf(folder.path() / "missing" / "out", "x"), ENOENT);
}

TEST(AtomicFile, AnUnwritableFolderIsAnErrorBeforeAnythingIsWritten) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms(0555));
    {
        const test::OrdinaryUser user;
        EXPECT_THROW(AtomicFile(folder.path() / "out"), FileError);
        EXPECT_EQ(errorOf(folder.path() / "out", "x"), EACCES);
    }
    EXPECT_EQ(entries(folder.path()), 0U);
}

TEST(AtomicFile, AReadOnlyFileIsNotReplaced) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms(0777));
    put(folder.path() / "out", "old");
    fs::permissions(folder.path() / "out", fs::perms(0444));
    {
        const test::OrdinaryUser user;
        EXPECT_EQ(errorOf(folder.path() / "out", "x"), EACCES);
    }
    EXPECT_EQ(get(folder.path() / "out"), "old");
    EXPECT_EQ(entries(folder.path()), 1U);
}

TEST(AtomicFile, ADeviceIsWrittenInPlace) {
    EXPECT_EQ(errorOf("/dev/null", "gone"), 0);
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_EQ(errorOf("/dev/full", "text"), ENOSPC);
}

TEST(AtomicFile, APipeIsWrittenThroughTheLinkThatNamesIt) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    EXPECT_EQ(errorOf("/proc/self/fd/" + std::to_string(ends[1]), "through"), 0);
    std::array<char, 16> got{};
    EXPECT_EQ(::read(ends[0], got.data(), got.size()), 7);
    EXPECT_STREQ(got.data(), "through");
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(AtomicFile, AFullDiskIsAnErrorThatLeavesNothingBehind) {
    const TempFolder folder;
    const auto disk = folder.path() / "disk";
    fs::create_directory(disk);
    if (::mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=256k") != 0) {
        GTEST_SKIP() << "no small disk can be mounted here";
    }
    put(disk / "out", "old");
    EXPECT_EQ(errorOf(disk / "out", std::string(4'000'000, 'x')), ENOSPC);
    EXPECT_EQ(errorOf(disk / "out", std::string(300'000, 'x')), ENOSPC);
    EXPECT_EQ(get(disk / "out"), "old");
    EXPECT_EQ(entries(disk), 1U);
    ::umount2(disk.c_str(), MNT_DETACH);
}

TEST(AtomicFile, AFileSizeLimitIsAnErrorThatLeavesNothingBehind) {
    const TempFolder folder;
    rlimit previous{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &previous), 0);
    auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{100'000, previous.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_EQ(errorOf(folder.path() / "out", std::string(2'000'000, 'x')), EFBIG);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &previous), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(entries(folder.path()), 0U);
}

} // namespace
} // namespace orvex
