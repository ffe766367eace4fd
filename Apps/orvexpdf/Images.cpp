#include "Commands.h"
#include "Failure.h"
#include "Input.h"
#include "Interrupt.h"
#include "Messages.h"
#include "OpenPDF.h"
#include "OrvexPDF/Utils+ExtractImages.h"
#include "Output.h"
#include "PageRange.h"
#include "Platform/Imaging/Codecs.h"
#include "Progress.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>

namespace orvex::tool {

namespace {

struct ImagesOptions {
    std::string file;
    std::string password;
    std::string page;
    std::string folder;
};

constexpr auto imagesExamples = R"(Examples:
  orvexpdf images scan.pdf -o pictures
      Every image that the pages name, like pictures/p0001-Im0.jpg.
  orvexpdf images book.pdf --page 3 -o pictures
      Those of the third page.)";

/// The library tells names on standard output, by design; here they are part of the results.
class NamesUnsaid {
public:
    NamesUnsaid() : previous_(std::cout.rdbuf(nullptr)) {}
    ~NamesUnsaid() {
        std::cout.rdbuf(previous_);
        std::cout.clear(); // writing to nothing counts as a failure
    }
    NamesUnsaid(const NamesUnsaid&) = delete;
    NamesUnsaid& operator=(const NamesUnsaid&) = delete;

private:
    std::streambuf* previous_;
};

/// An image as it will be written, and what there is to say of it.
struct Picture {
    Bytes bytes;
    std::string extension;
    std::int64_t width = 0;
    std::int64_t height = 0;
    int bits = 0;
    std::string colors;
};

const char* nameOf(ColorModel model) {
    return model == ColorModel::gray ? "grey" : model == ColorModel::rgb ? "RGB" : "CMYK";
}

std::string describeColors(const PDFColorSpace& space) {
    std::string model = nameOf(space.pixels().model);
    switch (space.family()) {
    case PDFColorSpace::Family::device:
        break;
    case PDFColorSpace::Family::icc:
        return model + " with a profile";
    case PDFColorSpace::Family::indexed:
        return "palette of " + std::to_string(space.colors().size()) + " in " + model;
    case PDFColorSpace::Family::lab:
        return "L*a*b*";
    }
    return model;
}

Picture asStored(const Bytes& data) {
    constexpr std::string_view codestream = "\xFF\x4F\xFF\x51";
    Picture picture{data, ".jpg", 0, 0, 0, "unknown colours"};
    if (sniffImageFormat(data.span()) == ImageFormat::jpeg2000) {
        picture.extension = data.text().starts_with(codestream) ? ".j2k" : ".jp2";
    }
    try {
        const ImageInfo info = readImageInfo(data).front();
        picture.width = info.width;
        picture.height = info.height;
        picture.bits = info.bitsPerComponent;
        picture.colors = nameOf(info.colorSpace.model);
    } catch (const ImageError&) {
        warn("what is stored as JPEG or JPEG 2000 data is none that can be read");
    }
    return picture;
}

/// Rows are taken as the format stores them, each from a byte boundary on.
Bytes asPNG(const PDFImage& image) {
    const BitmapPtr bitmap = image.withWholeByteRows()->makeRep()->bitmap();
    const bool inks = bitmap->colorSpace.model == ColorModel::cmyk; // PNG has none
    auto png = encodePNG(inks ? convertToSRGB(*bitmap) : *bitmap, {300, 300});
    return png ? *png : throw ImageError("cannot be encoded");
}

Picture pictureOf(const EmbeddedImage& embedded) {
    if (const auto* jpg = std::get_if<EmbeddedJPG>(&embedded)) {
        return asStored(jpg->data);
    }
    const PDFImage& image = *std::get<EmbeddedRaw>(embedded).image;
    const bool jpeg = image.format == PDFStreamFormat::jpeg;
    return {jpeg ? image.data : asPNG(image), jpeg ? ".jpg" : ".png",           image.width, image.height,
            image.bitsPerComponent,           describeColors(*image.colorSpace)};
}

/// Names may hold any bytes; file names get letters, digits and a few signs.
std::string asFileName(const std::string& name) {
    constexpr std::size_t longest = 100;
    std::string safe = name.substr(0, longest);
    const auto isSafe = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '.' || c == '_' ||
               c == '-' || c == '+';
    };
    std::replace_if(
        safe.begin(), safe.end(), [&](char c) { return !isSafe(c); }, '_');
    return safe;
}

