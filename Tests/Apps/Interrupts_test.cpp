#include "ToolSupport.h"

#include "Support/PDFFixture.h"

namespace orvex::test {
namespace {

using testing::ElementsAre;

class Interrupts : public ToolTest {
protected:
    void SetUp() override { write("a.pdf", pdfFromPages({{showing("words")}})); }
    /// Starts a command that names the pipe "in" as an input, and lets the shell do something, knowing the process as
    /// $tool, while it waits for what comes from there. Nothing does for twenty seconds, and then the pipe ends.
    [[nodiscard]] CommandResult during(const std::string& arguments, const std::string& action,
                                       const std::string& signals = "--default-signal") const {
        return shell("rm -f in && mkfifo in && { env " + signals + " " + quoted(toolPath) + " " + arguments +
                     " & tool=$!; exec 3>in; sleep 20 & pipe=$!; " + action +
                     "; exec 3>&-; wait $tool; code=$?; kill $pipe 2>/dev/null || exit 99; exit $code; }");
    }
};

TEST_F(Interrupts, EndACommandThatWaitsForItsInput) {
    copySample("2-letter.jpg", "a.jpg");
    for (const std::string arguments : {"info in", "text a.pdf in -o out.txt", "make a.jpg in -o out.pdf",
                                        "text-layer a.pdf --found in --in-place"}) {
        EXPECT_EQ(during(arguments, "kill -INT $tool").exitCode, 128 + 2) << arguments;
        EXPECT_EQ(during(arguments, "kill -TERM $tool").exitCode, 128 + 15) << arguments;
        EXPECT_THAT(names(), ElementsAre("a.jpg", "a.pdf", "in")) << arguments;
    }
}

TEST_F(Interrupts, EndACommandThatWaitsForAReaderOfItsOutput) {
    const auto result = shell("mkfifo out && timeout --preserve-status -s INT 0.5 " + quoted(toolPath) +
                              " pages a.pdf --reverse -o out");
    EXPECT_EQ(result.exitCode, 128 + 2);
    EXPECT_EQ(result.errors, "");
}

TEST_F(Interrupts, EndWorkAndLeaveNothingBehind) {
    copySample("1-article.jpg", "a.jpg");
    std::string images;
    for (int i = 0; i < 60; ++i) {
        images += " a.jpg";
    }
    const auto result =
        shell("timeout --preserve-status -s INT 1 " + onOneCore() + " make" + images + " -o out.pdf --squeeze low");
    EXPECT_EQ(result.exitCode, 128 + 2);
    EXPECT_THAT(names(), ElementsAre("a.jpg", "a.pdf"));
}

TEST_F(Interrupts, ThatTheCallerIgnoresAreIgnored) {
    const auto result =
        during("text a.pdf in", "kill -HUP $tool; kill -INT $tool; cat a.pdf >&3; kill $pipe; sleep 20 3>&- & pipe=$!",
               "--default-signal --ignore-signal=HUP,INT");
    EXPECT_EQ(result.exitCode, done) << result.errors;
    EXPECT_EQ(result.output, "words\n\fwords\n\f");
}

TEST_F(Interrupts, OfAnInputNameTheFileThatWasCutShort) {
    copySample("1-article.jpg", "a.jpg");
    copySample("1-article.jpg", "cut.jpg");
    // On one core the files are read in their order: the head of the first has been read, and its pixels have not.
    const auto result = shell("mkfifo in && { " + onOneCore() +
                              " make cut.jpg in -o out.pdf --squeeze low & exec 3>in; "
                              "truncate -s 5000 cut.jpg; cat a.jpg >&3; exec 3>&-; wait $!; }");
    EXPECT_EQ(result.exitCode, unreadable);
    EXPECT_EQ(result.errors, "orvexpdf: cut.jpg: cut short while it was being read\n");
    EXPECT_FALSE(exists("out.pdf"));
}

} // namespace
} // namespace orvex::test
