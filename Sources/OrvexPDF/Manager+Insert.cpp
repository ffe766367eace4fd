#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Manager.h"
#include "OrvexPDF/Utils+ExtractImages.h"

#include <iostream>
#include <utility>

namespace orvex {

namespace {

constexpr std::string_view insertDocumentLabel = "insert(document:atIndex:)";

/// A snapshot: a document that is inserted into itself grows meanwhile.
std::vector<OrvexPDFPagePtr> pagesOf(const OrvexPDFDocumentPtr& document) {
    return document ? document->orvexPages() : std::vector<OrvexPDFPagePtr>();
}

/// The last image that a page of a sidecar document carries; null when there is none, or none that can be read.
ImagePtr lastEmbeddedImage(const OrvexPDFPage& page) {
    ImagePtr last;
    try {
        walkEmbeddedImages(page, [&last](const EmbeddedImage& embedded, const std::string&) {
            last = imageFrom(embedded, PointSize::exact);
        });
        return last;
    } catch (const PDFReadError& error) {
        moduleLogger().log(LogLevel::warning, "Manager", insertDocumentLabel,
                           [&] { return std::string("Problem extracting images ") + error.what(); });
        return nullptr;
    }
}

} // namespace

// Images

std::string OrvexPDFDocumentManager::insert(const ImagePtr& image, std::int64_t atIndex, const OrvexPDFPageMeta& meta) {
    auto copy = std::make_shared<OrvexPDFPageMeta>(meta);
    if (!copy->originalImage) {
        copy->originalImage = image;
    }
    if (auto page = OrvexPDFPage::fromImage(image)) {
        _insert(std::move(page), atIndex, std::move(copy));
    }
    return meta.id;
}

std::string OrvexPDFDocumentManager::append(const ImagePtr& image, const OrvexPDFPageMeta& meta) {
    return insert(image, -1, meta);
}

// Documents

std::vector<std::string> OrvexPDFDocumentManager::insert(const OrvexPDFDocumentPtr& document, std::int64_t atIndex) {
    moduleLogger().log(LogLevel::debug, "Manager", insertDocumentLabel,
                       [&] { return "Insert document at: " + std::to_string(atIndex); });
    std::vector<std::string> ids;
    syncOnMain([&] {
        const bool sidecar = document && document->userInfo.contains("sidecar");
        auto index = atIndex == -1 ? pdfDoc->pageCount() : atIndex;
        if (!isPageIndexOrEnd(index)) {
            // By design on standard output, unlike the line of a single page that is refused.
            std::cout << "Tried to insert a page out of index: " << index << std::endl;
            return;
        }
        const auto first = index;
        const auto count = pdfDoc->pageCount();
        const auto block = [&] {
            for (const auto& page : pagesOf(document)) {
                const ImagePtr image = sidecar ? lastEmbeddedImage(*page) : nullptr;
                ids.push_back(image ? insert(image, index, {}) : insertPageOfDocument(page, index));
                index = addOrDie(index, 1, "the index of an inserted page");
            }
        };
        wholeBatch(block, [&] {
            while (pdfDoc->pageCount() > count) {
                takeInStep(first);
            }
        });
    });
    return ids;
}

std::vector<std::string> OrvexPDFDocumentManager::append(const OrvexPDFDocumentPtr& document) {
    return insert(document, -1);
}

std::string OrvexPDFDocumentManager::insertPageOfDocument(const OrvexPDFPagePtr& page, std::int64_t atIndex) {
    const auto meta = std::make_shared<OrvexPDFPageMeta>();
    _insert(page, atIndex, meta);
    return meta->id;
}

} // namespace orvex
