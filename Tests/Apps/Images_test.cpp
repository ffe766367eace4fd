#include "ToolSupport.h"

#include "Platform/Imaging/Codecs.h"
#include "Support/ImageFixture.h"
#include "Support/ImagePage.h"
#include "Support/PDFFixture.h"

namespace orvex::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string stored = "/Subtype /Image /Filter ";

class Images : public ToolTest {
protected:
    [[nodiscard]] std::vector<std::string> pictures(const std::string& folder = "out") const {
        std::vector<std::string> list;
        for (const auto& entry : std::filesystem::directory_iterator(path(folder))) {
            list.push_back(entry.path().filename().string());
        }
        std::sort(list.begin(), list.end());
        return list;
    }
};

TEST_F(Images, JPEGDataComeOutAsStored) {
    const std::string jpeg(encodeJPEG(makePhoto(30, 20), {})->text());
    write("a.pdf", pdfWithXObjects({{"Im1", imageDictionary(30, 20, 8, "/DeviceRGB", "/Filter /DCTDecode"), jpeg},
                                    {"Im0", stored + "/DCTDecode", jpeg}}));
    const auto output = toolOutput("images a.pdf -o out");
    const std::string size = std::to_string(jpeg.size()) + " bytes\n";
    EXPECT_EQ(output, "p0001-Im1.jpg: page 1, Im1, 30 x 20 pixels, 8 bits, RGB, " + size +
                          "p0001-Im0.jpg: page 1, Im0, 30 x 20 pixels, 8 bits, RGB, " + size);
    EXPECT_EQ(read("out/p0001-Im1.jpg").text(), jpeg);
    EXPECT_EQ(read("out/p0001-Im0.jpg").text(), jpeg);
}

TEST_F(Images, SamplesBecomePNGsOfTheSamePixels) {
    const Bitmap photo = makePhoto(31, 17);
    const std::string data(photo.samples.begin(), photo.samples.end());
    write("a.pdf", pdfWithXObjects({{"Im1", imageDictionary(31, 17, 8, "/DeviceRGB"), data}}));
    EXPECT_THAT(toolOutput("images a.pdf -o deep/out"),
                HasSubstr("p0001-Im1.png: page 1, Im1, 31 x 17 pixels, 8 bits, RGB, "));
    oracle("pdfimages -png a.pdf theirs");
    const auto pixels = [this](const std::string& name) {
        return convertToSRGB(*Image::fromData(read(name))->representations().front()->bitmap());
    };
    EXPECT_EQ(largestDifference(pixels("deep/out/p0001-Im1.png"), pixels("theirs-000.png")), 0);
}

TEST_F(Images, RowsThatEndInsideAByteAreTakenAsTheFormatStoresThem) {
    const Bitmap art = makeLineArt(101, 40);
    const std::string data(art.samples.begin(), art.samples.end());
    write("a.pdf", pdfWithXObjects({{"Im1", imageDictionary(101, 40, 1, "/DeviceGray"), data}}));
    EXPECT_THAT(toolOutput("images a.pdf -o out"), HasSubstr("101 x 40 pixels, 1 bit, grey"));
    EXPECT_EQ(Image::fromData(read("out/p0001-Im1.png"))->representations().front()->bitmap()->samples, art.samples);
}

TEST_F(Images, ColorsAreNamed) {
    write("a.pdf", pdfWithXObjects({{"A", imageDictionary(1, 1, 8, "[/Indexed /DeviceRGB 1 (abcdef)]"), "\1"},
                                    {"B", imageDictionary(1, 1, 16, "/DeviceGray"), "ab"},
                                    {"C", imageDictionary(1, 1, 8, "/DeviceCMYK"), "abcd"},
                                    {"D", imageDictionary(1, 1, 8, "[/Lab << /WhitePoint [0.9 1 0.8] >>]"), "abc"},
                                    {"E", stored + "/JPXDecode", std::string("\xFF\x4F\xFF\x51 and so on")}}));
    const auto result = tool("images a.pdf -o out");
    EXPECT_EQ(result.exitCode, done);
    for (const std::string part : {"8 bits, palette of 2 in RGB,", "16 bits, grey,", "8 bits, CMYK,", "L*a*b*,",
                                   "p0001-E.j2k: page 1, E, 0 x 0 pixels, 0 bits, unknown colours, 14 bytes"}) {
        EXPECT_THAT(result.output, HasSubstr(part));
    }
}

