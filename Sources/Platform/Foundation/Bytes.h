// Shared, immutable bytes: the one currency for files, images and streams. Copying a Bytes never copies what it holds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orvex {

class Bytes {
public:
    Bytes() = default;
    /// Takes the buffer over; nothing is copied.
    explicit Bytes(std::vector<std::uint8_t>&& buffer);
    explicit Bytes(std::string&& buffer);
    /// Borrows `view`; `owner` keeps it alive (a null owner: the caller does, for longer than any copy lives).
    Bytes(std::shared_ptr<const void> owner, std::span<const std::uint8_t> view);

    static Bytes copyOf(std::string_view text);
    static Bytes copyOf(std::span<const std::uint8_t> bytes);

    [[nodiscard]] const std::uint8_t* data() const { return view_.data(); }
    [[nodiscard]] std::size_t size() const { return view_.size(); }
    [[nodiscard]] bool empty() const { return view_.empty(); }
    [[nodiscard]] std::span<const std::uint8_t> span() const { return view_; }
    [[nodiscard]] std::string_view text() const;
    /// A part that shares this buffer; the range is clamped to it.
    [[nodiscard]] Bytes slice(std::size_t offset, std::size_t length) const;
    friend bool operator==(const Bytes& a, const Bytes& b); ///< same contents

private:
    std::shared_ptr<const void> owner_;
    std::span<const std::uint8_t> view_;
};

/// What went wrong with a file: `what()` is one line that names the path and the system's reason.
class FileError : public std::runtime_error {
public:
    FileError(std::filesystem::path path, int systemError, const std::string& doing);
    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] int systemError() const { return systemError_; } ///< an errno value

private:
    std::filesystem::path path_;
    int systemError_;
};

/// Where bytes go when something is serialised; called in order, from one thread. Throws to stop the writer.
class ByteSink {
public:
    ByteSink() = default;
    ByteSink(const ByteSink&) = delete;
    ByteSink& operator=(const ByteSink&) = delete;
    virtual ~ByteSink() = default;
    virtual void write(std::span<const std::uint8_t> bytes) = 0;
};

/// Keeps what is written, in memory.
class ByteCollector final : public ByteSink {
public:
    void write(std::span<const std::uint8_t> bytes) override {
        buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
    }
    /// What was collected; the collector is empty again.
    [[nodiscard]] Bytes take() { return Bytes(std::move(buffer_)); }

private:
    std::vector<std::uint8_t> buffer_;
};

/// Reads a whole file (or pipe) into memory. Throws FileError.
Bytes readFile(const std::filesystem::path& path);

/// A file written beside its target and moved over it by commit(): until then, and if commit() is never reached, the
/// target is untouched and the temporary is removed. Keeps the permission bits of a file it replaces; a link stays and
/// the file that it leads to is replaced. A target that is a device or a pipe is written in place. Throws FileError,
/// for a folder that cannot be written already when it is made; after that nothing more can be written.
class AtomicFile final : public ByteSink {
public:
    explicit AtomicFile(std::filesystem::path target);
    ~AtomicFile() override;
    /// Writes are collected: an error may show at a later write or at commit().
    void write(std::span<const std::uint8_t> bytes) override;
    /// Flushes, syncs file and folder, renames. Ends the writing.
    void commit();

private:
    void openInPlace();
    void openTemporary(const std::filesystem::path& destination);
    void flush();
    void put(std::span<const std::uint8_t> bytes);
    void check(int systemError);
    [[noreturn]] void fail(int systemError);
    void discard() noexcept;

    std::filesystem::path target_;      ///< as the caller named it
    std::filesystem::path destination_; ///< with links followed
    std::filesystem::path temporary_;   ///< empty when there is nothing to remove
    int descriptor_ = -1;
    std::size_t unsynced_ = 0; ///< written since the disk was last set going
    std::vector<std::uint8_t> buffer_;
};

} // namespace orvex
