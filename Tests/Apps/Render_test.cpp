#include "ToolSupport.h"

#include "Support/PDFFixture.h"

#include <iterator>
#include <sstream>

namespace orvex::test {
namespace {

using testing::HasSubstr;

class Render : public ToolTest {
protected:
    void SetUp() override {
        write("a.pdf",
              pdfFromPages({{showing("One")}, {showing("Two"), "[0 0 300 200]", "/Rotate 90"}, {showing("Three")}}));
    }
    [[nodiscard]] std::string kindOf(const std::string& name) const { return oracle("file -b " + quoted(name)); }
};

TEST_F(Render, APageBecomesAPictureAtTheResolution) {
    toolOutput("render a.pdf --page 2 --dpi 144 -o b.png");
    EXPECT_THAT(kindOf("b.png"), HasSubstr("PNG image data, 400 x 600"));
    EXPECT_THAT(oracle("orvexpdf render a.pdf --page 1 -o - | file -"), HasSubstr("PNG image data, 612 x 792"));
}

TEST_F(Render, SeveralPagesTakeNumbersIntoTheirNames) {
    toolOutput("render a.pdf --pages 1,3-end -o p-%03d.png");
    EXPECT_EQ(names(), (std::vector<std::string>{"a.pdf", "p-001.png", "p-003.png"}));
    expectRefusal("orvexpdf render a.pdf --pages 1-2 -o p.png", usage, {"page-%03d.png"});
    expectRefusal("orvexpdf render a.pdf --pages 2,1-2 -o p-%d.png", usage, {"pages 2,1-2: a page is named twice"});
}

TEST_F(Render, TheNumberTakesThePlaceOfTheLastPatternInTheName) {
    oracle("mkdir 100% %d");
    toolOutput("render a.pdf --pages 2 -o 100%/p-%d.png");
    toolOutput("render a.pdf --pages 2 -o %d/%02d-50%.png");
    EXPECT_TRUE(exists("100%/p-2.png"));
    EXPECT_TRUE(exists("%d/02-50%.png"));
    for (const std::string name : {"%", "100%/p.png", "%s.png", "%1234d.png", "%0"}) {
        expectRefusal("orvexpdf render a.pdf --pages 1 -o " + name, usage, {"page-%03d.png"});
    }
}

TEST_F(Render, APageOptionTakesOnePage) {
    for (const std::string list : {"1-3", "1,1", "end-1"}) {
        expectRefusal("orvexpdf render a.pdf --page " + list + " -o p.png", usage,
                      {"--page takes one page; --pages takes several (see orvexpdf render --help)"});
        expectRefusal("orvexpdf thumbnail a.pdf --size 9x9 --page " + list + " -o p.png", usage,
                      {"--page takes one page (see orvexpdf thumbnail --help)"});
    }
    toolOutput("render a.pdf --page end -o p.png");
    toolOutput("thumbnail a.pdf --size 9x9 --page 3-3 -o t.png");
}

TEST_F(Render, RecognisedTextStandsWhereItWasFoundOnATurnedPage) {
    // Page 2 is shown 200 points wide and 300 high. The shape of what was recognised tells how it was turned.
    const std::string items = R"("items":[{"text":"needle","box":{"x":20,"y":30,"w":50,"h":10}}]})";
    write("shown.json", R"({"size":{"w":200,"h":300},)" + items);
    write("stored.json", R"({"size":{"w":300,"h":200},)" + items);
    write("blank.pdf", pdfFromPages({{"", "[0 0 300 200]", "/Rotate 90"}}));
    // The corners of the box, which is green at a tenth of its strength.
    const auto cornersWith = [&](const std::string& found) {
        toolOutput("render blank.pdf --page 1 --debug --found " + found + " -o d.png");
        std::istringstream text(oracle("gm convert d.png txt:- | grep '#E6FFE6' | sed -n 's/:.*//; s/,/ /; 1p; $p'"));
        return std::vector<int>(std::istream_iterator<int>(text), {});
    };
    const auto near = [](int x, int y, int x2, int y2) {
        const auto pixel = [](int value) { return testing::AllOf(testing::Ge(value - 1), testing::Le(value + 1)); };
        return testing::ElementsAre(pixel(x), pixel(y), pixel(x2), pixel(y2));
    };
    EXPECT_THAT(cornersWith("shown.json"), near(20, 30, 69, 39));
    EXPECT_THAT(cornersWith("stored.json"), near(160, 20, 169, 69));
}

TEST_F(Render, TheSamePixelsAsPopplerWithinAntiAliasing) {
    toolOutput("render a.pdf --page 1 -o ours.png");
    oracle("pdftoppm -r 72 -png -singlefile a.pdf theirs && gm compare -metric MAE ours.png theirs.png >report");
    const std::string report = oracle("sed -n 's/^ *Total: *\\([0-9.]*\\).*/\\1/p' report");
    EXPECT_LT(std::stod(report), 0.01) << report;
}

TEST_F(Render, DebugShowsWhereThePagesOwnTextStands) {
    write("offset.pdf", pdfFromPages({{"BT /F1 20 Tf 120 220 Td (Here) Tj ET", "[100 200 300 300]"}}));
    toolOutput("render offset.pdf --page 1 --debug -o d.png");
    // The first box, green at a tenth of its strength, stands around the text.
    const std::string green = oracle("gm convert d.png txt:- | grep '#E6FFE6' | head -1");
    EXPECT_FALSE(green.empty());
    int x = -1;
    int y = -1;
    ASSERT_EQ(std::sscanf(green.c_str(), "%d,%d", &x, &y), 2) << green;
    EXPECT_NEAR(x, 20, 2);
    EXPECT_NEAR(y, 66, 2);
}

TEST_F(Render, WrongWordsAreRefused) {
    expectRefusal("orvexpdf render a.pdf -o b.png", usage, {"--page"});
    expectRefusal("orvexpdf render a.pdf --page 4 -o b.png", usage, {"3 pages"});
    expectRefusal("orvexpdf render a.pdf --page x -o b.png", usage, {"1-3,7"});
    expectRefusal("orvexpdf render a.pdf --page 1 -o nowhere/b.png", notWritten, {"nowhere"});
    expectRefusal("orvexpdf thumbnail a.pdf --page 1 --size 20 -o b.png", usage, {"200x300"});
    expectRefusal("orvexpdf render gone.pdf --page 1 -o b.png", unreadable, {"gone.pdf"});
}

TEST_F(Render, APageOfAbsurdSizeIsRefused) {
    write("huge.pdf", pdfFromPages({{"", "[0 0 14400000 14400000]"}}));
    expectRefusal("orvexpdf render huge.pdf --page 1 -o b.png", unusable, {"huge.pdf", "page 1", "cannotCreateBitmap"});
}

TEST_F(Render, AThumbnailFitsItsBox) {
    toolOutput("thumbnail a.pdf --page 2 --size 100x60 -o t.png");
    EXPECT_THAT(kindOf("t.png"), HasSubstr("PNG image data, 40 x 60"));
}

} // namespace
} // namespace orvex::test
