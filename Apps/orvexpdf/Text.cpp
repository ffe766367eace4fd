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

#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <utility>

namespace orvex::tool {

namespace {

struct TextOptions {
    std::vector<std::string> files;
    std::string password;
    std::string pages;
    std::string output = "-";
};

constexpr auto textExamples = R"(Examples:
  orvexpdf text book.pdf | grep -n Index
      One line of text per line, a form feed after each page.
  orvexpdf text book.pdf --pages 1-3 -o start.txt
      Of the first three pages.
  orvexpdf text *.pdf --page 1 -o titles.txt
      Of the first page of each file.)";

// Among several files those with no more pages, and no more text, are read by one thread each.
constexpr std::size_t fewPages = 32;
constexpr std::size_t littleText = std::size_t{1} << 20;
// So many texts at most wait for that of a file before them. Of the files themselves each thread has one open.
constexpr std::size_t mostWaiting = 64;

/// What became of a file before its turn to be written came.
struct File {
    bool isLong = false; ///< to be opened, and read page by page, when its turn comes
    std::optional<Failure> failure;
};

struct OpenedFile {
    std::shared_ptr<OrvexPDFDocument> document;
    std::vector<std::int64_t> pages;
};

std::string reasonOf(const std::exception& error) {
    return dynamic_cast<const std::bad_alloc*>(&error) != nullptr ? "out of memory" : error.what();
}

/// A page that cannot be read is passed over, and the others are printed.
std::string textOf(const OpenedFile& file, std::int64_t page, const std::string& path) {
    try {
        return printedRows(file.document->orvexPage(page)->textLines()) + "\f";
    } catch (const std::exception& error) {
        warn(displayName(path) + ": page " + std::to_string(page + 1) + ": text not read: " + reasonOf(error));
        return "\f";
    }
}

OpenedFile open(const std::string& path, const TextOptions& options) {
    auto document = openDocument(path, options.password);
    try {
        auto pages = parsePages(options.pages, document->pageCount());
        return {std::move(document), std::move(pages)};
    } catch (const Failure& failure) {
        throw Failure(failure.code(), displayName(path) + ": " + failure.what());
    }
}

/// Does what may fail for one file and leave the others readable.
std::optional<Failure> attempt(const std::string& path, const std::function<void()>& work) {
    try {
        work();
        return std::nullopt;
    } catch (const Interrupted&) {
        throw;
    } catch (const InputCut&) {
        throw;
    } catch (const Failure& failure) {
        return failure;
    } catch (const std::exception& error) {
        return Failure(ExitCode::other, displayName(path) + ": " + reasonOf(error));
    }
}

/// The text of a short file; none for a long one.
std::optional<std::string> readShort(const std::string& path, const TextOptions& options) {
    const auto file = open(path, options);
    if (file.pages.size() > fewPages) {
        return std::nullopt;
    }
    std::string text;
    for (const auto page : file.pages) {
        throwIfInterrupted();
        text += textOf(file, page, path);
        if (text.size() > littleText) {
            return std::nullopt;
        }
    }
    return text;
}

std::string readAhead(const TextOptions& options, const std::string& path, File& file) {
    file.isLong = options.files.size() == 1 || isStream(path); // which cannot be read again
    std::optional<std::string> text;
    if (!file.isLong) {
        file.failure = attempt(path, [&] { text = readShort(path, options); });
        file.isLong = !file.failure && !text;
    }
    return text.value_or("");
}

void writeLong(const TextOptions& options, const std::string& path, File& file, ByteSink& sink) {
    OpenedFile opened;
    file.failure = attempt(path, [&] { opened = open(path, options); });
    if (file.failure) {
        return;
    }
    writePages(opened.pages.size(), sink, [&](std::size_t i) { return textOf(opened, opened.pages[i], path); });
    if (options.files.size() == 1) {
        keepOpen(opened.document);
    }
}

/// Writes the text of all files that can be read, in their order; returns the failures of the others.
std::vector<Failure> writeFiles(const TextOptions& options, ByteSink& sink) {
    std::vector<File> files(options.files.size());
    std::vector<Failure> failures;
    std::size_t next = 0;
    Progress progress("Reading files", files.size());
    const auto produce = [&](std::size_t i) { return readAhead(options, options.files[i], files[i]); };
    const auto consume = [&](const std::string& text) {
        throwIfInterrupted();
        const std::string& path = options.files[next];
        File file = std::exchange(files[next++], {});
        put(sink, text);
        if (file.isLong) {
            writeLong(options, path, file, sink);
        }
        if (file.failure) {
            failures.push_back(*file.failure);
            if (files.size() > 1) {
                reportError(file.failure->what());
            }
        }
        progress.advance();
    };
    forEachInOrder(files.size(), produce, consume, mostWaiting);
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
    checkStandardInput(options.files);
    checkPageList(options.pages);
    checkOutput(options.output, options.files, ResultKind::text);
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
    app->footer(textExamples);
    return {app, [options] { text(*options); }};
}

} // namespace orvex::tool
