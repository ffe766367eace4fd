// The log: seven levels, a source-file and a function label on every line, a sink that the host chooses.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace orvex {

enum class LogLevel { trace, debug, info, notice, warning, error, critical, off };

[[nodiscard]] std::string_view name(LogLevel level);

struct LogRecord {
    LogLevel level = LogLevel::info;
    std::string_view module;   ///< the logger's name
    std::string_view file;     ///< source file label, without extension
    std::string_view function; ///< function label, for example "setDocumentBytes(_:)"
    std::string_view message;
};

using LogSink = std::function<void(const LogRecord&)>;

/// Replaces the process-wide sink (an empty one restores the default: one line on standard error). The sink may be
/// called from any thread, one call at a time; it must not log itself.
void setLogSink(LogSink sink);

/// One module's logger. Threads: all members may be called from anywhere.
class Logger {
public:
    explicit Logger(std::string module) : module_(std::move(module)) {}
    [[nodiscard]] LogLevel level() const { return level_.load(std::memory_order_relaxed); }
    /// Lines below `level` are dropped without being built. Initially warning.
    void setLevel(LogLevel level) { level_.store(level, std::memory_order_relaxed); }
    [[nodiscard]] bool isEnabled(LogLevel level) const { return level >= this->level() && level < LogLevel::off; }

    /// `message` is called, and its string written, only when `level` is on.
    template <class Message>
    void log(LogLevel level, std::string_view file, std::string_view function, Message&& message) const {
        if (isEnabled(level)) {
            write(level, file, function, std::forward<Message>(message)());
        }
    }

private:
    void write(LogLevel level, std::string_view file, std::string_view function, const std::string& message) const;
    std::string module_;
    std::atomic<LogLevel> level_{LogLevel::warning};
};

/// Ends the process by design: writes `message` at critical level and to standard error, then aborts.
[[noreturn]] void fatalError(std::string_view message);

/// Integer arithmetic that is fatal on overflow; `what` names the quantity in the message.
[[nodiscard]] long long addOrDie(long long a, long long b, std::string_view what);
[[nodiscard]] long long multiplyOrDie(long long a, long long b, std::string_view what);
/// Truncation toward zero, fatal when the value is not finite or does not fit.
[[nodiscard]] long long truncateOrDie(double value, std::string_view what);

} // namespace orvex
