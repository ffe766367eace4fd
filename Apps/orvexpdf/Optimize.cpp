#include "Commands.h"
#include "Failure.h"
#include "Input.h"
#include "MakePages.h"
#include "Messages.h"
#include "Numbers.h"
#include "OrvexPDF/Images.h"
#include "Output.h"
#include "Platform/Foundation/Strings.h"

#include <CLI/CLI.hpp>

#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <utility>

namespace orvex::tool {

namespace {

struct OptimizeOptions {
    std::string image;
    std::string mode;
    std::string output;
    std::int64_t page = 1;
    std::optional<double> dpi;
};

constexpr auto optimizeExamples = R"(Examples:
  orvexpdf optimize scan.jpg --mode medium -o small.jpg
      144 dpi, JPEG of quality 50 % or PNG, whichever is smaller.
  orvexpdf optimize fax.tiff --page 2 --mode my-preset.json -o page2.png
      The second page of a TIFF under a preset of one's own.)";

/// The page that was asked for.
SourceImage readPage(const OptimizeOptions& options) {
    auto sources = readImages({options.image}, options.dpi);
    if (options.page < 1 || std::cmp_greater(options.page, sources.size())) {
        throw Failure(ExitCode::usage, "--page " + std::to_string(options.page) + ": " + displayName(options.image) +
                                           " holds " + std::to_string(sources.size()) +
                                           (sources.size() == 1 ? " image" : " images"));
    }
    return sources[static_cast<std::size_t>(options.page) - 1];
}

std::string describePixels(const Image& image) {
    const auto rep = image.representations().front();
    return std::to_string(rep->pixelsWide()) + " x " + std::to_string(rep->pixelsHigh()) + " pixels at " +
           std::to_string(std::llround(image.dpi())) + " dpi";
}

std::string sizeOf(std::int64_t bytes) {
    const std::string rounded = formatByteCount(bytes);
    return bytes < 1000 ? rounded : rounded + " (" + std::to_string(bytes) + " bytes)";
}

/// What the other encoding of the same pixels would have come to.
std::string describeLoser(const ImagePtr& image, const OrvexPDFSqueezeMode& mode, const OrvexImageMeta& winner) {
    const ImagePtr reduced = isFiner(*image, mode.dpi) ? reducedTo(image, mode.dpi) : image;
    const bool wonPNG = winner.mode == OrvexImageMetaMode::png;
    const auto other = wonPNG ? orvexDataForJPGRepresentation(*reduced, static_cast<double>(mode.quality) / 100)
                              : orvexDataForPNG(*reduced);
    if (!other) {
        return {};
    }
    std::array<char, 32> times{};
    std::snprintf(times.data(), times.size(), "%.2f",
                  static_cast<double>(other->size()) / static_cast<double>(winner.count));
    return std::string("; ") + (wonPNG ? "a JPEG" : "a PNG") + " would take " +
           sizeOf(static_cast<std::int64_t>(other->size())) + ", " + times.data() + " times as much";
}

/// Whoever names the file expects a format; which one it becomes is known only now.
void warnOfExtension(const std::string& path, OrvexImageMetaMode mode) {
    const auto extension = std::filesystem::path(path).extension().string();
    const bool named =
        mode == OrvexImageMetaMode::png ? extension == ".jpg" || extension == ".jpeg" : extension == ".png";
    if (named) {
        warn(path + " holds a " + (mode == OrvexImageMetaMode::png ? "PNG" : "JPEG") + ", whatever its name says");
    }
}

void optimize(const OptimizeOptions& options) {
    auto inputs = presetFiles(options.mode);
    inputs.push_back(options.image);
    checkStandardInput(inputs);
    checkOutput(options.output, inputs);
    const auto mode = readPreset(options.mode);
    const SourceImage source = readPage(options);
    const OrvexImageMeta result = optimizeImage(source.image, mode, {});
    if (result.mode == OrvexImageMetaMode::undefined) {
        requirePixels(*source.image, source.name);
        throw Failure(ExitCode::inputUnusable, source.name + ": it cannot be encoded");
    }
    const Bytes data = result.image->representations().front()->encoded();
    writeOutput(options.output, [&](ByteSink& sink) { sink.write(data.span()); });
    warnOfExtension(options.output, result.mode);
    report("wrote " + outputName(options.output) + ": " +
           (result.mode == OrvexImageMetaMode::png ? "PNG, " : "JPEG, ") + sizeOf(result.count) + ", " +
           describePixels(*result.image) + ", from " + describePixels(*source.image) +
           describeLoser(source.image, *mode, result));
}

} // namespace

Command addOptimize(CLI::App& tool) {
    auto options = std::make_shared<OptimizeOptions>();
    auto* app = tool.add_subcommand("optimize", "Reduce and compress one image");
    app->add_option("IMAGE", options->image, "A JPEG, PNG, TIFF or JPEG 2000 file; - for standard input")
        ->required()
        ->type_name("");
    app->add_option("--mode", options->mode,
                    "strong (72 dpi), medium (144 dpi), low (300 dpi), or a\npreset's JSON file")
        ->required()
        ->type_name("PRESET");
    app->add_option("-o,--output", options->output, "The image to write; - for standard output")
        ->required()
        ->type_name("OUT");
    app->add_option("--page", options->page, "For a TIFF: which of its pages; the first unless told\notherwise")
        ->type_name("N");
    app->add_option("--dpi", options->dpi, "The image's resolution, whatever its file says")
        ->type_name("N")
        ->check(numberFrom(1, 100000));
    app->footer(optimizeExamples);
    return {app, [options] { optimize(*options); }};
}

} // namespace orvex::tool
