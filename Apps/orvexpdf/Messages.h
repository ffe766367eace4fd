// What the tool says on standard error: whole lines, one at a time, and a status line that they never run into.
#pragma once

#include "Platform/Foundation/Log.h"

#include <string>
#include <string_view>

namespace orvex::tool {

/// Sends the library's log lines from `level` on to standard error. `quiet` silences report() and the status line.
void configureMessages(LogLevel level, bool quiet);

/// A line about what was done.
void report(const std::string& text);
/// A line about something that the user may want to know, shown like the library's warnings.
void warn(const std::string& text);
/// The line that a failed command ends with; always shown.
void reportError(const std::string& text);

/// Whether a status line makes sense: standard error is a terminal and nobody asked for silence.
[[nodiscard]] bool canShowStatus();
/// Shows no status line from now on: results that are text go to the same terminal.
void hideStatus();
/// Shows `text` in place of the last status line; an empty text takes it away.
void showStatus(const std::string& text);

/// `text` without line ends and other control characters, which file names may hold.
[[nodiscard]] std::string oneLine(std::string_view text);

/// Drops the library's warnings of this thread while it lives: for those who put the reason into a message of their
/// own.
class WarningsDropped {
public:
    WarningsDropped();
    ~WarningsDropped();
    WarningsDropped(const WarningsDropped&) = delete;
    WarningsDropped& operator=(const WarningsDropped&) = delete;
};

} // namespace orvex::tool
