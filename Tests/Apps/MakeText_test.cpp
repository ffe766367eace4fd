#include "ToolSupport.h"

#include "OrvexPDF/FoundContent.h"

#include <sstream>

namespace orvex::test {
namespace {

using testing::HasSubstr;
using testing::Not;

struct WordBox {
    double left = 0;
    double top = 0;
    double right = 0;
    double bottom = 0;
};

class MakeText : public ToolTest {
protected:
    [[nodiscard]] std::string words(const std::string& pdf, int page = 1) const {
        const auto number = std::to_string(page);
        std::istringstream text(oracle("pdftotext -f " + number + " -l " + number + " " + quoted(pdf) + " -"));
        std::string joined;
        for (std::string word; text >> word;) {
            joined += (joined.empty() ? "" : " ") + word;
        }
        return joined;
    }
    /// Where poppler sees a word on the page as shown: points from the top left.
    [[nodiscard]] WordBox boxOf(const std::string& pdf, const std::string& word) const {
        const auto line = oracle("pdftotext -bbox " + quoted(pdf) + " - | grep '>" + word + "<'");
        const auto number = [&line](const std::string& name) {
            const auto at = line.find(name + "=\"");
            return at == std::string::npos ? -1 : std::stod(line.substr(at + name.size() + 2));
        };
        return {number("xMin"), number("yMin"), number("xMax"), number("yMax")};
    }
    void expectNear(const WordBox& box, const WordBox& expected, const std::string& what) const {
        constexpr double tolerance = 2.5; // points; poppler's boxes have the font's ascent and descent
        EXPECT_NEAR(box.left, expected.left, tolerance) << what;
        EXPECT_NEAR(box.right, expected.right, tolerance) << what;
        EXPECT_NEAR(box.top, expected.top, tolerance) << what;
        EXPECT_NEAR(box.bottom, expected.bottom, tolerance) << what;
    }
    /// A white JPEG of so many pixels at 72 dpi.
    void writeJPEG(const std::string& name, int width, int height) const {
        oracle("printf '%%!\\nshowpage' | gs -q -sDEVICE=jpeggray -r72 -g" + std::to_string(width) + "x" +
               std::to_string(height) + " -o " + quoted(name) + " -");
    }
};

constexpr auto onePage = R"({"size":{"w":400,"h":200},"items":[{"text":"Hello","box":{"x":40,"y":20,"w":80,"h":20}}]})";

TEST_F(MakeText, ReadsBackWhatWasFoundOnScans) {
    const std::vector<std::string> samples = {"1-article.jpg", "2-letter.jpg", "3-price-list.png", "4-recipe.jpg"};
    std::string images;
    std::string found;
    for (const auto& sample : samples) {
        images += " " + quoted((sampleScans / sample).string());
        found += " --found " + quoted((sampleScans / sample).replace_extension(".found.json").string());
    }
    toolOutput("make" + images + found + " -o out.pdf");
    expectSound("out.pdf");
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto json = readFile((sampleScans / samples[i]).replace_extension(".found.json"));
        const auto page = OrvexFoundPage::from(json);
        ASSERT_TRUE(page);
        const auto text =
            oracle("pdftotext -raw -f " + std::to_string(i + 1) + " -l " + std::to_string(i + 1) + " out.pdf -");
        std::size_t missing = 0;
        for (const auto& item : *page->items) {
            missing += text.find(*item.text) == std::string::npos ? 1U : 0U;
        }
        EXPECT_EQ(missing, 0U) << samples[i];
    }
}

TEST_F(MakeText, TakesAFoundPagePerImage) {
    writeJPEG("a.jpg", 400, 200);
    write("1.json", onePage);
    write("2.json", R"({"size":{"w":400,"h":200},"items":[{"text":"Second","box":{"x":1,"y":2,"w":80,"h":20}}]})");
    toolOutput("make a.jpg a.jpg a.jpg --found 1.json --found 2.json -o out.pdf");
    EXPECT_EQ(words("out.pdf", 1), "Hello");
    EXPECT_EQ(words("out.pdf", 2), "Second");
    EXPECT_EQ(words("out.pdf", 3), "");
}

TEST_F(MakeText, TakesAFoundDocument) {
    writeJPEG("a.jpg", 400, 200);
    write("d.json", R"({"author":"x","pages":[)" + std::string(onePage) + R"(,{"size":{"w":1,"h":1},"items":[]}]})");
    toolOutput("make a.jpg a.jpg --found d.json -o out.pdf");
    EXPECT_EQ(words("out.pdf", 1), "Hello");
    EXPECT_EQ(words("out.pdf", 2), "");
}

TEST_F(MakeText, LaysTextWhereItWasFound) {
    writeJPEG("a.jpg", 400, 200);
    write("f.json", onePage);
    toolOutput("make a.jpg --found f.json -o out.pdf");
    expectNear(boxOf("out.pdf", "Hello"), {40, 20, 120, 40}, "upright");
    toolOutput("make a.jpg --found f.json -o out.pdf --dpi 36");
    expectNear(boxOf("out.pdf", "Hello"), {80, 40, 240, 80}, "twice as large");
    toolOutput("make a.jpg --found f.json -o out.pdf --squeeze medium");
    expectNear(boxOf("out.pdf", "Hello"), {40, 20, 120, 40}, "squeezed");
}

TEST_F(MakeText, TurnsTheTextWithThePage) {
    writeJPEG("a.jpg", 400, 200);
    write("f.json", onePage);
    toolOutput("make a.jpg --found f.json -o out.pdf --rotate 90");
    // Stored (40..120, 20..40) of 400 x 200, turned clockwise: x = 200 - y, y = x.
    expectNear(boxOf("out.pdf", "Hello"), {160, 40, 180, 120}, "turned");
}

TEST_F(MakeText, KeepsTextUprightThatWasFoundOnThePhotographAsShown) {
    writeJPEG("a.jpg", 200, 400); // shown as 400 x 200 by orientations 6 and 8
    write("f.json", onePage);
    for (const int orientation : {6, 8}) {
        write("b.jpg", withOrientation(read("a.jpg"), orientation));
        toolOutput("make b.jpg --found f.json -o out.pdf");
        expectNear(boxOf("out.pdf", "Hello"), {40, 20, 120, 40}, std::to_string(orientation));
        toolOutput("make b.jpg --found f.json -o out.pdf --rotate 180");
        expectNear(boxOf("out.pdf", "Hello"), {280, 160, 360, 180}, "then turned by 180");
    }
    writeJPEG("a.jpg", 400, 200);
    write("b.jpg", withOrientation(read("a.jpg"), 3));
    toolOutput("make b.jpg --found f.json -o out.pdf");
    expectNear(boxOf("out.pdf", "Hello"), {40, 20, 120, 40}, "3");
}

TEST_F(MakeText, TurnsTextThatWasFoundOnThePixelsAsStored) {
    writeJPEG("a.jpg", 400, 200); // shown as 200 x 400
    write("f.json", onePage);
    write("b.jpg", withOrientation(read("a.jpg"), 6));
    toolOutput("make b.jpg --found f.json -o out.pdf");
    expectNear(boxOf("out.pdf", "Hello"), {160, 40, 180, 120}, "turned with the pixels");
}

TEST_F(MakeText, DrawsAWatermarkOnEveryPage) {
    writeJPEG("a.jpg", 400, 200);
    write("f.json", onePage);
    toolOutput("make a.jpg a.jpg --found f.json --watermark 'DRAFT only' -o out.pdf");
    expectSound("out.pdf");
    EXPECT_EQ(words("out.pdf", 1), "Hello DRAFT only");
    EXPECT_EQ(words("out.pdf", 2), "DRAFT only");
    toolOutput("make a.jpg -o plain.pdf");
    const auto pixels = [this](const std::string& pdf) { return oracle("pdftoppm -singlefile -r 72 " + pdf); };
    EXPECT_NE(pixels("out.pdf"), pixels("plain.pdf"));
    // Upright at the bottom of what is shown, also where the orientation turns the page.
    writeJPEG("b.jpg", 200, 400);
    write("c.jpg", withOrientation(read("b.jpg"), 6));
    toolOutput("make c.jpg --watermark DRAFT -o out.pdf");
    const auto box = boxOf("out.pdf", "DRAFT");
    EXPECT_GT(box.right - box.left, box.bottom - box.top);
    EXPECT_GT(box.top, 100);
}

TEST_F(MakeText, DrawsTheWatermarkAtTheBottomOfATurnedPage) {
    writeJPEG("a.jpg", 400, 200);
    write("f.json", onePage);
    const std::vector<std::pair<std::string, double>> turns = {{"90", 400}, {"-90", 400}, {"180", 200}, {"360", 200}};
    for (const auto& [degrees, height] : turns) {
        toolOutput("make a.jpg --rotate " + degrees + " --watermark DRAFT -o out.pdf");
        const auto box = boxOf("out.pdf", "DRAFT");
        EXPECT_GT(box.top, 0.8 * height) << degrees;
        EXPECT_LT(box.left, 200) << degrees;
        EXPECT_GT(box.right, 80) << degrees;
    }
    // It goes with recognised text, to the left.
    toolOutput("make a.jpg --rotate 90 --found f.json --watermark DRAFT -o out.pdf");
    EXPECT_LT(boxOf("out.pdf", "DRAFT").right, 40);
}

TEST_F(MakeText, NamesTheFileAndTheFaultInFoundContent) {
    writeJPEG("a.jpg", 400, 200);
    write("text.json", "Hello");
    write("empty.json", "");
    write("cut.json", std::string(onePage).substr(0, 40));
    write("type.json",
          R"({"size":{"w":400,"h":200},"items":[{"text":"Hello","box":{"x":"40","y":20,"w":80,"h":20}}]})");
    write("pages.json", R"({"pages":"none"})");
    write("deep.json", R"({"pages":[{"size":{"w":1,"h":1},"items":[{"text":5}]}]})");
    write("other.json", R"({"name":"some-package","version":"1.0"})");
    write("list.json", "[1, 2]");
    struct Case {
        std::string file;
        std::vector<std::string> parts;
    };
    const std::vector<Case> cases = {
        {"text.json", {}},
        {"empty.json", {}},
        {"cut.json", {}},
        {"type.json", {"box", "Double", "string"}},
        {"pages.json", {"pages"}},
        {"deep.json", {"pages", "items", "text"}},
        {"other.json", {"neither"}},
        {"list.json", {}},
    };
    for (const auto& one : cases) {
        auto parts = one.parts;
        parts.push_back(one.file);
        parts.emplace_back("not found content");
        expectRefusal("orvexpdf make a.jpg --found " + one.file + " -o out.pdf", unusable, parts);
    }
}

TEST_F(MakeText, RefusesMoreFoundPagesThanImages) {
    writeJPEG("a.jpg", 400, 200);
    write("f.json", onePage);
    write("g.json", onePage);
    write("d.json", R"({"pages":[{"size":{"w":1,"h":1}},{},{}]})");
    expectRefusal("orvexpdf make a.jpg --found f.json --found g.json -o out.pdf", unusable, {"g.json", "2", "1"});
    expectRefusal("orvexpdf make a.jpg a.jpg --found d.json -o out.pdf", unusable, {"d.json", "3", "2"});
    expectRefusal("orvexpdf make a.jpg --found none.json -o out.pdf", unreadable, {"none.json"});
}

} // namespace
} // namespace orvex::test
