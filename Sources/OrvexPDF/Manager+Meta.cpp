#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Images.h"
#include "OrvexPDF/Manager.h"
#include "Platform/Foundation/Strings.h"

namespace orvex {

OrvexPDFPagePtr OrvexPDFDocumentManager::generatePage(const OrvexPDFPageMeta& meta) {
    OrvexPDFPagePtr page;
    if (meta.originalImage) {
        page = pageFromOriginalImage(meta);
    } else if (meta.originalPage) {
        page = pageFromOriginalPage(meta);
    }
    if (page) {
        page->setRotation(addOrDie(page->rotation(), meta.rotation, "the page's rotation"));
        page->watermarkText = meta.watermarkText;
        announceGenerated(*page);
    }
    moduleLogger().log(LogLevel::debug, "Manager+Meta", "generatePage(meta:)", [&] {
        if (!page) {
            fatalError("a page was to be generated from a record without a usable source");
        }
        return "Page meta: rotation = " + std::to_string(page->rotation()) +
               ", textRotation = " + std::to_string(page->textRotation) +
               ", watermark = " + describe(page->watermarkText);
    });
    return page;
}

OrvexPDFPagePtr OrvexPDFDocumentManager::pageFromOriginalImage(const OrvexPDFPageMeta& meta) {
    const auto optimized = optimizeImage(meta.originalImage, meta.squeeze, meta.originalImage->size());
    auto page = OrvexPDFPage::fromImage(optimized.image);
    if (page) {
        page->foundPage = meta.foundPage;
        page->textRotation = meta.textRotation;
    }
    return page;
}

/// Without a way to render pages, a preset on a page has no image to work on: such a page is copied, too.
OrvexPDFPagePtr OrvexPDFDocumentManager::pageFromOriginalPage(const OrvexPDFPageMeta& meta) {
    auto page = meta.originalPage->clone();
    if (page) {
        page->foundPage = meta.foundPage;
        page->textRotation = meta.textRotation;
    }
    return page;
}

void OrvexPDFDocumentManager::announceGenerated(OrvexPDFPage& page) const {
    if (delegate.expired()) {
        return; // workers that generate pages need not wait for the main thread
    }
    syncOnMain([&] {
        if (const auto host = delegate.lock()) {
            host->didGenerate(page);
        }
    });
}

void OrvexPDFDocumentManager::updateMeta(const OrvexPDFPageMeta& meta, bool force) {
    if (const auto page = generatePage(meta)) {
        replace(pageIndex(meta.id), page, meta, force);
    }
}

} // namespace orvex
