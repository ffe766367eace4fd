#include "Platform/Foundation/MainQueue.h"
#include "Platform/Foundation/UndoManager.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>

namespace orvex {
namespace {

/// A text that is edited by appending letters, as a manager edits pages: every edit registers its inverse.
class Editor : public std::enable_shared_from_this<Editor> {
public:
    explicit Editor(UndoManager& undoManager) : undoManager_(undoManager) {}

    void add(char letter) {
        text += letter;
        undoManager_.registerUndo<Editor>(shared_from_this(), [](Editor& self) { self.removeLast(); });
    }
    void removeLast() {
        const char letter = text.back();
        text.pop_back();
        undoManager_.registerUndo<Editor>(shared_from_this(), [letter](Editor& self) { self.add(letter); });
    }
    void addInGroup(std::string_view letters) {
        undoManager_.beginUndoGrouping();
        for (const char letter : letters) {
            add(letter);
        }
        undoManager_.endUndoGrouping();
    }

    std::string text;

private:
    UndoManager& undoManager_;
};

class UndoManagerTest : public testing::Test {
protected:
    void SetUp() override { queue.detach(); }
    void TearDown() override {
        queue.runPending();
        queue.detach();
    }

    /// Registers an action that writes `letter` when it runs, and nothing in return.
    void note(char letter) {
        undo.registerUndo<Editor>(editor, [letter](Editor& self) { self.text += letter; });
    }

