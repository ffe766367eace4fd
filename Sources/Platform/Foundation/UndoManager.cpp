#include "Platform/Foundation/UndoManager.h"
#include "Platform/Foundation/MainQueue.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace orvex {

namespace {

using Step = std::vector<std::function<void()>>;

/// Why a group is open: it ends with the event, at the matching call, or with the undo that collects its inverse in it.
enum class GroupKind { event, asked, replay };

struct Group {
    GroupKind kind;
    Step actions;
};

void append(Step& actions, Step&& more) {
    std::move(more.begin(), more.end(), std::back_inserter(actions));
}

} // namespace

struct UndoManager::State {
    std::vector<Step> undoStack;
    std::vector<Step> redoStack;
    std::vector<Group> open; ///< outermost first
    std::size_t levels = 0;
    std::size_t disabled = 0;
    bool groupsByEvent = true;
    bool undoing = false;
    bool redoing = false;
    bool dropsReplay = false;        ///< removeAllActions() inside a handler: what the handlers still register is lost
    std::size_t forgivenEnds = 0;    ///< groups that removeAllActions() closed before their end was asked for
    std::size_t forgivenEnables = 0; ///< the same for disabled registration
    bool endScheduled = false;       ///< a queued block will end the event
    std::shared_ptr<void> eventEndToken;

    [[nodiscard]] bool replaying() const { return undoing || redoing; }

    void push(std::vector<Step>& stack, Step&& step) const {
        if (step.empty()) {
            return;
        }
        stack.push_back(std::move(step));
        trim(stack);
    }

    void trim(std::vector<Step>& stack) const {
        if (levels > 0 && stack.size() > levels) {
            stack.erase(stack.begin(), stack.end() - static_cast<std::ptrdiff_t>(levels));
        }
    }

    /// Closes the innermost group: into its parent, or onto `stack`.
    void closeGroup(std::vector<Step>& stack) {
        Group group = std::move(open.back());
        open.pop_back();
        if (open.empty()) {
            push(stack, std::move(group.actions));
        } else {
            append(open.back().actions, std::move(group.actions));
        }
    }

    /// The event group stays open while a loop will end the event; without a loop every edit is an event.
    void settleEventGroup() {
        if (open.size() != 1 || open.front().kind != GroupKind::event) {
            return;
        }
        if (!MainQueue::shared().isAttached()) {
            closeGroup(undoStack);
        } else if (!std::exchange(endScheduled, true)) {
            MainQueue::shared().async([] {}); // the loop's own callbacks end without telling: the next turn does
        }
    }
};

namespace {

/// Collects what the handlers register into `target`, the other stack, whatever way the handlers end.
class Replay {
public:
    template <class State>
    Replay(State& state, bool& flag, std::vector<Step>& target)
        : finish_([&state, &flag, &target] {
              while (!state.open.empty()) {
                  state.closeGroup(target); // groups that handlers left open as well
              }
              flag = false;
          }) {
        if (target.size() == target.capacity()) { // room for the step, which is pushed where nothing may be thrown
            target.reserve(2 * target.size() + 1);
        }
        state.open.push_back({GroupKind::replay, {}});
        flag = true;
        state.dropsReplay = false;
    }
    Replay(const Replay&) = delete;
    Replay& operator=(const Replay&) = delete;
    ~Replay() { finish_(); }

private:
    std::function<void()> finish_;
};

/// Last registered first. An action that throws stays, with those before it, in `step`.
void runBackwards(Step& step) {
    while (!step.empty()) {
        step.back()();
        step.pop_back();
    }
}

} // namespace

UndoManager::UndoManager() : state_(std::make_unique<State>()) {
    state_->eventEndToken = MainQueue::shared().onEventEnd([this] { endEvent(); });
}

UndoManager::~UndoManager() = default;

void UndoManager::registerAction(Action action) {
    auto& s = *state_;
    if (s.disabled > 0 || (s.dropsReplay && s.replaying())) {
        return;
    }
    if (s.open.empty()) {
        if (!s.groupsByEvent) {
            throw UndoError("registerUndo without an open group while groups are not made by event");
        }
        s.open.push_back({GroupKind::event, {}});
    }
    if (!s.replaying()) {
        s.redoStack.clear();
    }
    s.open.back().actions.push_back(std::move(action));
    s.settleEventGroup();
}

