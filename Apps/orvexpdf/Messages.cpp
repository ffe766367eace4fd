#include "Messages.h"

#include "OrvexPDF/Alias.h"

#include <algorithm>
#include <mutex>

#include <unistd.h>

namespace orvex::tool {

namespace {

struct State {
    std::mutex mutex;
    bool quiet = false;
    bool statusHidden = false;
    bool statusShown = false;
};

State& state() {
    static State shared;
    return shared;
}

/// How many on this thread want it: what others come upon meanwhile is told.
thread_local int droppingWarnings = 0;

/// Errors on standard error have nowhere to be reported.
void show(const std::string& text) {
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, text.data(), text.size());
}

void putLine(const std::string& text) {
    const std::lock_guard lock(state().mutex);
    // Back to the start of the line and clear it: the status line makes way.
    show((state().statusShown ? "\r\033[K" : "") + oneLine(text) + "\n");
    state().statusShown = false;
}

void logLine(const LogRecord& record) {
    if (record.level == LogLevel::warning && droppingWarnings > 0) {
        return;
    }
    const std::string level(name(record.level));
    const std::string text(record.message);
    // Whoever asked for more than warnings wants to know where a line comes from.
    putLine(record.level >= LogLevel::warning
                ? "orvexpdf: " + level + ": " + text
                : level + " " + std::string(record.file) + " " + std::string(record.function) + ": " + text);
}

} // namespace

void configureMessages(LogLevel level, bool quiet) {
    state().quiet = quiet;
    moduleLogger().setLevel(level);
    setLogSink(logLine);
}

void report(const std::string& text) {
    if (!state().quiet) {
        putLine("orvexpdf: " + text);
    }
}

void warn(const std::string& text) {
    if (moduleLogger().isEnabled(LogLevel::warning)) {
        putLine("orvexpdf: warning: " + text);
    }
}

void reportError(const std::string& text) {
    putLine("orvexpdf: " + text);
}

bool canShowStatus() {
    return !state().quiet && !state().statusHidden && ::isatty(STDERR_FILENO) == 1;
}

void hideStatus() {
    state().statusHidden = true;
}

void showStatus(const std::string& text) {
    const std::lock_guard lock(state().mutex);
    if (state().statusShown || !text.empty()) {
        show("\r\033[K" + text);
    }
    state().statusShown = !text.empty();
}

std::string oneLine(std::string_view text) {
    std::string line(text);
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; };
    std::replace_if(line.begin(), line.end(), isControl, ' ');
    return line;
}

WarningsDropped::WarningsDropped() {
    ++droppingWarnings;
}

WarningsDropped::~WarningsDropped() {
    --droppingWarnings;
}

} // namespace orvex::tool
