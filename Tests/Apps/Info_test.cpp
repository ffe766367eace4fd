#include "ToolSupport.h"

#include "Support/PDFFixture.h"

namespace orvex::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

class Info : public ToolTest {
protected:
    /// What a Python expression says about the JSON that info gives for a file, as `d`.
    [[nodiscard]] std::string ask(const std::string& file, const std::string& expression) const {
        auto text = oracle("orvexpdf info --json " + quoted(file) +
                           " | python3 -c 'import json, sys; d = json.load(sys.stdin); print(" + expression + ")'");
        return text.substr(0, text.find('\n'));
    }
};

TEST_F(Info, HasExactlyTheDocumentedKeys) {
    write("a.pdf", pdfFromPages({{}, {}}));
    EXPECT_EQ(ask("a.pdf", "list(d)"), "['pageCount', 'title', 'author', 'creator', 'producer', 'originalBytes', "
                                       "'documentBytes', 'pages']");
    EXPECT_EQ(ask("a.pdf", "list(d[\"pages\"][1])"), "['index', 'id', 'mediaBox', 'rotation', 'hasText', 'fresh']");
}

TEST_F(Info, TellsTheFileAsItIs) {
    const auto data = pdfFromPages({{showing("Hello")}, {"", "[-10 20.5 190 320.25]", "/Rotate -90"}},
                                   "/Title (A \"title\") /Author <FEFF00C9> /Creator (Writer) /Producer (Engine 1.0)");
    write("a.pdf", data);
    EXPECT_EQ(ask("a.pdf", "(d[\"pageCount\"], d[\"title\"], d[\"author\"], d[\"creator\"], d[\"producer\"])"),
              "(2, 'A \"title\"', 'É', 'Writer', 'Engine 1.0')");
    const auto size = std::to_string(data.size());
    EXPECT_EQ(ask("a.pdf", "(d[\"originalBytes\"], d[\"documentBytes\"])"), "(" + size + ", " + size + ")");
    EXPECT_EQ(ask("a.pdf", "[p[\"index\"] for p in d[\"pages\"]]"), "[0, 1]");
    EXPECT_EQ(ask("a.pdf", "[p[\"mediaBox\"] for p in d[\"pages\"]]"), "[[0, 0, 612, 792], [-10, 20.5, 200, 299.75]]");
    EXPECT_EQ(ask("a.pdf", "[p[\"rotation\"] for p in d[\"pages\"]]"), "[0, 270]");
    EXPECT_EQ(ask("a.pdf", "[p[\"hasText\"] for p in d[\"pages\"]]"), "[True, False]");
    EXPECT_EQ(ask("a.pdf", "[p[\"fresh\"] for p in d[\"pages\"]]"), "[False, False]");
    EXPECT_EQ(ask("a.pdf", "len(set(p[\"id\"] for p in d[\"pages\"]))"), "2");
}

TEST_F(Info, ShowsPeopleATable) {
    write("a.pdf", pdfFromPages({{showing("Hello")}, {"", "[0 0 595.276 841.89]", "/Rotate 90"}}, "/Title (Two)"));
    const auto text = toolOutput("info a.pdf");
    EXPECT_THAT(text, HasSubstr("Title:    Two\n"));
    EXPECT_THAT(text, HasSubstr("Pages:    2\n"));
    EXPECT_THAT(text, ContainsRegex("\n1 +0 0 612 792 +0 +yes +no +[0-9A-F-]{36}\n"));
    EXPECT_THAT(text, ContainsRegex("\n2 +0 0 595.28 841.89 +90 +no +no +[0-9A-F-]{36}\n"));
}

TEST_F(Info, ReadsStandardInput) {
    write("a.pdf", pdfFromPages({{}}));
    EXPECT_THAT(oracle("cat a.pdf | orvexpdf info -"), HasSubstr("Pages:    1\n"));
    EXPECT_THAT(oracle("orvexpdf info --json - <a.pdf"), HasSubstr("\"pageCount\":1"));
}

TEST_F(Info, ShowsWhatMakeMade) {
    copySample("2-letter.jpg", "a.jpg");
    std::filesystem::copy_file(sampleScans / "2-letter.found.json", path("f.json"));
    toolOutput("make a.jpg a.jpg --found f.json --rotate 90 --title T --author A -o out.pdf");
    EXPECT_EQ(ask("out.pdf", "(d[\"title\"], d[\"author\"])"), "('T', 'A')");
    EXPECT_EQ(ask("out.pdf", "[p[\"hasText\"] for p in d[\"pages\"]]"), "[True, False]");
    EXPECT_EQ(ask("out.pdf", "[p[\"rotation\"] for p in d[\"pages\"]]"), "[90, 90]");
}

TEST_F(Info, AgreesWithAnotherReaderOnRealFiles) {
    const auto folder = sharedFolder() / "corpus/conformance";
    if (!std::filesystem::exists(folder)) {
        GTEST_SKIP() << "the shared files are not here";
    }
    int compared = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const auto file = quoted(entry.path().string());
        const auto pages = shell("qpdf --show-npages " + file);
        if (compared == 40 || pages.exitCode != 0) {
            continue;
        }
        const auto ours = tool("info --json " + file);
        EXPECT_EQ(ours.exitCode, done) << file << ours.errors;
        EXPECT_THAT(ours.output, HasSubstr("\"pageCount\":" + pages.output.substr(0, pages.output.find('\n')) + ","))
            << file;
        ++compared;
    }
    EXPECT_GT(compared, 0);
}

} // namespace
} // namespace orvex::test
