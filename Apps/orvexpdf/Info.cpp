#include "Commands.h"
#include "Failure.h"
#include "Input.h"
#include "Interrupt.h"
#include "Messages.h"
#include "OpenPDF.h"
#include "OrvexPDF/Manager.h"
#include "Output.h"
#include "Platform/Foundation/JSON.h"
#include "Platform/Foundation/Strings.h"
#include "Progress.h"

#include <CLI/CLI.hpp>

#include <array>
#include <charconv>
#include <memory>
#include <sstream>

namespace orvex::tool {

namespace {

struct InfoOptions {
    std::string file;
    std::string password;
    bool json = false;
};

constexpr auto infoExamples = R"(Examples:
  orvexpdf info scans.pdf
      A table for people; pages count from 1.
  orvexpdf info --json scans.pdf | jq '.pages[] | select(.hasText | not) | .index'
      The pages without text, counted from 0.)";

struct PageInfo {
    std::string id;
    Rect mediaBox;
    int rotation = 0;
    bool hasText = false;
    bool fresh = false;
};

struct FileInfo {
    std::string title;
    std::string author;
    std::string creator;
    std::string producer;
    std::int64_t originalBytes = 0;
    std::int64_t documentBytes = 0;
    std::vector<PageInfo> pages;
};

PageInfo describePage(const OrvexPDFDocumentManager& manager, std::int64_t index) {
    const auto page = manager.page(index);
    const auto meta = manager.meta(index);
    return {meta->id, page->bounds(PDFDisplayBox::media), page->rotation(), meta->originalPageHasText, meta->fresh};
}

FileInfo examine(const std::string& path, const std::string& password) {
    const Bytes data = readInput(path);
    // The manager stamps its own producer on what it loads; the file's is read before.
    const auto document = documentFrom(data, path, password);
    const auto manager = OrvexPDFDocumentManager::create();
    if (!manager->load(data, password)) {
        failToOpen(path, manager->lastLoadError(), manager->lastLoadFailure());
    }
    FileInfo info{document->title(),
                  document->author(),
                  document->creator(),
                  document->producer(),
                  manager->originalBytes,
                  manager->documentBytes,
                  {}};
    const auto count = manager->pdfDoc->pageCount();
    Progress progress("Reading pages", static_cast<std::size_t>(count));
    for (std::int64_t index = 0; index < count; ++index, progress.advance()) {
        throwIfInterrupted();
        info.pages.push_back(describePage(*manager, index));
    }
    return info;
}

JSONValue json(const PageInfo& page, std::size_t index) {
    const Rect& box = page.mediaBox;
    return JSONValue::Object{{"index", index},
                             {"id", page.id},
                             {"mediaBox", JSONValue::Array{box.x, box.y, box.width, box.height}},
                             {"rotation", page.rotation},
                             {"hasText", page.hasText},
                             {"fresh", page.fresh}};
}

std::string asJSON(const FileInfo& info) {
    JSONValue::Array pages;
    for (std::size_t i = 0; i < info.pages.size(); ++i) {
        pages.push_back(json(info.pages[i], i));
    }
    return writeJSON(JSONValue::Object{{"pageCount", info.pages.size()},
                                       {"title", info.title},
                                       {"author", info.author},
                                       {"creator", info.creator},
                                       {"producer", info.producer},
                                       {"originalBytes", info.originalBytes},
                                       {"documentBytes", info.documentBytes},
                                       {"pages", std::move(pages)}},
                     false) +
           "\n";
}

/// Two decimals at most.
std::string points(double value) {
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 2).ptr;
    std::string number(text.data(), end);
    number.erase(number.find_last_not_of('0') + 1);
    return number.back() == '.' ? number.substr(0, number.size() - 1) : number;
}

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

std::string asTable(const FileInfo& info) {
    std::ostringstream out;
    const auto line = [&out](const std::string& label, const std::string& value) {
        out << padded(label + ":", 10) << oneLine(value) << '\n';
    };
    line("Title", info.title);
    line("Author", info.author);
    line("Creator", info.creator);
    line("Producer", info.producer);
    line("Size", formatByteCount(info.originalBytes) + " (" + std::to_string(info.originalBytes) + " bytes)");
    line("Pages", std::to_string(info.pages.size()));
    if (!info.pages.empty()) {
        out << '\n' << "Page    Media box (points)            Rotation  Text  Fresh  Id\n";
    }
    for (std::size_t i = 0; i < info.pages.size(); ++i) {
        const PageInfo& page = info.pages[i];
        const Rect& box = page.mediaBox;
        out << padded(std::to_string(i + 1), 8)
            << padded(points(box.x) + " " + points(box.y) + " " + points(box.width) + " " + points(box.height), 30)
            << padded(std::to_string(page.rotation), 10) << padded(page.hasText ? "yes" : "no", 6)
            << padded(page.fresh ? "yes" : "no", 7) << page.id << '\n';
    }
    return out.str();
}

void info(const InfoOptions& options) {
    const auto result = examine(options.file, options.password);
    printResult(options.json ? asJSON(result) : asTable(result));
}

} // namespace

Command addInfo(CLI::App& tool) {
    auto options = std::make_shared<InfoOptions>();
    auto* app = tool.add_subcommand("info", "Tell what a PDF holds, page by page");
    app->add_option("FILE", options->file, "The PDF; - for standard input")->required()->type_name("");
    app->add_flag("--json", options->json, "As JSON, for programs");
    addPassword(*app, options->password);
    app->footer(infoExamples);
    return {app, [options] { info(*options); }};
}

} // namespace orvex::tool
