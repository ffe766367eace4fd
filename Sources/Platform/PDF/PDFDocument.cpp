#include "Platform/PDF/PDFDocument.h"

#include "Platform/PDF/Composer_p.h"
#include "Platform/PDF/PDFSource_p.h"

#include <algorithm>

namespace orvex {

PDFDocument::PDFDocument() = default;
PDFDocument::~PDFDocument() = default;

PDFPagePtr PDFDocument::page(std::int64_t at) const {
    return at >= 0 && at < pageCount() ? pages_.shared(static_cast<std::size_t>(at)) : nullptr;
}

std::int64_t PDFDocument::index(const PDFPage* page) const {
    const auto found = pages_.position(page);
    return found ? static_cast<std::int64_t>(*found) : notFound;
}

void PDFDocument::insertPage(PDFPagePtr page, std::int64_t at) {
    if (!page || at < 0 || at > pageCount()) {
        throw std::out_of_range("cannot insert a page at " + std::to_string(at) + " of " + std::to_string(pageCount()));
    }
    pages_.insert(static_cast<std::size_t>(at), std::move(page));
}

void PDFDocument::removePage(std::int64_t at) {
    if (at < 0 || at >= pageCount()) {
        throw std::out_of_range("cannot remove page " + std::to_string(at) + " of " + std::to_string(pageCount()));
    }
    pages_.take(static_cast<std::size_t>(at));
}

void PDFDocument::replacePage(std::int64_t at, PDFPagePtr page) {
    if (!page || at < 0 || at >= pageCount()) {
        throw std::out_of_range("cannot replace page " + std::to_string(at) + " of " + std::to_string(pageCount()));
    }
    pages_.exchange(static_cast<std::size_t>(at), std::move(page));
}

std::string PDFDocument::info(PDFInfoKey key) const {
    if (const auto changed = info_.find(key); changed != info_.end()) {
        return changed->second;
    }
    return source_ ? source_->info(key) : std::string();
}

void PDFDocument::setInfo(PDFInfoKey key, std::string utf8) {
    info_.insert_or_assign(key, std::move(utf8));
}

std::optional<Bytes> PDFDocument::dataRepresentation() const {
    ByteCollector collector;
    if (!write(collector)) {
        return std::nullopt;
    }
    return collector.take();
}

bool PDFDocument::write(ByteSink& sink) const {
    const auto pages = allPages();
    if (!pages.empty()) {
        Composer composer(source_, pages, info_);
        composer.write(sink);
        std::ranges::for_each(composer.emptiedPages(), [this](auto at) { wroteEmptied(at); });
    }
    return !pages.empty();
}

std::optional<std::int64_t> PDFDocument::measuredSize() const {
    const auto pages = allPages();
    if (pages.empty()) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(Composer(source_, pages, info_).measure());
}

PDFSavedEncryption PDFDocument::savedEncryption() const {
    return source_ ? source_->savedEncryption() : PDFSavedEncryption::none;
}

std::vector<PDFPagePtr> PDFDocument::allPages() const {
    std::vector<PDFPagePtr> pages;
    pages.reserve(pages_.size());
    for (std::size_t i = 0; i < pages_.size(); ++i) {
        pages.push_back(pages_.shared(i));
    }
    return pages;
}

void PDFDocument::open(const Bytes& data, const std::string& password) {
    source_ = PDFSource::open(data, password);
    for (int index = 0; index < source_->pageCount(); ++index) {
        pages_.push_back(makePage(LoadedPageContent{source_, index}));
    }
}

PDFPagePtr PDFDocument::makePage(PDFPageContent content) const {
    return std::make_shared<PDFPage>(std::move(content));
}

void PDFDocument::wroteEmptied(std::int64_t /*page*/) const {}

} // namespace orvex
