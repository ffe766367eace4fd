#include "Interrupt.h"

#include "MappedFile.h"

#include <csignal>
#include <cstdlib>

namespace orvex::tool {

namespace {

volatile std::sig_atomic_t noticed = 0;

extern "C" void notice(int signal) {
    noticed = signal;
}

/// What the caller wants ignored, as nohup does, stays ignored. Calls that wait are not taken up again after a signal.
void watch(int signal) {
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) {
        return;
    }
    action = {};
    action.sa_handler = notice;
    ::sigaction(signal, &action, nullptr);
}

} // namespace

void watchInterrupts() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        watch(signal);
    }
    surviveCutFiles();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void throwIfInterrupted() {
    if (const auto path = cutFile()) {
        throw InputCut(ExitCode::inputUnreadable, *path + ": cut short while it was being read");
    }
    if (const int signal = noticed; signal != 0) {
        throw Interrupted(signal);
    }
}

void dieOf(const Interrupted& interrupt) {
    std::signal(interrupt.signal(), SIG_DFL);
    std::raise(interrupt.signal());
    std::_Exit(static_cast<int>(ExitCode::other));
}

} // namespace orvex::tool
