#include "Commands.h"
#include "OpenPDF.h"
#include "OrvexPDF/Document.h"
#include "Output.h"
#include "PageRange.h"
#include "Platform/Foundation/JSON.h"
#include "ReadPages.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace orvex::tool {

namespace {

struct FoundOptions {
    std::string file;
    std::string password;
    std::string page;
    std::string pages;
    std::string output = "-";
    bool stored = false;
    bool compact = false;
};

constexpr auto foundExamples = R"(Examples:
  orvexpdf found book.pdf -o book.json
      A found document: every line of text with its box, page by page.
  orvexpdf found book.pdf --page 7 --compact | jq -r '.items[].text'
      The found page of one page.
  orvexpdf found searchable.pdf --stored -o again.json
      Of pages with a text layer of orvexpdf's just what was put into it.)";

OrvexFoundPage foundOn(const OrvexPDFPage& page, bool stored) {
    if (!stored) {
        return page.extractFoundPage();
    }
    auto layer = page.extractTextLayer();
    return layer.items->empty() ? page.extractFoundPage() : layer;
}

/// Empty lines stay empty.
std::string indented(const std::string& json, std::string_view indent) {
    std::string text;
    char before = '\n';
    for (const char c : json) {
        if (before == '\n' && c != '\n') {
            text += indent;
        }
        text += c;
        before = c;
    }
    return text;
}

/// The document as its own encoder would write it, without ever holding all of it.
void writeFoundDocument(const OrvexPDFDocument& document, const std::vector<std::int64_t>& pages,
                        const FoundOptions& options, ByteSink& sink) {
    const std::string author = writeJSON(document.author(), false);
    const std::string creator = writeJSON(document.creator(), false);
    const auto describe = [&](std::size_t i) {
        const std::string json = foundOn(*document.orvexPage(pages[i]), options.stored).toJSONString(!options.compact);
        return options.compact ? (i == 0 ? "" : ",") + json : (i == 0 ? "\n" : ",\n") + indented(json, "    ");
    };
    if (options.compact) {
        put(sink, "{\"author\":" + author + ",\"creator\":" + creator + ",\"source\":\"pdf\",\"pages\":[");
        writePages(pages.size(), sink, describe);
        put(sink, "]}\n");
    } else {
        put(sink, "{\n  \"author\" : " + author + ",\n  \"creator\" : " + creator + ",\n  \"pages\" : [");
        writePages(pages.size(), sink, describe);
        put(sink, std::string(pages.empty() ? "\n" : "") + "\n  ],\n  \"source\" : \"pdf\"\n}\n");
    }
}

void found(const FoundOptions& options) {
    checkOutput(options.output, {options.file}, ResultKind::text);
    const auto document = openDocument(options.file, options.password);
    keepOpen(document);
    const bool single = !options.page.empty();
    const auto pages = single ? std::vector{parsePage(options.page, document->pageCount(), "--pages takes several")}
                              : parsePages(options.pages, document->pageCount());
    writeOutput(options.output, [&](ByteSink& sink) {
        if (single) {
            const auto found = foundOn(*document->orvexPage(pages[0]), options.stored);
            put(sink, found.toJSONString(!options.compact) + "\n");
        } else {
            writeFoundDocument(*document, pages, options, sink);
        }
    });
}

} // namespace

Command addFound(CLI::App& tool) {
    auto options = std::make_shared<FoundOptions>();
    auto* app = tool.add_subcommand("found", "Read the text of pages, line by line with its place, as JSON");
    app->add_option("FILE", options->file, "The PDF; - for standard input")->required()->type_name("");
    app->add_option("--pages", options->pages, "Only these, like 1-3,7,9-end")->type_name("LIST");
    app->add_option("-o,--output", options->output, "The file to write; standard output unless told otherwise")
        ->type_name("FILE");
    addPassword(*app, options->password);
    app->add_option("--page", options->page, "One page, as a found page instead of a found document")
        ->type_name("N")
        ->excludes("--pages");
    app->add_flag("--stored", options->stored, "Only what text layers hold, on pages that have one");
    app->add_flag("--compact", options->compact, "Without white space");
    app->footer(foundExamples);
    return {app, [options] { found(*options); }};
}

} // namespace orvex::tool
