#include "MappedFile.h"

#include <csignal>
#include <cstdint>
#include <memory>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvex::tool {

namespace {

/// Below this, reading is as quick.
constexpr off_t smallest = 64 * 1024;

volatile std::sig_atomic_t cut = 0;

/// Puts a page of zeros where the file has none. Only system calls: this runs as a signal handler.
extern "C" void replaceMissingPage(int signal, siginfo_t* info, void* /*context*/) {
    static const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
    auto* page = reinterpret_cast<void*>(address - address % pageSize);
    cut = 1;
    const bool isMissing = info->si_code == BUS_ADRERR;
    if (!isMissing || ::mmap(page, pageSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != page) {
        std::signal(signal, SIG_DFL); // not ours to mend: the next try ends the process
    }
}

Bytes mapped(void* memory, std::size_t size) {
    const std::shared_ptr<const void> owner(memory, [size](void* start) { ::munmap(start, size); });
    return {owner, {static_cast<const std::uint8_t*>(memory), size}};
}

std::optional<Bytes> map(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size < smallest) {
        return std::nullopt;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    void* memory = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptor, 0);
    return memory == MAP_FAILED ? std::nullopt : std::optional(mapped(memory, size));
}

} // namespace

std::optional<Bytes> mapFile(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return std::nullopt;
    }
    auto bytes = map(descriptor);
    ::close(descriptor);
    return bytes;
}

void surviveCutFiles() {
    struct sigaction action {};
    action.sa_sigaction = replaceMissingPage;
    action.sa_flags = SA_SIGINFO;
    ::sigaction(SIGBUS, &action, nullptr);
}

bool isMappedFileCut() {
    return cut != 0;
}

} // namespace orvex::tool
