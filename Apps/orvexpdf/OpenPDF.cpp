#include "OpenPDF.h"

#include "Failure.h"
#include "Input.h"
#include "Messages.h"
#include "Output.h"

#include <CLI/CLI.hpp>

#include <utility>
#include <vector>

namespace orvex::tool {

void failToOpen(const std::string& path, const std::string& reason, std::optional<PDFOpenFailure> failure) {
    const bool locked = failure == PDFOpenFailure::passwordNeeded;
    throw Failure(locked ? ExitCode::passwordNeeded : ExitCode::inputUnusable, displayName(path) + ": " + reason);
}

std::shared_ptr<OrvexPDFDocumentManager> makeManager() {
    auto manager = OrvexPDFDocumentManager::create();
    manager->pdfProducer = "OrvexPDF " ORVEX_VERSION;
    return manager;
}

std::shared_ptr<OrvexPDFDocumentManager> openPDF(const std::string& path, const std::string& password) {
    auto manager = makeManager();
    if (!manager->load(readInput(path), password)) {
        failToOpen(path, manager->lastLoadError(), manager->lastLoadFailure());
    }
    keepOpen(manager);
    return manager;
}

std::shared_ptr<OrvexPDFDocument> openDocument(const std::string& path, const std::string& password) {
    return documentFrom(readInput(path), path, password);
}

std::shared_ptr<OrvexPDFDocument> documentFrom(const Bytes& data, const std::string& path,
                                               const std::string& password) {
    std::optional<PDFOpenError> why;
    auto document = OrvexPDFDocument::fromData(data, &why, password);
    if (!document) {
        failToOpen(path, why ? why->what() : "not a PDF", why ? std::optional(why->failure()) : std::nullopt);
    }
    return document;
}

void keepOpen(std::shared_ptr<const void> document) {
    static auto& kept = *new std::vector<std::shared_ptr<const void>>;
    kept.push_back(std::move(document));
}

void addPassword(CLI::App& app, std::string& password, const std::string& what) {
    app.add_option("--password", password, what)->type_name("PASSWORD");
}

void checkPDFOutput(const PDFOutput& output, const std::string& input, std::vector<std::string> moreInputs) {
    if (output.inPlace == !output.path.empty()) {
        throw Failure(ExitCode::usage,
                      output.inPlace ? "-o and --in-place cannot be had both" : "either -o or --in-place is needed");
    }
    if (output.inPlace && input == "-") {
        throw Failure(ExitCode::usage, "--in-place: standard input has no place");
    }
    moreInputs.push_back(input);
    checkStandardInput(moreInputs);
    if (!output.inPlace) {
        checkOutput(output.path, moreInputs);
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
    const auto encryption = manager.pdfDoc->savedEncryption();
    const std::string written = outputName(path);
    report("wrote " + written + (encryption == PDFSavedEncryption::kept ? ", encrypted as before" : ""));
    if (encryption == PDFSavedEncryption::removed) {
        warn(displayName(input) + " was encrypted and " + written +
             " is not: with one of its passwords (--password) it stays encrypted");
    }
    return size;
}

} // namespace orvex::tool
