#include "Platform/Foundation/UndoManager.h"
#include "Platform/Foundation/MainQueue.h"
#include "Platform/Foundation/Room.h"

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
    std::size_t first; ///< of the actions that were registered in it
};

} // namespace

struct UndoManager::State {
    std::vector<Step> undoStack;
    std::vector<Step> redoStack;
    std::vector<Group> open;   ///< outermost first
    Step actions;              ///< of all open groups: those of an inner one become the outer one's
    std::vector<Step> dropped; ///< redo steps that the open groups emptied the stack of
    std::size_t levels = 0;
    std::size_t disabled = 0;
    bool groupsByEvent = true;
    bool undoing = false;
    bool redoing = false;
    bool takingBack = false;         ///< a replay failed: its handlers' inverses run, and what they register is ignored
    std::size_t ignored = 0;         ///< of these, so far
    bool dropsReplay = false;        ///< removeAllActions() inside a handler: what the handlers still register is lost
    std::size_t forgivenEnds = 0;    ///< groups that removeAllActions() closed before their end was asked for
    std::size_t forgivenEnables = 0; ///< the same for disabled registration
    bool endScheduled = false;       ///< a queued block will end the event
    std::shared_ptr<void> eventEndToken;

    [[nodiscard]] bool replaying() const { return undoing || redoing; }

    /// There must be room.
    void push(std::vector<Step>& stack, Step&& step) const {
        if (!step.empty()) {
            stack.push_back(std::move(step));
            trim(stack);
        }
    }

    void trim(std::vector<Step>& stack) const {
        if (levels > 0 && stack.size() > levels) {
            stack.erase(stack.begin(), stack.end() - static_cast<std::ptrdiff_t>(levels));
        }
    }

    /// Closes the innermost group; the outermost one becomes a step on `stack`, which must have room.
    void closeGroup(std::vector<Step>& stack) {
        open.pop_back();
        if (open.empty()) {
            push(stack, std::exchange(actions, {}));
            dropped.clear();
        }
    }

    void openGroup(GroupKind kind) { open.push_back({kind, actions.size()}); }

    /// The event group stays open while a loop will end the event; without a loop every edit is an event.
    void settleEventGroup() noexcept {
        if (open.size() != 1 || open.front().kind != GroupKind::event) {
            return;
        }
        try {
            if (!scheduleEnd()) {
                closeGroup(undoStack);
            }
        } catch (const std::bad_alloc&) { // the next event's end closes it as well
            return;
        }
    }

    /// Whether a loop will end the event.
    bool scheduleEnd() {
        auto& queue = MainQueue::shared();
        if (queue.isAttached() && !endScheduled) {
            queue.async([] {}); // the loop's own callbacks end without telling: the next turn does
            endScheduled = true;
        }
        return queue.isAttached();
    }

    /// Runs the inverses of what a failed replay did. Those that fail in turn, and what comes before them, stay
    /// registered. Who registered something had done it before he failed.
    void takeBack() {
        takingBack = true;
        while (!actions.empty()) {
            auto inverse = std::move(actions.back());
            actions.pop_back();
            const auto before = ignored;
            try {
                inverse();
            } catch (...) {
                if (ignored != before || open.empty()) { // somebody removed all actions
                    continue;
                }
                takingBack = false;
                actions.push_back(std::move(inverse));
                throw;
            }
        }
        takingBack = false;
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
        makeRoom(target);
        state.openGroup(GroupKind::replay);
        flag = true;
        state.dropsReplay = false;
    }
    Replay(const Replay&) = delete;
    Replay& operator=(const Replay&) = delete;
    ~Replay() { finish_(); }

private:
    std::function<void()> finish_;
};

} // namespace

UndoManager::UndoManager() : state_(std::make_unique<State>()) {
    state_->eventEndToken = MainQueue::shared().onEventEnd([this] { endEvent(); });
}

UndoManager::~UndoManager() = default;

bool UndoManager::isRegistrationWanted() {
    auto& s = *state_;
    if (s.disabled > 0 || (s.dropsReplay && s.replaying())) {
        return false;
    }
    s.ignored += s.takingBack ? 1U : 0U;
    return !s.takingBack;
}

void UndoManager::registerAction(Action action) {
    auto& s = *state_;
    if (s.open.empty() && !s.groupsByEvent) {
        throw UndoError("registerUndo without an open group while groups are not made by event");
    }
    // Whatever may fail comes first: then nothing was registered.
    makeRoom(s.undoStack);
    makeRoom(s.actions);
    if (s.open.empty()) {
        (void)s.scheduleEnd();
        s.openGroup(GroupKind::event);
    }
    if (!s.replaying() && !s.redoStack.empty()) {
        s.dropped = std::exchange(s.redoStack, {});
    }
    s.actions.push_back(std::move(action));
    s.settleEventGroup();
}

void UndoManager::beginUndoGrouping() {
    auto& s = *state_;
    s.open.reserve(s.open.size() + 2);
    if (s.open.empty() && s.groupsByEvent && !s.replaying()) {
        (void)s.scheduleEnd();
        s.openGroup(GroupKind::event);
    }
    s.openGroup(GroupKind::asked);
}

void UndoManager::forgetUndoGroup() {
    auto& s = *state_;
    if (s.open.empty() || s.open.back().kind == GroupKind::replay) {
        return;
    }
    s.actions.resize(std::min(s.actions.size(), s.open.back().first));
    if (s.actions.empty() && !s.replaying() && !s.dropped.empty()) {
        s.redoStack = std::exchange(s.dropped, {});
    }
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
    std::size_t left = step.size();
    try {
        const Replay collecting(s, flag, to);
        try {
            for (; left > 0; --left) {
                step[left - 1]();
            }
        } catch (...) {
            s.takeBack();
            left = step.size();
            throw;
        }
    } catch (...) {
        if (!s.dropsReplay) {
            step.erase(step.begin() + static_cast<std::ptrdiff_t>(left), step.end());
            s.push(from, std::move(step)); // what did not run, or was taken back, can be tried again
        }
        throw;
    }
}

bool UndoManager::canUndo() const {
    return !state_->undoStack.empty() || !state_->actions.empty();
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
    s.actions.clear();
    s.dropped.clear();
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
