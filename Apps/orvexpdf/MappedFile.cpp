#include "MappedFile.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvex::tool {

namespace {

/// Below this, reading is as quick.
constexpr off_t smallest = 64 * 1024;

/// Where the first missing part was looked for.
std::atomic<std::uintptr_t> cutAt = 0;
static_assert(std::atomic<std::uintptr_t>::is_always_lock_free, "a signal handler sets it");

struct Mapping {
    std::uintptr_t start;
    std::size_t size;
    std::string path;
    [[nodiscard]] bool holds(std::uintptr_t address) const { return address >= start && address - start < size; }
};

/// The files that are mapped; of those that are no more, the one that was cut.
struct Mappings {
    std::mutex mutex;
    std::vector<Mapping> list;
};

/// Never destroyed: the last files are let go when the process ends.
Mappings& mappings() {
    static auto& shared = *new Mappings;
    return shared;
}

/// Puts a page of zeros where the file has none. Only system calls: this runs as a signal handler.
extern "C" void replaceMissingPage(int signal, siginfo_t* info, void* /*context*/) {
    static const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
    auto* page = reinterpret_cast<void*>(address - address % pageSize);
    std::uintptr_t none = 0;
    cutAt.compare_exchange_strong(none, address);
    const bool isMissing = info->si_code == BUS_ADRERR;
    if (!isMissing || ::mmap(page, pageSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != page) {
        std::signal(signal, SIG_DFL); // not ours to mend: the next try ends the process
    }
}

void unmap(void* memory, std::size_t size) {
    const auto start = reinterpret_cast<std::uintptr_t>(memory);
    {
        const std::lock_guard lock(mappings().mutex);
        std::erase_if(mappings().list, [start](const Mapping& one) { return one.start == start && !one.holds(cutAt); });
    }
    ::munmap(memory, size);
}

Bytes mapped(void* memory, std::size_t size, const std::string& path) {
    const std::shared_ptr<const void> owner(memory, [size](void* start) { unmap(start, size); });
    const std::lock_guard lock(mappings().mutex);
    mappings().list.push_back({reinterpret_cast<std::uintptr_t>(memory), size, path});
    return {owner, {static_cast<const std::uint8_t*>(memory), size}};
}

std::optional<Bytes> map(int descriptor, const std::string& path) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size < smallest) {
        return std::nullopt;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    void* memory = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptor, 0);
    return memory == MAP_FAILED ? std::nullopt : std::optional(mapped(memory, size, path));
}

} // namespace

std::optional<Bytes> mapFile(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return std::nullopt;
    }
    auto bytes = map(descriptor, path);
    ::close(descriptor);
    return bytes;
}

void surviveCutFiles() {
    struct sigaction action {};
    action.sa_sigaction = replaceMissingPage;
    action.sa_flags = SA_SIGINFO;
    ::sigaction(SIGBUS, &action, nullptr);
}

std::optional<std::string> cutFile() {
    if (cutAt == 0) {
        return std::nullopt;
    }
    const std::lock_guard lock(mappings().mutex);
    const auto cut = std::ranges::find_if(mappings().list, [](const Mapping& one) { return one.holds(cutAt); });
    return cut == mappings().list.end() ? "an input" : cut->path;
}

} // namespace orvex::tool
