#include "Workers.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace orvex::tool {

namespace {

class Shift {
public:
    Shift(std::size_t count, const std::function<void(std::size_t)>& work) : count_(count), work_(work) {}

    void run() {
        for (auto index = next_++; index < count_ && !failed_; index = next_++) {
            try {
                work_(index);
            } catch (...) {
                keep(index, std::current_exception());
            }
        }
    }

    void rethrow() const {
        if (failure_) {
            std::rethrow_exception(failure_);
        }
    }

private:
    void keep(std::size_t index, std::exception_ptr failure) {
        const std::lock_guard lock(mutex_);
        if (!failure_ || index < failedIndex_) {
            failure_ = std::move(failure);
            failedIndex_ = index;
        }
        failed_ = true;
    }

    std::size_t count_;
    const std::function<void(std::size_t)>& work_;
    std::atomic<std::size_t> next_{0};
    std::atomic<bool> failed_{false};
    std::mutex mutex_;
    std::exception_ptr failure_;
    std::size_t failedIndex_ = 0;
};

} // namespace

void forEachInParallel(std::size_t count, const std::function<void(std::size_t)>& work) {
    Shift shift(count, work);
    const auto cores = std::max<std::size_t>(std::thread::hardware_concurrency(), 1);
    {
        std::vector<std::jthread> helpers;
        for (std::size_t i = 1; i < std::min(cores, count); ++i) {
            helpers.emplace_back([&shift] { shift.run(); });
        }
        shift.run();
    }
    shift.rethrow();
}

} // namespace orvex::tool
