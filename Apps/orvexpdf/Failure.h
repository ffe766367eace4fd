// How the tool ends: its documented exit codes, and the failure that carries one.
#pragma once

#include <stdexcept>
#include <string>

namespace orvex::tool {

/// Stable: scripts rely on them.
enum class ExitCode {
    done = 0,
    other = 1,
    usage = 2,
    inputUnreadable = 3,
    inputUnusable = 4,
    passwordNeeded = 5,
    outputFailed = 6,
};

/// Ends the command; `what()` is the one line that the user gets to see.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
    [[nodiscard]] ExitCode code() const { return code_; }

private:
    ExitCode code_;
};

} // namespace orvex::tool