    MainQueue& queue = MainQueue::shared();
    UndoManager undo;
    std::shared_ptr<Editor> editor = std::make_shared<Editor>(undo);
    std::string& text = editor->text;
};

TEST_F(UndoManagerTest, StartsEmptyUnlimitedAndEnabled) {
    EXPECT_EQ(undo.levelsOfUndo(), 0U);
    EXPECT_EQ(undo.groupingLevel(), 0U);
    EXPECT_TRUE(undo.groupsByEvent());
    EXPECT_TRUE(undo.isUndoRegistrationEnabled());
    EXPECT_FALSE(undo.canUndo());
    EXPECT_FALSE(undo.canRedo());
    EXPECT_FALSE(undo.isUndoing());
    EXPECT_FALSE(undo.isRedoing());
}

TEST_F(UndoManagerTest, UndoAndRedoTakeAnEditBackAndForth) {
    editor->add('a');
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(undo.canUndo());
        undo.undo();
        EXPECT_EQ(text, "");
        EXPECT_FALSE(undo.canUndo());
        EXPECT_TRUE(undo.canRedo());
        undo.redo();
        EXPECT_EQ(text, "a");
        EXPECT_FALSE(undo.canRedo());
    }
}

TEST_F(UndoManagerTest, WithNothingToUndoNothingHappens) {
    undo.undo();
    undo.redo();
    EXPECT_FALSE(undo.canUndo());
    EXPECT_FALSE(undo.canRedo());
}

TEST_F(UndoManagerTest, TheTargetIsNotKeptAliveAndItsActionsAreSkipped) {
    note('x');
    const std::weak_ptr<Editor> watch = editor;
    editor.reset();
    EXPECT_TRUE(watch.expired());
    EXPECT_TRUE(undo.canUndo());
    EXPECT_NO_THROW(undo.undo());
}

TEST_F(UndoManagerTest, WhatTheHandlerHoldsIsKeptAlive) {
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watch = held;
    undo.registerUndo<Editor>(editor, [held](Editor&) {});
    held.reset();
    EXPECT_FALSE(watch.expired());
    undo.removeAllActions();
    EXPECT_TRUE(watch.expired());
}

TEST_F(UndoManagerTest, WithoutALoopEveryEditIsItsOwnStep) {
    editor->add('a');
    EXPECT_EQ(undo.groupingLevel(), 0U);
    editor->add('b');
    undo.undo();
    EXPECT_EQ(text, "a");
    undo.undo();
    EXPECT_EQ(text, "");
}

TEST_F(UndoManagerTest, WithoutALoopTwoGroupsAreTwoSteps) {
    editor->addInGroup("ab");
    editor->addInGroup("cd");
    undo.undo();
    EXPECT_EQ(text, "ab");
    undo.redo();
    EXPECT_EQ(text, "abcd");
}

TEST_F(UndoManagerTest, WithALoopAnEventIsAStep) {
    queue.attach();
    queue.async([&] {
        editor->add('a');
        EXPECT_EQ(undo.groupingLevel(), 1U);
        editor->addInGroup("bc");
        EXPECT_EQ(undo.groupingLevel(), 1U);
    });
    queue.async([&] {
        EXPECT_EQ(undo.groupingLevel(), 0U);
        editor->add('d');
    });
    queue.runPending();
    undo.undo();
    EXPECT_EQ(text, "abc");
    undo.undo();
    EXPECT_EQ(text, "");
}

TEST_F(UndoManagerTest, WithALoopAnEditOfTheLoopsOwnCallbackEndsWithTheNextTurn) {
    int wakes = 0;
    queue.attach([&] { ++wakes; });
    editor->add('a');
    editor->add('b');
    EXPECT_EQ(undo.groupingLevel(), 1U);
    EXPECT_EQ(wakes, 1) << "the loop is asked for a turn, once";
    queue.runPending();
    EXPECT_EQ(undo.groupingLevel(), 0U);
    editor->add('c');
    queue.runPending();
    undo.undo();
    EXPECT_EQ(text, "ab");
    undo.undo();
    EXPECT_EQ(text, "");
}

TEST_F(UndoManagerTest, WithALoopUndoClosesTheEventThatIsOpen) {
    queue.attach();
    editor->addInGroup("ab");
    editor->addInGroup("cd");
    EXPECT_TRUE(undo.canUndo());
    undo.undo();
    EXPECT_EQ(text, "") << "both groups fell into the event";
}

TEST_F(UndoManagerTest, EndEventClosesTheEventGroupAlone) {
    queue.attach();
    editor->add('a');
    undo.endEvent();
    EXPECT_EQ(undo.groupingLevel(), 0U);
    undo.endEvent();
    undo.beginUndoGrouping();
    undo.endEvent();
    EXPECT_EQ(undo.groupingLevel(), 2U) << "a group that was asked for stays open";
    undo.endUndoGrouping();
    EXPECT_EQ(undo.groupingLevel(), 1U);
}

TEST_F(UndoManagerTest, AnEventEndInsideAHandlerLeavesTheUndoAlone) {
    queue.attach();
    undo.registerUndo<Editor>(editor, [this](Editor& self) {
        queue.async([] {});
        queue.runPending();
        self.add('x');
    });
    undo.undo();
    EXPECT_TRUE(undo.canRedo());
    undo.redo();
    EXPECT_EQ(text, "");
}

TEST_F(UndoManagerTest, RegisteringWithoutAGroupThrowsWhenGroupsAreNotByEvent) {
    undo.setGroupsByEvent(false);
    EXPECT_THROW(note('a'), UndoError);
    undo.beginUndoGrouping();
    EXPECT_EQ(undo.groupingLevel(), 1U);
    note('a');
    undo.endUndoGrouping();
    undo.undo();
    EXPECT_EQ(text, "a");
}

TEST_F(UndoManagerTest, TheFirstGroupOpensTheEventGroupAround) {
    undo.beginUndoGrouping();
    EXPECT_EQ(undo.groupingLevel(), 2U);
    undo.beginUndoGrouping();
    EXPECT_EQ(undo.groupingLevel(), 3U);
    undo.endUndoGrouping();
    EXPECT_EQ(undo.groupingLevel(), 2U);
    undo.endUndoGrouping();
    EXPECT_EQ(undo.groupingLevel(), 0U) << "without a loop the event ends at once";

    queue.attach();
    undo.beginUndoGrouping();
    undo.endUndoGrouping();
    EXPECT_EQ(undo.groupingLevel(), 1U) << "with one it goes on";
}

TEST_F(UndoManagerTest, NestedGroupsFoldIntoOneStepInOrder) {
    undo.beginUndoGrouping();
    note('a');
    undo.beginUndoGrouping();
    note('b');
    note('c');
    undo.endUndoGrouping();
    note('d');
    undo.endUndoGrouping();
    undo.undo();
    EXPECT_EQ(text, "dcba");
    EXPECT_FALSE(undo.canUndo());
}

TEST_F(UndoManagerTest, EndingAGroupThatIsNotOpenThrows) {
    EXPECT_THROW(undo.endUndoGrouping(), UndoError);
    undo.beginUndoGrouping();
    undo.endUndoGrouping();
    EXPECT_THROW(undo.endUndoGrouping(), UndoError);
}

TEST_F(UndoManagerTest, EmptyGroupsLeaveNoStep) {
    editor->add('a');
    undo.beginUndoGrouping();
    undo.beginUndoGrouping();
    undo.endUndoGrouping();
    undo.endUndoGrouping();
    undo.undo();
    EXPECT_EQ(text, "");
    undo.redo();
    EXPECT_TRUE(undo.canUndo());
    EXPECT_EQ(text, "a");
}

TEST_F(UndoManagerTest, AnEmptyGroupKeepsWhatCanBeRedone) {
    editor->add('a');
    undo.undo();
    undo.beginUndoGrouping();
    undo.endUndoGrouping();
    EXPECT_TRUE(undo.canRedo());
}

TEST_F(UndoManagerTest, UndoInsideAnOpenGroupThrows) {
    undo.beginUndoGrouping();
    note('a');
    EXPECT_THROW(undo.undo(), UndoError);
    EXPECT_THROW(undo.redo(), UndoError);
    EXPECT_TRUE(undo.canUndo()) << "what the open group holds counts";
    undo.endUndoGrouping();
    EXPECT_NO_THROW(undo.undo());
}

TEST_F(UndoManagerTest, UndoClosesAGroupOfLevelOne) {
    undo.setGroupsByEvent(false);
    undo.beginUndoGrouping();
    note('a');
    undo.undo();
    EXPECT_EQ(text, "a");
    EXPECT_EQ(undo.groupingLevel(), 0U);
}

TEST_F(UndoManagerTest, UndoOrRedoInsideAHandlerThrows) {
    undo.registerUndo<Editor>(editor, [this](Editor& self) {
        EXPECT_TRUE(undo.isUndoing());
        EXPECT_FALSE(undo.isRedoing());
        EXPECT_THROW(undo.undo(), UndoError);
        EXPECT_THROW(undo.redo(), UndoError);
        self.text += "ran";
    });
    undo.undo();
    EXPECT_EQ(text, "ran");
    EXPECT_FALSE(undo.isUndoing());
}

TEST_F(UndoManagerTest, AStepRunsBackwardsAndRedoRunsForwardsAgain) {
    editor->addInGroup("abc");
    undo.undo();
    EXPECT_EQ(text, "");
    undo.redo();
    EXPECT_EQ(text, "abc");
}

TEST_F(UndoManagerTest, IsRedoingDuringRedo) {
    bool redoing = false;
    undo.registerUndo<Editor>(editor, [&](Editor&) {
        undo.registerUndo<Editor>(editor, [&](Editor&) { redoing = undo.isRedoing() && !undo.isUndoing(); });
    });
    undo.undo();
    undo.redo();
    EXPECT_TRUE(redoing);
    EXPECT_FALSE(undo.isRedoing());
}

TEST_F(UndoManagerTest, TheRestOfTheRedoStackSurvivesARedo) {
    for (const char letter : {'a', 'b', 'c'}) {
        editor->add(letter);
    }
    undo.undo();
    undo.undo();
    undo.undo();
    undo.redo();
    EXPECT_TRUE(undo.canRedo());
    undo.redo();
    undo.redo();
    EXPECT_EQ(text, "abc");
    EXPECT_FALSE(undo.canRedo());
}

TEST_F(UndoManagerTest, ANewEditEmptiesTheRedoStackAtOnce) {
    editor->add('a');
    undo.undo();
    undo.beginUndoGrouping();
    EXPECT_TRUE(undo.canRedo());
    editor->add('b');
    EXPECT_FALSE(undo.canRedo()) << "before the group is closed";
    undo.endUndoGrouping();
}

TEST_F(UndoManagerTest, HandlersMayGroupAndLeaveGroupsOpen) {
    undo.registerUndo<Editor>(editor, [this](Editor& self) {
        self.addInGroup("xy");
        undo.beginUndoGrouping();
        self.add('z');
    });
    undo.undo();
    EXPECT_EQ(text, "xyz");
    EXPECT_EQ(undo.groupingLevel(), 0U);
    undo.redo();
    EXPECT_EQ(text, "") << "one step took all three back";
}

TEST_F(UndoManagerTest, EndingTheGroupOfTheUndoItselfThrows) {
    undo.registerUndo<Editor>(editor, [this](Editor&) { EXPECT_THROW(undo.endUndoGrouping(), UndoError); });
    undo.undo();
}

TEST_F(UndoManagerTest, AHandlerThatThrowsLeavesTheWholeStepToBeTriedAgain) {
    bool broken = true;
    undo.beginUndoGrouping();
    editor->add('a');
    undo.registerUndo<Editor>(editor, [&](Editor&) {
        if (broken) {
            throw std::runtime_error("disk");
        }
    });
    editor->add('b');
    undo.endUndoGrouping();
    EXPECT_THROW(undo.undo(), std::runtime_error);
    EXPECT_EQ(text, "ab") << "what ran before it was taken back";
    EXPECT_FALSE(undo.isUndoing());
    EXPECT_FALSE(undo.canRedo());
    EXPECT_EQ(undo.groupingLevel(), 0U);
    broken = false;
    undo.undo();
    EXPECT_EQ(text, "");
    undo.redo();
    EXPECT_EQ(text, "ab");
    EXPECT_FALSE(undo.canRedo());
}

TEST_F(UndoManagerTest, WhereTakingBackFailsTooWhatDidNotRunIsLeft) {
    bool broken = true;
    const auto fail = [&](Editor&) {
        if (broken) {
            throw std::runtime_error("disk");
        }
    };
    undo.beginUndoGrouping();
    editor->add('a');
    undo.registerUndo<Editor>(editor, fail);
    undo.registerUndo<Editor>(editor,
                              [&](Editor& target) { undo.registerUndo<Editor>(target.shared_from_this(), fail); });
    editor->add('b');
    undo.endUndoGrouping();
    EXPECT_THROW(undo.undo(), std::runtime_error);
    EXPECT_EQ(text, "a");
    EXPECT_EQ(undo.groupingLevel(), 0U);
    broken = false;
    undo.undo();
    EXPECT_EQ(text, "");
}

TEST_F(UndoManagerTest, AnActionThatThrowsAfterItRegisteredItsInverseWasDone) {
    int throws = 2;
    std::function<void(Editor&)> toggle = [&](Editor& target) {
        undo.registerUndo<Editor>(target.shared_from_this(), toggle);
        text += '!';
        if (throws-- > 0) {
            throw std::runtime_error("news");
        }
    };
    undo.registerUndo<Editor>(editor, toggle);
    EXPECT_THROW(undo.undo(), std::runtime_error);
    EXPECT_EQ(text, "!!") << "it ran, and its inverse";
    EXPECT_TRUE(undo.canUndo());
    EXPECT_FALSE(undo.canRedo());
}

TEST_F(UndoManagerTest, AForgottenGroupLeavesNoStepAndTheRedoThatThereWas) {
    editor->add('a');
    editor->add('b');
    undo.undo();
    undo.beginUndoGrouping();
    editor->add('x');
    text.pop_back();
    undo.forgetUndoGroup();
    undo.endUndoGrouping();
    undo.redo();
    EXPECT_EQ(text, "ab");
    undo.undo();
    undo.undo();
    EXPECT_EQ(text, "");
    EXPECT_FALSE(undo.canUndo());
    undo.forgetUndoGroup(); // none is open
}

TEST_F(UndoManagerTest, AForgottenInnerGroupLeavesTheOuterOnesActions) {
    undo.beginUndoGrouping();
    editor->add('a');
    undo.beginUndoGrouping();
    editor->add('x');
    text.pop_back();
    undo.forgetUndoGroup();
    undo.endUndoGrouping();
    undo.endUndoGrouping();
    undo.undo();
    EXPECT_EQ(text, "");
    EXPECT_FALSE(undo.canUndo());
}

TEST_F(UndoManagerTest, RemoveAllActionsEmptiesClosesAndEnables) {
    editor->add('a');
    editor->add('b');
    undo.undo();
    undo.disableUndoRegistration();
    undo.beginUndoGrouping();
    undo.removeAllActions();
    EXPECT_FALSE(undo.canUndo());
    EXPECT_FALSE(undo.canRedo());
    EXPECT_EQ(undo.groupingLevel(), 0U);
    EXPECT_TRUE(undo.isUndoRegistrationEnabled());
    EXPECT_NO_THROW(undo.endUndoGrouping()) << "the end of the group that was closed";
    EXPECT_NO_THROW(undo.enableUndoRegistration());
    EXPECT_THROW(undo.endUndoGrouping(), UndoError);
    EXPECT_THROW(undo.enableUndoRegistration(), UndoError);
}

TEST_F(UndoManagerTest, RemoveAllActionsInsideNestedGroupsForgivesEachEnd) {
    undo.beginUndoGrouping();
    undo.beginUndoGrouping();
    undo.removeAllActions();
    undo.endUndoGrouping();
    editor->add('a');
    undo.endUndoGrouping();
    undo.undo();
    EXPECT_EQ(text, "") << "edits after the removal can be undone";
    EXPECT_FALSE(undo.canUndo());
}

TEST_F(UndoManagerTest, RemoveAllActionsInsideAGroupWithALoopLeavesTheEventOpen) {
    queue.attach();
    undo.beginUndoGrouping();
    undo.removeAllActions();
    editor->add('a');
    undo.endUndoGrouping();
    EXPECT_EQ(undo.groupingLevel(), 1U);
    queue.runPending();
    EXPECT_EQ(undo.groupingLevel(), 0U);
    undo.undo();
    EXPECT_EQ(text, "");
}

TEST_F(UndoManagerTest, RemoveAllActionsInsideAHandlerFinishesWithEmptyStacks) {
    editor->add('a');
    undo.beginUndoGrouping();
    note('1');
    undo.registerUndo<Editor>(editor, [this](Editor& self) {
        undo.removeAllActions();
        self.add('2');
        undo.beginUndoGrouping();
        self.add('3');
        undo.endUndoGrouping();
    });
    undo.endUndoGrouping();
    undo.undo();
    EXPECT_EQ(text, "a231") << "the step runs to its end";
    EXPECT_FALSE(undo.canUndo());
    EXPECT_FALSE(undo.canRedo());
    EXPECT_FALSE(undo.isUndoing());
    EXPECT_EQ(undo.groupingLevel(), 0U);
    editor->add('b');
    EXPECT_TRUE(undo.canUndo()) << "afterwards it works as ever";
    undo.undo();
    EXPECT_TRUE(undo.canRedo());
}

TEST_F(UndoManagerTest, RemoveAllActionsInAHandlerThatThrowsLeavesNothing) {
    undo.registerUndo<Editor>(editor, [this](Editor&) {
        undo.removeAllActions();
        throw std::runtime_error("no");
    });
    EXPECT_THROW(undo.undo(), std::runtime_error);
    EXPECT_FALSE(undo.canUndo());
    EXPECT_FALSE(undo.canRedo());
}

TEST_F(UndoManagerTest, LevelsDropTheOldestSteps) {
    undo.setLevelsOfUndo(2);
    for (const char letter : {'a', 'b', 'c'}) {
        editor->add(letter);
    }
    undo.undo();
    undo.undo();
    EXPECT_FALSE(undo.canUndo());
    EXPECT_EQ(text, "a");
    undo.redo();
    undo.redo();
    EXPECT_EQ(text, "abc");
}

TEST_F(UndoManagerTest, SettingLevelsTrimsBothStacksAtOnce) {
    for (const char letter : {'a', 'b', 'c', 'd', 'e', 'f'}) {
        editor->add(letter);
    }
    undo.undo();
    undo.undo();
    undo.undo();
    undo.setLevelsOfUndo(1);
    undo.setLevelsOfUndo(0);
    EXPECT_EQ(undo.levelsOfUndo(), 0U);
    undo.redo();
    EXPECT_EQ(text, "abcd");
    EXPECT_FALSE(undo.canRedo());
    undo.undo();
    undo.undo();
    EXPECT_EQ(text, "ab");
    EXPECT_FALSE(undo.canUndo());
}

TEST_F(UndoManagerTest, DisablingNestsAndKeepsWhatCanBeRedone) {
    editor->add('a');
    undo.undo();
    undo.disableUndoRegistration();
    undo.disableUndoRegistration();
    undo.enableUndoRegistration();
    EXPECT_FALSE(undo.isUndoRegistrationEnabled());
    editor->add('b');
    EXPECT_FALSE(undo.canUndo());
    EXPECT_TRUE(undo.canRedo());
    undo.enableUndoRegistration();
    EXPECT_TRUE(undo.isUndoRegistrationEnabled());
    editor->add('c');
    EXPECT_TRUE(undo.canUndo());
    EXPECT_FALSE(undo.canRedo());
}

TEST_F(UndoManagerTest, EnablingWhatIsNotDisabledThrows) {
    EXPECT_THROW(undo.enableUndoRegistration(), UndoError);
}

TEST_F(UndoManagerTest, MarkersAroundABatchRunAroundItsUndoAndItsRedo) {
    std::string trace;
    const auto target = std::make_shared<int>();
    // What brackets a batch registers the opposite bracket in return, so that it stands right both ways.
    std::function<void(char, char)> marker = [&](char now, char inverse) {
        undo.registerUndo<int>(target, [&, now, inverse](int&) {
            trace += now;
            marker(inverse, now);
        });
    };
    undo.beginUndoGrouping();
    marker(')', '(');
    editor->add('a');
    marker('(', ')');
    undo.endUndoGrouping();
    undo.undo();
    EXPECT_EQ(std::exchange(trace, ""), "()");
    undo.redo();
    EXPECT_EQ(std::exchange(trace, ""), "()");
    undo.undo();
    EXPECT_EQ(trace, "()");
    EXPECT_EQ(text, "");
}

TEST_F(UndoManagerTest, HandlersRunOnTheThreadThatUndoes) {
    std::thread::id where;
    undo.registerUndo<Editor>(editor, [&](Editor&) { where = std::this_thread::get_id(); });
    undo.undo();
    EXPECT_EQ(where, std::this_thread::get_id());
}

TEST_F(UndoManagerTest, AManagerThatIsGoneNoLongerHearsOfEvents) {
    queue.attach();
    {
        UndoManager other;
        other.registerUndo<Editor>(editor, [](Editor&) {});
    }
    EXPECT_NO_THROW(queue.runPending());
}

} // namespace
} // namespace orvex
