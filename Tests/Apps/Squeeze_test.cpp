#include "ToolSupport.h"

#include "Support/PDFFixture.h"

namespace orvex::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class Squeeze : public ToolTest {
protected:
    /// A scan as it is and a page of text.
    void SetUp() override {
        copySample("1-article.jpg", "scan.jpg");
        write("text.pdf", pdfFromPages({{showing("plain text"), "[0 0 612 792]", "/Rotate 90"}}));
        toolOutput("make scan.jpg --found " + quoted((sampleScans / "1-article.found.json").string()) + " -o scan.pdf");
        toolOutput("pages scan.pdf --append text.pdf -o both.pdf");
    }
};

TEST_F(Squeeze, ScansShrinkAndStaySearchable) {
    const auto result = tool("squeeze scan.pdf --mode medium -o out.pdf");
    EXPECT_EQ(result.exitCode, done) << result.errors;
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("page 1: "));
    EXPECT_THAT(result.errors, HasSubstr(" instead of "));
    expectSound("out.pdf");
    EXPECT_LT(read("out.pdf").size() * 2, read("scan.pdf").size());
    EXPECT_THAT(oracle("pdfimages -list out.pdf"), HasSubstr(" 144 "));
    const auto words = [this](const std::string& name) {
        return oracle("pdftotext " + name + " - | tr -s '[:space:]' '\\n' | sort");
    };
    EXPECT_EQ(words("out.pdf"), words("scan.pdf"));
}

TEST_F(Squeeze, PagesThatAreSmallerByThemselvesStayAsTheyAre) {
    const auto result = tool("squeeze both.pdf --mode low -o out.pdf");
    EXPECT_EQ(result.exitCode, done) << result.errors;
    EXPECT_THAT(result.errors, HasSubstr("page 2: stays as it is"));
    EXPECT_THAT(oracle("pdffonts -f 2 out.pdf"), HasSubstr("Helvetica"));
}

TEST_F(Squeeze, OnlyThePagesNamed) {
    const auto result = tool("squeeze both.pdf --mode strong --pages 2 -o out.pdf");
    EXPECT_EQ(result.exitCode, done) << result.errors;
    EXPECT_THAT(result.errors, Not(HasSubstr("page 1:")));
    EXPECT_THAT(oracle("pdfimages -list -l 1 out.pdf"), HasSubstr("jpeg"));
}

TEST_F(Squeeze, RangesMayCountDown) {
    const auto result = tool("squeeze both.pdf --mode strong --pages 2-1,1 -o out.pdf");
    EXPECT_EQ(result.exitCode, done) << result.errors;
    EXPECT_LT(result.errors.find("page 1:"), result.errors.find("page 2:"));
    EXPECT_EQ(result.errors.find("page 1:"), result.errors.rfind("page 1:"));
}

TEST_F(Squeeze, AFileThatGrowsIsToldOf) {
    // Lines that no filter makes small, in a content that all pages share.
    std::string shared;
    for (int i = 0; i < 200; ++i) {
        shared += std::to_string(i * 37 % 600) + " " + std::to_string(i * 61 % 700) + " 1 " + std::to_string(i % 3) +
                  " re f\n";
    }
    write("one.pdf", pdfFromPages({{shared + showing("shared")}}));
    oracle("qpdf --empty --pages one.pdf 1 one.pdf 1 one.pdf 1 one.pdf 1 -- four.pdf");
    const auto result = tool("squeeze four.pdf --mode strong -o out.pdf");
    EXPECT_EQ(result.exitCode, done) << result.errors;
    EXPECT_THAT(result.errors, HasSubstr("page 4: PNG, "));
    ASSERT_GT(read("out.pdf").size(), read("four.pdf").size());
    EXPECT_THAT(result.errors, HasSubstr("orvexpdf: warning: the file became larger, by "));
    EXPECT_THAT(tool("squeeze scan.pdf --mode strong -o out.pdf").errors, Not(HasSubstr("larger")));
}

TEST_F(Squeeze, ATurnedPageKeepsItsTextWhereItStood) {
    // Comments that no filter makes small: its picture takes less.
    std::string bulk;
    std::uint32_t state = 7;
    for (int i = 0; i < 100000; ++i) {
        state = state * 1664525 + 1013904223;
        bulk += i % 90 == 0 ? '\n' : static_cast<char>('!' + (state >> 24) % 90);
        bulk += i % 90 == 0 ? "%" : "";
    }
    write("bulky.pdf", pdfFromPages({{"%" + bulk + "\n" + showing("needle"), "[0 0 612 792]", "/Rotate 90"}}));
    toolOutput("squeeze bulky.pdf --mode medium -o out.pdf");
    EXPECT_THAT(oracle("pdfimages -list out.pdf"), HasSubstr(" 144 "));
    const auto box = [this](const std::string& name) {
        return oracle("pdftotext -bbox " + name + " - | grep -o 'xMin=\"[0-9]*\\|needle'");
    };
    EXPECT_EQ(box("out.pdf"), box("bulky.pdf"));
    EXPECT_THAT(oracle("pdftotext out.pdf -"), HasSubstr("needle"));
}

TEST_F(Squeeze, WithAPresetOfOnesOwn) {
    write("own.json", R"({"id":"own","title":"Own","dpi":100,"quality":30,"colors":"colors","method":"best"})");
    toolOutput("squeeze scan.pdf --mode own.json -o out.pdf");
    EXPECT_THAT(oracle("pdfimages -list out.pdf"), HasSubstr(" 100 "));
}

TEST_F(Squeeze, IsQuietWhenAsked) {
    const auto result = tool("squeeze scan.pdf --mode strong -o out.pdf --quiet");
    EXPECT_EQ(result.errors, "");
}

TEST_F(Squeeze, WrongUsageIsRefused) {
    expectRefusal("orvexpdf squeeze scan.pdf -o out.pdf", usage, {"--mode"});
    expectRefusal("orvexpdf squeeze scan.pdf --mode strong", usage, {"-o"});
    expectRefusal("orvexpdf squeeze scan.pdf --mode fierce -o out.pdf", unreadable,
                  {"fierce", "neither a preset", "strong, medium, low"});
    expectRefusal("orvexpdf squeeze scan.pdf --mode scan.jpg -o out.pdf", unusable, {"not a squeeze preset"});
    expectRefusal("orvexpdf squeeze scan.pdf --mode strong --pages 3 -o out.pdf", usage, {"1 page"});
    oracle("qpdf --encrypt user owner 256 -- scan.pdf locked.pdf");
    expectRefusal("orvexpdf squeeze locked.pdf --mode strong -o out.pdf", locked, {"password"});
    toolOutput("squeeze locked.pdf --password user --mode strong -o out.pdf");
}

} // namespace
} // namespace orvex::test
