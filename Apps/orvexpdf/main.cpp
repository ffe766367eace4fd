#include "Commands.h"
#include "Failure.h"
#include "Interrupt.h"
#include "Messages.h"
#include "Output.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <span>
#include <sstream>
#include <string_view>
#include <vector>

#include <malloc.h> // mallopt is glibc's

namespace orvex::tool {

namespace {

constexpr auto footer = R"(Results go to standard output and nothing else does; messages go to standard error.
Files are written beside their target and moved over it when they are complete;
inputs are never changed, unless --in-place asks for it.

Exit codes:
  0  done
  1  something else went wrong
  2  wrong usage
  3  an input is missing or cannot be read
  4  an input is not usable: not a PDF, not an image, bad JSON
  5  a password is needed
  6  the output cannot be written

'orvexpdf COMMAND --help' tells more, with examples.)";

constexpr std::array levels = {LogLevel::trace,   LogLevel::debug, LogLevel::info,     LogLevel::notice,
                               LogLevel::warning, LogLevel::error, LogLevel::critical, LogLevel::off};

struct GeneralOptions {
    std::string logLevel;
    bool quiet = false;
};

void addGeneralOptions(CLI::App& tool, GeneralOptions& options) {
    std::vector<std::string> names;
    std::transform(levels.begin(), levels.end(), std::back_inserter(names),
                   [](LogLevel level) { return std::string(name(level)); });
    tool.add_option("--log-level", options.logLevel,
                    "Least important messages to show: trace, debug, info, notice,\n"
                    "warning (unless told otherwise), error, critical or off")
        ->type_name("LEVEL")
        ->check(CLI::IsMember(names).description(""));
    tool.add_flag("-q,--quiet", options.quiet, "No messages but the reason of a failure");
    tool.set_version_flag("--version", "orvexpdf " ORVEX_VERSION);
}

void applyGeneralOptions(const GeneralOptions& options) {
    const auto* chosen =
        std::find_if(levels.begin(), levels.end(), [&](LogLevel level) { return name(level) == options.logLevel; });
    const auto fallback = options.quiet ? LogLevel::error : LogLevel::warning;
    configureMessages(chosen == levels.end() ? fallback : *chosen, options.quiet);
}

/// Whoever used a command wrongly is shown where the right use is told.
Failure wrongUsage(const std::string& reason, const CLI::App* command) {
    const std::string name = command != nullptr ? command->get_name() + " " : "";
    return {ExitCode::usage, oneLine(reason) + " (see orvexpdf " + name + "--help)"};
}

std::string whatIsWrong(const CLI::App& tool, const CLI::ParseError& error, int argc, char** argv) {
    if (argc < 2) {
        return "no command given";
    }
    const bool isMisnamed = tool.get_subcommands().empty() && *argv[1] != '-';
    return isMisnamed ? std::string(argv[1]) + ": no such command" : error.what();
}

/// Whether an argument is the value of the option before it, and not a file's name by itself.
bool isValueOf(const char* before, const CLI::App& command) {
    const auto* option = *before == '-' ? command.get_option_no_throw(before) : nullptr;
    return option != nullptr && option->get_items_expected_max() > 0;
}

/// The arguments, last one first. A name in brackets, where files are listed, would be taken for a list of names: it
/// gets another spelling.
std::vector<std::string> argumentsFor(const CLI::App& command, int argc, char** argv) {
    std::vector<std::string> arguments;
    for (int i = argc - 1; i > 0; --i) {
        std::string argument(argv[i]);
        const bool inBrackets = argument.starts_with('[') && argument.ends_with(']');
        arguments.push_back(inBrackets && !isValueOf(argv[i - 1], command) ? "./" + argument : argument);
    }
    return arguments;
}

/// True when there is a command to run; help and the version are printed here.
bool parse(CLI::App& tool, const Command& first, int argc, char** argv) {
    try {
        tool.parse(argumentsFor(*first.app, argc, argv));
        return true;
    } catch (const CLI::Success& wanted) {
        std::ostringstream text;
        tool.exit(wanted, text, text);
        printResult(text.str());
        return false;
    } catch (const CLI::ParseError& error) {
        const auto commands = tool.get_subcommands();
        throw wrongUsage(whatIsWrong(tool, error, argc, argv), commands.empty() ? nullptr : commands.front());
    }
}

void run(const Command& command) {
    try {
        command.run();
    } catch (const Failure& failure) {
        if (failure.code() == ExitCode::usage) {
            throw wrongUsage(failure.what(), command.app);
        }
        throw;
    }
}

struct Entry {
    std::string_view name;
    Command (*add)(CLI::App&);
};

constexpr std::array entries = {
    Entry{"make", addMake},           Entry{"pages", addPages},         Entry{"squeeze", addSqueeze},
    Entry{"optimize", addOptimize},   Entry{"diagnose", addDiagnose},   Entry{"images", addImages},
    Entry{"info", addInfo},           Entry{"found", addFound},         Entry{"text", addText},
    Entry{"render", addRender},       Entry{"thumbnail", addThumbnail}, Entry{"watermark", addWatermark},
    Entry{"text-layer", addTextLayer}};

/// The command that the arguments begin with, or all: to describe all of them takes as long as to read a small file.
std::vector<Command> addCommands(CLI::App& tool, int argc, char** argv) {
    const std::span<char*> arguments(argv, static_cast<std::size_t>(argc));
    const auto begins = [](std::string_view argument) { return argument != "-q" && argument != "--quiet"; };
    const auto first = std::find_if(arguments.begin() + 1, arguments.end(), begins);
    const auto asked = std::ranges::find_if(
        entries, [&](const Entry& entry) { return first != arguments.end() && entry.name == *first; });
    if (asked != entries.end()) {
        return {asked->add(tool)};
    }
    std::vector<Command> commands;
    for (const Entry& entry : entries) {
        commands.push_back(entry.add(tool));
    }
    return commands;
}

void runTool(int argc, char** argv) {
    CLI::App tool("Makes small, searchable PDFs from scans and recognised text, and looks into PDFs.", "orvexpdf");
    GeneralOptions general;
    addGeneralOptions(tool, general);
    tool.fallthrough(); // general options may stand behind the command, too
    tool.require_subcommand(1);
    const auto commands = addCommands(tool, argc, argv);
    tool.footer(footer);
    if (!parse(tool, commands.front(), argc, argv)) {
        return;
    }
    applyGeneralOptions(general);
    for (const auto& command : commands) {
        if (command.app->parsed()) {
            run(command);
        }
    }
}

/// What fails once an interrupt came or an input was cut short fails for that.
void runToolUntilInterrupted(int argc, char** argv) {
    try {
        runTool(argc, argv);
    } catch (const std::exception&) {
        throwIfInterrupted();
        throw;
    }
}

ExitCode guarded(int argc, char** argv) {
    try {
        runToolUntilInterrupted(argc, argv);
        return ExitCode::done;
    } catch (const Failure& failure) {
        reportError(failure.what());
        return failure.code();
    } catch (const Interrupted& interrupt) {
        dieOf(interrupt);
    } catch (const std::bad_alloc&) {
        reportError("out of memory");
    } catch (const std::exception& error) {
        reportError(error.what());
    }
    return ExitCode::other;
}

/// All is written by now. What libraries tear down before a process ends is taken back by the system anyway, and takes
/// them as long as a page takes to be read; only sanitizers want to see it.
int leave(ExitCode code) {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    std::fflush(nullptr);
    std::_Exit(static_cast<int>(code));
#else
    return static_cast<int>(code);
#endif
}

} // namespace

} // namespace orvex::tool

int main(int argc, char** argv) {
    // Scans come and go as blocks of megabytes: the heap keeps them instead of handing each back to the system.
    constexpr int kept = 64 << 20;
    ::mallopt(M_MMAP_THRESHOLD, kept / 2);
    ::mallopt(M_TRIM_THRESHOLD, kept);
    orvex::tool::reserveStandardOutput();
    orvex::tool::watchInterrupts();
    return orvex::tool::leave(orvex::tool::guarded(argc, argv));
}
