#include "ToolSupport.h"

#include "Support/PDFFixture.h"

namespace orvex::test {
namespace {

using testing::HasSubstr;
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

const std::vector<std::string> commands = {"make",  "pages", "squeeze", "optimize",  "diagnose",  "images",    "info",
                                           "found", "text",  "render",  "thumbnail", "watermark", "text-layer"};

TEST_F(Tool, HelpFitsATerminalAndHasExamples) {
    const auto overview = toolOutput("--help");
    for (const auto& command : commands) {
        EXPECT_THAT(overview, HasSubstr("\n  " + command + " "));
        const auto help = toolOutput(command + " --help");
        EXPECT_THAT(help, HasSubstr("Examples:\n  orvexpdf " + command + " ")) << command;
        std::istringstream text(overview + help);
        for (std::string line; std::getline(text, line);) {
            EXPECT_LE(line.size(), 92U) << line;
        }
    }
}

TEST_F(Tool, WrongUsagePointsToTheHelpOfItsCommand) {
    for (const auto& command : commands) {
        const std::string pointer = " (see orvexpdf " + command + " --help)\n";
        expectRefusal("orvexpdf " + command, usage, {" is required", pointer});
        expectRefusal("orvexpdf " + command + " --sqeeze", usage, {pointer});
    }
    copySample("2-letter.jpg", "a.jpg");
    toolOutput("make a.jpg -o a.pdf");
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"pages a.pdf -o b.pdf", "nothing to do: no operation is given (see orvexpdf pages --help)\n"},
        {"pages a.pdf --reverse", "either -o or --in-place is needed (see orvexpdf pages --help)\n"},
        {"pages a.pdf --reverse -o b.pdf --in-place", "-o and --in-place cannot be had both (see orvexpdf pages"},
        {"pages a.pdf --remove 2 -o b.pdf", "pages 2: the document has 1 page (see orvexpdf pages --help)\n"},
        {"squeeze a.pdf --mode strong --pages x -o b.pdf",
         "not a list of pages like 1-3,7,9-end (see orvexpdf squeeze"},
        {"images a.pdf --page 2 -o folder", "pages 2: the document has 1 page (see orvexpdf images --help)\n"},
        {"optimize a.jpg --mode strong -o a.jpg", "a.jpg is an input: it would be overwritten (see orvexpdf optimize"},
        {"optimize a.jpg --mode strong -o b.jpg --dpi 0",
         "--dpi: 0 is not a number from 1 to 100000 (see orvexpdf opt"},
        {"diagnose a.jpg --quality 1.1", "--quality: 1.1 is not a number from 0 to 1 (see orvexpdf diagnose --help)\n"},
        {"found a.pdf --page 1 --pages 1", "--page"},
        {"found a.pdf --page 1,1", "--page takes one page; --pages takes several (see orvexpdf found --help)\n"},
        {"text a.pdf --pages 2", "pages 2: the document has 1 page (see orvexpdf text --help)\n"},
        {"bake a.pdf", "bake: no such command (see orvexpdf --help)\n"},
    };
    for (const auto& [arguments, message] : cases) {
        expectRefusal("orvexpdf " + arguments, usage, {message});
    }
}

/// Each command that reads a PDF, at work on FILE.
const std::vector<std::string> pdfCommands = {"pages FILE --reverse -o out.pdf",
                                              "squeeze FILE --mode strong -o out.pdf",
                                              "watermark FILE --text DRAFT -o out.pdf",
                                              "text-layer FILE --found found.json -o out.pdf",
                                              "images FILE -o folder",
                                              "found FILE -o out.json",
                                              "text FILE -o out.txt",
                                              "info FILE",
                                              "thumbnail FILE --page 1 --size 9x9 -o out.png",
                                              "render FILE --page 1 --dpi 9 -o out.png"};

std::string with(std::string command, const std::string& file) {
    return "orvexpdf " + command.replace(command.find("FILE"), 4, file);
}

TEST_F(Tool, EncryptedPDFsOpenWithAPasswordWhateverTheCommand) {
    write("plain.pdf", pdfFromPages({{showing("words")}}));
    oracle("qpdf --encrypt user owner 256 -- plain.pdf a.pdf");
    write("found.json", R"({"pages":[{}]})");
    for (const auto& command : pdfCommands) {
        expectRefusal(with(command, "a.pdf"), locked, {"a.pdf: a password is needed"});
        expectRefusal(with(command, "a.pdf --password other"), locked, {"a.pdf: the password is not the right one"});
        EXPECT_EQ(shell(with(command, "a.pdf --password user")).exitCode, done) << command;
        if (command.ends_with("out.pdf")) { // what was changed needs the password as before
            EXPECT_EQ(shell("qpdf --requires-password out.pdf").exitCode, 0) << command;
            EXPECT_EQ(shell("qpdf --password=user --check out.pdf").exitCode, 0) << command;
            std::filesystem::remove(path("out.pdf"));
        }
    }
    EXPECT_THAT(toolOutput("text a.pdf --password owner"), StartsWith("words\n"));
}

