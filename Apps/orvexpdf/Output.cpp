#include "Output.h"

#include "Failure.h"
#include "Interrupt.h"
#include "Messages.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace orvex::tool {

namespace {

int resultDescriptor = -1;

/// The real standard output, written in large pieces.
class StandardOutput final : public ByteSink {
public:
    void write(std::span<const std::uint8_t> bytes) override {
        buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
        if (constexpr std::size_t enough = 256 * 1024; buffer_.size() >= enough) {
            flush();
        }
    }

    void flush() {
        for (std::size_t offset = 0; offset < buffer_.size();) {
            throwIfInterrupted();
            const auto count = ::write(resultDescriptor, buffer_.data() + offset, buffer_.size() - offset);
            if (count < 0 && errno != EINTR) {
                throw Failure(ExitCode::outputFailed,
                              "cannot write standard output: " + std::generic_category().message(errno));
            }
            offset += count > 0 ? static_cast<std::size_t>(count) : 0;
        }
        buffer_.clear();
    }

private:
    std::vector<std::uint8_t> buffer_;
};

/// Passes bytes on until an interrupt is noticed.
class InterruptibleSink final : public ByteSink {
public:
    explicit InterruptibleSink(ByteSink& target) : target_(target) {}
    void write(std::span<const std::uint8_t> bytes) override {
        throwIfInterrupted();
        target_.write(bytes);
    }

private:
    ByteSink& target_;
};

/// The system's names for standard output lead to where libraries print.
bool isStandardOutput(const std::string& path) {
    constexpr std::array<std::string_view, 4> names = {"-", "/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"};
    return std::ranges::find(names, path) != names.end();
}

bool isSameFile(const std::string& one, const std::string& other) {
    std::error_code ignored;
    return one != "-" && std::filesystem::equivalent(one, other, ignored);
}

[[noreturn]] void failToWrite(const std::filesystem::path& path, int error) {
    throw Failure(ExitCode::outputFailed, FileError(path, error, "write").what());
}

void checkTarget(const std::filesystem::path& path) {
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) {
        failToWrite(path, EISDIR);
    }
    const auto folder = path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
    if (!std::filesystem::exists(path, ignored) && ::access(folder.c_str(), W_OK | X_OK) != 0) {
        failToWrite(path, errno);
    }
}

void checkTerminal(ResultKind kind) {
    if (::isatty(resultDescriptor) != 1) {
        return;
    }
    if (kind == ResultKind::bytes) {
        throw Failure(ExitCode::usage, "such a result is not for a terminal: redirect standard output or name a file");
    }
    hideStatus();
}

} // namespace

void reserveStandardOutput() {
    const bool isOpen = ::fcntl(STDOUT_FILENO, F_GETFD) != -1;
    int descriptor = 0;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = ::open("/dev/null", O_RDWR | O_CLOEXEC); // fills holes that a caller left
    }
    ::close(descriptor);
    resultDescriptor = isOpen ? ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1) : -1;
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
}

void printResult(std::string_view text) {
    throwIfInterrupted();
    showStatus({}); // both may go to one terminal
    StandardOutput output;
    output.write({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    output.flush();
}

void checkOutput(const std::string& path, const std::vector<std::string>& inputs, ResultKind kind) {
    if (isStandardOutput(path)) {
        checkTerminal(kind);
        return;
    }
    for (const auto& input : inputs) {
        if (isSameFile(input, path)) {
            throw Failure(ExitCode::usage, path + " is an input: it would be overwritten");
        }
    }
    checkTarget(path);
}

std::string outputName(const std::string& path) {
    return isStandardOutput(path) ? "standard output" : path;
}

void writeOutput(const std::string& path, const std::function<void(ByteSink&)>& produce) {
    if (isStandardOutput(path)) {
        StandardOutput output;
        produce(output);
        output.flush();
        return;
    }
    try {
        AtomicFile file(path);
        InterruptibleSink sink(file);
        produce(sink);
        throwIfInterrupted();
        file.commit();
    } catch (const FileError& error) {
        throw Failure(ExitCode::outputFailed, error.what());
    }
}

} // namespace orvex::tool
