#include "ToolSupport.h"

#include <sstream>

namespace orvex::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Make : public ToolTest {
protected:
    /// The page's image as pdfimages takes it out: the stored bytes for a JPEG.
    [[nodiscard]] Bytes storedJPEG(const std::string& pdf, int page) const {
        const auto number = std::to_string(page);
        oracle("pdfimages -j -f " + number + " -l " + number + " " + quoted(pdf) + " extracted");
        const auto bytes = read("extracted-000.jpg");
        std::filesystem::remove(path("extracted-000.jpg"));
        return bytes;
    }
    /// Column of pdfimages' list for a page's image: 4 width, 5 height, 6 colour, 8 bits, 9 encoding, 13 dpi.
    [[nodiscard]] std::string imageColumn(const std::string& pdf, int page, int column) const {
        const auto number = std::to_string(page);
        auto text = oracle("pdfimages -list -f " + number + " -l " + number + " " + quoted(pdf) +
                           " | awk 'NR == 3 { print $" + std::to_string(column) + " }'");
        return text.substr(0, text.find('\n'));
    }
    /// The first page rendered by poppler, as the grey levels of its four quarters: top left, top right, bottom left,
    /// bottom right, each "dark" or "light".
    [[nodiscard]] std::vector<std::string> quarters(const std::string& pdf) const {
        const auto pgm = oracle("pdftoppm -gray -singlefile -r 72 " + quoted(pdf));
        std::istringstream header(pgm);
        std::string magic;
        std::size_t width = 0;
        std::size_t height = 0;
        header >> magic >> width >> height;
        const auto pixels = pgm.substr(pgm.size() - width * height);
        std::vector<std::string> list;
        for (const std::size_t y : {height / 4, height * 3 / 4}) {
            for (const std::size_t x : {width / 4, width * 3 / 4}) {
                list.emplace_back(static_cast<unsigned char>(pixels[y * width + x]) < 128 ? "dark" : "light");
            }
        }
        return list;
    }
    /// A JPEG of 80 x 40 pixels at 72 dpi whose top left quarter is black on white.
    void writeCornerJPEG(const std::string& name) const {
        oracle("printf '%%!\\n0 20 40 20 rectfill showpage' | gs -q -sDEVICE=jpeggray -dJPEGQ=95 -g80x40 -r72 "
               "-o " +
               quoted(name) + " -");
    }
};

TEST_F(Make, PutsJPEGsInByteForByteAndInOrder) {
    copySample("1-article.jpg", "a.jpg");
    copySample("2-letter.jpg", "b.jpg");
    toolOutput("make b.jpg a.jpg b.jpg -o out.pdf");
    expectSound("out.pdf");
    EXPECT_EQ(pageCount("out.pdf"), 3);
    EXPECT_EQ(storedJPEG("out.pdf", 1), read("b.jpg"));
    EXPECT_EQ(storedJPEG("out.pdf", 2), read("a.jpg"));
    EXPECT_EQ(storedJPEG("out.pdf", 3), read("b.jpg"));
    EXPECT_EQ(imageColumn("out.pdf", 1, 6), "gray");
    EXPECT_EQ(imageColumn("out.pdf", 1, 13), "300");
}

TEST_F(Make, KeepsTheBytesOfEveryScannedJPEG) {
    const auto scans = sharedFolder() / "corpus/scans";
    if (!std::filesystem::exists(scans)) {
        GTEST_SKIP() << "the shared scans are not here";
    }
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(scans)) {
        if (entry.path().extension() == ".jpg") {
            toolOutput("make " + quoted(entry.path().string()) + " -o out.pdf");
            expectSound("out.pdf");
            EXPECT_EQ(storedJPEG("out.pdf", 1), readFile(entry.path())) << entry.path();
            ++count;
        }
    }
    EXPECT_GT(count, 0);
}

TEST_F(Make, TakesEveryKindOfScannedPNG) {
    const auto scans = sharedFolder() / "corpus/scans";
    if (!std::filesystem::exists(scans)) {
        GTEST_SKIP() << "the shared scans are not here";
    }
    for (const auto& entry : std::filesystem::directory_iterator(scans)) {
        if (entry.path().extension() == ".png") {
            toolOutput("make " + quoted(entry.path().string()) + " -o out.pdf");
            expectSound("out.pdf");
            EXPECT_EQ(pageCount("out.pdf"), 1) << entry.path();
        }
    }
}

