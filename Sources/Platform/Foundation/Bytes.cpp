#include "Platform/Foundation/Bytes.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace orvex {

namespace {

template <class Buffer> std::shared_ptr<const Buffer> share(Buffer&& buffer) {
    return std::make_shared<const Buffer>(std::forward<Buffer>(buffer));
}

std::span<const std::uint8_t> asBytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// One line, whatever the path holds.
std::string printable(const std::filesystem::path& path) {
    std::string text = path.string();
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, '?');
    return text;
}

/// A growing buffer whose memory is written only by read(): a large file is never zeroed first.
class ReadBuffer {
public:
    explicit ReadBuffer(std::size_t capacity) { grow(capacity); }
    ReadBuffer(const ReadBuffer&) = delete;
    ReadBuffer& operator=(const ReadBuffer&) = delete;
    ~ReadBuffer() { std::free(memory_); }

    /// Reads what fits; 0 at the end, -1 with errno set.
    ssize_t readFrom(int descriptor) {
        if (size_ == capacity_) {
            grow(capacity_ * 2);
        }
        const ssize_t count = ::read(descriptor, memory_ + size_, capacity_ - size_);
        size_ += count > 0 ? static_cast<std::size_t>(count) : 0;
        return count;
    }

    Bytes take() {
        const std::span<const std::uint8_t> view(memory_, size_);
        return {std::shared_ptr<const void>(std::exchange(memory_, nullptr), [](void* memory) { std::free(memory); }),
                view};
    }

private:
    void grow(std::size_t capacity) {
        void* memory = std::realloc(memory_, capacity);
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        memory_ = static_cast<std::uint8_t*>(memory);
        capacity_ = capacity;
    }

    std::uint8_t* memory_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

struct OpenFile {
    explicit OpenFile(const std::filesystem::path& path) : descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }
    int descriptor;
};

/// The size of a regular file and one byte more, so that its end shows without growing; a guess for anything else.
std::size_t firstCapacity(int descriptor) {
    constexpr std::size_t guess = 64 * 1024;
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size <= 0) {
        return guess;
    }
    return static_cast<std::size_t>(status.st_size) + 1;
}

/// 0, or the errno value that ended the reading.
int readAll(int descriptor, Bytes& bytes) {
    ReadBuffer buffer(firstCapacity(descriptor));
    for (;;) {
        const ssize_t count = buffer.readFrom(descriptor);
        if (count == 0) {
            bytes = buffer.take();
            return 0;
        }
        if (count < 0 && errno != EINTR) {
            return errno;
        }
    }
}

} // namespace

Bytes::Bytes(std::vector<std::uint8_t>&& buffer) {
    const auto kept = share(std::move(buffer));
    view_ = *kept;
    owner_ = kept;
}

Bytes::Bytes(std::string&& buffer) {
    const auto kept = share(std::move(buffer));
    view_ = asBytes(*kept);
    owner_ = kept;
}

Bytes::Bytes(std::shared_ptr<const void> owner, std::span<const std::uint8_t> view)
    : owner_(std::move(owner)), view_(view) {}

Bytes Bytes::copyOf(std::string_view text) {
    return Bytes(std::string(text));
}

Bytes Bytes::copyOf(std::span<const std::uint8_t> bytes) {
    return Bytes(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
}

std::string_view Bytes::text() const {
    return {reinterpret_cast<const char*>(view_.data()), view_.size()};
}

Bytes Bytes::slice(std::size_t offset, std::size_t length) const {
    const std::size_t start = std::min(offset, size());
    return {owner_, view_.subspan(start, std::min(length, size() - start))};
}

bool operator==(const Bytes& a, const Bytes& b) {
    return a.text() == b.text();
}

FileError::FileError(std::filesystem::path path, int systemError, const std::string& doing)
    : std::runtime_error("cannot " + doing + " " + printable(path) + ": " +
                         std::generic_category().message(systemError)),
      path_(std::move(path)), systemError_(systemError) {}

Bytes readFile(const std::filesystem::path& path) {
    const OpenFile file(path);
    if (file.descriptor < 0) {
        throw FileError(path, errno, "read");
    }
    Bytes bytes;
    int error = 0;
    try {
        error = readAll(file.descriptor, bytes);
    } catch (const std::bad_alloc&) {
        error = ENOMEM;
    }
    if (error != 0) {
        throw FileError(path, error, "read");
    }
    return bytes;
}

} // namespace orvex
