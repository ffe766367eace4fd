// The tool between a faulty system and its files.
#pragma once

#include "Apps/ToolSupport.h"

#include <regex>

namespace orvex::test {

/// One call of the tool that goes wrong; see faulty_system.cpp.
struct Fault {
    std::string kind;
    std::string calls; ///< letters
    std::string at;    ///< from 1; with a + also all later calls
    std::string files; ///< part of their paths
};

/// A command and the file that it writes.
struct SavingCommand {
    std::string name;
    std::string arguments;
    std::string target;
    friend void PrintTo(const SavingCommand& command, std::ostream* out) { *out << command.name; }
};

inline const SavingCommand savingCommands[] = {
    {"make", "make a.jpg b.png -o out.pdf", "out.pdf"},
    {"pages", "pages doc.pdf --reverse --in-place", "doc.pdf"},
    {"found", "found doc.pdf -o out.json", "out.json"},
};

/// A folder with inputs, and with an older file at the command's target.
class FaultyToolTest : public ToolTest {
protected:
    void SetUp() override {
        copySample("2-letter.jpg", "a.jpg");
        copySample("3-price-list.png", "b.png");
        toolOutput("make a.jpg b.png --found " + quoted((sampleScans / "2-letter.found.json").string()) +
                   " -o doc.pdf");
    }
    /// What the command makes of the inputs when nothing goes wrong; the older file is back afterwards.
    Bytes prepare(const SavingCommand& command) {
        if (!exists(command.target)) {
            write(command.target, "%PDF-1.4 or whatever stood here before");
        }
        old_ = read(command.target);
        toolOutput(command.arguments);
        auto made = read(command.target);
        EXPECT_FALSE(made == old_);
        write(command.target, old_);
        before_ = names();
        return made;
    }
    [[nodiscard]] CommandResult faulty(const Fault& fault, const std::string& arguments) const {
        return shell("env LD_PRELOAD=" + quoted((programFolder() / "libfaulty_system.so").string()) +
                     " FAULT_KIND=" + fault.kind + " FAULT_CALLS=" + fault.calls + " FAULT_AT=" + fault.at +
                     " FAULT_FILES=" + quoted(fault.files) + " " + quoted(toolPath) + " " + arguments);
    }
    /// Nothing came or went beside the target.
    void expectNothingElse() const { EXPECT_EQ(names(), before_); }
    /// Names that were not there before.
    [[nodiscard]] std::vector<std::string> leftovers() const {
        std::vector<std::string> more;
        for (const auto& name : names()) {
            if (std::find(before_.begin(), before_.end(), name) == before_.end()) {
                more.push_back(name);
            }
        }
        return more;
    }
    [[nodiscard]] const Bytes& old() const { return old_; }

private:
    Bytes old_;
    std::vector<std::string> before_;
};

} // namespace orvex::test
