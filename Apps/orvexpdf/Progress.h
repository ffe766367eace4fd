// A progress bar for long work that somebody is watching.
#pragma once

#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>

namespace orvex::tool {

/// Shows on a terminal, once the work has taken a second, how much of it is done. Threads: advance() from any.
class Progress {
public:
    Progress(std::string what, std::size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    void advance();

private:
    using Clock = std::chrono::steady_clock;
    [[nodiscard]] std::string bar() const;
    std::mutex mutex_;
    std::string what_;
    std::size_t total_;
    std::size_t done_ = 0;
    bool wanted_;
    Clock::time_point next_; ///< when to draw again
};

} // namespace orvex::tool