TEST_F(Make, MakesPagesAsLargeAsTheImages) {
    copySample("1-article.jpg", "a.jpg"); // 2480 x 3508 at 300 dpi
    toolOutput("make a.jpg -o out.pdf");
    EXPECT_EQ(pdfinfo("out.pdf", "Page .*size"), "595.2 x 841.92 pts (A4)");
    toolOutput("make a.jpg -o out.pdf --dpi 100");
    EXPECT_EQ(pdfinfo("out.pdf", "Page .*size"), "1785.6 x 2525.76 pts");
    EXPECT_EQ(storedJPEG("out.pdf", 1), read("a.jpg"));
}

TEST_F(Make, MakesAPageOfEachPageOfATIFF) {
    oracle("printf '%%!\\n1 1 3 { pop 72 72 100 100 rectfill showpage } for' | gs -q -sDEVICE=tiffg4 -r150 -g1240x1754 "
           "-o in.tiff -");
    copySample("2-letter.jpg", "a.jpg");
    toolOutput("make in.tiff a.jpg -o out.pdf");
    expectSound("out.pdf");
    EXPECT_EQ(pageCount("out.pdf"), 4);
    EXPECT_EQ(pdfinfo("out.pdf", "Page .*size", 3), "595.2 x 841.92 pts (A4)");
    EXPECT_EQ(imageColumn("out.pdf", 1, 8), "1");
    EXPECT_EQ(imageColumn("out.pdf", 4, 9), "jpeg");
    toolOutput("make in.tiff -o out.pdf --squeeze low");
    EXPECT_EQ(pageCount("out.pdf"), 3);
    EXPECT_EQ(imageColumn("out.pdf", 2, 8), "1"); // bilevel and coarse enough: stays bilevel
}

TEST_F(Make, SqueezesToThePresetsResolution) {
    copySample("1-article.jpg", "a.jpg");
    toolOutput("make a.jpg -o plain.pdf");
    std::size_t smaller = read("plain.pdf").size();
    for (const auto& [preset, dpi] : {std::pair("medium", "144"), std::pair("strong", "72")}) {
        toolOutput("make a.jpg -o out.pdf --squeeze " + std::string(preset));
        expectSound("out.pdf");
        EXPECT_EQ(imageColumn("out.pdf", 1, 13), dpi);
        EXPECT_LT(read("out.pdf").size(), smaller);
        smaller = read("out.pdf").size();
        EXPECT_THAT(pdfinfo("out.pdf", "Page .*size"), testing::StartsWith("595"));
    }
}

TEST_F(Make, SqueezesWithAPresetFromAFile) {
    copySample("2-letter.jpg", "a.jpg");
    write("p.json", R"({"id":"mine","title":"Mine","dpi":100,"quality":40,"colors":"colors","method":"best"})");
    toolOutput("make a.jpg -o out.pdf --squeeze p.json");
    EXPECT_EQ(imageColumn("out.pdf", 1, 13), "100");
    EXPECT_EQ(imageColumn("out.pdf", 1, 6), "gray");
}

TEST_F(Make, KeepsTheOrderOfManySqueezedPages) {
    std::string names;
    for (int i = 1; i <= 9; ++i) {
        const auto size = std::to_string(100 * i);
        const auto name = "p" + std::to_string(i) + ".png";
        oracle("printf '%%!\\n9 9 50 50 rectfill showpage' | gs -q -sDEVICE=pnggray -r72 -g" + size + "x200 -o " +
               name + " -");
        names += " " + name;
    }
    toolOutput("make" + names + " -o out.pdf --squeeze strong");
    for (int i = 1; i <= 9; ++i) {
        EXPECT_NEAR(std::stod(pdfinfo("out.pdf", "Page .*size", i)), 100 * i, 0.2); // PNG states whole pixels per metre
    }
}

TEST_F(Make, WritesTitleAuthorAndProducer) {
    copySample("2-letter.jpg", "a.jpg");
    toolOutput("make a.jpg -o out.pdf --title 'Été (1) Ω' --author '文 Author'");
    EXPECT_EQ(pdfinfo("out.pdf", "Title"), "Été (1) Ω");
    EXPECT_EQ(pdfinfo("out.pdf", "Author"), "文 Author");
    EXPECT_THAT(pdfinfo("out.pdf", "Producer"), testing::StartsWith("OrvexPDF "));
}

TEST_F(Make, TurnsPages) {
    writeCornerJPEG("a.jpg");
    struct Case {
        std::string degrees;
        std::string rotation;
        std::vector<std::string> shown;
    };
    const std::vector<Case> cases = {
        {"90", "90", {"light", "dark", "light", "light"}},   {"180", "180", {"light", "light", "light", "dark"}},
        {"-90", "270", {"light", "light", "dark", "light"}}, {"450", "90", {"light", "dark", "light", "light"}},
        {"-720", "0", {"dark", "light", "light", "light"}},
    };
    for (const auto& one : cases) {
        toolOutput("make a.jpg -o out.pdf --rotate " + one.degrees);
        EXPECT_EQ(pdfinfo("out.pdf", "Page .*rot"), one.rotation) << one.degrees;
        EXPECT_EQ(quarters("out.pdf"), one.shown) << one.degrees;
    }
}

