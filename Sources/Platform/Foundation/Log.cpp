#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Strings.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace orvex {

namespace {

struct SinkState {
    std::mutex mutex;
    LogSink sink; ///< empty: the default
};

/// Never destroyed: something may log while the process ends.
SinkState& sinkState() {
    static auto* state = new SinkState;
    return *state;
}

/// A sink that logs, or fails fatally, must not wait for itself.
thread_local bool insideSink = false;

void writeLine(std::string line) {
    for (char& c : line) {
        c = static_cast<unsigned char>(c) < 0x20 && c != '\t' ? ' ' : c;
    }
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void writeToStandardError(const LogRecord& record) {
    std::string line(record.module);
    line += ' ';
    line += name(record.level);
    line += ": ";
    line.append(record.file).append(" ").append(record.function).append(": ").append(record.message);
    writeLine(std::move(line));
}

/// Hands the record to the host's sink; false when there is none to take it.
bool giveToSink(const LogRecord& record) {
    auto& state = sinkState();
    const std::lock_guard lock(state.mutex);
    if (!state.sink) {
        return false;
    }
    insideSink = true;
    try {
        state.sink(record);
    } catch (...) { // NOLINT(bugprone-empty-catch): a broken sink must not end an edit half-way
    }
    insideSink = false;
    return true;
}

} // namespace

std::string_view name(LogLevel level) {
    static constexpr std::array<std::string_view, 8> names = {"trace",   "debug", "info",     "notice",
                                                              "warning", "error", "critical", "off"};
    return names.at(static_cast<std::size_t>(level));
}

void setLogSink(LogSink sink) {
    auto& state = sinkState();
    const std::lock_guard lock(state.mutex);
    state.sink = std::move(sink);
}

void Logger::write(LogLevel level, std::string_view file, std::string_view function, const std::string& message) const {
    const LogRecord record{level, module_, file, function, message};
    if (insideSink || !giveToSink(record)) {
        writeToStandardError(record);
    }
}

void fatalError(std::string_view message) {
    if (!insideSink) {
        giveToSink({LogLevel::critical, "Foundation", "Log", "fatalError(_:)", message});
    }
    writeLine("Fatal error: " + std::string(message));
    std::abort();
}

long long addOrDie(long long a, long long b, std::string_view what) {
    long long sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) {
        fatalError("integer overflow in " + std::string(what) + ": " + std::to_string(a) + " + " + std::to_string(b));
    }
    return sum;
}

long long multiplyOrDie(long long a, long long b, std::string_view what) {
    long long product = 0;
    if (__builtin_mul_overflow(a, b, &product)) {
        fatalError("integer overflow in " + std::string(what) + ": " + std::to_string(a) + " * " + std::to_string(b));
    }
    return product;
}

long long truncateOrDie(double value, std::string_view what) {
    constexpr double limit = 9223372036854775808.0; // 2^63, the first double that does not fit
    if (!(value >= -limit && value < limit)) {
        fatalError(std::string(what) + " does not fit an integer: " + describe(value));
    }
    return static_cast<long long>(value);
}

} // namespace orvex
