#include "ToolSupport.h"

#include "Support/PDFFixture.h"

namespace orvex::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class Streams : public ToolTest {
protected:
    void SetUp() override { write("a.pdf", pdfFromPages({{showing("words")}})); }
    /// Runs a command that names the pipe "in" as an input. What comes from it, the contents of a.pdf, comes late.
    [[nodiscard]] CommandResult waitingFor(double seconds, const std::string& command) const {
        return shell("rm -f in && mkfifo in && { (sleep " + std::to_string(seconds) + "; cat a.pdf >in) & " + command +
                     "; code=$?; wait; exit $code; }");
    }
};

/// The tool's command on a terminal; what it prints there and its exit code.
std::string onATerminal(const std::string& arguments) {
    return "script -qec " + quoted(quoted(toolPath) + " " + arguments) + " /dev/null </dev/null";
}

TEST_F(Streams, ThatAreATerminalGetTextAndNothingElse) {
    if (!hasProgram("script")) {
        GTEST_SKIP() << "no program here that gives a command a terminal";
    }
    const std::vector<std::pair<std::string, std::string>> cases = {{"text a.pdf", "words\r\n"},
                                                                    {"found a.pdf --page 1", "\"words\""}};
    for (const auto& [arguments, part] : cases) {
        const auto result = shell(onATerminal(arguments));
        EXPECT_EQ(result.exitCode, done) << result.output;
        EXPECT_THAT(result.output, HasSubstr(part));
    }
    for (const std::string arguments :
         {"render a.pdf --page 1 -o -", "pages a.pdf --reverse -o -", "pages a.pdf --reverse -o /dev/stdout"}) {
        const auto result = shell(onATerminal(arguments));
        EXPECT_EQ(result.exitCode, usage) << arguments;
        EXPECT_THAT(result.output, StartsWith("orvexpdf: such a result is not for a terminal")) << arguments;
    }
}

TEST_F(Streams, AreKnownByTheNamesThatTheSystemHasForThem) {
    for (const std::string name : {"-", "/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"}) {
        const auto result = tool("pages a.pdf --reverse -o " + name);
        EXPECT_EQ(result.exitCode, done) << name;
        EXPECT_THAT(result.output, StartsWith("%PDF-")) << name;
        EXPECT_EQ(result.errors, "orvexpdf: wrote standard output\n") << name;
    }
}

TEST_F(Streams, ShowABarToWhomeverWatchesAndTakeItAway) {
    if (!hasProgram("script")) {
        GTEST_SKIP() << "no program here that gives a command a terminal";
    }
    // The bar comes with the first piece of work that is done after a second, and goes when there is something to say.
    const auto seen = waitingFor(1.2, onATerminal("text a.pdf in missing.pdf -o out.txt")).output;
    EXPECT_THAT(seen, HasSubstr("Reading files [####################..........] 2/3"));
    EXPECT_THAT(seen, HasSubstr("2/3\r\x1b[Korvexpdf: cannot read missing.pdf"));
    const auto printed = waitingFor(1.2, onATerminal("text a.pdf in missing.pdf")).output;
    EXPECT_THAT(printed, Not(HasSubstr("Reading files"))); // it would stand between the lines of text
}

TEST_F(Streams, ShowNoBarWhereNobodyWatches) {
    EXPECT_EQ(waitingFor(1.2, "orvexpdf text a.pdf in -o out.txt").errors, "");
}

TEST_F(Streams, ArePipesOfAnyKindAndAreReadOnce) {
    std::vector<FixturePage> pages(40, {showing("long")});
    write("long.pdf", pdfFromPages(pages));
    const std::string words = "words\n\f";
    for (const double delay : {0.0, 0.3}) {
        const auto result = waitingFor(delay, "orvexpdf text in");
        EXPECT_EQ(result.output, words) << result.errors;
    }
    EXPECT_EQ(oracle("mkfifo waits && { cat a.pdf >waits & sleep 0.2; orvexpdf text waits; }"), words);
    EXPECT_EQ(oracle("cat a.pdf | orvexpdf text /dev/stdin"), words);
    const auto several =
        "{ cat long.pdf >long & orvexpdf text a.pdf long a.pdf | tr -d '\\f' | grep -c .; }"; // more than is read ahead
    EXPECT_EQ(oracle("mkfifo long && " + std::string(several)), "42\n");
    expectRefusal("orvexpdf info /dev/null", unusable, {"/dev/null: not a PDF"});
}

TEST_F(Streams, OfInputAreNamedOnce) {
    copySample("2-letter.jpg", "a.jpg");
    for (const std::string command :
         {"text-layer - --found - -o x.pdf", "text-layer a.pdf --found - --found - --in-place",
          "render - --page 1 --found - -o x.png", "squeeze - --mode - -o x.pdf", "optimize - --mode - -o x.png",
          "make - --squeeze - -o x.pdf", "make - --found - -o x.pdf", "make - - -o x.pdf", "text - -",
          "pages - --append - -o x.pdf"}) {
        expectRefusal("orvexpdf " + command + " <a.jpg", usage, {"standard input (-) can be read only once"});
    }
}

TEST_F(Streams, OfOutputThatAreClosedOrFullAreAnError) {
    copySample("2-letter.jpg", "a.jpg");
    expectRefusal("orvexpdf make a.jpg -o - >/dev/full", notWritten, {"standard output", "No space left"});
    expectRefusal("orvexpdf --help >/dev/full", notWritten, {"standard output"});
    expectRefusal("orvexpdf make a.jpg -o - >&-", notWritten, {"standard output"});
    expectRefusal("bash -o pipefail -c " + quoted(quoted(toolPath) + " make a.jpg -o - | true"), notWritten,
                  {"Broken pipe"});
}

TEST_F(Streams, MayBeClosed) {
    copySample("2-letter.jpg", "a.jpg");
    EXPECT_EQ(shell("orvexpdf make a.jpg -o out.pdf <&- >&- 2>&-").exitCode, done);
    expectSound("out.pdf");
}

} // namespace
} // namespace orvex::test
