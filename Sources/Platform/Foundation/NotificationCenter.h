// Named announcements from an object to whoever observes it.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orvex {

struct NotificationName {
    std::string value;
    friend bool operator==(const NotificationName&, const NotificationName&) = default;
};

struct Notification {
    NotificationName name;
    std::shared_ptr<void> object; ///< the sender; may be empty
};

/// Observers are called synchronously on the posting thread, in the order in which they registered, with no lock held:
/// they may post, add and remove. One that is removed while a post is under way is no longer called; one that is added
/// meanwhile waits for the next post. Threads: any.
class NotificationCenter {
public:
    using Handler = std::function<void(const Notification&)>;
    struct Observer;
    /// Keeps an observer registered; remove() on any copy or dropping the last copy ends it. Removing twice is
    /// harmless.
    class Token {
    public:
        Token() = default;
        explicit Token(std::shared_ptr<Observer> observer) : observer_(std::move(observer)) {}
        void remove();

    private:
        std::shared_ptr<Observer> observer_;
    };

    /// The process-wide centre that the library posts to.
    static NotificationCenter& defaultCenter();

    /// Observes one name from any sender.
    [[nodiscard]] Token addObserver(const NotificationName& name, Handler handler);
    /// Observes one name from one sender, compared by identity; the sender is not kept alive. An empty sender means
    /// any.
    [[nodiscard]] Token addObserver(const NotificationName& name, const std::shared_ptr<void>& object, Handler handler);
    /// Observes every name from any sender.
    [[nodiscard]] Token addObserver(Handler handler);

    void post(const NotificationName& name, const std::shared_ptr<void>& object);

private:
    Token add(std::shared_ptr<Observer> observer);
    [[nodiscard]] std::vector<std::weak_ptr<Observer>> snapshot();
    std::mutex mutex_;
    std::vector<std::weak_ptr<Observer>> observers_;
};

} // namespace orvex
