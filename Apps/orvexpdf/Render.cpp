#include "Commands.h"
#include "Failure.h"
#include "FoundFiles.h"
#include "Input.h"
#include "Interrupt.h"
#include "MakePages.h"
#include "Messages.h"
#include "OpenPDF.h"
#include "Output.h"
#include "PageRange.h"
#include "Platform/Imaging/Codecs.h"
#include "Progress.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <memory>

namespace orvex::tool {

namespace {

struct RenderOptions {
    std::string file;
    std::string password;
    std::string page;
    std::string pages;
    std::string size;
    std::int64_t dpi = 72;
    bool debug = false;
    std::vector<std::string> found;
    std::string output;
};

constexpr auto renderExamples = R"(Examples:
  orvexpdf render book.pdf --page 3 --dpi 150 -o page3.png
      The third page as people see it, with annotations and watermark.
  orvexpdf render book.pdf --pages 1-20 -o page-%03d.png
      Twenty files: page-001.png to page-020.png.
  orvexpdf render book.pdf --page 3 --debug -o lines.png
      Where the page's text stands, line by line, in colour over the page.
  orvexpdf render scan.pdf --page 1 --found scan.json --debug -o layer.png
      Where recognised text would stand.)";

constexpr auto thumbnailExamples = R"(Examples:
  orvexpdf thumbnail book.pdf --page 1 --size 200x200 -o cover.png
      Fitted into 200 by 200 pixels, proportions kept.)";

/// The name with the number in place of its last %d or %03d. Other percent signs stay.
std::string numbered(const std::string& pattern, std::int64_t number) {
    for (auto start = pattern.rfind('%'); start != std::string::npos; start = pattern.substr(0, start).rfind('%')) {
        const auto end = std::min(pattern.find_first_not_of("0123456789", start + 1), pattern.size());
        const std::string width = pattern.substr(start + 1, end - start - 1);
        if (end == pattern.size() || pattern[end] != 'd' || width.size() > 2) {
            continue;
        }
        std::string digits = std::to_string(number);
        const std::size_t wanted = width.empty() ? 0 : std::stoul(width);
        digits.insert(0, digits.size() < wanted ? wanted - digits.size() : 0, '0');
        return pattern.substr(0, start) + digits + pattern.substr(end + 1);
    }
    throw Failure(ExitCode::usage, pattern + ": several pages need a number in the name, like page-%03d.png");
}

Size parseSize(const std::string& text) {
    const auto cross = text.find('x');
    const auto number = [&text](const std::string& word) {
        std::int64_t value = 0;
        const auto parsed = std::from_chars(word.data(), word.data() + word.size(), value);
        if (parsed.ec != std::errc{} || parsed.ptr != word.data() + word.size() || value < 1) {
            throw Failure(ExitCode::usage, "--size " + text + ": not a size like 200x300");
        }
        return static_cast<double>(value);
    };
    return {number(text.substr(0, cross)), number(cross == std::string::npos ? "" : text.substr(cross + 1))};
}

void writePNG(const Image& image, double dpi, const std::string& path) {
    const auto png = encodePNG(*image.representations().front()->bitmap(), {dpi, dpi, 6});
    if (!png) {
        throw Failure(ExitCode::other, path + ": the picture cannot be encoded");
    }
    writeOutput(path, [&png](ByteSink& sink) { sink.write(png->span()); });
}

[[noreturn]] void failToRender(const RenderOptions& options, std::int64_t index, const std::string& reason) {
    throw Failure(ExitCode::inputUnusable,
                  displayName(options.file) + ": page " + std::to_string(index + 1) + ": " + reason);
}

void renderPage(OrvexPDFPage& page, std::int64_t index, const RenderOptions& options, const std::string& path) {
    throwIfInterrupted();
    try {
        writePNG(*page.render(options.dpi), static_cast<double>(options.dpi), path);
    } catch (const OrvexPDFPageError& error) {
        failToRender(options, index, error.what());
    }
}

