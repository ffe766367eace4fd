#include "Memory/FailingMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>
#include <string_view>

#include <dlfcn.h> // dladdr and backtrace are glibc's
#include <execinfo.h>

namespace {

thread_local bool isCounting = false;
thread_local long allocations = 0;
thread_local long chosen = 0;
thread_local bool staysOut = false; ///< whether all fail from the chosen one on

/// qpdf allocates in the destructor of files, which no exception may leave: a failure there ends the process, whatever
/// a caller does.
bool isOutOfReach() {
    std::array<void*, 64> frames{};
    const int count = ::backtrace(frames.data(), static_cast<int>(frames.size()));
    return std::any_of(frames.begin(), frames.begin() + count, [](void* frame) {
        Dl_info place{};
        const bool isKnown = ::dladdr(frame, &place) != 0 && place.dli_sname != nullptr;
        const std::string_view name = isKnown ? place.dli_sname : "";
        return name.starts_with("_ZN4QPDFD");
    });
}

bool isToFail() {
    if (!isCounting) {
        return false;
    }
    ++allocations;
    if (allocations != chosen && !(staysOut && allocations > chosen)) {
        return false;
    }
    isCounting = false; // backtrace() allocates
    const bool fails = !isOutOfReach();
    isCounting = true;
    return fails;
}

void* allocate(std::size_t size, std::size_t alignment) {
    if (isToFail()) {
        return nullptr;
    }
    const std::size_t whole = (size + alignment - 1) / alignment * alignment;
    return alignment <= alignof(std::max_align_t) ? std::malloc(size == 0 ? 1 : size)
                                                  : std::aligned_alloc(alignment, whole == 0 ? alignment : whole);
}

void* orThrow(void* memory) {
    return memory != nullptr ? memory : throw std::bad_alloc();
}

} // namespace

namespace orvex::test {

void failAllocation(long number) {
    allocations = 0;
    chosen = number;
    staysOut = false;
    isCounting = true;
}

void failAllocationsFrom(long number) {
    failAllocation(number);
    staysOut = true;
}

long stopFailing() {
    isCounting = false;
    return allocations;
}

namespace {

TEST(FailingMemory, FailsOnceAndAtTheRightPlace) {
    failAllocation(3);
    int* first = nullptr;
    int* second = nullptr;
    bool failed = false;
    try {
        first = new int(1);
        second = new int(2);
        delete new int(3);
    } catch (const std::bad_alloc&) {
        failed = true;
    }
    delete new int(4);
    EXPECT_EQ(stopFailing(), 4);
    EXPECT_TRUE(failed && first != nullptr && second != nullptr);
    delete first;
    delete second;
}

TEST(FailingMemory, StaysOut) {
    failAllocationsFrom(2);
    int failures = 0;
    for (int i = 0; i < 3; ++i) {
        delete new (std::nothrow) int(i);
        try {
            delete new int(i);
        } catch (const std::bad_alloc&) {
            ++failures;
        }
    }
    EXPECT_EQ(stopFailing(), 6);
    EXPECT_EQ(failures, 3);
}

} // namespace

} // namespace orvex::test

/// For the leak sanitizer, in this program only: qpdf loses some of its objects when memory runs out.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libqpdf.so\n";
}

void* operator new(std::size_t size) {
    return orThrow(allocate(size, 1));
}
void* operator new[](std::size_t size) {
    return orThrow(allocate(size, 1));
}
void* operator new(std::size_t size, const std::nothrow_t& /*none*/) noexcept {
    return allocate(size, 1);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*none*/) noexcept {
    return allocate(size, 1);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return orThrow(allocate(size, static_cast<std::size_t>(alignment)));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return orThrow(allocate(size, static_cast<std::size_t>(alignment)));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t& /*none*/) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t& /*none*/) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}
