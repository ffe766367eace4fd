#include "Input.h"

#include "Failure.h"
#include "Interrupt.h"
#include "MappedFile.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace orvex::tool {

namespace {

/// Returns when there is something to read, or when nothing will come any more.
void waitFor(int descriptor) {
    constexpr int patience = 200; // milliseconds: an interrupt just before the call does not end it
    pollfd wanted{descriptor, POLLIN, 0};
    for (;;) {
        throwIfInterrupted();
        const int ready = ::poll(&wanted, 1, patience);
        if (ready > 0 || (ready < 0 && errno != EINTR)) {
            return;
        }
    }
}

[[noreturn]] void cannotRead(const std::string& path, int error) {
    throw Failure(ExitCode::inputUnreadable, FileError(displayName(path), error, "read").what());
}

Bytes readStream(int descriptor, const std::string& path) {
    constexpr std::size_t step = std::size_t{1} << 20;
    std::vector<std::uint8_t> buffer;
    for (std::size_t size = 0;;) {
        buffer.resize(size + step);
        waitFor(descriptor);
        const auto count = ::read(descriptor, buffer.data() + size, step);
        if (count < 0 && errno != EINTR && errno != EAGAIN) {
            cannotRead(path, errno);
        }
        size += count > 0 ? static_cast<std::size_t>(count) : 0;
        if (count == 0) {
            buffer.resize(size);
            return Bytes(std::move(buffer));
        }
    }
}

/// Opening does not wait for the other side, as an interrupt could not end that.
Bytes readStream(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        cannotRead(path, errno);
    }
    const std::shared_ptr<const void> closing(nullptr, [descriptor](const void*) { ::close(descriptor); });
    return readStream(descriptor, path);
}

} // namespace

bool isStream(const std::string& path) {
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    return path == "-" || (exists(status) && !is_regular_file(status) && !is_directory(status));
}

Bytes readInput(const std::string& path) {
    if (isStream(path)) {
        return path == "-" ? readStream(STDIN_FILENO, path) : readStream(path);
    }
    if (auto bytes = mapFile(path)) {
        return std::move(*bytes);
    }
    try {
        return readFile(path);
    } catch (const FileError& error) {
        throw Failure(ExitCode::inputUnreadable, error.what());
    }
}

void checkStandardInput(const std::vector<std::string>& inputs) {
    if (std::ranges::count(inputs, "-") > 1) {
        throw Failure(ExitCode::usage, "standard input (-) can be read only once");
    }
}

std::string displayName(const std::string& path) {
    return path == "-" ? "standard input" : path;
}

} // namespace orvex::tool
