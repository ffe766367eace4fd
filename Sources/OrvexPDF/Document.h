// The library's document: loaded pages are library pages; four information entries as strings; a bag for the host.
#pragma once

#include "OrvexPDF/Page.h"
#include "Platform/PDF/PDFDocument.h"

#include <any>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orvex {

/// Used from one thread at a time.
class OrvexPDFDocument : public PDFDocument {
public:
    /// An empty document.
    OrvexPDFDocument() = default;
    /// Null when the bytes are no PDF that can be opened; the reason goes to `why` when given. `password` is the
    /// owner's or the user's; a file that needs none opens with any.
    static std::shared_ptr<OrvexPDFDocument> fromData(const Bytes& data, std::optional<PDFOpenError>* why = nullptr,
                                                      const std::string& password = {});
    /// The same for a file; one that cannot be read gives null as well, without a word in `why`.
    static std::shared_ptr<OrvexPDFDocument> fromFile(const std::filesystem::path& url,
                                                      std::optional<PDFOpenError>* why = nullptr,
                                                      const std::string& password = {});

    /// Never absent: empty when the entry is missing or not a string. Writing an empty text keeps an empty entry.
    [[nodiscard]] std::string title() const { return info(PDFInfoKey::title); }
    [[nodiscard]] std::string author() const { return info(PDFInfoKey::author); }
    [[nodiscard]] std::string creator() const { return info(PDFInfoKey::creator); }
    [[nodiscard]] std::string producer() const { return info(PDFInfoKey::producer); }
    void setTitle(std::string text) { setInfo(PDFInfoKey::title, std::move(text)); }
    void setAuthor(std::string text) { setInfo(PDFInfoKey::author, std::move(text)); }
    void setCreator(std::string text) { setInfo(PDFInfoKey::creator, std::move(text)); }
    void setProducer(std::string text) { setInfo(PDFInfoKey::producer, std::move(text)); }

    std::map<std::string, std::any> userInfo; ///< the host's; "sidecar" marks scans with a text layer

    /// The library pages in page order; platform pages are passed over.
    [[nodiscard]] std::vector<OrvexPDFPagePtr> orvexPages() const;
    /// The library page at an index, or null.
    [[nodiscard]] OrvexPDFPagePtr orvexPage(std::int64_t at) const;

    /// Document+Found.cpp: the text of every library page, read anew. Author, creator, source ("pdf") and pages are
    /// there even when they are empty. Pages are read side by side on threads of its own; none changes meanwhile.
    [[nodiscard]] OrvexFoundDocument extractFoundDocument() const;
    /// The same, but a page whose own found page holds items gives that one as it is.
    [[nodiscard]] OrvexFoundDocument foundDocument() const;

protected:
    [[nodiscard]] PDFPagePtr makePage(PDFPageContent content) const override;
    /// Logged as a warning.
    void wroteEmptied(std::int64_t page) const override;
};

using OrvexPDFDocumentPtr = std::shared_ptr<OrvexPDFDocument>;

} // namespace orvex
