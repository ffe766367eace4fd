#include "Platform/Foundation/Bytes.h"
#include "Platform/Foundation/Strings.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace orvex {

namespace {

constexpr std::size_t bufferLimit = 128 * 1024;

/// Where links lead to: the file is replaced, not the link. A link to nothing names the file to be made.
std::filesystem::path followLinks(std::filesystem::path path) {
    constexpr int longestChain = 40;
    std::error_code ignored;
    for (int i = 0; i < longestChain && std::filesystem::is_symlink(path, ignored); ++i) {
        const auto next = std::filesystem::read_symlink(path, ignored);
        path = next.is_absolute() ? next : path.parent_path() / next;
    }
    return path;
}

std::filesystem::path folderOf(const std::filesystem::path& file) {
    return file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
}

/// A name beside the target that fits where the target's own name fits.
std::filesystem::path temporaryFor(const std::filesystem::path& target) {
    constexpr std::size_t keptOfName = 120;
    return folderOf(target) / ("." + target.filename().string().substr(0, keptOfName) + "." + makeUUID());
}

std::optional<struct stat> statusOf(const std::filesystem::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return status;
}

/// Owner and permission bits of the file that is replaced; the owner where the system lets us, the bits where the file
/// system knows of them.
int copyOwnership(int descriptor, const struct stat& from) {
    constexpr mode_t permissions = 07777;
    [[maybe_unused]] const int best = ::fchown(descriptor, from.st_uid, from.st_gid);
    return ::fchmod(descriptor, from.st_mode & permissions) == 0 || errno == EPERM || errno == ENOTSUP ? 0 : errno;
}

int writeAll(int descriptor, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        bytes = bytes.subspan(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return 0;
}

/// Pipes and devices cannot be synced; that is no failure.
int sync(int descriptor) {
    return ::fsync(descriptor) == 0 || errno == EINVAL || errno == EROFS ? 0 : errno;
}

/// The name is durable once its folder is. A folder that cannot be opened for reading is left to the system.
int syncFolder(const std::filesystem::path& folder) {
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        return 0;
    }
    const int error = sync(descriptor);
    ::close(descriptor);
    return error;
}

} // namespace

AtomicFile::AtomicFile(std::filesystem::path target) : target_(std::move(target)) {
    const auto existing = statusOf(target_);
    if (!existing && errno != ENOENT) { // links in a circle, say, which would be replaced
        fail(errno);
    }
    if (existing && S_ISDIR(existing->st_mode)) {
        fail(EISDIR);
    }
    if (existing && ::faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0) {
        fail(errno);
    }
    if (existing && !S_ISREG(existing->st_mode)) {
        openInPlace();
        return;
    }
    openTemporary(followLinks(target_));
    if (existing) {
        check(copyOwnership(descriptor_, *existing));
    }
}

AtomicFile::~AtomicFile() {
    discard();
}

void AtomicFile::openInPlace() {
    descriptor_ = ::open(target_.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor_ < 0) {
        fail(errno);
    }
}

void AtomicFile::openTemporary(const std::filesystem::path& destination) {
    constexpr mode_t readAndWrite = 0666; // less what the process's mask takes away
    auto temporary = temporaryFor(destination);
    destination_ = destination;
    descriptor_ = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, readAndWrite);
    if (descriptor_ < 0) {
        fail(errno);
    }
    temporary_ = std::move(temporary); // nothing fails between opening and this: nobody would remove the file
}

void AtomicFile::write(std::span<const std::uint8_t> bytes) {
    if (buffer_.size() + bytes.size() > bufferLimit) {
        flush();
    }
    if (bytes.size() < bufferLimit) {
        buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
        return;
    }
    put(bytes);
}

void AtomicFile::put(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t stretch = std::size_t{8} << 20;
    check(writeAll(descriptor_, bytes));
    unsynced_ += bytes.size();
    if (unsynced_ >= stretch) {
        // The disk starts now, so that commit() waits for the rest only. Best effort: what matters is the sync there.
        ::sync_file_range(descriptor_, 0, 0, SYNC_FILE_RANGE_WRITE);
        unsynced_ = 0;
    }
}

void AtomicFile::commit() {
    flush();
    check(sync(descriptor_));
    check(::close(std::exchange(descriptor_, -1)) == 0 ? 0 : errno);
    if (temporary_.empty()) {
        return;
    }
    check(::rename(temporary_.c_str(), destination_.c_str()) == 0 ? 0 : errno);
    temporary_.clear();
    check(syncFolder(folderOf(destination_)));
}

void AtomicFile::flush() {
    put(buffer_);
    buffer_.clear();
}

void AtomicFile::check(int systemError) {
    if (systemError != 0) {
        fail(systemError);
    }
}

void AtomicFile::fail(int systemError) {
    discard();
    throw FileError(target_, systemError, "write");
}

void AtomicFile::discard() noexcept {
    if (descriptor_ >= 0) {
        ::close(std::exchange(descriptor_, -1));
    }
    if (!temporary_.empty()) {
        ::unlink(temporary_.c_str());
        temporary_.clear();
    }
}

} // namespace orvex
