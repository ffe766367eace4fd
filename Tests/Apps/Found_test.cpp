#include "ToolSupport.h"

#include "OrvexPDF/Document.h"
#include "Support/PDFFixture.h"

namespace orvex::test {
namespace {

class Found : public ToolTest {
protected:
    /// What a Python expression says about JSON that a command prints, as `d`.
    [[nodiscard]] std::string ask(const std::string& command, const std::string& expression) const {
        auto text =
            oracle(command + " | python3 -c 'import json, sys; d = json.load(sys.stdin); print(" + expression + ")'");
        return text.substr(0, text.find('\n'));
    }

    void writeThreePages() const {
        write("a.pdf", pdfFromPages({{showing("One")}, {}, {showing("Three")}}, "/Author (A \"B\") /Creator (C)"));
    }
};

TEST_F(Found, PrintsAFoundDocument) {
    writeThreePages();
    EXPECT_EQ(ask("orvexpdf found a.pdf", "(sorted(d), d[\"author\"], d[\"creator\"], d[\"source\"])"),
              "(['author', 'creator', 'pages', 'source'], 'A \"B\"', 'C', 'pdf')");
    EXPECT_EQ(ask("orvexpdf found a.pdf", "[[i[\"text\"] for i in p[\"items\"]] for p in d[\"pages\"]]"),
              "[['One'], [], ['Three']]");
    EXPECT_EQ(ask("orvexpdf found a.pdf", "d[\"pages\"][1]"), "{'items': [], 'size': {'h': 792, 'w': 612}}");
}

TEST_F(Found, IsWrittenAsTheLibraryWritesIt) {
    writeThreePages();
    const auto document = OrvexPDFDocument::fromData(read("a.pdf"));
    EXPECT_EQ(toolOutput("found a.pdf"), document->extractFoundDocument().toJSONString(true) + "\n");
}

TEST_F(Found, IsCompactWhenAsked) {
    writeThreePages();
    const auto compact = toolOutput("found --compact a.pdf");
    EXPECT_EQ(compact.find('\n'), compact.size() - 1);
    EXPECT_EQ(ask("orvexpdf found --compact a.pdf", "json.dumps(d, sort_keys=True)"),
              ask("orvexpdf found a.pdf", "json.dumps(d, sort_keys=True)"));
}

TEST_F(Found, TakesPages) {
    writeThreePages();
    EXPECT_EQ(ask("orvexpdf found a.pdf --page 3", "(d[\"items\"][0][\"text\"], d[\"size\"])"),
              "('Three', {'h': 792, 'w': 612})");
    EXPECT_EQ(ask("orvexpdf found a.pdf --pages 3,1", "[p[\"items\"][0][\"text\"] for p in d[\"pages\"]]"),
              "['Three', 'One']");
    EXPECT_EQ(tool("found a.pdf --page 4").exitCode, 2);
    EXPECT_EQ(tool("found a.pdf --page 1-2").exitCode, 2);
    EXPECT_EQ(tool("found a.pdf --page 1 --pages 2").exitCode, 2);
}

TEST_F(Found, GoesBackIntoAPage) {
    writeThreePages();
    write("found.json", R"({"size":{"w":612,"h":792},"items":[{"text":"ﬁrst","box":{"x":50,"y":50,"w":40,"h":12}},)"
                        R"({"text":"second","box":{"x":92,"y":50,"w":50,"h":12}}]})");
    toolOutput("text-layer a.pdf --pages 1 --found found.json -o b.pdf");
    EXPECT_EQ(ask("orvexpdf found b.pdf --page 1", "[i[\"text\"] for i in d[\"items\"]]"), "['One', 'ﬁrst', 'second']");
    EXPECT_EQ(ask("orvexpdf found b.pdf --page 1 --stored", "[i[\"text\"] for i in d[\"items\"]]"),
              "['ﬁrst', 'second']");
    EXPECT_EQ(ask("orvexpdf found b.pdf --page 3 --stored", "[i[\"text\"] for i in d[\"items\"]]"), "['Three']");
}

TEST_F(Found, WritesAFile) {
    writeThreePages();
    EXPECT_EQ(toolOutput("found a.pdf -o out.json"), "");
    EXPECT_EQ(ask("cat out.json", "len(d[\"pages\"])"), "3");
    EXPECT_EQ(tool("found a.pdf -o a.pdf").exitCode, 2);
    EXPECT_EQ(tool("found missing.pdf").exitCode, 3);
}

TEST_F(Found, KeepsTheOrderOfManyPages) {
    std::vector<FixturePage> pages;
    for (int i = 0; i < 700; ++i) {
        pages.push_back({showing(std::to_string(i))});
    }
    write("many.pdf", pdfFromPages(pages));
    EXPECT_EQ(ask("orvexpdf found --compact many.pdf",
                  "[p[\"items\"][0][\"text\"] for p in d[\"pages\"]] == [str(i) for i in range(700)]"),
              "True");
}

} // namespace
} // namespace orvex::test
