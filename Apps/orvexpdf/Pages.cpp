#include "Commands.h"
#include "Failure.h"
#include "Interrupt.h"
#include "OpenPDF.h"
#include "PageOperations.h"
#include "Progress.h"

#include <CLI/CLI.hpp>

#include <map>
#include <memory>

namespace orvex::tool {

namespace {

struct PagesOptions {
    std::string file;
    std::string password;
    bool reverse = false; ///< like every operation taken from the order of the command line
    PDFOutput output;
};

constexpr auto pagesExamples = R"(Examples:
  orvexpdf pages book.pdf --remove 2-5 --rotate 1:left -o short.pdf
      First pages 2 to 5 go, then what is page 1 is turned.
  orvexpdf pages book.pdf --insert cover.jpg:1 --append index.pdf -o whole.pdf
      A picture as the first page, another document behind the last.
  orvexpdf pages book.pdf --move 5,1:3 -o moved.pdf
      Pages 5 and 1, in this order, go before page 3.
  orvexpdf pages scan.pdf --reverse --in-place
      The last page first, in the file itself.)";

/// In the order of the command line, which each option by itself does not know.
std::vector<PageOperation> operationsOf(const CLI::App& app) {
    std::map<const CLI::Option*, std::size_t> taken;
    std::vector<PageOperation> operations;
    for (const auto* option : app.parse_order()) {
        if (option->get_group() == "Operations") {
            const auto& results = option->results();
            const auto index = taken[option]++;
            operations.push_back({option->get_single_name(), index < results.size() ? results[index] : ""});
        }
    }
    return operations;
}

void runPages(const PagesOptions& options, const std::vector<PageOperation>& operations) {
    if (operations.empty()) {
        throw Failure(ExitCode::usage, "nothing to do: no operation is given");
    }
    checkPDFOutput(options.output, options.file, filesOf(operations));
    const auto manager = openPDF(options.file, options.password);
    Progress progress("Changing pages", operations.size());
    for (const auto& operation : operations) {
        throwIfInterrupted();
        apply(operation, *manager, options.password);
        progress.advance();
    }
    if (manager->pdfDoc->pageCount() == 0) {
        throw Failure(ExitCode::usage, "no page would be left, and a PDF needs one");
    }
    savePDF(*manager, options.output, options.file);
}

void addOperation(CLI::App& app, const char* name, const char* argument, const char* what) {
    app.add_option(
           name, [](const CLI::results_t&) { return true; }, what)
        ->type_name(argument)
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->group("Operations");
}

} // namespace

Command addPages(CLI::App& tool) {
    auto options = std::make_shared<PagesOptions>();
    auto* app = tool.add_subcommand("pages", "Remove, move, turn and insert pages");
    app->add_option("FILE", options->file, "The PDF; - for standard input")->required()->type_name("");
    app->add_option("-o,--output", options->output.path, "The PDF to write; - for standard output")
        ->type_name("OUT.pdf");
    app->add_flag("--in-place", options->output.inPlace, "Change the file itself");
    addPassword(*app, options->password, "Opens the PDF, and those inserted");
    addOperation(*app, "--remove", "LIST", "Remove pages, like 3 or 1-3,7,9-end");
    addOperation(*app, "--move", "LIST:PLACE",
                 "Move pages, in the order named, before the page\nat a place, or behind all: 5,1:3 or 2:end");
    addOperation(*app, "--rotate", "LIST:left|right", "Turn pages by a quarter, like 1-3:left");
    addOperation(*app, "--insert", "FILE[:PLACE]",
                 "Insert a PDF or the pages of an image before the\npage at a place; behind all without one");
    addOperation(*app, "--append", "FILE", "The same behind all pages, whatever the name says");
    app->add_flag("--reverse", options->reverse, "Turn the order around")->group("Operations");
    app->footer(std::string("Operations happen in the order given; pages count from 1, each time anew.\n"
                            "A range like 5-2 counts down: pages 5, 4, 3 and 2.\n\n") +
                pagesExamples);
    return {app, [options, app] { runPages(*options, operationsOf(*app)); }};
}

} // namespace orvex::tool