class Extraction {
public:
    explicit Extraction(const ImagesOptions& options) : options_(options) {}

    /// False when the page's images cannot be reached.
    bool takePage(const PDFPage& page, std::int64_t index) {
        const std::string place = "page " + std::to_string(index + 1);
        try {
            const NamesUnsaid names;
            const WarningsDropped warnings;
            walkEmbeddedImages(
                page, [&](const EmbeddedImage& image, const std::string& name) { take(image, place, index, name); },
                [&](const std::exception& error, const std::string& name) { list(place, name, error); });
            return true;
        } catch (const PDFReadError& error) {
            warn(place + ": " + error.what());
            ++failed_;
            return false;
        }
    }
    void finish() const {
        report("wrote " + std::to_string(written_) + (written_ == 1 ? " image" : " images") +
               (failed_ == 0 ? "" : "; " + std::to_string(failed_) + " could not be read"));
    }

private:
    void take(const EmbeddedImage& image, const std::string& place, std::int64_t index, const std::string& name) {
        throwIfInterrupted();
        try {
            const Picture picture = pictureOf(image);
            const std::string file = freeName(index, name, picture.extension);
            const std::string path = (std::filesystem::path(options_.folder) / file).string();
            checkOutput(path, {options_.file});
            writeOutput(path, [&picture](ByteSink& sink) { sink.write(picture.bytes.span()); });
            printResult(file + ": " + place + ", " + oneLine(name) + ", " + std::to_string(picture.width) + " x " +
                        std::to_string(picture.height) + " pixels, " + std::to_string(picture.bits) +
                        (picture.bits == 1 ? " bit, " : " bits, ") + picture.colors + ", " +
                        std::to_string(picture.bytes.size()) + " bytes\n");
            ++written_;
        } catch (const ImageError& error) {
            list(place, name, error);
        }
    }
    void list(const std::string& place, const std::string& name, const std::exception& error) {
        warn(place + ", " + oneLine(name) + ": " + error.what());
        ++failed_;
    }
    /// Different names may look alike once they are safe.
    std::string freeName(std::int64_t index, const std::string& name, const std::string& extension) {
        std::string digits = std::to_string(index + 1);
        digits.insert(0, digits.size() < 4 ? 4 - digits.size() : 0, '0');
        const std::string stem = "p" + digits + "-" + asFileName(name);
        std::string file = stem + extension;
        for (int i = 2; !taken_.insert(file).second; ++i) {
            file = std::string(stem).append("~").append(std::to_string(i)).append(extension);
        }
        return file;
    }

    const ImagesOptions& options_;
    std::set<std::string> taken_;
    int written_ = 0;
    int failed_ = 0;
};

void makeFolder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error || !std::filesystem::is_directory(folder)) {
        throw Failure(ExitCode::outputFailed, folder + ": " + (error ? error.message() : "not a folder"));
    }
}

void images(const ImagesOptions& options) {
    const auto manager = openPDF(options.file, options.password);
    const auto pages = parsePages(options.page, manager->pdfDoc->pageCount());
    makeFolder(options.folder);
    Extraction extraction(options);
    Progress progress("Extracting", pages.size());
    std::size_t unreachable = 0;
    for (const std::int64_t index : pages) {
        throwIfInterrupted();
        if (!extraction.takePage(*manager->page(index), index)) {
            ++unreachable;
        }
        progress.advance();
    }
    if (!options.page.empty() && unreachable == pages.size()) {
        throw Failure(ExitCode::inputUnusable,
                      displayName(options.file) + ": page " + options.page + ": its images cannot be reached");
    }
    extraction.finish();
}

} // namespace

Command addImages(CLI::App& tool) {
    auto options = std::make_shared<ImagesOptions>();
    auto* app = tool.add_subcommand("images", "Take out the images that pages carry");
    app->add_option("FILE", options->file, "The PDF; - for standard input")->required()->type_name("");
    app->add_option("-o,--output", options->folder, "The folder to write to; made when it is missing")
        ->required()
        ->type_name("DIR");
    app->add_option("--page", options->page, "Only this page, counted from 1, or several, like 1-3,7,9-end")
        ->type_name("N");
    addPassword(*app, options->password);
    app->footer(imagesExamples);
    return {app, [options] { images(*options); }};
}

} // namespace orvex::tool
