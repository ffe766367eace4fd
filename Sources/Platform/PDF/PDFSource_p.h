// One loaded file: its bytes and its parsed structure, shared by every page that came from it and never changed.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/Foundation/Geometry.h"
#include "Platform/PDF/GraphicsContext.h"
#include "Platform/PDF/Loading/PageList_p.h"
#include "Platform/PDF/Loading/PageTexts_p.h"
#include "Platform/PDF/PDFDocument.h"

#include <qpdf/QPDF.hh>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orvex {

class ReadingCache;

class PDFSource {
public:
    /// Parses, and repairs what can be repaired. Throws PDFOpenError.
    static std::shared_ptr<PDFSource> open(const Bytes& bytes, const std::string& password);
    ~PDFSource();
    PDFSource(const PDFSource&) = delete;
    PDFSource& operator=(const PDFSource&) = delete;

    [[nodiscard]] const Bytes& bytes() const { return bytes_; }
    [[nodiscard]] const std::string& password() const { return password_; }
    /// Whoever was trusted with a password gets a file that asks for it again.
    [[nodiscard]] PDFSavedEncryption savedEncryption() const { return savedEncryption_; }
    [[nodiscard]] int pageCount() const { return static_cast<int>(pages_.ids.size()); }
    [[nodiscard]] Rect box(int page, PDFDisplayBox box) const;
    [[nodiscard]] int rotation(int page) const;
    /// The same where loading told; nothing is looked up for it. Threads: any.
    [[nodiscard]] std::optional<int> knownRotation(int page) const;
    [[nodiscard]] std::string info(PDFInfoKey key) const;
    [[nodiscard]] bool hasText(int page) const;
    /// What the text reader keeps of the file.
    [[nodiscard]] ReadingCache& readingCache() const { return *readingCache_; }
    /// Whether a form field of the page shows something.
    [[nodiscard]] bool showsFields(int page) const;

    /// A second parse of the same bytes, for a writer to change.
    [[nodiscard]] std::shared_ptr<QPDF> reopen() const;
    /// The pages of such a parse, in their order.
    [[nodiscard]] std::vector<QPDFObjectHandle> pagesOf(QPDF& parse) const;

    /// The shared parse is not safe for threads: hold the mutex while using anything of it.
    [[nodiscard]] std::recursive_mutex& mutex() const { return mutex_; }
    [[nodiscard]] QPDF& pdf() const { return *pdf_; }
    /// Of the shared parse, which reads it when it is looked into.
    [[nodiscard]] QPDFObjectHandle page(int index) const { return pdf_->getObject(pageID(index)); }
    [[nodiscard]] QPDFObjGen pageID(int index) const { return pages_.ids.at(static_cast<std::size_t>(index)); }
    /// Which page an object is; none for what is no page. The same id may stand for no more than one.
    [[nodiscard]] std::optional<int> pageNumber(QPDFObjGen id) const;
    /// A page from the file's bytes, with nothing of it kept. False where only the parser can tell what it is.
    bool readPage(int index, PageTexts::Wanted wanted, PageText& text) const;
    /// Objects from the file's bytes; null where only the parser can read them.
    [[nodiscard]] StoredObjects* storedObjects() const { return stored_ ? &stored_->objects : nullptr; }
    /// Where objects stand in the file's bytes; null where only the parser can tell. Threads: any.
    [[nodiscard]] const ObjectTable* objectTable() const { return stored_ ? &stored_->table : nullptr; }
    /// Throws std::bad_alloc when memory ran out while the shared parse read something, which it then took for null;
    /// the file is parsed anew before.
    void requireMemory() const;

private:
    PDFSource();
    Bytes bytes_;
    std::string password_;
    PDFSavedEncryption savedEncryption_ = PDFSavedEncryption::none;
    mutable std::shared_ptr<QPDF> pdf_;
    /// What is read from the bytes themselves.
    struct Stored {
        Stored(const Bytes& file, QPDF& pdf) : table(pdf), objects(file, table), pages(objects) {}
        ObjectTable table;
        StoredObjects objects;
        PageTexts pages;
    };
    std::unique_ptr<Stored> stored_; ///< null for a file whose bytes do not show its pages: damaged, or encrypted
    PageList pages_;
    mutable std::vector<std::pair<QPDFObjGen, int>> pageNumbers_; ///< sorted; empty until somebody asks
    mutable std::vector<std::shared_ptr<QPDF>> retired_;          ///< kept for the handles that are about
    mutable bool isIncomplete_ = false; ///< memory ran out, and did again when the file was parsed anew
    mutable std::recursive_mutex mutex_;
    mutable QPDFObjGen lastParent_;
    mutable int lastParentRotation_ = 0;
    enum class TextState : unsigned char { unknown, absent, present };
    mutable std::vector<std::atomic<TextState>> textStates_;
    std::unique_ptr<ReadingCache> readingCache_;
};

/// Throws std::bad_alloc when memory ran out in there: qpdf takes that for damage of the file, which it passes over.
void requireMemory(QPDF& pdf);
/// "/Title" and so on.
[[nodiscard]] const char* infoEntry(PDFInfoKey key);
/// An attribute of a page or, when it lacks it, of the nodes above it. Null when there is none.
[[nodiscard]] QPDFObjectHandle inheritedAttribute(QPDFObjectHandle page, const std::string& key);
/// A page's /Rotate in clockwise degrees: 0, 90, 180 or 270; values that are no quarter turns count as 0.
[[nodiscard]] int pageRotation(const QPDFObjectHandle& page);
[[nodiscard]] Rect pageBox(const QPDFObjectHandle& page, PDFDisplayBox box);

} // namespace orvex
