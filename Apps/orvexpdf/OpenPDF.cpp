#include "OpenPDF.h"

#include "Failure.h"
#include "Input.h"
#include "Messages.h"
#include "Output.h"

#include <vector>

#include <CLI/CLI.hpp>

namespace orvex::tool {

void failToOpen(const std::string& path, const std::string& reason, std::optional<PDFOpenFailure> failure) {
    const bool locked = failure == PDFOpenFailure::passwordNeeded;
    throw Failure(locked ? ExitCode::passwordNeeded : ExitCode::inputUnusable, displayName(path) + ": " + reason);
}

std::shared_ptr<OrvexPDFDocumentManager> openPDF(const std::string& path, const std::string& password) {
    auto manager = OrvexPDFDocumentManager::create();
    manager->pdfProducer = "OrvexPDF " ORVEX_VERSION;
    if (!manager->load(readInput(path), password)) {
        failToOpen(path, manager->lastLoadError(), manager->lastLoadFailure());
    }
    // The process ends with the command: taking a long document apart object by object would only take time.
    static auto& kept = *new std::vector<std::shared_ptr<OrvexPDFDocumentManager>>;
    kept.push_back(manager);
    return manager;
}

void addPassword(CLI::App& app, std::string& password, const std::string& what) {
    app.add_option("--password", password, what)->type_name("PASSWORD");
}

void checkPDFOutput(const PDFOutput& output, const std::string& input) {
    if (output.inPlace == !output.path.empty()) {
        throw Failure(ExitCode::usage,
                      output.inPlace ? "-o and --in-place cannot be had both" : "either -o or --in-place is needed");
    }
    if (output.inPlace && input == "-") {
        throw Failure(ExitCode::usage, "--in-place: standard input has no place");
    }
    if (!output.inPlace) {
        checkOutput(output.path, {input});
    }
}

std::int64_t savePDF(OrvexPDFDocumentManager& manager, const PDFOutput& output, const std::string& input) {
    const std::string& path = output.inPlace ? input : output.path;
    std::int64_t size = 0;
    writeOutput(path, [&](ByteSink& sink) {
        ByteMeter meter(sink);
        manager.write(meter);
        size = meter.count();
    });
    report("wrote " + (path == "-" ? "standard output" : path));
    return size;
}

} // namespace orvex::tool
