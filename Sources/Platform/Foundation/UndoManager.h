// Undo and redo by registered inverses: what is registered while undoing is the redo.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

namespace orvex {

/// Misuse: closing a group that is not open, undoing inside an open group or inside an undo.
class UndoError : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

/// Handlers run on the thread that calls undo() or redo(); all calls belong on one thread (the host's main thread).
///
/// With groupsByEvent (the default), a registration outside a group opens an event group. Where a loop is attached to
/// the main queue it is closed at the end of the current event; without one it is closed at once, so that one edit is
/// one step. Groups in which nothing was registered leave no step.
class UndoManager {
public:
    UndoManager();
    ~UndoManager();
    UndoManager(const UndoManager&) = delete;
    UndoManager& operator=(const UndoManager&) = delete;

    /// `handler` is called with the target when the action runs; an action whose target is gone is skipped.
    template <class Target, class Handler> void registerUndo(const std::shared_ptr<Target>& target, Handler handler) {
        if (isRegistrationWanted()) {
            registerAction([weak = std::weak_ptr<Target>(target), handler = std::move(handler)] {
                if (auto strong = weak.lock()) {
                    handler(*strong);
                }
            });
        }
    }

    /// Registering and grouping do all or, where memory runs out, nothing.
    /// Groups nest; closing an inner group folds its actions into the outer one, closing the outermost makes one step.
    void beginUndoGrouping();
    /// Throws UndoError without an open group, except for a group that removeAllActions() closed.
    void endUndoGrouping();
    /// Drops what was registered in the innermost open group, which stays open: what it would undo was taken back. Redo
    /// steps that only these registrations dropped are there again. Nothing without an open group.
    void forgetUndoGroup();
    [[nodiscard]] std::size_t groupingLevel() const;
    /// Closes the event group, if one is open.
    void endEvent();

    /// Runs the newest step's actions, last registered first. Nothing to undo: does nothing. When an action throws,
    /// what those before it did is taken back by the inverses that they registered, and the step stays whole; where
    /// that fails too, what was not run stays. What is registered meanwhile is ignored, and takes no memory.
    void undo();
    void redo();
    [[nodiscard]] bool canUndo() const;
    [[nodiscard]] bool canRedo() const;
    [[nodiscard]] bool isUndoing() const;
    [[nodiscard]] bool isRedoing() const;

    /// Empties both stacks, closes open groups and enables registration. Safe inside a group and inside a handler.
    void removeAllActions();

    [[nodiscard]] bool groupsByEvent() const;
    void setGroupsByEvent(bool on);
    /// Steps kept on each stack; 0 keeps all. Trims at once.
    [[nodiscard]] std::size_t levelsOfUndo() const;
    void setLevelsOfUndo(std::size_t levels);
    /// Calls nest; while disabled, registrations are ignored and do not clear redo.
    void disableUndoRegistration();
    void enableUndoRegistration();
    [[nodiscard]] bool isUndoRegistrationEnabled() const;

private:
    using Action = std::function<void()>;
    /// Notes, too, that what a failed replay does again got as far as registering.
    [[nodiscard]] bool isRegistrationWanted();
    void registerAction(Action action);
    void replay(std::vector<std::vector<Action>>& from, std::vector<std::vector<Action>>& to, bool& flag);
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace orvex
