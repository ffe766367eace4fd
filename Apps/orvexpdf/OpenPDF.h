// A PDF that the user names, opened through a manager.
#pragma once

#include "OrvexPDF/Manager.h"

#include <memory>
#include <string>

namespace orvex::tool {

/// A failure of the right exit code for a PDF that cannot be opened.
[[noreturn]] void failToOpen(const std::string& path, const std::string& reason, std::optional<PDFOpenFailure> failure);

/// Throws Failure.
[[nodiscard]] std::shared_ptr<OrvexPDFDocumentManager> openPDF(const std::string& path);

/// Where a changed PDF goes: a new file, or its own.
struct PDFOutput {
    std::string path;
    bool inPlace = false;
};
/// Before any work: exactly one of the two is given, and it can work out. Throws Failure (usage, outputFailed).
void checkPDFOutput(const PDFOutput& output, const std::string& input);
/// Throws Failure (outputFailed).
void savePDF(OrvexPDFDocumentManager& manager, const PDFOutput& output, const std::string& input);

} // namespace orvex::tool
