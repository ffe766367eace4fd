#include "Progress.h"

#include "Messages.h"

#include <algorithm>

namespace orvex::tool {

using namespace std::chrono_literals;

Progress::Progress(std::string what, std::size_t total)
    : what_(std::move(what)), total_(std::max<std::size_t>(total, 1)), wanted_(canShowStatus()),
      next_(Clock::now() + 1s) {}

Progress::~Progress() {
    if (wanted_) {
        showStatus({});
    }
}

void Progress::advance() {
    const std::lock_guard lock(mutex_);
    ++done_;
    if (wanted_ && Clock::now() >= next_) {
        next_ = Clock::now() + 100ms;
        showStatus(bar());
    }
}

std::string Progress::bar() const {
    constexpr std::size_t width = 30;
    const auto filled = std::min(width, width * done_ / total_);
    return what_ + " [" + std::string(filled, '#') + std::string(width - filled, '.') + "] " + std::to_string(done_) +
           "/" + std::to_string(total_);
}

} // namespace orvex::tool
