#include "Commands.h"
#include "Failure.h"
#include "FoundFiles.h"
#include "Input.h"
#include "MakePages.h"
#include "OpenPDF.h"
#include "PageRange.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <system_error>
#include <thread>

namespace orvex::tool {

namespace {

struct LayerOptions {
    std::string file;
    std::string password;
    std::string pages;
    std::string text;
    std::vector<std::string> found;
    PDFOutput output;
};

constexpr auto watermarkExamples = R"(Examples:
  orvexpdf watermark offer.pdf --text DRAFT -o draft.pdf
      A banner near the bottom of every page.
  orvexpdf watermark offer.pdf --text "Copy for the archive" --pages 1 --in-place
      On the first page only, in the file itself.)";

constexpr auto textLayerExamples = R"(Examples:
  orvexpdf text-layer scan.pdf --found scan.json -o searchable.pdf
      The n-th page of the found document becomes the text of the n-th page.
  orvexpdf text-layer scan.pdf --found p7.json --pages 7 -o searchable.pdf
      A found page for page 7.)";

void watermark(const LayerOptions& options) {
    if (options.text.empty()) {
        throw Failure(ExitCode::usage, "--text: a banner without text shows nothing");
    }
    checkPDFOutput(options.output, options.file);
    const auto manager = openPDF(options.file, options.password);
    for (const auto index : parsePages(options.pages, manager->pdfDoc->pageCount())) {
        auto record = *manager->meta(index);
        record.watermarkText = options.text;
        record.setTextRotationTop();
        manager->updateMeta(record, false);
    }
    savePDF(*manager, options.output, options.file);
}

/// A page whose recognised text is read when it is drawn, and not kept: a long document needs no more memory for it
/// than a short one does.
class PageWithTextInFile final : public OrvexPDFPage {
public:
    /// `record` is that of the page as it is.
    PageWithTextInFile(const OrvexPDFPageMeta& record, std::shared_ptr<const FoundFiles> files, std::size_t index)
        : OrvexPDFPage(record.originalPage->content(), record.originalPage->layers(), record.originalPage->rotation()),
          files_(std::move(files)), index_(index) {}

    void draw(PDFDisplayBox box, GraphicsContext& context) override {
        withText(files_->page(index_))->draw(box, context);
    }
    [[nodiscard]] bool isDrawnBesideOthers() const override {
        return withText(std::make_shared<const OrvexFoundPage>())->isDrawnBesideOthers();
    }

private:
    [[nodiscard]] OrvexPDFPagePtr withText(std::shared_ptr<const OrvexFoundPage> found) const {
        auto page = clone();
        layText(*page, std::move(found));
        return page;
    }

    std::shared_ptr<const FoundFiles> files_;
    std::size_t index_;
};

/// Looking through the system's fonts takes as long as reading thirty pages. What fails shows when the font is needed.
std::jthread findFontAhead() {
    const auto find = [] {
        try {
            (void)Font::named("Helvetica");
        } catch (const std::exception&) {
        }
    };
    try {
        return std::jthread(find);
    } catch (const std::system_error&) {
        return {};
    }
}

void textLayer(const LayerOptions& options) {
    checkPDFOutput(options.output, options.file, options.found);
    const auto ahead = findFontAhead();
    const auto manager = openPDF(options.file, options.password);
    const auto pages = parseDistinctPages(options.pages, manager->pdfDoc->pageCount());
    const auto found = std::make_shared<const FoundFiles>(options.found, pages.size());
    if (found->pageCount() == 0) {
        throw Failure(ExitCode::inputUnusable, displayName(options.found.front()) + ": no found pages in it");
    }
    for (std::size_t i = 0; i < found->pageCount(); ++i) {
        const auto record = *manager->meta(pages[i]);
        manager->replace(pages[i], std::make_shared<PageWithTextInFile>(record, found, i), record, false);
    }
    savePDF(*manager, options.output, options.file);
}

CLI::App* addCommon(CLI::App& tool, const char* name, const char* what, LayerOptions& options) {
    auto* app = tool.add_subcommand(name, what);
    app->add_option("FILE", options.file, "The PDF; - for standard input")->required()->type_name("");
    app->add_option("--pages", options.pages, "Only these, like 1-3,7,9-end")->type_name("LIST");
    app->add_option("-o,--output", options.output.path, "The PDF to write; - for standard output")
        ->type_name("OUT.pdf");
    app->add_flag("--in-place", options.output.inPlace, "Change the file itself");
    addPassword(*app, options.password);
    return app;
}

} // namespace

Command addWatermark(CLI::App& tool) {
    auto options = std::make_shared<LayerOptions>();
    auto* app = addCommon(tool, "watermark", "Put a banner on pages", *options);
    app->add_option("--text", options->text, "What the banner says")->required()->type_name("TEXT");
    app->footer(watermarkExamples);
    return {app, [options] { watermark(*options); }};
}

Command addTextLayer(CLI::App& tool) {
    auto options = std::make_shared<LayerOptions>();
    auto* app = addCommon(tool, "text-layer", "Make pages searchable with recognised text", *options);
    addFoundFiles(*app, options->found, "Recognised text as JSON: a found document or\nfound pages, in order")
        ->required();
    app->footer(textLayerExamples);
    return {app, [options] { textLayer(*options); }};
}

} // namespace orvex::tool
