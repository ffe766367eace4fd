#include "OrvexPDF/Alias.h"
#include "OrvexPDF/Manager.h"

#include <iostream>
#include <utility>

namespace orvex {

namespace {

constexpr std::string_view insertDocumentLabel = "insert(document:atIndex:)";

/// A snapshot: a document that is inserted into itself grows meanwhile.
std::vector<OrvexPDFPagePtr> pagesOf(const OrvexPDFDocumentPtr& document) {
    return document ? document->orvexPages() : std::vector<OrvexPDFPagePtr>();
}

} // namespace

// Images

std::string OrvexPDFDocumentManager::insert(const ImagePtr& image, std::int64_t atIndex, const OrvexPDFPageMeta& meta) {
    auto copy = meta;
    if (!copy.originalImage) {
        copy.originalImage = image;
    }
    if (auto page = OrvexPDFPage::fromImage(image)) {
        _insert(std::move(page), atIndex, copy);
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
        auto index = atIndex == -1 ? pdfDoc->pageCount() : atIndex;
        if (!isPageIndexOrEnd(index)) {
            // By design on standard output, unlike the line of a single page that is refused.
            std::cout << "Tried to insert a page out of index: " << index << std::endl;
            return;
        }
        batch([&] {
            for (const auto& page : pagesOf(document)) {
                ids.push_back(insertPageOfDocument(page, index));
                index = addOrDie(index, 1, "the index of an inserted page");
            }
        });
    });
    return ids;
}

std::vector<std::string> OrvexPDFDocumentManager::append(const OrvexPDFDocumentPtr& document) {
    return insert(document, -1);
}

std::string OrvexPDFDocumentManager::insertPageOfDocument(const OrvexPDFPagePtr& page, std::int64_t atIndex) {
    const OrvexPDFPageMeta meta;
    _insert(page, atIndex, meta);
    return meta.id;
}

} // namespace orvex