TEST_F(Images, ErrorsAreListedAndTheRestComesOut) {
    write("a.pdf", pdfWithXObjects({{"Bad", imageDictionary(1, 1, 8, "/Pattern"), "a"},
                                    {"Good", imageDictionary(1, 1, 8, "/DeviceGray"), "a"},
                                    {"Worse", imageDictionary(1, 1, 8, "/DeviceGray", "/Filter /Crypt"), "a"}}));
    const auto result = tool("images a.pdf -o out");
    EXPECT_EQ(result.exitCode, done);
    EXPECT_EQ(result.errors, "orvexpdf: warning: page 1, Bad: unkownColorSpace(\"Pattern\")\n"
                             "orvexpdf: warning: page 1, Worse: cannotCopyData\n"
                             "orvexpdf: wrote 1 image; 2 could not be read\n");
    EXPECT_THAT(pictures(), ElementsAre("p0001-Good.png"));
}

TEST_F(Images, OddNamesBecomeSafeFileNames) {
    const std::string gray = imageDictionary(1, 1, 8, "/DeviceGray");
    write("a.pdf", pdfWithXObjects({{"..#2F..#2Fetc", gray, "a"},
                                    {"a#20b", gray, "b"},
                                    {"a#0Ab", gray, "c"},
                                    {"#FF", gray, "d"},
                                    {std::string(300, 'x'), gray, "e"}}));
    const auto output = toolOutput("images a.pdf -o out");
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 5) << output;
    EXPECT_THAT(pictures(), ElementsAre("p0001-.._.._etc.png", "p0001-___.png", "p0001-a_b.png", "p0001-a_b~2.png",
                                        "p0001-" + std::string(100, 'x') + ".png"));
}

TEST_F(Images, OnePageOrSeveral) {
    const std::string more = " /Resources << /XObject << /Im1 3 0 R >> >>";
    write("a.pdf",
          pdfFromObjects({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [4 0 R 5 0 R 6 0 R] /Count 3 >>",
                          streamBody("a", imageDictionary(1, 1, 8, "/DeviceGray")),
                          "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9]" + more + " >>",
                          "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] >>",
                          "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9]" + more + " >>"}));
    toolOutput("images a.pdf -o all");
    EXPECT_THAT(pictures("all"), ElementsAre("p0001-Im1.png", "p0003-Im1.png"));
    EXPECT_THAT(tool("images a.pdf -o all").errors, HasSubstr("page 2: couldNotReadResources"));
    toolOutput("images a.pdf --page 3 -o one");
    EXPECT_THAT(pictures("one"), ElementsAre("p0003-Im1.png"));
    EXPECT_EQ(tool("images a.pdf --page 2 -o none").exitCode, unusable);
}

TEST_F(Images, WrongWordsAreRefused) {
    write("a.pdf", pdfFromPages({{""}}));
    write("file", std::string_view("x"));
    expectRefusal("orvexpdf images a.pdf", usage, {"--output"});
    expectRefusal("orvexpdf images gone.pdf -o out", unreadable, {"gone.pdf"});
    expectRefusal("orvexpdf images file -o out", unusable, {"file", "not a PDF"});
    expectRefusal("orvexpdf images a.pdf --page 2 -o out", usage, {"1 page"});
    expectRefusal("orvexpdf images a.pdf -o file", notWritten, {"file"});
}

TEST_F(Images, QuietLeavesTheResults) {
    write("a.pdf", pdfWithXObjects({{"Im1", imageDictionary(1, 1, 8, "/DeviceGray"), "a"}}));
    const auto result = tool("--quiet images a.pdf -o out");
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(result.output, HasSubstr("Im1"));
}

} // namespace
} // namespace orvex::test
