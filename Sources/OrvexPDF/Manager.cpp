#include "OrvexPDF/Manager_p.h"

#include "OrvexPDF/Alias.h"
#include "Platform/Foundation/Strings.h"

#include <utility>

namespace orvex {

namespace {

constexpr std::string_view managerFile = "Manager";

template <class Message> void debugLine(std::string_view function, Message&& message) {
    moduleLogger().log(LogLevel::debug, managerFile, function, std::forward<Message>(message));
}

template <class Message> void warningLine(std::string_view function, Message&& message) {
    moduleLogger().log(LogLevel::warning, managerFile, function, std::forward<Message>(message));
}

OrvexPDFPageMeta recordOfLoadedPage(OrvexPDFPagePtr page) {
    OrvexPDFPageMeta meta;
    meta.fresh = false;
    if (page) {
        meta.originalPageHasText = OrvexPageTextFlag::of(page);
        meta.originalPageRotation = page->rotation();
        meta.originalPage = std::move(page);
    }
    return meta;
}

void stamp(OrvexPDFDocument& document, const std::string& producer) {
    document.setProducer(producer);
    document.setCreator(producer);
}

/// A page that cannot be written makes the whole file "nothing"; the log says which.
std::optional<Bytes> serialise(const OrvexPDFDocument& document, std::string_view function) {
    try {
        return document.dataRepresentation();
    } catch (const PDFWriteError& error) {
        warningLine(function, [&] { return std::string("Error ") + error.what(); });
        return std::nullopt;
    }
}

} // namespace

OrvexPDFDocumentManager::OrvexPDFDocumentManager() : pdfDoc(std::make_shared<OrvexPDFDocument>()), id(makeUUID()) {
    // Where no loop is attached, the first to touch the queue is the main thread: whoever makes the first manager,
    // rather than a worker that happens to be the first to need it.
    MainQueue::shared();
}

std::shared_ptr<OrvexPDFDocumentManager> OrvexPDFDocumentManager::create() {
    return std::shared_ptr<OrvexPDFDocumentManager>(new OrvexPDFDocumentManager);
}

std::shared_ptr<OrvexPDFDocumentManager> OrvexPDFDocumentManager::create(const std::filesystem::path& url) {
    auto manager = create();
    manager->load(url);
    return manager;
}

// Loading

bool OrvexPDFDocumentManager::load(const std::filesystem::path& url, const std::string& password) {
    try {
        return load(readFile(url), password);
    } catch (const FileError& error) {
        warningLine("load(url:)", [&] { return "Error loading document from " + fileURL(url); });
        lastLoadError_ = error.what();
        lastLoadFailure_.reset();
        return false;
    }
}

bool OrvexPDFDocumentManager::load(const Bytes& data, const std::string& password) {
    std::optional<PDFOpenError> why;
    auto document = OrvexPDFDocument::fromData(data, &why, password);
    lastLoadError_ = why ? why->what() : "";
    lastLoadFailure_ = why ? std::optional(why->failure()) : std::nullopt;
    if (!document) {
        return false;
    }
    syncOnMain([&] {
        originalBytes = static_cast<std::int64_t>(data.size());
        password_ = password;
        adoptDocument(std::move(document));
        setDocumentBytes(originalBytes);
    });
    return true;
}

void OrvexPDFDocumentManager::adoptDocument(OrvexPDFDocumentPtr document) {
    if (undoManager) {
        undoManager->removeAllActions();
        batchIsMarked_ = false;
    }
    pdfDoc = std::move(document);
    pdfDoc->setProducer(pdfProducer);
    // By design the list is not emptied first: a manager is meant to be loaded once.
    const auto count = pdfDoc->pageCount();
    for (std::int64_t index = 0; index < count; ++index) {
        pagesMeta.push_back(recordOfLoadedPage(pdfDoc->orvexPage(index)));
    }
}

void OrvexPDFDocumentManager::replaceDocument(const Bytes& data) {
    auto document = OrvexPDFDocument::fromData(data, nullptr, password_);
    if (!document) {
        return;
    }
    syncOnMain([&] {
        originalBytes = static_cast<std::int64_t>(data.size());
        // Serialising is costly: only for an undo that somebody can ask for.
        const auto old = undoManager ? serialise(*pdfDoc, "replaceDocument(data:)") : std::nullopt;
        if (old) {
            registerUndo([bytes = *old](OrvexPDFDocumentManager& manager) { manager.replaceDocument(bytes); });
        }
        pdfDoc = std::move(document);
        pdfDoc->setProducer(pdfProducer);
        setDocumentBytes(originalBytes);
    });
}

// Saving and size

std::optional<Bytes> OrvexPDFDocumentManager::dataRepresentation() {
    stamp(*pdfDoc, pdfProducer);
    return serialise(*pdfDoc, "dataRepresentation()");
}

bool OrvexPDFDocumentManager::write(ByteSink& sink) {
    stamp(*pdfDoc, pdfProducer);
    return pdfDoc->write(sink);
}

void OrvexPDFDocumentManager::updateDocumentBytes() {
    if (!needsUpdateDocumentBytes) {
        return;
    }
    syncOnMain([this] {
        if (needsUpdateDocumentBytes) {
            measure();
        }
    });
}

void OrvexPDFDocumentManager::measure() {
    stamp(*pdfDoc, pdfProducer);
    try {
        if (const auto size = pdfDoc->measuredSize()) {
            setDocumentBytes(*size);
        }
    } catch (const PDFWriteError& error) {
        warningLine("updateDocumentBytes()", [&] { return std::string("Error ") + error.what(); });
    }
}

void OrvexPDFDocumentManager::setDocumentBytes(std::int64_t bytes) {
    constexpr std::string_view function = "setDocumentBytes(_:)";
    needsUpdateDocumentBytes = false;
    debugLine(function, [&] { return "setDocumentBytes " + formatByteCount(bytes); });
    if (bytes == documentBytes) {
        return;
    }
    documentBytes = bytes;
    syncOnMain([this, function] {
        debugLine(function, [this] { return "notify setDocumentBytes " + formatByteCount(documentBytes); });
        NotificationCenter::defaultCenter().post(PDFDocumentBytesChanged, pdfDoc);
    });
}

// News

void OrvexPDFDocumentManager::didChangeDocument() {
    needsUpdateDocumentBytes = true;
    const bool quiet = silent >= 1;
    debugLine("didChangeDocument()",
              [quiet] { return std::string("Did change document ") + (quiet ? "(silently)" : "(will notify!)"); });
    if (quiet) {
        return;
    }
    syncOnMain([this] {
        if (const auto host = delegate.lock()) {
            host->documentDidChange();
        }
        NotificationCenter::defaultCenter().post(PDFDocumentContentChanged, pdfDoc);
    });
}

void OrvexPDFDocumentManager::wait() {
    syncOnMain([] { debugLine("wait()", [] { return std::string("Wait until PDF manipulations are done"); }); });
}

// Batches

void OrvexPDFDocumentManager::batch(const std::function<void()>& block) {
    syncOnMain([this] { beginBatch(); });
    try {
        block();
    } catch (...) {
        syncOnMain([this] { endBatch(); });
        throw;
    }
    syncOnMain([this] { endBatch(); });
}

void OrvexPDFDocumentManager::wholeBatch(const std::function<void()>& block, const std::function<void()>& takeBack) {
    batch([&] {
        const bool wasMarked = batchIsMarked_;
        try {
            block();
        } catch (...) {
            if (undoManager && isBatchGroupOpen()) {
                undoManager->forgetUndoGroup(); // makes room for what is put back
                batchIsMarked_ = wasMarked;
            }
            takeBack();
            throw;
        }
    });
}

void OrvexPDFDocumentManager::beginBatch() {
    const auto deeper = addOrDie(silent, 1, "the depth of batches");
    if (undoManager) {
        undoManager->beginUndoGrouping();
        if (batchDepth_++ == 0) {
            batchGroupLevel_ = undoManager->groupingLevel();
            batchIsMarked_ = false;
        }
    }
    silent = deeper;
}

void OrvexPDFDocumentManager::endBatch() {
    silent = addOrDie(silent, -1, "the depth of batches");
    if (undoManager) {
        if (--batchDepth_ == 0 && batchIsMarked_ && isBatchGroupOpen()) {
            try {
                registerSilenceStart();
            } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): then undoing tells of each edit
            }
        }
        undoManager->endUndoGrouping();
    }
    didChangeDocument();
}

