// Runs other people's tools: what a shell would run, with what it printed.
#pragma once

#include <string>

namespace orvex::test {

struct CommandResult {
    int exitCode = -1;
    std::string output; ///< standard output
    std::string errors; ///< standard error
};

/// Runs `command` in the shell and waits for it.
CommandResult run(const std::string& command);
/// `text` as one word of a shell command.
std::string quoted(const std::string& text);
/// Whether the shell finds a program of this name.
bool hasProgram(const std::string& name);

} // namespace orvex::test
