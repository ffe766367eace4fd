#include "OrvexPDF/Document.h"

#include "OrvexPDF/Alias.h"

namespace orvex {

OrvexPDFDocumentPtr OrvexPDFDocument::fromData(const Bytes& data, std::optional<PDFOpenError>* why,
                                               const std::string& password) {
    auto document = std::make_shared<OrvexPDFDocument>();
    try {
        document->open(data, password);
    } catch (const PDFOpenError& error) {
        if (why != nullptr) {
            *why = error;
        }
        return nullptr;
    }
    return document;
}

OrvexPDFDocumentPtr OrvexPDFDocument::fromFile(const std::filesystem::path& url, std::optional<PDFOpenError>* why,
                                               const std::string& password) {
    Bytes data;
    try {
        data = readFile(url);
    } catch (const FileError&) {
        return nullptr;
    }
    return fromData(data, why, password);
}

std::vector<OrvexPDFPagePtr> OrvexPDFDocument::orvexPages() const {
    std::vector<OrvexPDFPagePtr> pages;
    for (std::int64_t i = 0; i < pageCount(); ++i) {
        if (auto page = orvexPage(i)) {
            pages.push_back(std::move(page));
        }
    }
    return pages;
}

OrvexPDFPagePtr OrvexPDFDocument::orvexPage(std::int64_t at) const {
    auto found = page(at);
    auto* const ours = dynamic_cast<OrvexPDFPage*>(found.get());
    return ours != nullptr ? OrvexPDFPagePtr(std::move(found), ours) : nullptr;
}

PDFPagePtr OrvexPDFDocument::makePage(PDFPageContent content) const {
    return std::make_shared<OrvexPDFPage>(std::move(content));
}

void OrvexPDFDocument::wroteEmptied(std::int64_t page) const {
    moduleLogger().log(LogLevel::warning, "Document", "write(sink:)", [page] {
        return "Page " + std::to_string(page + 1) + " was saved empty: nothing of it could be read in its damaged file";
    });
}

} // namespace orvex
