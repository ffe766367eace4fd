#include "ToolSupport.h"

#include "Support/PDFFixture.h"

namespace orvex::test {
namespace {

using testing::HasSubstr;

class Text : public ToolTest {
protected:
    /// A PDF whose pages say name and number, and what the tool is to print of it.
    [[nodiscard]] std::string writeNumbered(const std::string& name, int count) const {
        std::vector<FixturePage> pages;
        std::string printed;
        for (int page = 1; page <= count; ++page) {
            const std::string text = name + " " + std::to_string(page);
            pages.push_back({showing(text)});
            printed += text + "\n\f";
        }
        write(name + ".pdf", pdfFromPages(pages));
        return printed;
    }
    /// Most memory that a command of the tool holds at a time, in MiB.
    [[nodiscard]] double peakOf(const std::string& arguments) const {
        return std::stod("0" + oracle("python3 -c 'import resource, subprocess, sys; subprocess.run(sys.argv[1:], "
                                      "check=True, stdout=subprocess.DEVNULL); "
                                      "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss / 1024)' " +
                                      quoted(toolPath) + " " + arguments));
    }
};

TEST_F(Text, PrintsRecognisedWordsOfOneRowAsOneLine) {
    write("blank.pdf", pdfFromPages({{}}));
    write("words.json", R"({"size":{"w":612,"h":792},"items":[
        {"text":"Two","box":{"x":50,"y":50,"w":30,"h":12}},{"text":"words","box":{"x":84,"y":51,"w":40,"h":9}},
        {"text":"column","box":{"x":300,"y":50,"w":40,"h":12}},{"text":"below","box":{"x":344,"y":66,"w":40,"h":12}},
        {"text":"東","box":{"x":50,"y":90,"w":12,"h":12}},{"text":"京","box":{"x":63,"y":90,"w":12,"h":12}},
        {"text":"אחד","box":{"x":300,"y":120,"w":30,"h":12}},{"text":"שתיים","box":{"x":260,"y":120,"w":36,"h":12}}]})");
    toolOutput("text-layer blank.pdf --pages 1 --found words.json -o words.pdf");
    EXPECT_EQ(toolOutput("text words.pdf"), "Two words\ncolumn\nbelow\n東京\nאחד שתיים\n\f");
}

TEST_F(Text, PrintsLinesAndFormFeeds) {
    write("a.pdf", pdfFromPages({{showing("One")}, {}, {showing("Three")}}));
    EXPECT_EQ(toolOutput("text a.pdf"), "One\n\f\fThree\n\f");
    EXPECT_EQ(toolOutput("text a.pdf --pages 3"), "Three\n\f");
    EXPECT_EQ(toolOutput("text a.pdf --page 1"), "One\n\f");
    EXPECT_THAT(toolOutput("text --help"), HasSubstr("--pages"));
    expectRefusal("orvexpdf text a.pdf --pages 9223372036854775807", usage, {"the document has 3 pages"});
}

TEST_F(Text, PrintsSeveralFilesInTheOrderNamed) {
    const auto a = writeNumbered("a", 2);
    const auto b = writeNumbered("b", 1);
    EXPECT_EQ(toolOutput("text b.pdf a.pdf b.pdf b.pdf"), b + a + b + b);
    EXPECT_EQ(toolOutput("text a.pdf - < b.pdf"), a + b);
    const auto c = writeNumbered("c", 50);
    EXPECT_EQ(toolOutput("text a.pdf - b.pdf < c.pdf"), a + c + b);
    EXPECT_EQ(toolOutput("text a.pdf b.pdf -o out.txt"), "");
    EXPECT_EQ(read("out.txt").text(), a + b);
}

TEST_F(Text, KeepsTheOrderOfManyFilesShortAndLong) {
    std::string files;
    std::string printed;
    for (int i = 0; i < 60; ++i) {
        const std::string name = "f" + std::to_string(i);
        printed += writeNumbered(name, i % 7 == 0 ? 90 : 1 + i % 3);
        files += " " + name + ".pdf";
    }
    EXPECT_EQ(toolOutput("text" + files), printed);
    EXPECT_EQ(oracle(onOneCore() + " text" + files), printed);
}

TEST_F(Text, PrintsShortFilesWithMuchTextBetweenOthers) {
    std::string content = "BT /F1 8 Tf 1 0 0 1 20 99980 Tm 10 TL";
    for (int row = 0; row < 9000; ++row) {
        content += " (" + std::to_string(row) + std::string(130, 'x') + ") Tj T*";
    }
    write("much.pdf", pdfFromPages({{content + " ET", "[0 0 100000 100000]"}, {showing("end")}}));
    const auto a = writeNumbered("a", 1);
    const auto much = toolOutput("text much.pdf");
    EXPECT_GT(much.size(), std::size_t{1} << 20);
    EXPECT_EQ(toolOutput("text a.pdf much.pdf a.pdf much.pdf"), a + much + a + much);
}

TEST_F(Text, TakesTheSamePagesOfEachFile) {
    static_cast<void>(writeNumbered("a", 3));
    static_cast<void>(writeNumbered("b", 2));
    EXPECT_EQ(toolOutput("text a.pdf b.pdf --pages end,1"), "a 3\n\fa 1\n\fb 2\n\fb 1\n\f");
    const auto result = tool("text b.pdf a.pdf b.pdf --page 3");
    EXPECT_EQ(result.exitCode, usage);
    EXPECT_EQ(result.output, "a 3\n\f");
    EXPECT_EQ(result.errors, "orvexpdf: b.pdf: pages 3: the document has 2 pages\n"
                             "orvexpdf: b.pdf: pages 3: the document has 2 pages\n"
                             "orvexpdf: 2 of 3 files could not be read (see orvexpdf text --help)\n");
    for (const auto* list : {"x", "1-", "1,,2", "-1", "0x1", "99999999999999999999"}) {
        expectRefusal("orvexpdf text a.pdf b.pdf --pages=" + std::string(list), usage, {"not a list of pages"});
    }
}