void UndoManager::beginUndoGrouping() {
    auto& s = *state_;
    if (s.open.empty() && s.groupsByEvent && !s.replaying()) {
        s.open.push_back({GroupKind::event, {}});
    }
    s.open.push_back({GroupKind::asked, {}});
}

void UndoManager::endUndoGrouping() {
    auto& s = *state_;
    const bool asked = !s.open.empty() && s.open.back().kind == GroupKind::asked;
    if (!asked && s.forgivenEnds > 0) {
        --s.forgivenEnds;
        return;
    }
    if (s.open.empty() || s.open.back().kind == GroupKind::replay) {
        throw UndoError("endUndoGrouping without an open group");
    }
    s.closeGroup(s.undoStack);
    s.settleEventGroup();
}

std::size_t UndoManager::groupingLevel() const {
    return state_->open.size();
}

void UndoManager::endEvent() {
    auto& s = *state_;
    s.endScheduled = false;
    if (s.open.size() == 1 && s.open.front().kind == GroupKind::event) {
        s.closeGroup(s.undoStack);
    }
}

void UndoManager::undo() {
    auto& s = *state_;
    if (s.replaying()) {
        throw UndoError("undo inside an undo or redo");
    }
    if (s.open.size() > 1) {
        throw UndoError("undo inside an open group");
    }
    if (s.open.size() == 1) {
        s.closeGroup(s.undoStack);
    }
    replay(s.undoStack, s.redoStack, s.undoing);
}

void UndoManager::redo() {
    auto& s = *state_;
    if (s.replaying()) {
        throw UndoError("redo inside an undo or redo");
    }
    if (s.open.size() > 1) {
        throw UndoError("redo inside an open group");
    }
    if (s.open.size() == 1) {
        s.closeGroup(s.undoStack);
    }
    replay(s.redoStack, s.undoStack, s.redoing);
}

void UndoManager::replay(std::vector<std::vector<Action>>& from, std::vector<std::vector<Action>>& to, bool& flag) {
    if (from.empty()) {
        return;
    }
    auto& s = *state_;
    Step step = std::move(from.back());
    from.pop_back();
    try {
        const Replay collecting(s, flag, to);
        runBackwards(step);
    } catch (...) {
        if (!s.dropsReplay) {
            s.push(from, std::move(step)); // what did not run can be tried again
        }
        throw;
    }
}

bool UndoManager::canUndo() const {
    const auto& s = *state_;
    return !s.undoStack.empty() ||
           std::any_of(s.open.begin(), s.open.end(), [](const Group& group) { return !group.actions.empty(); });
}

bool UndoManager::canRedo() const {
    return !state_->redoStack.empty();
}
bool UndoManager::isUndoing() const {
    return state_->undoing;
}
bool UndoManager::isRedoing() const {
    return state_->redoing;
}

void UndoManager::removeAllActions() {
    auto& s = *state_;
    s.undoStack.clear();
    s.redoStack.clear();
    s.forgivenEnds += static_cast<std::size_t>(
        std::count_if(s.open.begin(), s.open.end(), [](const Group& group) { return group.kind == GroupKind::asked; }));
    s.open.clear();
    s.forgivenEnables += std::exchange(s.disabled, 0);
    s.dropsReplay = s.replaying();
}

bool UndoManager::groupsByEvent() const {
    return state_->groupsByEvent;
}
void UndoManager::setGroupsByEvent(bool on) {
    state_->groupsByEvent = on;
}
std::size_t UndoManager::levelsOfUndo() const {
    return state_->levels;
}

void UndoManager::setLevelsOfUndo(std::size_t levels) {
    state_->levels = levels;
    state_->trim(state_->undoStack);
    state_->trim(state_->redoStack);
}

void UndoManager::disableUndoRegistration() {
    ++state_->disabled;
}

void UndoManager::enableUndoRegistration() {
    auto& s = *state_;
    if (s.disabled > 0) {
        --s.disabled;
    } else if (s.forgivenEnables > 0) {
        --s.forgivenEnables;
    } else {
        throw UndoError("enableUndoRegistration without disableUndoRegistration");
    }
}

bool UndoManager::isUndoRegistrationEnabled() const {
    return state_->disabled == 0;
}

} // namespace orvex
