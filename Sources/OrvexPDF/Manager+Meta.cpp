#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Images.h"
#include "OrvexPDF/Manager.h"
#include "Platform/Foundation/Strings.h"

namespace orvex {

namespace {

/// Whether the page, saved by itself, takes fewer than `count` bytes.
bool isSmallerThan(std::int64_t count, OrvexPDFPage& page) {
    try {
        const auto size = page.createDocumentFromPage()->measuredSize();
        return size && *size < count;
    } catch (const PDFWriteError&) {
        return false;
    }
}

/// A picture of a page of a file takes that page's place in it. Null when the image cannot fill a page.
OrvexPDFPagePtr pictureOf(const OrvexPDFPage& page, const ImagePtr& image) {
    if (!PDFPage::canHold(image)) {
        return nullptr;
    }
    ImagePageContent content{image};
    if (const auto* loaded = std::get_if<LoadedPageContent>(&page.content())) {
        content.of = PicturedPage{*loaded, page.rotation()};
    }
    return std::make_shared<OrvexPDFPage>(std::move(content));
}

} // namespace

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

OrvexPDFPagePtr OrvexPDFDocumentManager::pageFromOriginalPage(const OrvexPDFPageMeta& meta) {
    if (auto raster = meta.squeeze ? rasterOfOriginalPage(meta) : nullptr) {
        return raster;
    }
    auto page = meta.originalPage->clone();
    if (page) {
        page->foundPage = meta.foundPage;
        page->textRotation = meta.textRotation;
    }
    return page;
}

/// Null when the page cannot be rendered or takes fewer bytes as it is.
OrvexPDFPagePtr OrvexPDFDocumentManager::rasterOfOriginalPage(const OrvexPDFPageMeta& meta) {
    const auto optimized = optimizeImage(*meta.originalPage, meta.squeeze);
    if (!optimized) {
        return nullptr;
    }
    // Recognised text over a page that has text of its own: only an image gets rid of the latter, whatever its size.
    const bool isTextKeeping = meta.foundPage && meta.originalPageHasText;
    if (!isTextKeeping && isSmallerThan(optimized->count, *meta.originalPage)) {
        return nullptr;
    }
    auto page = pictureOf(*meta.originalPage, optimized->image);
    if (page) {
        // Without recognised text the page keeps its own, unseen.
        page->foundPage = meta.foundPage
                              ? meta.foundPage
                              : std::make_shared<const OrvexFoundPage>(meta.originalPage->extractFoundPage());
        // The image is upright as shown: the turn that the source has is in it already.
        const auto turnBack = multiplyOrDie(meta.originalPageRotation, -1, "the source page's rotation");
        page->textRotation = addOrDie(meta.textRotation, turnBack, "the text layer's rotation");
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
        syncOnMain([&] { replace(pageIndex(meta.id), page, meta, force); });
    }
}

} // namespace orvex
