#include "Platform/Foundation/Workers.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace orvex {

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

/// A row of results: workers fill it, the one who waits empties it from the front.
class Row {
public:
    Row(std::size_t count, const std::function<std::string(std::size_t)>& produce, std::size_t ahead)
        : count_(count), produce_(produce), slots_(std::min(count, ahead)) {}

    /// Until nothing is left to produce.
    void work() {
        for (auto index = next_++; index < count_; index = next_++) {
            if (!waitForRoom(index)) {
                return;
            }
            Slot result;
            try {
                result.text = produce_(index);
            } catch (...) {
                result.failure = std::current_exception();
            }
            const std::lock_guard lock(mutex_);
            result.ready = true;
            slots_[index % slots_.size()] = std::move(result);
            changed_.notify_all();
        }
    }

    std::string take(std::size_t index) {
        std::unique_lock lock(mutex_);
        Slot& slot = slots_[index % slots_.size()];
        changed_.wait(lock, [&] { return slot.ready; });
        const Slot result = std::exchange(slot, {});
        taken_ = index + 1;
        changed_.notify_all();
        if (result.failure) {
            std::rethrow_exception(result.failure);
        }
        return result.text;
    }

    void stop() {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
        changed_.notify_all();
    }

private:
    struct Slot {
        std::string text;
        std::exception_ptr failure;
        bool ready = false;
    };

    bool waitForRoom(std::size_t index) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return stopped_ || index < taken_ + slots_.size(); });
        return !stopped_;
    }

    std::size_t count_;
    const std::function<std::string(std::size_t)>& produce_;
    std::vector<Slot> slots_;
    std::atomic<std::size_t> next_{0};
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t taken_ = 0;
    bool stopped_ = false;
};

std::vector<std::jthread> startHelpers(std::size_t count, const std::function<void()>& run) {
    std::vector<std::jthread> helpers;
    helpers.reserve(count);
    try {
        while (helpers.size() < count) {
            helpers.emplace_back(run);
        }
    } catch (const std::exception&) { // no more threads, or no memory for them: those that are there do the work
    }
    return helpers;
}

std::size_t coresFor(std::size_t count) {
    return std::min(std::max<std::size_t>(std::thread::hardware_concurrency(), 1), count);
}

} // namespace

void forEachInParallel(std::size_t count, const std::function<void(std::size_t)>& work) {
    if (count == 0) {
        return;
    }
    Shift shift(count, work);
    {
        const auto helpers = startHelpers(coresFor(count) - 1, [&shift] { shift.run(); });
        shift.run();
    }
    shift.rethrow();
}

void forEachInOrder(std::size_t count, const std::function<std::string(std::size_t)>& produce,
                    const std::function<void(const std::string&)>& consume, std::size_t ahead) {
    Row row(count, produce, ahead);
    // Starting a thread takes longer than most pages, and on a single core there is nothing to gain.
    const std::size_t cores = coresFor(count);
    const auto helpers = startHelpers(cores > 1 ? cores : 0, [&row] { row.work(); });
    if (helpers.empty()) {
        for (std::size_t index = 0; index < count; ++index) {
            consume(produce(index));
        }
        return;
    }
    try {
        for (std::size_t index = 0; index < count; ++index) {
            consume(row.take(index));
        }
    } catch (...) {
        row.stop();
        throw;
    }
}

} // namespace orvex
