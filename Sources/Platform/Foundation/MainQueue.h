// The main thread, made explicit: a first-in first-out queue that the owner of the event loop pumps.
#pragma once

#include <functional>
#include <memory>

namespace orvex {

/// The one main queue of the process. The thread that first touches it is the main thread until attach() says
/// otherwise.
///
/// A host with its own loop (Qt, GLib, ...) calls attach() on the loop's thread with a callback that makes the loop
/// call runPending() soon; a program without a loop calls runPending() itself when it has time. A background thread
/// that calls sync() while nobody pumps waits for ever.
class MainQueue {
public:
    static MainQueue& shared();

    /// Makes the calling thread the main thread. `wake` is called, from any thread, whenever work arrives; it may be
    /// empty. Attaching also tells undo managers that events end: see isAttached().
    void attach(std::function<void()> wake = {});
    /// Back to the state before attach(): the calling thread is the main thread, nobody is woken.
    void detach();
    /// True while a loop is attached. Without one, every ungrouped edit is its own undo step.
    [[nodiscard]] bool isAttached() const;
    [[nodiscard]] bool isMainThread() const;

    /// Queues `block`; any thread.
    void async(std::function<void()> block);
    /// Queues `block` and returns when it has run on the main thread. Carries an exception of `block` to the caller.
    /// On the main thread this is a programming error and fatal: it would wait for itself (see syncOnMain).
    void sync(const std::function<void()>& block);

    /// Runs what is queued, and what that queues; main thread only (fatal elsewhere). Returns whether anything ran.
    /// An exception of an async() block comes out here; what is queued behind it stays queued.
    bool runPending();
    /// Waits for work and runs it until stop() is called; main thread only.
    void run();
    /// Ends run() behind the block that it is running, or the next time that it is called; what is queued stays
    /// queued. Any thread.
    void stop();

    /// Called on the main thread after each queued block (also one that throws) and when runPending() or run() begins:
    /// the end of an event, for undo grouping. It must not throw. Returns a token; destroying it removes the observer.
    [[nodiscard]] std::shared_ptr<void> onEventEnd(std::function<void()> observer);

    MainQueue(const MainQueue&) = delete;
    MainQueue& operator=(const MainQueue&) = delete;

private:
    MainQueue();
    ~MainQueue();
    void setLoop(bool attached, std::function<void()> wake);
    void checkMainThread(const char* operation) const;
    struct State;
    std::unique_ptr<State> state_;
};

/// Runs `block` at once when on the main thread, which needs no memory, else synchronously on the main queue.
template <class Block> void syncOnMain(const Block& block) {
    auto& queue = MainQueue::shared();
    if (queue.isMainThread()) {
        block();
    } else {
        queue.sync(block);
    }
}

} // namespace orvex
