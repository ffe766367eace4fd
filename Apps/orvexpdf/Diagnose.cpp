#include "Commands.h"
#include "Failure.h"
#include "Input.h"
#include "MakePages.h"
#include "Numbers.h"
#include "OrvexPDF/Utils.h"
#include "Output.h"
#include "Platform/Imaging/Codecs.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>

namespace orvex::tool {

namespace {

struct DiagnoseOptions {
    std::string image;
    double quality = 0.75;
};

constexpr auto diagnoseExamples = R"(Examples:
  orvexpdf diagnose scan.jpg
      What the encoders make of it, and its size and resolution.
  orvexpdf diagnose scan.png --quality 0.5
      The JPEGs with another quality.)";

ImagePtr readImage(const std::string& path) {
    const Bytes data = readInput(path);
    try {
        auto image = Image::fromData(data);
        for (const auto& rep : image->representations()) {
            verifyEncoded(data, rep->info());
        }
        return image;
    } catch (const ImageError& error) {
        throw Failure(ExitCode::inputUnusable, displayName(path) + ": " + error.what());
    }
}

void diagnose(const DiagnoseOptions& options) {
    const ImagePtr image = readImage(options.image);
    requirePixels(*image, displayName(options.image));
    std::string text;
    for (const auto& line : imageReport(image, options.quality)) {
        text += line() + "\n";
    }
    // The report's outer lines are blank, to stand apart in a log.
    const auto first = text.find_first_not_of('\n');
    printResult(text.substr(first, text.find_last_not_of('\n') + 1 - first) + "\n");
}

} // namespace

Command addDiagnose(CLI::App& tool) {
    auto options = std::make_shared<DiagnoseOptions>();
    auto* app = tool.add_subcommand("diagnose", "Compare what the encoders make of an image");
    app->add_option("IMAGE", options->image, "A JPEG, PNG, TIFF or JPEG 2000 file; - for standard input")
        ->required()
        ->type_name("");
    app->add_option("--quality", options->quality, "For the JPEGs, from 0 to 1; 0.75 unless told otherwise")
        ->type_name("Q")
        ->check(numberFrom(0, 1));
    app->footer(diagnoseExamples);
    return {app, [options] { diagnose(*options); }};
}

} // namespace orvex::tool
