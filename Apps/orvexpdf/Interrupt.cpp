#include "Interrupt.h"

#include "Failure.h"
#include "MappedFile.h"

#include <csignal>
#include <cstdlib>

namespace orvex::tool {

namespace {

volatile std::sig_atomic_t noticed = 0;

extern "C" void notice(int signal) {
    noticed = signal;
}

} // namespace

void watchInterrupts() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(signal, notice);
    }
    surviveCutFiles();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void throwIfInterrupted() {
    if (isMappedFileCut()) {
        throw Failure(ExitCode::inputUnreadable, "an input was cut short while it was being read");
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
