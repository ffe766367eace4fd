#include "ToolSupport.h"

namespace orvex::test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class Optimize : public ToolTest {
protected:
    void SetUp() override { copySample("2-letter.jpg", "scan.jpg"); }
    /// Format, pixels and resolution as another program reads them.
    [[nodiscard]] std::string identified(const std::string& name) const {
        return oracle("gm identify -format '%m %w %h %x\\n' " + quoted(name));
    }
};

TEST_F(Optimize, BringsAScanDownAndSaysWhatWonByHowMuch) {
    const auto result = tool("optimize scan.jpg --mode medium -o small.jpg");
    EXPECT_EQ(result.exitCode, done);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, MatchesRegex("orvexpdf: wrote small\\.jpg: JPEG, [0-9]+ KB \\([0-9]+ bytes\\), "
                                            "1190 x 168[34] pixels at 144 dpi, from 2480 x 3508 pixels at 300 dpi; "
                                            "a PNG would take .* \\([0-9]+ bytes\\), [0-9]+\\.[0-9]+ times as much\n"));
    EXPECT_THAT(result.errors, HasSubstr("(" + std::to_string(read("small.jpg").size()) + " bytes), 1190"));
    EXPECT_THAT(identified("small.jpg"), MatchesRegex("JPEG 1190 168[34] 144.*\n"));
}

TEST_F(Optimize, FewColoursBecomeAPNG) {
    copySample("3-price-list.png", "list.png");
    const auto result = tool("optimize list.png --mode low -o small.png");
    EXPECT_EQ(result.exitCode, done) << result.errors;
    EXPECT_THAT(result.errors, HasSubstr("small.png: PNG, "));
    EXPECT_THAT(result.errors, HasSubstr("; a JPEG would take "));
    EXPECT_THAT(identified("small.png"), MatchesRegex("PNG 2480 3508 .*\n"));
    EXPECT_EQ(oracle("pngcheck small.png >/dev/null && echo sound"), "sound\n");
}

TEST_F(Optimize, ANameThatPromisesAnotherFormatIsRemarkedOn) {
    const auto result = tool("optimize scan.jpg --mode strong -o small.png");
    EXPECT_EQ(result.exitCode, done);
    EXPECT_THAT(result.errors, HasSubstr("small.png holds a JPEG, whatever its name says\n"));
}

TEST_F(Optimize, ATiffGivesThePageThatIsAskedFor) {
    oracle("gm convert -size 300x200 gradient:black-white -type Grayscale a.tif && gm convert -size 200x300 "
           "gradient:white-black -type Grayscale b.tif "
           "&& tiffcp a.tif b.tif both.tif");
    toolOutput("optimize both.tif --page 2 --mode medium -o two.png");
    EXPECT_THAT(oracle("gm identify -format '%w %h\\n' two.png"), HasSubstr("200 300"));
    toolOutput("optimize both.tif --mode medium -o one.png");
    EXPECT_THAT(oracle("gm identify -format '%w %h\\n' one.png"), HasSubstr("300 200"));
    expectRefusal("orvexpdf optimize both.tif --page 3 --mode medium -o x.png", usage, {"--page 3", "holds 2 images"});
    expectRefusal("orvexpdf optimize both.tif --page 0 --mode medium -o x.png", usage, {"--page 0"});
    expectRefusal("orvexpdf optimize both.tif --page -1 --mode medium -o x.png", usage,
                  {"--page -1: both.tif holds 2"});
}

TEST_F(Optimize, PresetsOfOnesOwnAndAnotherResolution) {
    write("mine.json", R"({"id":"x","title":"X","dpi":50,"quality":90,"colors":"colors","method":"best"})");
    toolOutput("optimize scan.jpg --mode mine.json --dpi 100 -o small.jpg");
    EXPECT_THAT(identified("small.jpg"), MatchesRegex("JPEG 1240 1754 50.*\n"));
}

TEST_F(Optimize, JPEG2000IsRead) {
    oracle("gm convert -size 300x200 gradient:black-white in.pgm && opj_compress -i in.pgm -o in.jp2 >log");
    toolOutput("optimize in.jp2 --mode medium -o small.png");
    EXPECT_THAT(oracle("gm identify -format '%w %h\\n' small.png"), HasSubstr("300 200"));
}

TEST_F(Optimize, StandardInputAndOutput) {
    const auto result = shell("orvexpdf -q optimize - --mode medium -o - <scan.jpg >small.jpg");
    EXPECT_EQ(result.exitCode, done) << result.errors;
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(identified("small.jpg"), HasSubstr("JPEG 1190"));
}

TEST_F(Optimize, WrongUsageAndBadInputAreNamed) {
    write("text.jpg", "no image");
    write("cut.jpg", read("scan.jpg").slice(0, 5000));
    expectRefusal("orvexpdf optimize scan.jpg -o x.jpg", usage, {"--mode"});
    expectRefusal("orvexpdf optimize scan.jpg --mode medium", usage, {"--output"});
    expectRefusal("orvexpdf optimize scan.jpg --mode extreme -o x.jpg", unreadable, {"extreme"});
    expectRefusal("orvexpdf optimize scan.jpg --mode medium -o scan.jpg", usage, {"scan.jpg is an input"});
    expectRefusal("orvexpdf optimize missing.jpg --mode medium -o x.jpg", unreadable, {"missing.jpg"});
    expectRefusal("orvexpdf optimize scan.jpg --mode huge -o x.jpg", unreadable, {"huge: neither a preset", "strong"});
    expectRefusal("orvexpdf optimize text.jpg --mode medium -o x.jpg", unusable, {"text.jpg", "not an image"});
    expectRefusal("orvexpdf optimize cut.jpg --mode medium -o x.jpg", unusable, {"cut.jpg", "truncated JPEG data"});
    expectRefusal("orvexpdf optimize scan.jpg --mode medium -o no/x.jpg", notWritten, {"no/x.jpg"});
}

using Diagnose = Optimize;

TEST_F(Diagnose, PrintsTheReport) {
    oracle("gm convert scan.jpg -resize 600x600! -density 300x300 -units PixelsPerInch small.jpg");
    EXPECT_THAT(
        toolOutput("diagnose small.jpg --quality 0.5"),
        MatchesRegex("Image visual size=\\(144\\.0, 144\\.0\\)\n"
                     "  NSBitmap  PNG=[0-9]+ KB, JPG/0\\.5=[0-9]+ KB\n"
                     "  CoreImage PNG=[0-9]+ KB, JPG/0\\.5=[0-9]+ KB\n"
                     "  CGImage   JPG/0\\.5=[0-9]+ KB\n"
                     "  Representation visual size=\\(144\\.0, 144\\.0\\), pixels=\\(600, 600\\); dpi=300\\.0\n"));
}

TEST_F(Diagnose, WrongUsageAndBadInputAreNamed) {
    write("cut.jpg", read("scan.jpg").slice(0, 5000));
    expectRefusal("orvexpdf diagnose", usage, {"IMAGE"});
    expectRefusal("orvexpdf diagnose scan.jpg --quality 75", usage, {"--quality", "75 is not a number from 0 to 1"});
    expectRefusal("orvexpdf diagnose scan.jpg --quality half", usage, {"half is not a number from 0 to 1"});
    expectRefusal("orvexpdf diagnose missing.jpg", unreadable, {"missing.jpg"});
    expectRefusal("orvexpdf diagnose cut.jpg", unusable, {"cut.jpg", "truncated JPEG data"});
    expectRefusal("orvexpdf diagnose - </dev/null", unusable, {"standard input"});
}

} // namespace
} // namespace orvex::test
