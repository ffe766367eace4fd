#include "Platform/Foundation/MainQueue.h"
#include "Platform/Foundation/Log.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orvex {

using Observer = std::function<void()>;

struct MainQueue::State {
    mutable std::mutex mutex;
    std::condition_variable arrived;
    std::thread::id mainThread = std::this_thread::get_id();
    std::shared_ptr<const Observer> wake; ///< shared, so that it is called without the lock
    bool attached = false;
    bool stopping = false;
    int running = 0; ///< blocks under way, one inside the other
    std::deque<std::function<void()>> blocks;
    std::vector<std::weak_ptr<const Observer>> observers;
    int notifying = 0; ///< rounds of notifyEventEnd() under way, one inside the other

    /// Marks the running block, also when it throws: its event ends all the same.
    class Event {
    public:
        explicit Event(State& state) : state_(state) { ++state_.running; }
        Event(const Event&) = delete;
        Event& operator=(const Event&) = delete;
        ~Event() {
            --state_.running;
            state_.notifyEventEnd();
        }

    private:
        State& state_;
    };

    [[nodiscard]] std::function<void()> takeBlock() {
        const std::lock_guard lock(mutex);
        if (blocks.empty()) {
            return {};
        }
        auto block = std::move(blocks.front());
        blocks.pop_front();
        return block;
    }

    /// False when there is none. What the block throws comes out.
    bool runBlock() {
        const auto block = takeBlock();
        if (!block) {
            return false;
        }
        const Event event(*this);
        block();
        return true;
    }

    /// Those that were there when it began, which keep their places until it is over. Needs no memory: destructors call
    /// it.
    void notifyEventEnd() {
        std::size_t count = 0;
        {
            const std::lock_guard lock(mutex);
            ++notifying;
            count = observers.size();
        }
        for (std::size_t i = 0; i < count; ++i) {
            if (const auto observer = observerAt(i)) {
                (*observer)();
            }
        }
        const std::lock_guard lock(mutex);
        if (--notifying == 0) {
            std::erase_if(observers, [](const auto& observer) { return observer.expired(); });
        }
    }

    [[nodiscard]] std::shared_ptr<const Observer> observerAt(std::size_t index) const {
        const std::lock_guard lock(mutex);
        return observers[index].lock();
    }
};

MainQueue::MainQueue() : state_(std::make_unique<State>()) {}

MainQueue::~MainQueue() = default;

MainQueue& MainQueue::shared() {
    static auto* queue = new MainQueue; // never destroyed: threads may still post while the process ends
    return *queue;
}

void MainQueue::setLoop(bool attached, std::function<void()> wake) {
    std::shared_ptr<const Observer> call;
    bool waiting = false;
    {
        const std::lock_guard lock(state_->mutex);
        state_->mainThread = std::this_thread::get_id();
        state_->attached = attached;
        state_->wake = wake ? std::make_shared<const Observer>(std::move(wake)) : nullptr;
        call = state_->wake;
        waiting = !state_->blocks.empty();
    }
    if (call && waiting) {
        (*call)();
    }
}

void MainQueue::attach(std::function<void()> wake) {
    setLoop(true, std::move(wake));
}

void MainQueue::detach() {
    setLoop(false, {});
}

bool MainQueue::isAttached() const {
    const std::lock_guard lock(state_->mutex);
    return state_->attached;
}

bool MainQueue::isMainThread() const {
    const std::lock_guard lock(state_->mutex);
    return state_->mainThread == std::this_thread::get_id();
}

void MainQueue::async(std::function<void()> block) {
    std::shared_ptr<const Observer> wake;
    {
        const std::lock_guard lock(state_->mutex);
        state_->blocks.push_back(std::move(block));
        wake = state_->wake;
    }
    state_->arrived.notify_all();
    if (wake) {
        (*wake)();
    }
}

void MainQueue::sync(const std::function<void()>& block) {
    if (isMainThread()) {
        fatalError("MainQueue::sync called on the main thread, which would wait for itself");
    }
    const auto task = std::make_shared<std::packaged_task<void()>>(block);
    auto done = task->get_future();
    async([task] { (*task)(); });
    done.get();
}

void MainQueue::checkMainThread(const char* operation) const {
    if (!isMainThread()) {
        fatalError(std::string("MainQueue::") + operation + " called away from the main thread");
    }
}

bool MainQueue::runPending() {
    checkMainThread("runPending");
    if (state_->running == 0) {
        state_->notifyEventEnd(); // what the loop did on its own before was an event as well
    }
    bool any = false;
    while (state_->runBlock()) {
        any = true;
    }
    return any;
}

void MainQueue::run() {
    checkMainThread("run");
    if (state_->running == 0) {
        state_->notifyEventEnd(); // as in runPending()
    }
    const auto ready = [this] { return state_->stopping || !state_->blocks.empty(); };
    for (;;) {
        {
            std::unique_lock lock(state_->mutex);
            state_->arrived.wait(lock, ready);
            if (std::exchange(state_->stopping, false)) {
                return;
            }
        }
        state_->runBlock();
    }
}

void MainQueue::stop() {
    {
        const std::lock_guard lock(state_->mutex);
        state_->stopping = true;
    }
    state_->arrived.notify_all();
}

std::shared_ptr<void> MainQueue::onEventEnd(std::function<void()> observer) {
    auto kept = std::make_shared<const Observer>(std::move(observer));
    const std::lock_guard lock(state_->mutex);
    state_->observers.push_back(kept);
    return std::const_pointer_cast<Observer>(kept);
}

} // namespace orvex
