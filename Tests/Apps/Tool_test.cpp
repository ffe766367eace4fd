#include "ToolSupport.h"

namespace orvex::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class Tool : public ToolTest {};

TEST_F(Tool, HelpTeaches) {
    const auto help = toolOutput("--help");
    for (const auto* text : {"make", "info", "--log-level", "--quiet", "--version", "Exit codes", "password"}) {
        EXPECT_THAT(help, HasSubstr(text));
    }
    const auto make = toolOutput("make --help");
    for (const auto* text :
         {"Examples:", "--found", "--squeeze", "--rotate", "--title", "--author", "--dpi", "strong"}) {
        EXPECT_THAT(make, HasSubstr(text));
    }
    EXPECT_THAT(toolOutput("info --help"), HasSubstr("--json"));
}

TEST_F(Tool, HelpFitsATerminal) {
    for (const auto* command : {"--help", "make --help", "info --help"}) {
        std::istringstream text(toolOutput(command));
        for (std::string line; std::getline(text, line);) {
            EXPECT_LE(line.size(), 100U) << line;
        }
    }
}

TEST_F(Tool, TellsItsVersion) {
    EXPECT_THAT(toolOutput("--version"), testing::MatchesRegex("orvexpdf [0-9.]+\n"));
}

TEST_F(Tool, RefusesWrongUsageWithALine) {
    copySample("2-letter.jpg", "a.jpg");
    write("f.json", "{}");
    struct Case {
        std::string arguments;
        std::string part;
    };
    const std::vector<Case> cases = {
        {"", "--help"},
        {"bake", "bake"},
        {"make a.jpg -o out.pdf --sqeeze strong", "--sqeeze"},
        {"make a.jpg", "--output"},
        {"make -o out.pdf", "IMAGE"},
        {"make a.jpg -o", "--output"},
        {"make a.jpg -o out.pdf --rotate 45", "45"},
        {"make a.jpg -o out.pdf --rotate left", "left"},
        {"make a.jpg -o out.pdf --dpi 0", "--dpi"},
        {"make a.jpg -o out.pdf --dpi many", "many"},
        {"make a.jpg -o out.pdf --log-level loud", "loud"},
        {"make - - -o out.pdf", "standard input"},
        {"make - --found - -o out.pdf", "standard input"},
        {"info", "FILE"},
        {"info a.pdf b.pdf", "b.pdf"},
    };
    for (const auto& one : cases) {
        expectRefusal("orvexpdf " + one.arguments, usage, {one.part});
    }
}

TEST_F(Tool, LogsOnStandardErrorOnly) {
    copySample("2-letter.jpg", "a.jpg");
    const auto result = tool("make a.jpg -o - --log-level debug");
    EXPECT_EQ(result.exitCode, done);
    EXPECT_THAT(result.output, StartsWith("%PDF-"));
    EXPECT_THAT(result.errors, HasSubstr("debug Manager _insert(page:atIndex:meta:): Insert at: -1"));
    EXPECT_THAT(result.errors, HasSubstr("debug Manager+Meta generatePage(meta:): Page meta: rotation = 0"));
    write("out.pdf", result.output);
    expectSound("out.pdf");
}

TEST_F(Tool, QuietSaysNothing) {
    copySample("2-letter.jpg", "a.jpg");
    EXPECT_EQ(tool("make a.jpg -o out.pdf --quiet").errors, "");
    EXPECT_EQ(tool("--quiet make a.jpg -o out.pdf").errors, "");
    EXPECT_THAT(tool("make a.jpg -o out.pdf").errors, HasSubstr("wrote out.pdf: 1 page, 7"));
    expectRefusal("orvexpdf -q make none.jpg -o out.pdf", unreadable, {"none.jpg"});
}

TEST_F(Tool, ShowsNoBarWhereNobodyWatches) {
    copySample("1-article.jpg", "a.jpg");
    const auto result = tool("make a.jpg a.jpg a.jpg a.jpg a.jpg a.jpg -o out.pdf --squeeze medium");
    EXPECT_THAT(result.errors, Not(HasSubstr("[#")));
    EXPECT_THAT(result.errors, Not(HasSubstr("\r")));
}

TEST_F(Tool, ShowsABarOnATerminalAndTakesItAway) {
    if (!hasProgram("script")) {
        GTEST_SKIP() << "no program here that gives a command a terminal";
    }
    copySample("1-article.jpg", "a.jpg");
    std::string images;
    for (int i = 0; i < 60; ++i) {
        images += " a.jpg";
    }
    const auto seen = shell("script -qec " + quoted(toolPath + " make" + images + " -o out.pdf --squeeze low") +
                            " /dev/null </dev/null")
                          .output;
    EXPECT_THAT(seen, HasSubstr("Making pages ["));
    EXPECT_THAT(seen, testing::ContainsRegex("\r\x1b\\[Korvexpdf: wrote out.pdf: 60 pages"));
}

TEST_F(Tool, LeavesNothingBehindWhenItIsInterrupted) {
    copySample("1-article.jpg", "a.jpg");
    std::string images;
    for (int i = 0; i < 60; ++i) {
        images += " a.jpg";
    }
    const auto result = shell("timeout --preserve-status -s INT 1 " + quoted(toolPath) + " make" + images +
                              " -o out.pdf --squeeze low");
    EXPECT_EQ(result.exitCode, 128 + 2);
    EXPECT_THAT(names(), testing::ElementsAre("a.jpg"));
}

TEST_F(Tool, WritesToAClosedOrFullStandardOutputAsAnError) {
    copySample("2-letter.jpg", "a.jpg");
    expectRefusal("orvexpdf make a.jpg -o - >/dev/full", notWritten, {"standard output", "No space left"});
    expectRefusal("orvexpdf --help >/dev/full", notWritten, {"standard output"});
    expectRefusal("orvexpdf make a.jpg -o - >&-", notWritten, {"standard output"});
    expectRefusal("bash -o pipefail -c " + quoted(quoted(toolPath) + " make a.jpg -o - | true"), notWritten,
                  {"Broken pipe"});
}

TEST_F(Tool, SurvivesClosedStandardStreams) {
    copySample("2-letter.jpg", "a.jpg");
    EXPECT_EQ(shell("orvexpdf make a.jpg -o out.pdf <&- >&- 2>&-").exitCode, done);
    expectSound("out.pdf");
}

} // namespace
} // namespace orvex::test
