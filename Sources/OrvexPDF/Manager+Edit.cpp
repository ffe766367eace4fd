#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Manager_p.h"

#include <algorithm>
#include <typeinfo>
#include <utility>

namespace orvex {

namespace {

void debugLine(std::string_view function, std::string_view text, std::int64_t index) {
    moduleLogger().log(LogLevel::debug, "Manager", function, [&] { return std::string(text) + std::to_string(index); });
}

void refuseInsert(std::int64_t index) {
    debugLine("_insert(page:atIndex:meta:)", "Tried to insert a page out of index: ", index);
}

void refuseRemove(std::int64_t index) {
    debugLine("_remove(pageAt:)", "Tried to remove a page out of index: ", index);
}

/// What a host's own page class draws is only known from a file in which it has drawn: the page is written and read
/// back. The page itself when that fails.
OrvexPDFPagePtr readBack(const OrvexPDFPagePtr& page) {
    try {
        const auto data = page->createDocumentFromPage()->dataRepresentation();
        const auto document = data ? OrvexPDFDocument::fromData(*data) : nullptr;
        const auto copy = document ? document->orvexPage(0) : nullptr;
        return copy ? copy : page;
    } catch (const PDFWriteError&) {
        return page;
    }
}

/// The page as a saved file would give it back, free of the caller's. It stays a page of the file that it came from, so
/// that bookmarks, links and fields still find it.
OrvexPDFPagePtr independentCopy(const OrvexPDFPagePtr& page) {
    const OrvexPDFPage& object = *page;
    return typeid(object) == typeid(OrvexPDFPage) ? page->flattened() : readBack(page);
}

} // namespace

// Inserting

std::string OrvexPDFDocumentManager::insert(OrvexPDFPagePtr page, std::int64_t atIndex, const OrvexPDFPageMeta& meta) {
    auto copy = std::make_shared<OrvexPDFPageMeta>(meta);
    if (!copy->originalImage) {
        copy->originalPage = page;
    }
    if (page) {
        _insert(std::move(page), atIndex, std::move(copy));
    }
    return meta.id;
}

std::string OrvexPDFDocumentManager::append(OrvexPDFPagePtr page) {
    return insert(std::move(page), -1, {});
}

void OrvexPDFDocumentManager::_insert(OrvexPDFPagePtr page, std::int64_t atIndex, OrvexPDFPageMetaPtr meta) {
    constexpr std::string_view function = "_insert(page:atIndex:meta:)";
    debugLine(function, "Insert at: ", atIndex);
    syncOnMain([&] {
        const auto index = atIndex == -1 ? pdfDoc->pageCount() : atIndex;
        if (!isPageIndexOrEnd(index)) {
            refuseInsert(index);
            return;
        }
        if (index > static_cast<std::int64_t>(pagesMeta.size())) {
            fatalError("there are fewer page records than pages before index " + std::to_string(index));
        }
        insertInStep(std::move(page), index, std::move(meta));
        try {
            registerUndo([index, function](OrvexPDFDocumentManager& manager) {
                debugLine(function, "Undo step insert at:", index);
                manager._remove(index);
            });
        } catch (...) {
            takeInStep(index);
            throw;
        }
        didChangeDocument();
    });
}

/// Page and record, or neither.
void OrvexPDFDocumentManager::insertInStep(OrvexPDFPagePtr page, std::int64_t at, OrvexPDFPageMetaPtr meta) {
    pdfDoc->insertPage(std::move(page), at);
    try {
        pagesMeta.insert(static_cast<std::size_t>(at), std::move(meta));
    } catch (...) {
        pdfDoc->removePage(at);
        throw;
    }
}

/// Needs no memory.
void OrvexPDFDocumentManager::takeInStep(std::int64_t at) {
    pagesMeta.take(static_cast<std::size_t>(at));
    pdfDoc->removePage(at);
}

// Removing

void OrvexPDFDocumentManager::remove(std::int64_t pageAt) {
    _remove(pageAt);
}

void OrvexPDFDocumentManager::remove(const OrvexPDFPagePtr& page) {
    syncOnMain([&] { _remove(pdfDoc->index(page.get())); });
}

void OrvexPDFDocumentManager::_remove(std::int64_t pageAt) {
    constexpr std::string_view function = "_remove(pageAt:)";
    debugLine(function, "Remove at: ", pageAt);
    syncOnMain([&] {
        expect(pageAt);
        auto page = pdfDoc->orvexPage(pageAt);
        if (!page) {
            refuseRemove(pageAt);
            return;
        }
        registerUndo(
            [pageAt, page = std::move(page), meta = metaOrDie(pageAt), function](OrvexPDFDocumentManager& manager) {
                debugLine(function, "Undo step remove at:", pageAt);
                manager._insert(page, pageAt, meta);
            });
        takeInStep(pageAt);
        didChangeDocument();
    });
}

// Replacing

void OrvexPDFDocumentManager::replace(std::int64_t pageAt, const OrvexPDFPagePtr& withPage,
                                      const OrvexPDFPageMeta& withMeta, bool force) {
    const auto meta = std::make_shared<OrvexPDFPageMeta>(withMeta);
    syncOnMain([&] { _replace(pageAt, withPage, meta, force, Origin::caller); });
}

void OrvexPDFDocumentManager::_replace(std::int64_t pageAt, const OrvexPDFPagePtr& withPage,
                                       const OrvexPDFPageMetaPtr& withMeta, bool force, Origin origin) {
    constexpr std::string_view function = "replace(pageAt:withPage:withMeta:force:)";
    expect(pageAt);
    debugLine(function, "Replace at:", pageAt);
    const auto current = pdfDoc->orvexPage(pageAt);
    if (!current || !withPage) {
        return;
    }
    auto currentMeta = metaOrDie(pageAt);
    if (current == withPage) {
        moduleLogger().log(LogLevel::debug, "Manager", function, [] {
            return std::string("Replacing pages only allowed with different page object, not equal ones!");
        });
        return;
    }
    // A page that the history brings back stood here before: nobody else's, it needs no copy, and undo is exact.
    const auto chosen = force && origin == Origin::caller ? independentCopy(withPage) : withPage;
    registerUndo([=](OrvexPDFDocumentManager& manager) {
        debugLine(function, "Undo step replace at:", pageAt);
        manager._replace(pageAt, current, currentMeta, force, Origin::history);
    });
    pagesMeta.exchange(static_cast<std::size_t>(pageAt), withMeta);
    pdfDoc->replacePage(pageAt, chosen);
    didChangeDocument();
}

// Moving and turning

void OrvexPDFDocumentManager::move(const std::vector<std::int64_t>& pagesAt, std::int64_t to) {
    auto falling = pagesAt;
    std::sort(falling.rbegin(), falling.rend());
    const auto twice = std::adjacent_find(falling.begin(), falling.end());
    syncOnMain([&] {
        constexpr std::string_view function = "move(pagesAt:to:)";
        const auto before = to == -1 ? pdfDoc->pageCount() : to;
        if (twice != falling.end()) {
            batch([&] { debugLine(function, "Tried to move a page twice: ", *twice); });
        } else if (!isPageIndexOrEnd(before)) {
            batch([&] { debugLine(function, "Tried to move pages out of index: ", to); });
        } else {
            moveBefore(before, pagesAt, falling);
        }
    });
}

void OrvexPDFDocumentManager::moveBefore(std::int64_t to, const std::vector<std::int64_t>& pagesAt,
                                         const std::vector<std::int64_t>& falling) {
    std::vector<std::pair<OrvexPDFPagePtr, OrvexPDFPageMetaPtr>> moved;
    const auto target = to - std::count_if(pagesAt.begin(), pagesAt.end(), [to](auto index) { return index < to; });
    const auto count = pdfDoc->pageCount();
    bool areOut = false;
    const auto block = [&] {
        for (const auto index : pagesAt) {
            moved.emplace_back(page(index), isPageIndexOrEnd(index) ? metaOrDie(index) : nullptr);
        }
        for (const auto index : falling) {
            _remove(index);
        }
        areOut = true;
        auto next = target;
        for (const auto& [page, meta] : moved) {
            if (!page || !meta) {
                fatalError("a page that does not exist was to be moved");
            }
            _insert(page, next++, meta);
        }
    };
    wholeBatch(block, [&] {
        const auto missing = count - pdfDoc->pageCount();
        const auto size = static_cast<std::int64_t>(moved.size());
        for (auto inserted = areOut ? size - missing : 0; inserted > 0; --inserted) {
            takeInStep(target);
        }
        // From the last that was removed, so that each finds its place.
        for (auto out = areOut ? size : missing; out > 0; --out) {
            const auto index = falling[static_cast<std::size_t>(out - 1)];
            const auto which = std::find(pagesAt.begin(), pagesAt.end(), index) - pagesAt.begin();
            auto& [page, meta] = moved[static_cast<std::size_t>(which)];
            insertInStep(page, index, meta);
        }
    });
}

void OrvexPDFDocumentManager::rotate(std::int64_t pageAt, bool left) {
    syncOnMain([&] {
        if (auto turned = meta(pageAt)) {
            turned->rotation = addOrDie(turned->rotation, left ? -90 : 90, "the page's rotation");
            updateMeta(*turned, true);
        }
    });
}

} // namespace orvex
