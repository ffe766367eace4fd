#include "ToolSupport.h"

#include "Support/PDFFixture.h"

namespace orvex::test {
namespace {

/// The tool with a library that stands alone: the folder of modules beside it is missing.
class WithoutModules : public ToolTest {
protected:
    void SetUp() override {
        for (const auto& entry : std::filesystem::directory_iterator(programFolder() / "../lib")) {
            if (entry.is_regular_file() || entry.is_symlink()) { // the library under all its names
                std::filesystem::create_symlink(entry.path(), path(entry.path().filename().string()));
            }
        }
        write("a.pdf", pdfFromPages({{showing("One")}}));
        copySample("2-letter.jpg", "a.jpg");
        copySample("2-letter.found.json", "a.json");
    }
    [[nodiscard]] std::string alone(const std::string& arguments) const {
        return "LD_LIBRARY_PATH=. orvexpdf " + arguments;
    }
    void expectMissing(const std::string& arguments, const std::string& module, const std::string& purpose) const {
        expectRefusal(alone(arguments), other, {"cannot load " + purpose + ": ", "/orvexpdf/" + module + "-", ".so"});
    }
};

TEST_F(WithoutModules, TextIsReadAndPicturesGoInAsTheyAre) {
    EXPECT_EQ(oracle(alone("text a.pdf")), "One\n\f");
    oracle(alone("make a.jpg -o b.pdf"));
    expectSound("b.pdf");
}

TEST_F(WithoutModules, WhatNeedsOneSaysWhichIsMissingAndWhere) {
    expectMissing("render a.pdf --page 1 -o b.png", "pdfium", "what renders pages");
    expectMissing("make a.jpg --squeeze medium -o b.pdf", "imaging", "what decodes and resamples pictures");
    expectMissing("make a.jpg --found a.json -o b.pdf", "fonts", "what finds and shapes fonts");
}

} // namespace
} // namespace orvex::test
