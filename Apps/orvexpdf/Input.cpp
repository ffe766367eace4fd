#include "Input.h"

#include "Failure.h"
#include "Interrupt.h"
#include "MappedFile.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

#include <unistd.h>

namespace orvex::tool {

namespace {

Bytes readStandardInput() {
    constexpr std::size_t step = std::size_t{1} << 20;
    std::vector<std::uint8_t> buffer;
    for (std::size_t size = 0;;) {
        throwIfInterrupted();
        buffer.resize(size + step);
        const auto count = ::read(STDIN_FILENO, buffer.data() + size, step);
        if (count < 0 && errno != EINTR) {
            throw Failure(ExitCode::inputUnreadable,
                          "cannot read standard input: " + std::generic_category().message(errno));
        }
        size += count > 0 ? static_cast<std::size_t>(count) : 0;
        if (count == 0) {
            buffer.resize(size);
            return Bytes(std::move(buffer));
        }
    }
}

} // namespace

Bytes readInput(const std::string& path) {
    if (path == "-") {
        return readStandardInput();
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
