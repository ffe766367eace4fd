// Every allocation of every edit fails, alone or with all that follow: the edit is done and can be undone, or nothing
// happened.
#include "Memory/FailingMemory.h"
#include "OrvexPDF/ManagerSupport.h"

#include <functional>

namespace orvex {
namespace {

using test::letters;
using test::managerOfPages;

/// Pages A to D with a step to undo and one to redo.
struct Desk {
    test::Manager manager = managerOfPages(4);
    OrvexPDFDocumentPtr other = OrvexPDFDocument::fromData(test::fileOfPages(3));
    OrvexPDFPageMeta record; ///< for what is inserted
    std::string loaded = state();

    Desk() {
        record.id = "inserted";
        manager->rotate(3, true);
        manager->rotate(2, true);
        manager->undoManager->undo();
    }

    /// Pages and records, and what a batch may leave behind.
    [[nodiscard]] std::string state() const {
        const auto& records = std::as_const(manager->pagesMeta);
        EXPECT_EQ(static_cast<std::size_t>(manager->pdfDoc->pageCount()), records.size());
        std::string text = letters(*manager);
        for (std::size_t i = 0; i < records.size(); ++i) {
            const auto page = manager->page(static_cast<std::int64_t>(i));
            const bool isOriginal = records[i].originalPage == page;
            text += " " + std::to_string(page->rotation()) + "," + std::to_string(records[i].rotation) +
                    (records[i].id == record.id ? "i" : "") + (records[i].fresh ? "f" : "") + (isOriginal ? "o" : "");
        }
        EXPECT_EQ(manager->silent, 0) << text;
        EXPECT_EQ(manager->undoManager->groupingLevel(), 0U) << text;
        return text;
    }

