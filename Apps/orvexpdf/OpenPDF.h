// A PDF that the user names, opened through a manager.
#pragma once

#include "OrvexPDF/Manager.h"

#include <CLI/App.hpp>

#include <memory>
#include <string>
#include <vector>

namespace orvex::tool {

/// A failure of the right exit code for a PDF that cannot be opened.
[[noreturn]] void failToOpen(const std::string& path, const std::string& reason, std::optional<PDFOpenFailure> failure);

/// A manager whose files name this tool as their producer.
[[nodiscard]] std::shared_ptr<OrvexPDFDocumentManager> makeManager();

/// Throws Failure.
[[nodiscard]] std::shared_ptr<OrvexPDFDocumentManager> openPDF(const std::string& path,
                                                               const std::string& password = {});

/// The same without a manager, for those who only read. Throws Failure. Threads: any.
[[nodiscard]] std::shared_ptr<OrvexPDFDocument> openDocument(const std::string& path, const std::string& password);

/// The same for what was read already; `path` is for messages.
[[nodiscard]] std::shared_ptr<OrvexPDFDocument> documentFrom(const Bytes& data, const std::string& path,
                                                             const std::string& password);

/// The process ends with the command: taking a long document apart object by object would only take time.
void keepOpen(std::shared_ptr<const void> document);

/// The option --password.
void addPassword(CLI::App& app, std::string& password, const std::string& what = "Opens the PDF");

/// Counts what it passes on.
class ByteMeter final : public ByteSink {
public:
    explicit ByteMeter(ByteSink& target) : target_(target) {}
    void write(std::span<const std::uint8_t> bytes) override {
        count_ += static_cast<std::int64_t>(bytes.size());
        target_.write(bytes);
    }
    [[nodiscard]] std::int64_t count() const { return count_; }

private:
    ByteSink& target_;
    std::int64_t count_ = 0;
};

/// Where a changed PDF goes: a new file, or its own.
struct PDFOutput {
    std::string path;
    bool inPlace = false;
};
/// Before any work: exactly one of the two is given, and it can work out with the PDF `input` and whatever else is
/// read. Throws Failure (usage, outputFailed).
void checkPDFOutput(const PDFOutput& output, const std::string& input, std::vector<std::string> moreInputs = {});
/// Returns the size of what was written; says what became of the input's encryption. Throws Failure (outputFailed).
std::int64_t savePDF(OrvexPDFDocumentManager& manager, const PDFOutput& output, const std::string& input);

} // namespace orvex::tool
