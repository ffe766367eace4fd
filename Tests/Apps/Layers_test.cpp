#include "ToolSupport.h"

#include "Support/PDFFixture.h"

namespace orvex::test {
namespace {

using testing::HasSubstr;

class Layers : public ToolTest {
protected:
    void SetUp() override {
        write("a.pdf", pdfFromPages({{"0 0 1 rg 0 0 9 9 re f"}, {"", "[0 0 300 200]", "/Rotate 90"}}));
        write("found.json",
              R"({"size":{"w":100,"h":100},"items":[{"text":"needle","box":{"x":10,"y":10,"w":50,"h":8}}]})");
    }
    [[nodiscard]] std::string textOf(const std::string& name, int page) const {
        const auto number = std::to_string(page);
        return oracle("pdftotext -f " + number + " -l " + number + " " + quoted(name) + " -");
    }
};

TEST_F(Layers, AWatermarkStandsOnThePagesNamed) {
    toolOutput("watermark a.pdf --text 'D\u00e9j\u00e0 vu' --pages 2 -o b.pdf");
    expectSound("b.pdf");
    EXPECT_EQ(textOf("b.pdf", 1), "\f");
    EXPECT_THAT(textOf("b.pdf", 2), HasSubstr("D\u00e9j\u00e0 vu"));
}

TEST_F(Layers, AWatermarkOnATurnedPageIsUpright) {
    toolOutput("watermark a.pdf --text DRAFT -o b.pdf");
    // Near the bottom of the page as shown: 200 points wide, 300 high.
    EXPECT_THAT(oracle("pdftotext -f 2 -l 2 -x 0 -y 270 -W 200 -H 30 b.pdf -"), HasSubstr("DRAFT"));
}

TEST_F(Layers, AFileIsChangedInPlaceOnlyWhenAsked) {
    expectRefusal("orvexpdf watermark a.pdf --text DRAFT -o a.pdf", usage, {"is an input"});
    expectRefusal("orvexpdf watermark a.pdf --text DRAFT", usage, {"--in-place"});
    expectRefusal("orvexpdf watermark a.pdf --text DRAFT --in-place -o b.pdf", usage, {"--in-place"});
    toolOutput("watermark a.pdf --text DRAFT --in-place");
    expectSound("a.pdf");
    EXPECT_THAT(textOf("a.pdf", 1), HasSubstr("DRAFT"));
}

TEST_F(Layers, RecognisedTextMakesAPageSearchableAndLeavesItsLooks) {
    toolOutput("text-layer a.pdf --found found.json -o b.pdf");
    expectSound("b.pdf");
    EXPECT_EQ(textOf("b.pdf", 1), "needle\n\n\f");
    oracle("pdftoppm -r 72 -png -f 1 -l 1 a.pdf before && pdftoppm -r 72 -png -f 1 -l 1 b.pdf after && "
           "cmp before-1.png after-1.png");
}

TEST_F(Layers, RecognisedTextOnATurnedPageStandsWhereItWasFound) {
    // Page 2 is shown 200 points wide and 300 high. The shape of what was recognised tells how it was turned.
    const auto found = [](const char* size) {
        return std::string(R"({"size":)") + size +
               R"(,"items":[{"text":"needle","box":{"x":20,"y":30,"w":50,"h":10}}]})";
    };
    write("shown.json", found(R"({"w":200,"h":300})"));
    write("stored.json", found(R"({"w":300,"h":200})"));
    toolOutput("text-layer a.pdf --found shown.json --pages 2 -o b.pdf");
    EXPECT_THAT(oracle("pdftotext -f 2 -x 15 -y 25 -W 60 -H 20 b.pdf -"), HasSubstr("needle"));
    toolOutput("text-layer a.pdf --found stored.json --pages 2 -o b.pdf");
    EXPECT_THAT(oracle("pdftotext -f 2 -x 155 -y 15 -W 20 -H 60 b.pdf -"), HasSubstr("needle"));
}

TEST_F(Layers, AFaultInRecognisedTextIsTheFirstOneAndNothingIsWritten) {
    const std::string page = R"({"size":{"w":9,"h":9},"items":[{"text":"a"}]})";
    write("type.json", R"({"pages":[)" + page + R"(,{"items":[{"text":5}]}]})");
    write("broken.json", R"({"pages":[{"dpi":"x"},{"dpi":1 2}]})");
    write("many.json", R"({"pages":[)" + page + "," + page + R"(,{"dpi":true}]})");
    write("text.json", "Hello");
    const std::string start = "orvexpdf text-layer a.pdf -o b.pdf --found ";
    expectRefusal(start + "type.json", unusable, {"type.json", "not found content: pages[1].items[0].text: Expected"});
    expectRefusal(start + "broken.json", unusable, {"broken.json", "Not valid JSON", "column 32"});
    expectRefusal(start + "many.json", unusable, {"many.json: not found content: pages[2].dpi"});
    expectRefusal(start + "type.json --found text.json", unusable, {"type.json"});
    expectRefusal(start + "text.json --found type.json", unusable, {"text.json"});
    expectRefusal(start + "type.json --found found.json", unusable, {"type.json"});
}

TEST_F(Layers, MoreFoundPagesThanPagesAreRefused) {
    expectRefusal("orvexpdf text-layer a.pdf --found found.json --found found.json --pages 2 -o b.pdf", unusable,
                  {"found.json: more found pages (2) than pages to lay them on (1)"});
}

TEST_F(Layers, WhatWouldChangeNothingOrHideSomethingIsRefused) {
    write("none.json", R"({"pages":[]})");
    expectRefusal("orvexpdf text-layer a.pdf --found none.json -o b.pdf", unusable,
                  {"none.json: no found pages in it"});
    expectRefusal("orvexpdf watermark a.pdf --text '' -o b.pdf", usage, {"--text"});
    expectRefusal("orvexpdf text-layer a.pdf --pages 1,1 --found found.json --found found.json -o b.pdf", usage,
                  {"pages 1,1: a page is named twice"});
}

TEST_F(Layers, APDFThatNeedsAPasswordIsRefused) {
    oracle("qpdf --encrypt open owner 256 -- a.pdf locked.pdf");
    expectRefusal("orvexpdf watermark locked.pdf --text DRAFT -o b.pdf", locked, {"password"});
}

} // namespace
} // namespace orvex::test