/// Loading and removeAllActions() close groups under a batch's feet.
bool OrvexPDFDocumentManager::isBatchGroupOpen() const {
    return undoManager->groupingLevel() >= batchGroupLevel_;
}

/// A batch's step is undone last action first: the first edit ends its silence, a marker behind the last one starts it.
/// A batch without edits leaves no step.
bool OrvexPDFDocumentManager::isToMarkBatch() const {
    return batchDepth_ > 0 && !batchIsMarked_ && isBatchGroupOpen() && undoManager->isUndoRegistrationEnabled();
}

void OrvexPDFDocumentManager::registerSilenceStart() {
    registerUndo([](OrvexPDFDocumentManager& manager) {
        const auto deeper = addOrDie(manager.silent, 1, "the depth of batches");
        manager.registerUndo([](OrvexPDFDocumentManager& again) { again.endSilence(); });
        manager.silent = deeper;
    });
}

void OrvexPDFDocumentManager::endSilence() {
    if (silent > 0) { // memory may have run out when the start was to be registered
        registerSilenceStart();
        silent = addOrDie(silent, -1, "the depth of batches");
    }
    didChangeDocument();
}

// Lookups

bool OrvexPDFDocumentManager::isPageIndexOrEnd(std::int64_t index) const {
    return index >= 0 && index <= pdfDoc->pageCount();
}

