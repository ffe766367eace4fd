#include "Platform/Foundation/NotificationCenter.h"

#include <atomic>
#include <optional>
#include <utility>

namespace orvex {

struct NotificationCenter::Observer {
    Observer(std::optional<NotificationName> observedName, bool anySender, std::weak_ptr<void> observedSender,
             Handler call)
        : name(std::move(observedName)), fromAnySender(anySender), sender(std::move(observedSender)),
          handler(std::move(call)) {}

    std::optional<NotificationName> name; ///< none: every name
    bool fromAnySender;
    std::weak_ptr<void> sender;
    Handler handler;
    std::atomic<bool> removed{false};

    [[nodiscard]] bool wants(const Notification& notification) const {
        return !removed && (!name || *name == notification.name) && (fromAnySender || isSender(notification.object));
    }

private:
    /// By the owner that shared and weak pointers have in common: a new object at the old address is another sender.
    [[nodiscard]] bool isSender(const std::shared_ptr<void>& object) const {
        return object && !sender.owner_before(object) && !object.owner_before(sender);
    }
};

void NotificationCenter::Token::remove() {
    if (const auto observer = std::exchange(observer_, nullptr)) {
        observer->removed = true;
    }
}

NotificationCenter& NotificationCenter::defaultCenter() {
    static auto* center = new NotificationCenter; // never destroyed: tokens and posts may outlive static objects
    return *center;
}

NotificationCenter::Token NotificationCenter::addObserver(const NotificationName& name, Handler handler) {
    return add(std::make_shared<Observer>(name, true, std::weak_ptr<void>(), std::move(handler)));
}

NotificationCenter::Token NotificationCenter::addObserver(const NotificationName& name,
                                                          const std::shared_ptr<void>& object, Handler handler) {
    return add(std::make_shared<Observer>(name, object == nullptr, object, std::move(handler)));
}

NotificationCenter::Token NotificationCenter::addObserver(Handler handler) {
    return add(std::make_shared<Observer>(std::nullopt, true, std::weak_ptr<void>(), std::move(handler)));
}

NotificationCenter::Token NotificationCenter::add(std::shared_ptr<Observer> observer) {
    const std::lock_guard lock(mutex_);
    observers_.push_back(observer);
    return Token(std::move(observer));
}

std::vector<std::weak_ptr<NotificationCenter::Observer>> NotificationCenter::snapshot() {
    const std::lock_guard lock(mutex_);
    std::erase_if(observers_, [](const auto& weak) {
        const auto observer = weak.lock();
        return !observer || observer->removed;
    });
    return observers_;
}

void NotificationCenter::post(const NotificationName& name, const std::shared_ptr<void>& object) {
    const Notification notification{name, object};
    for (const auto& weak : snapshot()) {
        if (const auto observer = weak.lock(); observer && observer->wants(notification)) {
            observer->handler(notification);
        }
    }
}

} // namespace orvex
