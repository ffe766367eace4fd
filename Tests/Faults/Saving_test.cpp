// What saving leaves when the process dies or the disk fails, at every call that touches a file.
#include "Faults/FaultyTool.h"

namespace orvex::test {
namespace {

constexpr const char* everyCall = "owscmr";
constexpr int killed = 128 + 9;
constexpr int mostCalls = 200; ///< no command of these makes as many

class SavingFaults : public FaultyToolTest, public testing::WithParamInterface<SavingCommand> {
protected:
    /// A temporary is hidden, bears its target's name and an identifier, and has none of its endings.
    void expectOnlyATemporary() const {
        const auto more = leftovers();
        ASSERT_LE(more.size(), 1U) << testing::PrintToString(more);
        for (const auto& name : more) {
            EXPECT_TRUE(std::regex_match(name, std::regex("\\." + GetParam().target + "\\.[0-9A-F-]{36}"))) << name;
        }
    }
    void removeLeftovers() const {
        for (const auto& name : leftovers()) {
            std::filesystem::remove(path(name));
        }
    }
    [[nodiscard]] std::string target() const { return GetParam().target; }
    /// The command with a fault in the test's folder.
    [[nodiscard]] CommandResult faulty(const std::string& kind, const std::string& calls, const std::string& at) const {
        return FaultyToolTest::faulty({kind, calls, at, std::filesystem::path(path("")).parent_path().string()},
                                      GetParam().arguments);
    }
};

TEST_P(SavingFaults, KilledAtAnyCallItLeavesTheOldFileOrTheNewOne) {
    const Bytes made = prepare(GetParam());
    int kept = 0;
    int replaced = 0;
    int at = 1;
    for (; at < mostCalls; ++at) {
        write(target(), old());
        const auto result = faulty("kill", everyCall, std::to_string(at));
        if (result.exitCode == done) {
            break;
        }
        ASSERT_EQ(result.exitCode, killed) << at << result.errors;
        const Bytes found = read(target());
        kept += found == old() ? 1 : 0;
        replaced += found == made ? 1 : 0;
        ASSERT_EQ(kept + replaced, at) << "neither the old file nor the new one";
        expectOnlyATemporary();
        removeLeftovers();
    }
    EXPECT_EQ(read(target()), made);
    EXPECT_GE(kept, 5);     // opened, owner and bits set, written, synced, renamed
    EXPECT_GE(replaced, 1); // the folder is synced
    expectNothingElse();
}

TEST_P(SavingFaults, WhatAKilledRunLeftIsInNobodysWay) {
    const Bytes made = prepare(GetParam());
    EXPECT_EQ(faulty("kill", "r", "1").exitCode, killed);
    EXPECT_EQ(leftovers().size(), 1U);
    toolOutput(GetParam().arguments);
    EXPECT_EQ(read(target()), made);
    EXPECT_EQ(leftovers().size(), 1U);
}

TEST_P(SavingFaults, AFailureOfAnyCallIsToldAndLeavesNothingBehind) {
    const Bytes made = prepare(GetParam());
    const std::vector<std::pair<std::string, std::string>> failures{
        {"ENOSPC", "No space left on device"}, {"EIO", "Input/output error"}, {"EACCES", "Permission denied"}};
    for (const auto& [kind, words] : failures) {
        bool isThrough = false;
        for (int at = 1; at < mostCalls && !isThrough; ++at) {
            write(target(), old());
            // Owners are set where the system lets us: without "m".
            const auto result = faulty(kind, "owscr", std::to_string(at));
            isThrough = result.exitCode == done;
            const bool isNew = read(target()) == made;
            EXPECT_TRUE(isNew || (!isThrough && read(target()) == old())) << kind << at;
            expectNothingElse();
            if (!isThrough) {
                EXPECT_EQ(result.exitCode, notWritten) << kind << at << result.errors;
                EXPECT_EQ(result.errors, "orvexpdf: cannot write " + target() + ": " + words + "\n") << kind << at;
                EXPECT_EQ(result.output, "");
            }
        }
        EXPECT_TRUE(isThrough);
    }
}

TEST_P(SavingFaults, ADiskThatStaysFullIsTold) {
    prepare(GetParam());
    const auto result = faulty("ENOSPC", "ws", "1+");
    EXPECT_EQ(result.exitCode, notWritten);
    EXPECT_EQ(result.errors, "orvexpdf: cannot write " + target() + ": No space left on device\n");
    EXPECT_EQ(read(target()), old());
    expectNothingElse();
}

TEST_P(SavingFaults, InterruptedAndHalfWritesGoOn) {
    const Bytes made = prepare(GetParam());
    for (const char* kind : {"short", "EINTR"}) {
        for (const char* at : {"1", "2"}) {
            write(target(), old());
            EXPECT_EQ(faulty(kind, "w", at).exitCode, done) << kind;
            EXPECT_EQ(read(target()), made) << kind;
            expectNothingElse();
        }
    }
    write(target(), old());
    EXPECT_EQ(faulty("short", "w", "1+").exitCode, done);
    EXPECT_EQ(read(target()), made);
}

std::string nameOf(const testing::TestParamInfo<SavingCommand>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Commands, SavingFaults, testing::ValuesIn(savingCommands), nameOf);

} // namespace
} // namespace orvex::test