TEST_F(Make, TurnsPhotographsAsTheirOrientationSaysWithoutReencoding) {
    writeCornerJPEG("a.jpg");
    struct Case {
        int orientation;
        std::vector<std::string> shown; ///< where the dark corner is
    };
    const std::vector<Case> cases = {
        {1, {"dark", "light", "light", "light"}}, {3, {"light", "light", "light", "dark"}},
        {6, {"light", "dark", "light", "light"}}, {8, {"light", "light", "dark", "light"}},
        {2, {"light", "dark", "light", "light"}}, {4, {"light", "light", "dark", "light"}},
        {5, {"dark", "light", "light", "light"}}, {7, {"light", "light", "light", "dark"}},
    };
    for (const auto& one : cases) {
        const auto jpeg = withOrientation(read("a.jpg"), one.orientation);
        write("b.jpg", jpeg);
        for (const std::string squeeze : {"", " --squeeze low"}) {
            toolOutput("make b.jpg -o out.pdf" + squeeze);
            expectSound("out.pdf");
            EXPECT_EQ(quarters("out.pdf"), one.shown) << one.orientation << squeeze;
        }
        const bool mirrored =
            one.orientation == 2 || one.orientation == 4 || one.orientation == 5 || one.orientation == 7;
        if (!mirrored) { // nothing but new pixels can show a mirrored image
            toolOutput("make b.jpg -o out.pdf");
            EXPECT_EQ(storedJPEG("out.pdf", 1), jpeg) << one.orientation;
        }
    }
    write("b.jpg", withOrientation(read("a.jpg"), 6));
    toolOutput("make b.jpg -o out.pdf --rotate 90");
    EXPECT_EQ(pdfinfo("out.pdf", "Page .*rot"), "180");
}

TEST_F(Make, ReadsStandardInputAndWritesStandardOutput) {
    copySample("2-letter.jpg", "a.jpg");
    oracle("orvexpdf make - -o - <a.jpg >out.pdf");
    expectSound("out.pdf");
    EXPECT_EQ(storedJPEG("out.pdf", 1), read("a.jpg"));
    oracle("cat a.jpg | orvexpdf make - a.jpg -o piped.pdf");
    EXPECT_EQ(pageCount("piped.pdf"), 2);
}

TEST_F(Make, GivesTheSameBytesForTheSameInput) {
    copySample("1-article.jpg", "a.jpg");
    copySample("3-price-list.png", "b.png");
    toolOutput("make a.jpg b.png -o one.pdf --squeeze medium");
    toolOutput("make a.jpg b.png -o two.pdf --squeeze medium");
    EXPECT_EQ(read("one.pdf"), read("two.pdf"));
}

TEST_F(Make, ReplacesAnOlderOutputAndFollowsLinks) {
    copySample("2-letter.jpg", "a.jpg");
    write("real.pdf", "old");
    oracle("ln -s real.pdf out.pdf && chmod 640 real.pdf");
    toolOutput("make a.jpg -o out.pdf");
    EXPECT_TRUE(std::filesystem::is_symlink(path("out.pdf")));
    expectSound("real.pdf");
    EXPECT_EQ(oracle("stat -c %a real.pdf"), "640\n");
    EXPECT_THAT(names(), ElementsAre("a.jpg", "out.pdf", "real.pdf"));
}

TEST_F(Make, WarnsAboutAResolutionThatMakesGiantPages) {
    oracle("printf '%%!\\nshowpage' | gs -q -sDEVICE=jpeggray -r72 -g16000x300 -o b.jpg -");
    std::string jpeg(read("b.jpg").text());
    ASSERT_EQ(jpeg.substr(6, 4), "JFIF");
    jpeg.replace(13, 5, std::string("\1\0\1\0\1", 5)); // one pixel per inch, as files that mean no size say
    write("a.jpg", jpeg);
    const auto result = tool("make a.jpg -o out.pdf");
    EXPECT_EQ(result.exitCode, done);
    const std::string larger = " the page is larger than PDF readers can show";
    EXPECT_THAT(result.errors, HasSubstr("warning: a.jpg: at the 72.0 dpi that it states" + larger + "; --dpi sets"));
    EXPECT_THAT(tool("make a.jpg -o out.pdf --dpi 1").errors, HasSubstr("a.jpg: at 1.0 dpi" + larger + "\n"));
    EXPECT_THAT(tool("make a.jpg -o out.pdf --dpi 100").errors, testing::Not(HasSubstr("warning")));
}

} // namespace
} // namespace orvex::test
