// Catches what is logged while it lives, from every logger; the default sink comes back afterwards.
#pragma once

#include "Platform/Foundation/Log.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

namespace orvex::test {

struct RecordedLine {
    LogLevel level;
    std::string module;
    std::string file;
    std::string function;
    std::string message;
};

class LogRecorder {
public:
    /// Records lines of `logger` from `level` on; the logger's own level comes back afterwards.
    explicit LogRecorder(Logger& logger, LogLevel level = LogLevel::trace)
        : logger_(logger), previous_(logger.level()) {
        logger_.setLevel(level);
        setLogSink([this](const LogRecord& record) {
            const std::lock_guard lock(mutex_);
            lines_.push_back({record.level, std::string(record.module), std::string(record.file),
                              std::string(record.function), std::string(record.message)});
        });
    }
    ~LogRecorder() {
        setLogSink({});
        logger_.setLevel(previous_);
    }
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;

    [[nodiscard]] std::vector<RecordedLine> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }
    [[nodiscard]] std::vector<RecordedLine> lines(LogLevel level) const {
        auto found = lines();
        std::erase_if(found, [level](const RecordedLine& line) { return line.level != level; });
        return found;
    }
    /// "file function level: message" each.
    [[nodiscard]] std::vector<std::string> texts() const {
        std::vector<std::string> texts;
        for (const RecordedLine& line : lines()) {
            texts.push_back(line.file + " " + line.function + " " + std::string(name(line.level)) + ": " +
                            line.message);
        }
        return texts;
    }
    void clear() {
        const std::lock_guard lock(mutex_);
        lines_.clear();
    }

private:
    Logger& logger_;
    LogLevel previous_;
    mutable std::mutex mutex_;
    std::vector<RecordedLine> lines_;
};

} // namespace orvex::test
