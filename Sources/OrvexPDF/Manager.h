// The owner of one open document: its pages, a record per page, its measured size, its undo steps and its news.
#pragma once

#include "OrvexPDF/Document.h"
#include "OrvexPDF/PageMeta.h"
#include "Platform/Foundation/MainQueue.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/Foundation/UndoManager.h"

#include <any>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvex {

/// The host's side of the manager; held weakly. Both calls come on the main thread.
class OrvexPDFDocumentManagerDelegate {
public:
    OrvexPDFDocumentManagerDelegate() = default;
    OrvexPDFDocumentManagerDelegate(const OrvexPDFDocumentManagerDelegate&) = delete;
    OrvexPDFDocumentManagerDelegate& operator=(const OrvexPDFDocumentManagerDelegate&) = delete;
    virtual ~OrvexPDFDocumentManagerDelegate() = default;
    /// The content changed (once per batch), just before PDFDocumentContentChanged is posted.
    virtual void documentDidChange() = 0;
    /// A page was built from its record; rotation and watermark are set. The host may decorate it.
    virtual void didGenerate(OrvexPDFPage& page) = 0;
};

/// Posted to the default centre on the main thread; the object is the manager's document.
inline const NotificationName PDFDocumentContentChanged{"OrvexPDFDocumentContentChanged"};
inline const NotificationName PDFDocumentBytesChanged{"OrvexPDFDocumentBytesChanged"};

/// Meant to be driven from the main thread. Called from another one, each edit is carried to the main queue as a whole
/// and the caller waits; updateMeta() generates the page on the caller's thread first. A batch runs on the caller's
/// thread, so that edits of others may fall into it, and what is read elsewhere meanwhile is not guarded. Page indices
/// count from 0; insertions take 0 to the page count, and -1 for the end. What an edit cannot do it leaves undone, with
/// a line of the log at debug level or none.
class OrvexPDFDocumentManager : public std::enable_shared_from_this<OrvexPDFDocumentManager> {
public:
    /// A manager with an empty document.
    static std::shared_ptr<OrvexPDFDocumentManager> create();
    /// As create(), then load(); a failed load leaves the empty document.
    static std::shared_ptr<OrvexPDFDocumentManager> create(const std::filesystem::path& url);
    OrvexPDFDocumentManager(const OrvexPDFDocumentManager&) = delete;
    OrvexPDFDocumentManager& operator=(const OrvexPDFDocumentManager&) = delete;

    std::weak_ptr<OrvexPDFDocumentManagerDelegate> delegate; ///< the host's, which keeps it alive
    OrvexPDFDocumentPtr pdfDoc;                              ///< never null
    OrvexPDFPageMetaList pagesMeta;                          ///< element i describes page i
    std::int64_t silent = 0;                                 ///< depth of batches under way; above 0 nobody is notified
    std::int64_t originalBytes = 0;                          ///< size of the data that was last loaded or replaced
    std::int64_t documentBytes = 0;                          ///< serialised size as last measured
    bool needsUpdateDocumentBytes = false;                   ///< the content changed since
    const std::string id;                                    ///< a new UUID
    std::shared_ptr<UndoManager> undoManager;                ///< the host's; none: nothing is undoable
    std::string pdfProducer = "Quillo.app";                  ///< stamped as Producer, on saving also as Creator