/// The page's own text, to be laid over it: from the corner of its media box, wherever the file puts that.
std::shared_ptr<const OrvexFoundPage> ownText(const OrvexPDFPage& page) {
    auto found = page.extractFoundPage();
    const Rect media = page.bounds(PDFDisplayBox::media);
    for (auto& item : *found.items) {
        *item.box->x -= media.x;
        *item.box->y += media.y;
    }
    return std::make_shared<const OrvexFoundPage>(std::move(found));
}

std::vector<std::int64_t> pagesToShow(const RenderOptions& options, std::int64_t count) {
    return options.pages.empty() ? std::vector{parsePage(options.page, count, "--pages takes several")}
                                 : parseDistinctPages(options.pages, count);
}

void render(const RenderOptions& options) {
    if (options.page.empty() == options.pages.empty()) {
        throw Failure(ExitCode::usage, "either --page or --pages is needed");
    }
    auto inputs = options.found;
    inputs.push_back(options.file);
    checkStandardInput(inputs);
    const auto manager = openPDF(options.file, options.password);
    const auto pages = pagesToShow(options, manager->pdfDoc->pageCount());
    const auto found = readFoundPages(options.found, pages.size());
    Progress progress("Rendering", pages.size());
    for (std::size_t i = 0; i < pages.size(); ++i, progress.advance()) {
        const std::string path = options.pages.empty() ? options.output : numbered(options.output, pages[i] + 1);
        checkOutput(path, inputs);
        OrvexPDFPage& page = *manager->page(pages[i]);
        page.debug = options.debug;
        if (i < found.size()) {
            layText(page, found[i]);
        } else if (options.debug && found.empty()) {
            page.foundPage = ownText(page);
        }
        renderPage(page, pages[i], options, path);
    }
    report("wrote " + std::to_string(pages.size()) + (pages.size() == 1 ? " picture" : " pictures"));
}

void thumbnail(const RenderOptions& options) {
    const Size size = parseSize(options.size);
    checkOutput(options.output, {options.file});
    const auto manager = openPDF(options.file, options.password);
    const auto index = parsePage(options.page, manager->pdfDoc->pageCount());
    const auto image = manager->page(index)->thumbnail(size);
    if (!image) {
        failToRender(options, index, "cannot be rendered");
    }
    writePNG(*image, image->dpi(), options.output);
}

CLI::App* addCommon(CLI::App& tool, const char* name, const char* what, RenderOptions& options) {
    auto* app = tool.add_subcommand(name, what);
    app->add_option("FILE", options.file, "The PDF; - for standard input")->required()->type_name("");
    app->add_option("-o,--output", options.output, "The picture to write; - for standard output")
        ->required()
        ->type_name("OUT.png");
    addPassword(*app, options.password);
    return app;
}

} // namespace

Command addRender(CLI::App& tool) {
    auto options = std::make_shared<RenderOptions>();
    auto* app = addCommon(tool, "render", "Show pages as PNG pictures", *options);
    app->add_option("--page", options->page, "The page to show, counted from 1")->type_name("N");
    app->add_option("--pages", options->pages, "Several, like 1-3,7,9-end; -o then holds %d or %03d")
        ->type_name("LIST");
    app->add_option("--dpi", options->dpi, "Resolution; 72 unless told otherwise")
        ->type_name("D")
        ->check(CLI::Range(1, 10000).description(""));
    addFoundFiles(*app, options->found, "Recognised text to lay over the pages, as JSON");
    app->add_flag("--debug", options->debug,
                  "That text in colour over boxes; without --found, the\ntext that the page has");
    app->footer(renderExamples);
    return {app, [options] { render(*options); }};
}

Command addThumbnail(CLI::App& tool) {
    auto options = std::make_shared<RenderOptions>();
    auto* app = addCommon(tool, "thumbnail", "Show a page as a small PNG picture", *options);
    app->add_option("--page", options->page, "The page to show, counted from 1")->required()->type_name("N");
    app->add_option("--size", options->size, "The box to fit it into, in pixels")->required()->type_name("WxH");
    app->footer(thumbnailExamples);
    return {app, [options] { thumbnail(*options); }};
}

} // namespace orvex::tool
