#include "Commands.h"
#include "Interrupt.h"
#include "MakePages.h"
#include "Messages.h"
#include "OpenPDF.h"
#include "PageRange.h"
#include "Platform/Foundation/Strings.h"
#include "Platform/Foundation/Workers.h"
#include "Progress.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

namespace orvex::tool {

namespace {

struct SqueezeOptions {
    std::string file;
    std::string password;
    std::string mode;
    std::string pages;
    PDFOutput output;
};

constexpr auto squeezeExamples = R"(Examples:
  orvexpdf squeeze scans.pdf --mode medium -o small.pdf
      Pages become images at 144 dpi where that takes fewer bytes; their text
      stays searchable.
  orvexpdf squeeze scans.pdf --mode archive.json --pages 2-end --in-place
      With a preset of your own, without the first page.

Each page by itself is compared with its picture. Where pages share fonts or
images, the file may grow; what it takes is reported at the end.)";

/// What a page takes and what became of it.
struct Outcome {
    OrvexPDFPageMeta record;
    OrvexPDFPagePtr page; ///< null: it stays as it is
    std::int64_t before = 0;
    std::int64_t after = 0;
};

std::int64_t savedSize(OrvexPDFPage& page) {
    return page.createDocumentFromPage()->measuredSize().value_or(0);
}

/// A preset that no image of the page wins under leaves a copy of the page: then it may as well stay.
Outcome squeezed(OrvexPDFDocumentManager& manager, OrvexPDFPageMeta record) {
    throwIfInterrupted();
    Outcome outcome{std::move(record), nullptr, 0, 0};
    outcome.before = savedSize(*outcome.record.originalPage);
    auto page = manager.generatePage(outcome.record);
    if (page && std::holds_alternative<ImagePageContent>(page->content())) {
        outcome.after = savedSize(*page);
        outcome.page = std::move(page);
    }
    return outcome;
}

std::string formatOf(const OrvexPDFPage& page) {
    const auto& image = *std::get<ImagePageContent>(page.content()).image;
    return image.representations().front()->info().format == ImageFormat::jpeg ? "JPEG" : "PNG";
}

void reportPage(std::int64_t number, const Outcome& outcome) {
    const auto text = "page " + std::to_string(number) + ": ";
    report(text +
           (outcome.page ? formatOf(*outcome.page) + ", " + formatByteCount(outcome.after) + " instead of "
                         : "stays as it is, ") +
           formatByteCount(outcome.before));
}

/// The whole file's sizes. Each page by itself was compared with the bare picture of it: the file may still grow.
void reportSizes(std::int64_t before, std::int64_t after) {
    report("the file: " + formatByteCount(after) + " instead of " + formatByteCount(before));
    if (after > before) {
        warn("the file became larger, by " + formatByteCount(after - before) +
             ": each page by itself was compared with its picture, without regard to what pages share in the file");
    }
}

void squeeze(const SqueezeOptions& options) {
    checkPDFOutput(options.output, options.file, presetFiles(options.mode));
    const auto preset = readPreset(options.mode);
    const auto manager = openPDF(options.file, options.password);
    auto pages = parsePages(options.pages, manager->pdfDoc->pageCount());
    std::ranges::sort(pages);
    const auto repeated = std::ranges::unique(pages);
    pages.erase(repeated.begin(), repeated.end());
    std::vector<Outcome> outcomes(pages.size());
    {
        Progress progress("Squeezing pages", pages.size());
        forEachInParallel(pages.size(), [&](std::size_t i) {
            auto record = *manager->meta(pages[i]);
            record.squeeze = preset;
            outcomes[i] = squeezed(*manager, std::move(record));
            progress.advance();
        });
    }
    for (std::size_t i = 0; i < pages.size(); ++i) {
        if (outcomes[i].page) {
            manager->replace(pages[i], outcomes[i].page, outcomes[i].record, false);
        }
        reportPage(pages[i] + 1, outcomes[i]);
    }
    const auto before = manager->originalBytes;
    reportSizes(before, savePDF(*manager, options.output, options.file));
}

} // namespace

Command addSqueeze(CLI::App& tool) {
    auto options = std::make_shared<SqueezeOptions>();
    auto* app = tool.add_subcommand("squeeze", "Make the pages of a PDF smaller");
    app->add_option("FILE", options->file, "The PDF; - for standard input")->required()->type_name("");
    app->add_option("--mode", options->mode,
                    "strong (72 dpi), medium (144 dpi), low (300 dpi), or a\npreset's JSON file")
        ->required()
        ->type_name("PRESET");
    app->add_option("--pages", options->pages, "Only these, like 1-3,7,9-end")->type_name("LIST");
    app->add_option("-o,--output", options->output.path, "The PDF to write; - for standard output")
        ->type_name("OUT.pdf");
    app->add_flag("--in-place", options->output.inPlace, "Change the file itself");
    addPassword(*app, options->password);
    app->footer(squeezeExamples);
    return {app, [options] { squeeze(*options); }};
}

} // namespace orvex::tool