    // Manager.cpp: loading, saving, size, news
    /// Reads a file and opens it; undo history is cleared, a record per page is appended. False on any failure, with
    /// nothing changed; lastLoadError() then says why. `password` opens an encrypted file: the owner's or the user's.
    bool load(const std::filesystem::path& url, const std::string& password = {});
    /// The same for a file's bytes, which are shared, not copied.
    bool load(const Bytes& data, const std::string& password = {});
    /// One line that says why the last load() failed; empty after one that did not.
    [[nodiscard]] const std::string& lastLoadError() const { return lastLoadError_; }
    /// What kind of failure it was; empty when the file could not even be read, or when nothing failed.
    [[nodiscard]] std::optional<PDFOpenFailure> lastLoadFailure() const { return lastLoadFailure_; }
    /// Swaps in another document, undoably; records stay as they are. Bytes that are no PDF: nothing happens.
    void replaceDocument(const Bytes& data);
    /// The document as a PDF file, stamped; empty without pages, or, with a warning, when a page cannot be written.
    [[nodiscard]] std::optional<Bytes> dataRepresentation();
    /// The same, streamed without holding it in memory. False without pages. Throws PDFWriteError where a page cannot
    /// be written, and what the sink throws.
    bool write(ByteSink& sink);
    /// Measures documentBytes again when it is stale.
    void updateDocumentBytes();
    /// Records a measured size and, when it differs from the last one, posts PDFDocumentBytesChanged.
    void setDocumentBytes(std::int64_t bytes);
    /// Marks the size stale and, outside a batch, tells delegate and observers.
    void didChangeDocument();
    /// From another thread: returns when what was queued on the main queue has run.
    void wait();
    /// Runs `block` on the calling thread; whatever it edits is one undo step and one piece of news, given when the
    /// outermost batch ends. Undoing and redoing the step notifies once, too. A batch is no transaction: when `block`
    /// throws, what it had done stays, is told and can be undone in one step; the exception goes on to the caller.
    void batch(const std::function<void()>& block);
    /// "count": the page count (int64). "pages": a std::vector with a std::map<std::string, std::any> per page, each
    /// describing the first page, by design: "meta" (OrvexPDFPageMeta) and "page", a map with "stringCount" (int64).
    [[nodiscard]] std::map<std::string, std::any> debugInfo() const;

    // Manager+Edit.cpp: edits, each undoable
    /// Inserts with a copy of the record and returns the record's id, also when nothing was inserted: when the index is
    /// refused or the page is null.
    std::string insert(OrvexPDFPagePtr page, std::int64_t atIndex, const OrvexPDFPageMeta& meta);
    /// At the end, with a new record.
    std::string append(OrvexPDFPagePtr page);
    /// Takes out page and record. Nothing happens for an index without a library page.
    void remove(std::int64_t pageAt);
    /// The same for this very page object. Nothing happens when it is not in the document.
    void remove(const OrvexPDFPagePtr& page);
    /// Swaps page and record. With `force` a copy of the page goes in, as it would be read back from a saved file; the
    /// undo brings the very page back that stood there.
    /// Nothing happens for an index without a page, for the page that is there already, and for a null page.
    void replace(std::int64_t pageAt, const OrvexPDFPagePtr& withPage, const OrvexPDFPageMeta& withMeta, bool force);
    /// The listed pages, in the listed order, go before the page that is at `to`, or to the end where that is -1 or the
    /// page count: one undo step. No page moves where it is anything else, or where a page is listed twice. The indices
    /// must be valid; others are fatal.
    void move(const std::vector<std::int64_t>& pagesAt, std::int64_t to);
    /// A quarter turn through the page's record, whose rotation grows or shrinks by 90 degrees without being reduced.
    /// Nothing happens for an index that is negative or beyond the page count; the page count itself is fatal.
    void rotate(std::int64_t pageAt, bool left);

    // Manager+Insert.cpp: images and documents, each undoable
    /// The image is placed as it is; presets take effect when the page is generated from its record. Returns the
    /// record's id, also when nothing was inserted. Its pixels are not decoded for it: bytes that break off behind a
    /// sound header (verifyEncoded() finds them) become a page that shows as much of them as a reader can.
    std::string insert(const ImagePtr& image, std::int64_t atIndex, const OrvexPDFPageMeta& meta);
    /// The same at the end.
    std::string append(const ImagePtr& image, const OrvexPDFPageMeta& meta);
    /// The document's library pages themselves, in one step, each with a new record without a source; where its user
    /// info holds "sidecar", each page's last image in its place, if it has one. Returns the records' ids in order;
    /// none when the index is refused, which a line on standard output tells, or the document is null.
    std::vector<std::string> insert(const OrvexPDFDocumentPtr& document, std::int64_t atIndex);
    /// The same at the end.
    std::vector<std::string> append(const OrvexPDFDocumentPtr& document);

