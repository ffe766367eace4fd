// Loaded before the C library (LD_PRELOAD): stands between a program and its files, and lets the chosen call fail or be
// the program's last. What it does is chosen by the environment:
//   FAULT_KIND  "kill", or what the call ends with: "ENOSPC", "EIO", "EACCES", "ENOENT", "EINTR", or "short" for half
//   FAULT_CALLS which calls count, as letters: o(pen to write) w(rite) s(ync) c(lose) m(ode and owner) r(ename)
//               i(nput opened) d(ata of an input read)
//   FAULT_AT    which of them, from 1; with a + behind it, that one and all later ones
//   FAULT_FILES part of the paths of the files that count; paths below the working folder always do when written
//   FAULT_TIME  seconds since 1970 that every clock of the calendar shows
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

template <class Function> Function* next(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

const char* setting(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

std::atomic<long> calls{0};

/// Whether this call is to go wrong.
bool isChosen(char letter) {
    if (std::strchr(setting("FAULT_CALLS"), letter) == nullptr) {
        return false;
    }
    char* rest = nullptr;
    const long chosen = std::strtol(setting("FAULT_AT"), &rest, 10);
    const long number = ++calls;
    return chosen > 0 && (number == chosen || (*rest == '+' && number > chosen));
}

bool is(const char* kind) {
    return std::strcmp(setting("FAULT_KIND"), kind) == 0;
}

[[noreturn]] void die() {
    ::kill(::getpid(), SIGKILL);
    for (;;) {
        ::pause();
    }
}

/// The chosen call fails with this.
int failure() {
    if (is("kill")) {
        die();
    }
    struct Error {
        const char* name;
        int number;
    };
    constexpr std::array errors{Error{"ENOSPC", ENOSPC}, Error{"EIO", EIO}, Error{"EACCES", EACCES},
                                Error{"ENOENT", ENOENT}, Error{"EINTR", EINTR}};
    for (const Error& error : errors) {
        errno = is(error.name) ? error.number : errno;
    }
    return -1;
}

bool isMeant(const char* path) {
    return std::strstr(path, setting("FAULT_FILES")) != nullptr;
}

bool isMeant(int descriptor) {
    std::array<char, 64> link{};
    std::array<char, 4096> path{};
    std::snprintf(link.data(), link.size(), "/proc/self/fd/%d", descriptor);
    const int before = errno;
    const bool yes = ::readlink(link.data(), path.data(), path.size() - 1) > 0 && isMeant(path.data());
    errno = before;
    return yes;
}

bool isWritten(int descriptor) {
    return (::fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_RDONLY && isMeant(descriptor);
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    const bool writes = (flags & O_ACCMODE) != O_RDONLY;
    if (writes ? (*path != '/' || isMeant(path)) && isChosen('o') : isMeant(path) && isChosen('i')) {
        return failure();
    }
    static auto* real = next<int(const char*, int, ...)>("open");
    return real(path, flags, mode);
}

ssize_t write(int descriptor, const void* bytes, size_t count) {
    static auto* real = next<ssize_t(int, const void*, size_t)>("write");
    if (isMeant(descriptor) && isChosen('w')) {
        if (is("short")) {
            return real(descriptor, bytes, (count + 1) / 2);
        }
        if (!is("EINTR")) {
            real(descriptor, bytes, count / 2); // a disk fills up, and a process dies, in the middle of things
        }
        return failure();
    }
    return real(descriptor, bytes, count);
}

ssize_t read(int descriptor, void* bytes, size_t count) {
    static auto* real = next<ssize_t(int, void*, size_t)>("read");
    return isMeant(descriptor) && isChosen('d') ? failure() : real(descriptor, bytes, count);
}

int fsync(int descriptor) {
    static auto* real = next<int(int)>("fsync");
    return isMeant(descriptor) && isChosen('s') ? failure() : real(descriptor);
}

int close(int descriptor) {
    static auto* real = next<int(int)>("close");
    if (isWritten(descriptor) && isChosen('c')) {
        real(descriptor);
        return failure();
    }
    return real(descriptor);
}

int fchmod(int descriptor, mode_t mode) {
    static auto* real = next<int(int, mode_t)>("fchmod");
    return isChosen('m') ? failure() : real(descriptor, mode);
}

int fchown(int descriptor, uid_t owner, gid_t group) {
    static auto* real = next<int(int, uid_t, gid_t)>("fchown");
    return isChosen('m') ? failure() : real(descriptor, owner, group);
}

int rename(const char* from, const char* to) {
    static auto* real = next<int(const char*, const char*)>("rename");
    return isChosen('r') ? failure() : real(from, to);
}

// The calendar

time_t time(time_t* where) noexcept {
    static auto* real = next<time_t(time_t*)>("time");
    const char* fixed = setting("FAULT_TIME");
    const time_t now = *fixed == '\0' ? real(nullptr) : static_cast<time_t>(std::strtoll(fixed, nullptr, 10));
    if (where != nullptr) {
        *where = now;
    }
    return now;
}

int clock_gettime(clockid_t clock, timespec* now) noexcept {
    static auto* real = next<int(clockid_t, timespec*)>("clock_gettime");
    const int result = real(clock, now);
    if (const char* fixed = setting("FAULT_TIME"); *fixed != '\0' && clock == CLOCK_REALTIME) {
        now->tv_sec = static_cast<time_t>(std::strtoll(fixed, nullptr, 10));
    }
    return result;
}

int gettimeofday(timeval* now, void* zone) noexcept {
    static auto* real = next<int(timeval*, void*)>("gettimeofday");
    const int result = real(now, zone);
    if (const char* fixed = setting("FAULT_TIME"); *fixed != '\0') {
        now->tv_sec = static_cast<time_t>(std::strtoll(fixed, nullptr, 10));
    }
    return result;
}

} // extern "C"
