// Inputs that cannot be opened, vanish or fail while they are read.
#include "Faults/FaultyTool.h"

namespace orvex::test {
namespace {

struct InputCase {
    std::string name;
    std::string arguments;
    std::string input;
    friend void PrintTo(const InputCase& input, std::ostream* out) { *out << input.name; }
};

class ReadingFaults : public FaultyToolTest, public testing::WithParamInterface<InputCase> {
protected:
    void SetUp() override {
        FaultyToolTest::SetUp();
        write("text.json", R"({"pages": [{"items": []}]})");
        write("mode.json",
              R"({"id": "a", "title": "A", "dpi": 72, "quality": 50, "colors": "colors", "method": "best"})");
        // Larger files are not read but mapped.
        oracle("djpeg -scale 1/8 a.jpg | cjpeg -quality 30 -outfile small.jpg");
        toolOutput("make small.jpg -o doc.pdf");
    }
    /// From the first call on, from the second, and so on until none is left to fail.
    void expectRefusalAtEveryCall(const std::string& kind, const std::string& calls, const std::string& words) const {
        const auto before = names();
        int failed = 0;
        for (int at = 1; at < 100; ++at) {
            const auto result = faulty({kind, calls, std::to_string(at) + "+", GetParam().input}, GetParam().arguments);
            if (result.exitCode == done) {
                std::filesystem::remove(path("out"));
                break;
            }
            ++failed;
            EXPECT_EQ(result.exitCode, unreadable) << at << result.errors;
            EXPECT_THAT(result.errors, testing::StartsWith("orvexpdf: ")) << at;
            EXPECT_THAT(result.errors, testing::HasSubstr(GetParam().input)) << at;
            EXPECT_THAT(result.errors, testing::HasSubstr(words)) << at;
            EXPECT_EQ(names(), before) << at;
        }
        EXPECT_GE(failed, 1);
    }
};

TEST_P(ReadingFaults, AnInputThatCannotBeOpenedIsNamed) {
    expectRefusalAtEveryCall("EACCES", "i", "Permission denied");
}

TEST_P(ReadingFaults, AnInputThatVanishesIsNamed) {
    expectRefusalAtEveryCall("ENOENT", "i", "No such file or directory");
}

TEST_P(ReadingFaults, AnInputThatFailsWhileItIsReadIsNamed) {
    expectRefusalAtEveryCall("EIO", "d", "Input/output error");
}

TEST_P(ReadingFaults, InterruptedReadsGoOn) {
    EXPECT_EQ(faulty({"EINTR", "d", "1", GetParam().input}, GetParam().arguments).exitCode, done);
}

const InputCase inputs[] = {
    {"info", "info doc.pdf", "doc.pdf"},
    {"pages", "pages doc.pdf --reverse -o out", "doc.pdf"},
    {"text", "text doc.pdf", "doc.pdf"},
    {"render", "render doc.pdf --page 1 -o out", "doc.pdf"},
    {"image", "make small.jpg -o out", "small.jpg"},
    {"found", "make small.jpg --found text.json -o out", "text.json"},
    {"preset", "make small.jpg --squeeze mode.json -o out", "mode.json"},
    {"inserted", "pages doc.pdf --append small.jpg -o out", "small.jpg"},
};

std::string nameOf(const testing::TestParamInfo<InputCase>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Inputs, ReadingFaults, testing::ValuesIn(inputs), nameOf);

} // namespace
} // namespace orvex::test