    // Manager.cpp: lookups; those by id by one thread at a time, as they note what they learn
    /// The library page at an index; null when there is none.
    [[nodiscard]] OrvexPDFPagePtr page(std::int64_t at) const;
    /// A copy of the record at an index; empty when it is negative or beyond the page count, which itself is fatal.
    [[nodiscard]] std::optional<OrvexPDFPageMeta> meta(std::int64_t at) const;
    /// A copy of the first record with this id; empty when there is none.
    [[nodiscard]] std::optional<OrvexPDFPageMeta> meta(const std::string& id) const;
    /// Where that record stands; notFound when there is none.
    [[nodiscard]] std::int64_t pageIndex(const std::string& id) const;

    // Manager+Meta.cpp: pages from records
    /// The page that the record describes; null without a usable source (fatal when debug lines are on). The document
    /// is not touched. A page of a file is copied; with a preset it becomes an image where that takes fewer bytes than
    /// the page does by itself, or where recognised text takes the place of its own.
    /// Throws std::invalid_argument for a rotation that is no multiple of 90.
    [[nodiscard]] OrvexPDFPagePtr generatePage(const OrvexPDFPageMeta& meta);
    /// Generates and swaps in, undoably. Nothing happens when no page can be made or the id is unknown.
    void updateMeta(const OrvexPDFPageMeta& meta, bool force);

private:
    OrvexPDFDocumentManager();
    void adoptDocument(OrvexPDFDocumentPtr document);
    void measure();
    [[nodiscard]] std::map<std::string, std::any> pageDebugInfo(std::int64_t at) const;
    [[nodiscard]] bool isPageIndexOrEnd(std::int64_t index) const;
    /// Page and record at an index are about to be used: memory brings both at once.
    void expect(std::int64_t at) const;
    /// The record at an index that must exist: fatal otherwise.
    [[nodiscard]] const OrvexPDFPageMetaPtr& metaOrDie(std::int64_t at) const;

    // Records that left the list are nobody's but the history's: it keeps them and puts them back, uncopied.
    void _insert(OrvexPDFPagePtr page, std::int64_t atIndex, OrvexPDFPageMetaPtr meta);
    void _remove(std::int64_t pageAt);
    void insertInStep(OrvexPDFPagePtr page, std::int64_t at, OrvexPDFPageMetaPtr meta);
    void takeInStep(std::int64_t at);
    enum class Origin { caller, history };
    void _replace(std::int64_t pageAt, const OrvexPDFPagePtr& withPage, const OrvexPDFPageMetaPtr& withMeta, bool force,
                  Origin origin);
    /// `falling`: the indices from the last to the first.
    void moveBefore(std::int64_t to, const std::vector<std::int64_t>& pagesAt,
                    const std::vector<std::int64_t>& falling);
    std::string insertPageOfDocument(const OrvexPDFPagePtr& page, std::int64_t atIndex);

    /// As batch(), but whole or not at all: when `block` throws, `takeBack` undoes what it did and no step is left.
    void wholeBatch(const std::function<void()>& block, const std::function<void()>& takeBack);
    void beginBatch();
    void endBatch();
    [[nodiscard]] bool isBatchGroupOpen() const;
    template <class Handler> void registerUndo(Handler handler);
    [[nodiscard]] bool isToMarkBatch() const;
    void registerSilenceStart();
    void endSilence();

    [[nodiscard]] static OrvexPDFPagePtr pageFromOriginalImage(const OrvexPDFPageMeta& meta);
    [[nodiscard]] static OrvexPDFPagePtr pageFromOriginalPage(const OrvexPDFPageMeta& meta);
    [[nodiscard]] static OrvexPDFPagePtr rasterOfOriginalPage(const OrvexPDFPageMeta& meta);
    void announceGenerated(OrvexPDFPage& page) const;

    std::string lastLoadError_;
    std::optional<PDFOpenFailure> lastLoadFailure_;
    std::string password_;            ///< of the document; what replaces it may need it, too
    std::int64_t batchDepth_ = 0;     ///< batches under way that opened an undo group
    std::size_t batchGroupLevel_ = 0; ///< grouping level inside the outermost of them
    bool batchIsMarked_ = false;      ///< its group has begun with a marker, so it has to end with one
};

} // namespace orvex
