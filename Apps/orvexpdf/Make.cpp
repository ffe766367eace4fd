#include "Commands.h"
#include "Failure.h"
#include "FoundFiles.h"
#include "Input.h"
#include "Interrupt.h"
#include "MakePages.h"
#include "Messages.h"
#include "Numbers.h"
#include "OpenPDF.h"
#include "OrvexPDF/Manager.h"
#include "Output.h"
#include "Platform/Foundation/Strings.h"
#include "Platform/Foundation/Workers.h"
#include "Progress.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <memory>

namespace orvex::tool {

namespace {

struct MakeOptions {
    std::vector<std::string> images;
    std::string output;
    std::vector<std::string> found;
    std::string squeeze;
    std::int64_t rotate = 0;
    std::optional<std::string> watermark;
    std::optional<std::string> title;
    std::optional<std::string> author;
    std::optional<double> dpi;
};

constexpr auto makeExamples = R"(Examples:
  orvexpdf make scan1.jpg scan2.jpg -o scans.pdf
      One page per image, in this order. JPEGs go in byte for byte.
  orvexpdf make letter.tiff --squeeze medium -o letter.pdf
      Every page of the TIFF, brought down to 144 dpi.
  orvexpdf make p1.jpg p2.jpg --found p1.json --found p2.json -o book.pdf
      Pages that can be searched: recognised text as an invisible layer.
  scanimage --format=png | orvexpdf make - -o - | lpr
      From standard input to standard output.)";

void checkOptions(const MakeOptions& options) {
    constexpr std::int64_t quarterTurn = 90;
    if (options.rotate % quarterTurn != 0) {
        throw Failure(ExitCode::usage, "--rotate: " + std::to_string(options.rotate) + " is no multiple of 90 degrees");
    }
    auto inputs = options.images;
    inputs.insert(inputs.end(), options.found.begin(), options.found.end());
    std::ranges::move(presetFiles(options.squeeze), std::back_inserter(inputs));
    checkStandardInput(inputs);
    checkOutput(options.output, inputs);
}

/// Text cannot be laid out without the widths of a font; better said before any work is done.
void requireFonts() {
    if (!Font::named("Helvetica") || !Font::named("Helvetica Bold")) {
        throw Failure(ExitCode::other, "no font with the metrics of Helvetica is installed, which text needs "
                                       "(on Debian: fonts-urw-base35)");
    }
}

/// Gives up the image itself once its page is made: with many scans it is the memory that matters.
OrvexPDFPagePtr generate(OrvexPDFDocumentManager& manager, SourceImage& source, OrvexPDFPageMeta& record) {
    throwIfInterrupted();
    auto page = manager.generatePage(record);
    const auto* content = page ? std::get_if<ImagePageContent>(&page->content()) : nullptr;
    if (content == nullptr) {
        throw Failure(ExitCode::inputUnusable, source.name + ": no page can be made from it");
    }
    if (record.squeeze && content->image == record.originalImage) {
        requirePixels(*content->image, source.name); // nothing was encoded: could nothing be decoded?
    }
    source.image.reset();
    record.originalImage.reset();
    return page;
}

std::vector<OrvexPDFPagePtr> generateAll(OrvexPDFDocumentManager& manager, std::vector<SourceImage>& sources,
                                         std::vector<OrvexPDFPageMeta>& records) {
    std::vector<OrvexPDFPagePtr> pages(sources.size());
    Progress progress("Making pages", sources.size());
    forEachInParallel(sources.size(), [&](std::size_t i) {
        pages[i] = generate(manager, sources[i], records[i]);
        progress.advance();
    });
    return pages;
}

/// Adds all pages; returns the names of what they were made from.
std::vector<std::string> addInputs(OrvexPDFDocumentManager& manager, const MakeOptions& options) {
    const auto squeeze = readPreset(options.squeeze);
    auto sources = readImages(options.images, options.dpi);
    const auto found = readFoundPages(options.found, sources.size());
    if (!found.empty() || options.watermark) {
        requireFonts();
    }
    std::vector<OrvexPDFPageMeta> records;
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const auto text = i < found.size() ? found[i] : nullptr;
        records.push_back(recordFor(sources[i].image, text, squeeze, options.rotate));
        records.back().watermarkText = options.watermark;
    }
    const auto pages = generateAll(manager, sources, records);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        manager.insert(pages[i], -1, records[i]);
        names.push_back(sources[i].name);
    }
    return names;
}

/// Some images are decoded only when they are written; the writer does not know their files.
[[noreturn]] void blame(const OrvexPDFDocumentManager& manager, const std::vector<std::string>& names,
                        const PDFWriteError& error) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        const auto page = manager.page(static_cast<std::int64_t>(i));
        requirePixels(*std::get<ImagePageContent>(page->content()).image, names[i]);
    }
    throw Failure(ExitCode::other, error.what());
}

/// Writes the file; returns its size. `names` tell what the pages were made from.
std::int64_t save(OrvexPDFDocumentManager& manager, const std::string& path, const std::vector<std::string>& names) {
    std::int64_t size = 0;
    try {
        writeOutput(path, [&](ByteSink& sink) {
            ByteMeter meter(sink);
            manager.write(meter);
            size = meter.count();
        });
    } catch (const PDFWriteError& error) {
        blame(manager, names, error);
    }
    return size;
}

void make(const MakeOptions& options) {
    checkOptions(options);
    const auto manager = makeManager();
    const auto names = addInputs(*manager, options);
    if (options.title) {
        manager->pdfDoc->setTitle(*options.title);
    }
    if (options.author) {
        manager->pdfDoc->setAuthor(*options.author);
    }
    const auto count = manager->pdfDoc->pageCount();
    const auto size = save(*manager, options.output, names);
    report("wrote " + outputName(options.output) + ": " + std::to_string(count) +
           (count == 1 ? " page, " : " pages, ") + formatByteCount(size));
}

} // namespace

Command addMake(CLI::App& tool) {
    auto options = std::make_shared<MakeOptions>();
    auto* app = tool.add_subcommand("make", "Make one PDF from images and recognised text");
    app->add_option(
           "IMAGE", options->images,
           "JPEG, PNG, TIFF or JPEG 2000 files, a page each (a TIFF:\neach of its pages); - for standard input")
        ->required()
        ->type_name("");
    app->add_option("-o,--output", options->output, "The PDF to write; - for standard output")
        ->required()
        ->type_name("OUT.pdf");
    addFoundFiles(*app, options->found,
                  "Recognised text as JSON: a found document, whose pages go\n"
                  "to the pages in order, or a found page, once per page");
    app->add_option("--squeeze", options->squeeze,
                    "Reduce and compress: strong (72 dpi), medium (144 dpi),\n"
                    "low (300 dpi), or a preset's JSON file")
        ->type_name("PRESET");
    app->add_option("--rotate", options->rotate,
                    "Turn all pages clockwise, by a multiple of 90, on top of\nwhat the images say themselves")
        ->type_name("DEGREES");
    app->add_option("--watermark", options->watermark,
                    "A banner near the bottom of every page; recognised text\nthat --rotate turns takes it along")
        ->type_name("TEXT");
    app->add_option("--title", options->title, "The document's title")->type_name("TEXT");
    app->add_option("--author", options->author, "The document's author")->type_name("TEXT");
    app->add_option("--dpi", options->dpi, "The images' resolution, whatever their files say")
        ->type_name("N")
        ->check(numberFrom(1, 100000));
    app->footer(makeExamples);
    return {app, [options] { make(*options); }};
}

} // namespace orvex::tool