TEST_F(Text, NamesFilesThatCannotBeReadAndPrintsTheOthers) {
    const auto a = writeNumbered("a", 1);
    const auto b = writeNumbered("b", 40);
    write("text.pdf", "This is a text.\n");
    oracle("qpdf --encrypt user owner 256 -- a.pdf locked.pdf");
    const std::string files = "missing.pdf a.pdf text.pdf locked.pdf b.pdf";
    const std::string errors = "orvexpdf: cannot read missing.pdf: No such file or directory\n"
                               "orvexpdf: text.pdf: not a PDF\n"
                               "orvexpdf: locked.pdf: a password is needed\n"
                               "orvexpdf: 3 of 5 files could not be read\n";
    for (const std::string option : {"", "--quiet "}) {
        const auto result = tool("text " + option + files);
        EXPECT_EQ(result.exitCode, unreadable);
        EXPECT_EQ(result.output, a + b);
        EXPECT_EQ(result.errors, errors);
    }
    EXPECT_EQ(tool("text " + files + " -o out.txt").errors, errors);
    EXPECT_EQ(read("out.txt").text(), a + b);
    EXPECT_EQ(tool("text a.pdf text.pdf missing.pdf").exitCode, unusable);
    EXPECT_EQ(tool("text a.pdf locked.pdf").exitCode, locked);
}

TEST_F(Text, APageThatCannotBeReadIsNamedAndTheOthersArePrinted) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers need more memory than is given here";
#endif
    // The middle page unpacks to 600 megabytes.
    oracle("python3 -c 'import sys, zlib; sys.stdout.buffer.write(zlib.compress(b\" \" * 600000000, 1))' >packed");
    const std::string page = "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents ";
    const std::string font = " 0 R /Resources << /Font << /F1 9 0 R >> >> >>";
    write("a.pdf",
          pdfFromObjects({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Count 3 /Kids [3 0 R 4 0 R 5 0 R] >>",
                          page + "6" + font, page + "7" + font, page + "8" + font, streamBody(showing("One")),
                          streamBody(std::string(read("packed").text()), "/Filter /FlateDecode"),
                          streamBody(showing("Three")), "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"}));
    for (const std::string files : {"a.pdf", "a.pdf a.pdf"}) {
        const auto result = shell("ulimit -v 500000; orvexpdf text " + files);
        EXPECT_EQ(result.exitCode, done) << result.errors;
        EXPECT_THAT(result.output, testing::StartsWith("One\n\f\fThree\n\f"));
        EXPECT_THAT(result.errors, HasSubstr("warning: a.pdf: page 2: text not read: out of memory\n"));
    }
}

TEST_F(Text, WritesNothingWhenNoFileCanBeRead) {
    write("text.pdf", "This is a text.\n");
    const auto result = tool("text text.pdf missing.pdf -o out.txt");
    EXPECT_EQ(result.exitCode, unusable);
    EXPECT_THAT(result.errors, HasSubstr("2 of 2 files could not be read"));
    EXPECT_FALSE(exists("out.txt"));
}

TEST_F(Text, OpensAllFilesWithThePassword) {
    const auto a = writeNumbered("a", 1);
    const auto b = writeNumbered("b", 1);
    oracle("qpdf --encrypt user owner 256 -- b.pdf locked.pdf");
    oracle("qpdf --encrypt other owner 256 -- b.pdf other.pdf");
    EXPECT_EQ(toolOutput("text a.pdf locked.pdf --password user"), a + b);
    EXPECT_EQ(toolOutput("text other.pdf locked.pdf --password owner"), b + b);
    const auto result = tool("text other.pdf locked.pdf a.pdf --password user");
    EXPECT_EQ(result.exitCode, locked);
    EXPECT_EQ(result.output, b + a);
    EXPECT_THAT(result.errors, HasSubstr("other.pdf: the password is not the right one\n"));
}

TEST_F(Text, RefusesWhatSeveralFilesCannotShare) {
    static_cast<void>(writeNumbered("a", 1));
    static_cast<void>(writeNumbered("b", 1));
    expectRefusal("orvexpdf text", usage, {"FILE is required"});
    expectRefusal("orvexpdf text - a.pdf - < b.pdf", usage, {"standard input (-) can be read only once"});
    expectRefusal("orvexpdf text a.pdf b.pdf -o b.pdf", usage, {"b.pdf is an input: it would be overwritten"});
    expectRefusal("orvexpdf text a.pdf b.pdf -o missing/out.txt", notWritten, {"missing/out.txt"});
    expectRefusal("orvexpdf text a.pdf b.pdf >/dev/full", notWritten, {"standard output"});
}

TEST_F(Text, GivesTheMemoryOfEachFileBack) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers keep what was freed";
#endif
    static_cast<void>(writeNumbered("a", 2000));
    std::string files;
    for (int i = 0; i < 200; ++i) {
        files += " a.pdf";
    }
    // As many as may be ahead at a time, against many more; read by a thread each, and page by page.
    for (const std::string command : {"text --page 1", "text --pages 1-33"}) {
        EXPECT_LT(peakOf(command + files), 2 * peakOf(command + files.substr(0, files.size() / 5))) << command;
    }
}

} // namespace
} // namespace orvex::test
