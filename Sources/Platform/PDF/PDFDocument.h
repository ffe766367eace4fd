// A document: an ordered list of pages, an information dictionary and, for a loaded file, everything else that the file
// holds. Opening shares the file's bytes; nothing is copied and the bytes are never written to.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/Foundation/KeyedList.h"
#include "Platform/PDF/PDFPage.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvex {

/// "Not found", where an index is asked for.
inline constexpr std::int64_t notFound = std::numeric_limits<std::int64_t>::max();

enum class PDFOpenFailure { notAPDF, damaged, passwordNeeded };

/// A file that cannot be opened; `what()` is one line with the reason.
class PDFOpenError : public std::runtime_error {
public:
    PDFOpenError(PDFOpenFailure failure, const std::string& reason) : std::runtime_error(reason), failure_(failure) {}
    [[nodiscard]] PDFOpenFailure failure() const { return failure_; }

private:
    PDFOpenFailure failure_;
};

/// What becomes of the encryption of the file that a document was loaded from.
enum class PDFSavedEncryption {
    none,   ///< it has none
    kept,   ///< it was opened with one of its passwords: these, permissions and strength stay
    removed ///< it opened without
};

enum class PDFInfoKey { title, author, creator, producer };

/// Used from one thread at a time; different documents may be used in parallel, also when they share pages.
class PDFDocument {
public:
    /// An empty document.
    PDFDocument();
    PDFDocument(const PDFDocument&) = delete;
    PDFDocument& operator=(const PDFDocument&) = delete;
    virtual ~PDFDocument();

    [[nodiscard]] std::int64_t pageCount() const { return static_cast<std::int64_t>(pages_.size()); }
    /// Null when the index is out of range.
    [[nodiscard]] PDFPagePtr page(std::int64_t at) const;
    /// Index of this very page object, or notFound.
    [[nodiscard]] std::int64_t index(const PDFPage* page) const;
    /// Has the page at an index, if there is one, fetched from memory while the caller goes on.
    void expectPage(std::int64_t at) const { pages_.expect(static_cast<std::size_t>(at)); }
    /// Inserts before `at` (0 to pageCount()); throws std::out_of_range otherwise. Never touches another document.
    void insertPage(PDFPagePtr page, std::int64_t at);
    void removePage(std::int64_t at);
    /// Both at once.
    void replacePage(std::int64_t at, PDFPagePtr page);

    /// An entry of the information dictionary, UTF-8; empty when it is missing or not a string.
    [[nodiscard]] std::string info(PDFInfoKey key) const;
    /// Kept for saving; an empty text is stored as an empty entry. Other entries stay as they are.
    void setInfo(PDFInfoKey key, std::string utf8);

    /// The document as a PDF file; empty for a document without pages. What is not pages (outline, forms, attachments,
    /// metadata, ...) comes from the loaded file; pages draw themselves; the same state gives the same bytes. It is
    /// encrypted as savedEncryption() says. Signatures are not kept. Throws PDFWriteError where a page cannot be
    /// written.
    [[nodiscard]] std::optional<Bytes> dataRepresentation() const;
    /// The same bytes, streamed. False, with nothing written, for a document without pages.
    bool write(ByteSink& sink) const;
    /// How many bytes these are, mostly without passing the long streams of the loaded file. None for a document
    /// without pages. Throws PDFWriteError.
    [[nodiscard]] std::optional<std::int64_t> measuredSize() const;

    /// How saving treats the loaded file's encryption, for hosts that tell before or after. Pages of other files are
    /// saved as this document is.
    [[nodiscard]] PDFSavedEncryption savedEncryption() const;

    [[nodiscard]] const std::shared_ptr<PDFSource>& source() const { return source_; }

protected:
    /// Opens `data` into this empty document and makes its pages with makePage(). Throws PDFOpenError.
    void open(const Bytes& data, const std::string& password = {});
    /// The page class of loaded pages.
    [[nodiscard]] virtual PDFPagePtr makePage(PDFPageContent content) const;
    /// A file was written in which this page is empty, since its own file is so damaged that nothing of it could be
    /// read. Does nothing here.
    virtual void wroteEmptied(std::int64_t page) const;

private:
    [[nodiscard]] std::vector<PDFPagePtr> allPages() const;
    std::shared_ptr<PDFSource> source_;
    struct Identity {
        const PDFPage* operator()(const PDFPage& page) const { return &page; }
    };
    KeyedList<PDFPage, Identity> pages_;
    std::map<PDFInfoKey, std::string> info_; ///< what setInfo() changed
};

class PDFWriteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace orvex