    /// How many steps back the loaded document is; they are undone.
    [[nodiscard]] int undoAll() const {
        int steps = 0;
        for (; manager->undoManager->canUndo(); ++steps) {
            manager->undoManager->undo();
        }
        EXPECT_EQ(state(), loaded);
        return steps;
    }
};

struct Edit {
    const char* name;
    std::function<void(Desk&)> run;
};

class FailingEdits : public testing::TestWithParam<Edit> {};

/// Without a failure: how many allocations, and what comes out.
struct Expected {
    long allocations = 0;
    std::string before;
    std::string after;
    int steps = 0;
};
Expected expectedOf(const Edit& edit) {
    edit.run(*std::make_unique<Desk>()); // what is made once for all is made here
    Desk desk;
    Expected expected;
    expected.before = desk.state();
    test::failAllocation(0);
    edit.run(desk);
    expected.allocations = test::stopFailing();
    expected.after = desk.state();
    expected.steps = desk.undoAll();
    return expected;
}

/// One allocation, or that one and all that follow.
void failFrom(long at, bool isLasting) {
    isLasting ? test::failAllocationsFrom(at) : test::failAllocation(at);
}

void checkHistory(const Desk& desk, const Expected& expected, const std::string& now) {
    const bool isDone = now == expected.after;
    EXPECT_EQ(desk.manager->undoManager->canRedo(), !isDone);
    EXPECT_EQ(desk.undoAll(), isDone ? expected.steps : 1);
    for (int i = isDone ? expected.steps : 1; i > 0; --i) {
        desk.manager->undoManager->redo();
    }
    EXPECT_EQ(desk.state(), now);
}

void checkEdit(const Edit& edit, const Expected& expected, bool isLasting) {
    int failures = 0;
    for (long at = 1; at <= expected.allocations; ++at) {
        SCOPED_TRACE(at);
        Desk desk;
        failFrom(at, isLasting);
        try {
            edit.run(desk);
        } catch (const std::bad_alloc&) {
            ++failures;
        }
        test::stopFailing();
        const auto now = desk.state();
        EXPECT_TRUE(now == expected.before || now == expected.after) << now;
        checkHistory(desk, expected, now);
    }
    EXPECT_GT(failures, 0);
}

TEST_P(FailingEdits, AreDoneAndCanBeUndoneOrNothingHappened) {
    const auto expected = expectedOf(GetParam());
    ASSERT_NE(expected.before, expected.after);
    ASSERT_EQ(expected.steps, 2);
    checkEdit(GetParam(), expected, false);
}

TEST_P(FailingEdits, LoseNothingWhenMemoryStaysOut) {
    checkEdit(GetParam(), expectedOf(GetParam()), true);
}

/// Whether the allocation was reached.
bool checkReplay(const Edit& edit, const Expected& expected, bool redoing, long at, bool isLasting) {
    Desk desk;
    edit.run(desk);
    auto& history = *desk.manager->undoManager;
    if (redoing) {
        history.undo();
    }
    failFrom(at, isLasting);
    bool isThrown = false;
    try {
        redoing ? history.redo() : history.undo();
    } catch (const std::bad_alloc&) {
        isThrown = true;
    }
    const bool isReached = test::stopFailing() >= at;
    const auto now = desk.state();
    EXPECT_TRUE(now == expected.after || now == expected.before) << now;
    EXPECT_LE(isThrown, isReached);
    EXPECT_EQ(history.canRedo(), now == expected.before);
    EXPECT_EQ(desk.undoAll(), now == expected.before ? 1 : 2);
    return isReached;
}

void checkReplays(const Edit& edit, bool isLasting) {
    const auto expected = expectedOf(edit);
    for (const bool redoing : {false, true}) {
        bool isReached = true;
        for (long at = 1; isReached; ++at) {
            SCOPED_TRACE((redoing ? "redo " : "undo ") + std::to_string(at));
            isReached = checkReplay(edit, expected, redoing, at, isLasting);
        }
    }
}

TEST_P(FailingEdits, AreWhollyUndoneAndRedoneOrNotAtAll) {
    checkReplays(GetParam(), false);
}

TEST_P(FailingEdits, AreWhollyUndoneAndRedoneOrNotAtAllWhenMemoryStaysOut) {
    checkReplays(GetParam(), true);
}

INSTANTIATE_TEST_SUITE_P(
    Of, FailingEdits,
    testing::Values(Edit{"insert", [](Desk& d) { d.manager->insert(d.other->orvexPage(0), 1, d.record); }},
                    Edit{"append", [](Desk& d) { d.manager->append(d.other->orvexPage(0)); }},
                    Edit{"remove", [](Desk& d) { d.manager->remove(std::int64_t{1}); }},
                    Edit{"removePage", [](Desk& d) { d.manager->remove(d.manager->page(0)); }},
                    Edit{"replace", [](Desk& d) { d.manager->replace(0, d.other->orvexPage(1), d.record, false); }},
                    Edit{"replaceForced",
                         [](Desk& d) { d.manager->replace(0, d.other->orvexPage(1), d.record, true); }},
                    Edit{"moveOne", [](Desk& d) { d.manager->move({0}, 3); }},
                    Edit{"moveSeveral",
                         [](Desk& d) {
                             d.manager->move({3, 0, 1}, 3);
                         }},
                    Edit{"rotate", [](Desk& d) { d.manager->rotate(0, true); }},
                    Edit{"insertDocument", [](Desk& d) { d.manager->insert(d.other, 2); }}),
    [](const auto& tested) { return std::string(tested.param.name); });

void editInABatch(Desk& desk) {
    desk.manager->batch([&] {
        desk.manager->remove(std::int64_t{0});
        desk.manager->batch([&] { desk.manager->move({2}, 0); });
        desk.manager->rotate(0, false);
    });
}

/// With its lines and with observers of its news.
TEST(FailingEdits, OfABatchLeavePagesAndRecordsInStepAndTheBatchClosed) {
    const test::ManagerLog log;
    const test::News news;
    const auto expected = expectedOf({"batch", editInABatch});
    for (long at = 1; at <= 2 * expected.allocations; ++at) {
        SCOPED_TRACE(at);
        Desk desk;
        failFrom((at + 1) / 2, at % 2 == 0);
        bool isThrown = false;
        try {
            editInABatch(desk);
        } catch (const std::bad_alloc&) {
            isThrown = true;
        }
        EXPECT_LE((at + 1) / 2 * (isThrown ? 1 : 0), test::stopFailing());
        const auto now = desk.state();
        const int steps = desk.undoAll();
        EXPECT_GE(steps, 1);
        for (int i = 0; i < steps; ++i) {
            desk.manager->undoManager->redo();
        }
        EXPECT_EQ(desk.state(), now);
    }
}

TEST(FailingEdits, OfABatchAreWhollyUndoneAndRedoneOrNotAtAll) {
    checkReplays({"batch", editInABatch}, false);
    checkReplays({"batch", editInABatch}, true);
}

} // namespace
} // namespace orvex