TEST_F(Tool, InputsAreNamedWhenTheyCannotBeUsedAndNeverChanged) {
    write("good.pdf", pdfFromPages({{showing("words")}, {""}}));
    const auto good = read("good.pdf");
    write("text.pdf", "This is a text, whatever its name says.\n");
    write("cut.pdf", good.slice(0, 300));
    write("found.json", R"({"pages":[{}]})");
    for (const auto& command : pdfCommands) {
        expectRefusal(with(command, "missing.pdf"), unreadable, {"missing.pdf: No such file or directory"});
        expectRefusal(with(command, "text.pdf"), unusable, {"text.pdf: not a PDF"});
        expectRefusal(with(command, "cut.pdf"), unusable, {"cut.pdf: damaged PDF"});
        expectRefusal(with(command, "- </dev/null"), unusable, {"standard input: not a PDF"});
        EXPECT_EQ(shell(with(command, "- <good.pdf")).exitCode, done) << command;
        const auto work = with(command, "good.pdf");
        EXPECT_EQ(shell(work).exitCode, done) << command;
        EXPECT_EQ(read("good.pdf"), good) << command;
        if (const auto output = work.find("-o out."); output != std::string::npos) {
            expectRefusal(work.substr(0, output) + "-o good.pdf", usage,
                          {"good.pdf is an input: it would be overwritten"});
        }
        EXPECT_EQ(read("good.pdf"), good) << command;
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

TEST_F(Tool, TakesFileNamesInBracketsAsTheyAre) {
    copySample("3-price-list.png", "[a]");
    copySample("3-price-list.png", "[a,b]");
    write("[f.json]", R"({"size":{"w":9,"h":9},"items":[{"text":"words","box":{"x":1,"y":1,"w":5,"h":2}}]})");
    toolOutput("make [a] [a,b] [a] --found [f.json] --title [t,u] -o [o.pdf]");
    EXPECT_EQ(pdfinfo("[o.pdf]", "Pages"), "3");
    EXPECT_EQ(pdfinfo("[o.pdf]", "Title"), "[t,u]");
    EXPECT_EQ(toolOutput("text [o.pdf] [o.pdf]"), "words\n\f\f\fwords\n\f\f\f");
    toolOutput("pages [o.pdf] --append [a,b] -o [p.pdf]");
    EXPECT_EQ(pdfinfo("[p.pdf]", "Pages"), "4");
    expectRefusal("orvexpdf make [a] [c] -o q.pdf", unreadable, {"[c]: No such file"});
}

TEST_F(Tool, TakesOneFileBehindFound) {
    copySample("3-price-list.png", "a.png");
    write("f.json", R"({"size":{"w":9,"h":9},"items":[]})");
    toolOutput("make --found f.json a.png -o b.pdf");
    toolOutput("text-layer --found f.json b.pdf -o c.pdf");
    toolOutput("render --found f.json b.pdf --page 1 -o c.png");
}

TEST_F(Tool, OverwritesNoInputOfAnyKind) {
    write("a.pdf", pdfFromPages({{showing("words")}}));
    copySample("3-price-list.png", "a.png");
    write("f.json", R"({"size":{"w":9,"h":9},"items":[]})");
    write("g.json", R"({"size":{"w":9,"h":9},"items":[]})");
    write("p.json", R"({"id":"x","title":"X","dpi":50,"quality":90,"colors":"colors","method":"best"})");
    for (const std::string command :
         {"text-layer a.pdf --found f.json -o f.json", "text-layer a.pdf --found g.json --found f.json -o ./f.json",
          "render a.pdf --page 1 --found f.json -o f.json", "squeeze a.pdf --mode p.json -o p.json",
          "optimize a.png --mode p.json -o p.json", "make a.png --squeeze p.json -o p.json",
          "make a.png --found f.json -o f.json"}) {
        expectRefusal("orvexpdf " + command, usage, {"json is an input: it would be overwritten"});
    }
    write("strong", "not read when a preset has this name");
    EXPECT_EQ(tool("squeeze a.pdf --mode strong -o strong").exitCode, done);
    expectSound("strong");
}

} // namespace
} // namespace orvex::test