void OrvexPDFDocumentManager::expect(std::int64_t at) const {
    pagesMeta.expect(static_cast<std::size_t>(at));
    pdfDoc->expectPage(at);
}

const OrvexPDFPageMetaPtr& OrvexPDFDocumentManager::metaOrDie(std::int64_t at) const {
    const auto count = static_cast<std::int64_t>(pagesMeta.size());
    if (at < 0 || at >= count) {
        fatalError("page record " + std::to_string(at) + " asked for, but there are " + std::to_string(count));
    }
    return pagesMeta.shared(static_cast<std::size_t>(at));
}

OrvexPDFPagePtr OrvexPDFDocumentManager::page(std::int64_t at) const {
    return pdfDoc->orvexPage(at);
}

std::optional<OrvexPDFPageMeta> OrvexPDFDocumentManager::meta(std::int64_t at) const {
    expect(at); // who asks for a record often changes it, and its page with it
    return isPageIndexOrEnd(at) ? std::optional(*metaOrDie(at)) : std::nullopt;
}

std::optional<OrvexPDFPageMeta> OrvexPDFDocumentManager::meta(const std::string& pageId) const {
    const auto index = pageIndex(pageId);
    return isPageIndexOrEnd(index) ? std::optional(*metaOrDie(index)) : std::nullopt;
}

std::int64_t OrvexPDFDocumentManager::pageIndex(const std::string& pageId) const {
    const auto found = pagesMeta.position(pageId);
    return found ? static_cast<std::int64_t>(*found) : notFound;
}

std::map<std::string, std::any> OrvexPDFDocumentManager::debugInfo() const {
    std::vector<std::map<std::string, std::any>> pages;
    for (std::int64_t index = 0; index < pdfDoc->pageCount(); ++index) {
        pages.push_back(pageDebugInfo(index));
    }
    return {{"count", pdfDoc->pageCount()}, {"pages", std::move(pages)}};
}

/// By design every entry describes the first page.
std::map<std::string, std::any> OrvexPDFDocumentManager::pageDebugInfo(std::int64_t /*at*/) const {
    const auto first = page(0);
    if (!first) {
        return {};
    }
    const auto characters = static_cast<std::int64_t>(countCharacters(first->string()));
    return {{"meta", *metaOrDie(0)}, {"page", std::map<std::string, std::any>{{"stringCount", characters}}}};
}

} // namespace orvex
