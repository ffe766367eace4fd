#include "Commands.h"
#include "Failure.h"
#include "Input.h"
#include "Interrupt.h"
#include "Messages.h"
#include "OpenPDF.h"
#include "Output.h"
#include "PageRange.h"
#include "Platform/Foundation/Workers.h"
#include "Progress.h"
#include "ReadPages.h"
#include "TextRows.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

namespace orvex::tool {

namespace {

struct TextOptions {
    std::vector<std::string> files;
    std::string password;
    std::string pages;
    std::string output = "-";
};

constexpr auto examples = R"(Examples:
  orvexpdf text book.pdf | grep -n Index
      One line of text per line, a form feed after each page.
  orvexpdf text book.pdf --pages 1-3 -o start.txt
      Of the first three pages.
  orvexpdf text *.pdf --page 1 -o titles.txt
      Of the first page of each file.)";

// Among several files those with no more pages are read by one thread each.
constexpr std::size_t fewPages = 32;

/// One of the files named, from when it is opened until its text is written.
struct File {
    std::shared_ptr<OrvexPDFDocument> document; ///< null when it was read, or cannot be
    std::vector<std::int64_t> pages;
    std::optional<Failure> failure;
};

std::string textOf(const OrvexPDFPage& page) {
    return printedRows(page.textLines()) + "\f";
}

File open(const std::string& path, const TextOptions& options) {
    auto document = openDocument(path, options.password);
    try {
        auto pages = parsePages(options.pages, document->pageCount());
        return {std::move(document), std::move(pages), std::nullopt};
    } catch (const Failure& failure) {
        throw Failure(failure.code(), displayName(path) + ": " + failure.what());
    }
}

/// The pages of a short file among several: there are enough files to keep all cores at work.
std::string readShort(File& file) {
    std::string text;
    for (const auto page : file.pages) {
        throwIfInterrupted();
        text += textOf(*file.document->orvexPage(page));
    }
    file.document.reset();
    return text;
}

/// Opens a file and, when it is a short one among several, reads it.
std::string begin(const TextOptions& options, std::size_t index, File& file) {
    const std::string& path = options.files[index];
    try {
        file = open(path, options);
        return options.files.size() > 1 && file.pages.size() <= fewPages ? readShort(file) : "";
    } catch (const Interrupted&) {
        throw;
    } catch (const Failure& failure) {
        file.failure = failure;
    } catch (const std::bad_alloc&) {
        file.failure = Failure(ExitCode::other, displayName(path) + ": out of memory");
    } catch (const std::exception& error) {
        file.failure = Failure(ExitCode::other, displayName(path) + ": " + error.what());
    }
    file.document.reset();
    return "";
}

/// Writes the text of all files that can be read, in their order; returns the failures of the others.
std::vector<Failure> writeFiles(const TextOptions& options, ByteSink& sink) {
    std::vector<File> files(options.files.size());
    std::vector<Failure> failures;
    std::size_t next = 0;
    Progress progress("Reading files", files.size());
    const auto produce = [&](std::size_t i) { return begin(options, i, files[i]); };
    const auto consume = [&](const std::string& text) {
        throwIfInterrupted();
        const File file = std::exchange(files[next++], {});
        put(sink, text);
        if (file.failure) {
            failures.push_back(*file.failure);
            if (files.size() > 1) {
                reportError(file.failure->what());
            }
        } else if (file.document) {
            writePages(*file.document, file.pages, sink, [](const OrvexPDFPage& page, bool) { return textOf(page); });
            if (files.size() == 1) {
                keepOpen(file.document);
            }
        }
        progress.advance();
    };
    const std::size_t inFlight = 2 * std::max<std::size_t>(std::thread::hardware_concurrency(), 1);
    forEachInOrder(files.size(), produce, consume, inFlight);
    return failures;
}

[[noreturn]] void fail(const TextOptions& options, const std::vector<Failure>& failures) {
    if (options.files.size() == 1) {
        throw Failure(failures.front());
    }
    throw Failure(failures.front().code(), std::to_string(failures.size()) + " of " +
                                               std::to_string(options.files.size()) + " files could not be read");
}

void text(const TextOptions& options) {
    if (std::ranges::count(options.files, "-") > 1) {
        throw Failure(ExitCode::usage, "standard input (-) can be read only once");
    }
    checkPageList(options.pages);
    checkOutput(options.output, options.files);
    std::vector<Failure> failures;
    writeOutput(options.output, [&](ByteSink& sink) {
        failures = writeFiles(options, sink);
        if (failures.size() == options.files.size()) {
            fail(options, failures); // nothing was read, so nothing is written
        }
    });
    if (!failures.empty()) {
        fail(options, failures);
    }
}

} // namespace

Command addText(CLI::App& tool) {
    auto options = std::make_shared<TextOptions>();
    auto* app = tool.add_subcommand("text", "Print the text of pages");
    app->add_option("FILE", options->files, "The PDFs, one after the other; - for standard input")
        ->required()
        ->type_name("");
    app->add_option("--pages,--page", options->pages, "Only these of each file, like 1-3,7,9-end")->type_name("LIST");
    app->add_option("-o,--output", options->output, "The file to write; standard output unless told otherwise")
        ->type_name("FILE");
    addPassword(*app, options->password, "Opens the PDFs");
    app->footer(examples);
    return {app, [options] { text(*options); }};
}

} // namespace orvex::tool
