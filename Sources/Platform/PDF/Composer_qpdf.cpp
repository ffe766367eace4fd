#include "Platform/PDF/Composer_p.h"

#include "Platform/PDF/Saving/Layers_p.h"
#include "Platform/PDF/Saving/Metadata_p.h"
#include "Platform/PDF/Saving/PageTree_p.h"
#include "Platform/PDF/Saving/PicturedPlaces_p.h"
#include "Platform/PDF/Saving/Pictures_p.h"
#include "Platform/PDF/Saving/RemovedPages_p.h"
#include "Platform/PDF/Saving/StructureTree_p.h"

#include <qpdf/QPDFExc.hh>

#include <algorithm>
#include <set>
#include <stdexcept>

namespace orvex {

namespace {

std::shared_ptr<QPDF> emptyTarget() {
    auto pdf = QPDF::create();
    pdf->emptyPDF();
    pdf->setSuppressWarnings(true);
    return pdf;
}

} // namespace

Composer::Composer(std::shared_ptr<PDFSource> base, const std::vector<PDFPagePtr>& pages,
                   const std::map<PDFInfoKey, std::string>& info, Purpose purpose)
    : base_(std::move(base)), pages_(pages),
      target_(base_ ? base_->reopen() : emptyTarget()), document_{*target_, base_}, images_(*target_),
      contents_(*target_) {
    try {
        lockSources();
        // Copied pages bring their tags where the others have theirs too, or where there are no others.
        const std::optional<long long> freeTagKey = base_ ? firstFreeTagKey(*target_) : std::optional(0LL);
        bringsTags_ = purpose == Purpose::file && freeTagKey;
        document_.nextTagKey = freeTagKey.value_or(0);
        if (purpose == Purpose::file && base_ && base_->objectTable() != nullptr && !target_->isEncrypted()) {
            document_.kept = std::make_unique<KeptObjects>(base_->bytes(), *base_->objectTable(), *target_);
        }
        placePages();
        copyPages();
        buildTree();
        mergeLayers(document_);
        if (purpose == Purpose::file) {
            carryDocument(document_);
            movePlacesOnPictures(document_, pages_);
        }
        drawPages();
        contents_.pack();
        makeFonts();
        stampInfo(info);
        stampMetadata(*target_, info);
        requireMemoryOfAll();
    } catch (const QPDFExc& error) {
        throw PDFWriteError(std::string("cannot put the document together: ") + error.what());
    } catch (const ImageError& error) {
        throw PDFWriteError(std::string("cannot store an image: ") + error.what());
    }
}

void Composer::write(ByteSink& sink) {
    finish([&](const FileForm& form) { writeFile(*target_, form, sink); });
}

std::size_t Composer::measure() {
    std::size_t size = 0;
    finish([&](const FileForm& form) { size = measureFile(*target_, form); });
    return size;
}

void Composer::finish(const std::function<void(const FileForm&)>& use) {
    try {
        contents_.pack();
        const bool locked = base_ && base_->savedEncryption() == PDFSavedEncryption::kept;
        use({base_ ? base_->bytes() : Bytes(), base_ ? layoutOf(*target_, base_->objectTable()) : Layout::packed,
             locked ? Protection::asLoaded : Protection::none, document_.kept.get()});
        requireMemoryOfAll();
    } catch (const QPDFExc& error) {
        throw PDFWriteError(std::string("cannot write the document: ") + error.what());
    } catch (const std::range_error& error) { // a number of the file is too large for qpdf
        throw PDFWriteError(std::string("cannot write the document: ") + error.what());
    }
}

/// What could not be read for lack of memory would be missing in the file.
void Composer::requireMemoryOfAll() {
    requireMemory(*target_);
    for (const auto& [source, imported] : importSources_) {
        source->requireMemory();
    }
}

/// Always in the same order, so that two documents that share sources cannot wait for each other.
void Composer::lockSources() {
    std::vector<bool> used(base_ ? static_cast<std::size_t>(base_->pageCount()) : 0);
    for (const auto& page : pages_) {
        const auto* loaded = placeInFile(*page);
        if (loaded == nullptr) {
            continue;
        }
        const bool again = loaded->source == base_ && used.at(static_cast<std::size_t>(loaded->index));
        if (loaded->source != base_ || again) { // a second copy of a page is read from the base as it was
            lockedSources_.insert(loaded->source);
        } else {
            used[static_cast<std::size_t>(loaded->index)] = true;
        }
    }
    for (const auto& source : lockedSources_) {
        locks_.emplace_back(source->mutex());
    }
}

void Composer::placePages() {
    if (base_) {
        document_.basePages = base_->pagesOf(*target_);
    }
    for (const auto& page : pages_) {
        const auto* loaded = placeInFile(*page);
        objects_.push_back(loaded != nullptr
                               ? placeLoaded(*page, *loaded)
                               : target_->makeIndirectObject(QPDFObjectHandle::parse("<< /Type /Page >>")));
        document_.pages.push_back(loaded != nullptr ? PlacedPage{objects_.back(), loaded->source, loaded->index}
                                                    : PlacedPage{objects_.back(), nullptr, 0});
    }
}

QPDFObjectHandle Composer::placeLoaded(const PDFPage& page, const LoadedPageContent& content) {
    const bool asPicture = picturedPage(page) != nullptr;
    auto& copies = copies_[content.source.get()];
    copies.resize(static_cast<std::size_t>(content.source->pageCount()));
    const int copy = copies.at(static_cast<std::size_t>(content.index))++;
    if (content.source == base_ && copy == 0) {
        const auto& object = document_.basePages.at(static_cast<std::size_t>(content.index));
        if (asPicture) {
            document_.pictures.insert(object.getObjGen());
        } else if (document_.kept && base_->knownRotation(content.index) == page.rotation()) {
            document_.kept->keepPage(object.getObjGen());
        }
        requirePage(object, asPicture);
        return object;
    }
    if (!content.source->page(content.index).isDictionary()) {
        noteEmptied(asPicture);
    }
    auto object = target_->makeIndirectObject(QPDFObjectHandle::parse("<< /Type /Page >>"));
    importFor(content, copy).add(content.index, object, asPicture);
    return object;
}

/// Of some damaged pages qpdf makes nothing, but readers count them.
void Composer::requirePage(QPDFObjectHandle object, bool asPicture) {
    if (!document_.isKept(object) && !object.isDictionary()) {
        noteEmptied(asPicture);
        target_->replaceObject(object.getObjGen(), QPDFObjectHandle::parse("<< /Type /Page >>"));
        document_.pagesChanged = true;
    }
}

/// The page that is being placed; a picture of it shows what there was to see.
void Composer::noteEmptied(bool asPicture) {
    if (!asPicture) {
        emptiedPages_.push_back(static_cast<std::int64_t>(objects_.size()));
    }
}

PageImport& Composer::importFor(const LoadedPageContent& content, int copy) {
    auto& import = imports_[{content.source.get(), copy}];
    if (import == nullptr) {
        auto& source = importSources_[content.source.get()];
        if (!source) {
            source = std::make_shared<ImportSource>(
                ImportSource{{*target_, content.source, content.source == base_}, {}, {}});
        }
        const bool tagged = bringsTags_ && content.source->pdf().getRoot().getKey("/StructTreeRoot").isDictionary();
        long long* const tagKeys = tagged ? &document_.nextTagKey : nullptr;
        import = document_.imports.emplace_back(std::make_unique<PageImport>(source, tagKeys)).get();
    }
    return *import;
}

void Composer::copyPages() {
    if (const auto again = importSources_.find(base_.get()); again != importSources_.end()) {
        for (const auto& page : document_.pages) {
            if (page.source == base_) {
                again->second->copier.mapFirstPage(page.index, page.object);
            }
        }
    }
    for (auto& import : document_.imports) {
        import->copyPages();
    }
}

void Composer::buildTree() {
    auto& basePages = document_.basePages;
    document_.pagesChanged = document_.pagesChanged || !std::ranges::equal(objects_, basePages, [](auto& a, auto& b) {
                                 return a.getObjGen() == b.getObjGen();
                             });
    document_.goneTagKeys = contentTagKeysOf(*target_, document_.pictures);
    auto root = target_->getRoot().getKey("/Pages");
    if (!document_.pagesChanged) {
        if (root.isDictionary() && !root.getKey("/Count").isInteger()) { // readers would see no pages
            root.replaceKey("/Count", QPDFObjectHandle::newInteger(static_cast<long long>(objects_.size())));
        }
        return;
    }
    inheritAttributes(document_);
    placeBelowRoot(document_, objects_);
    std::vector<QPDFObjectHandle> removed;
    std::vector<QPDFObjectHandle> left; // but for those that have no annotations
    auto& copies = copies_[base_.get()];
    copies.resize(basePages.size());
    for (std::size_t i = 0; i < basePages.size(); ++i) {
        const bool used = copies[i] > 0;
        if (!used || !document_.isKept(basePages[i])) {
            (used ? left : removed).push_back(basePages[i]);
        }
    }
    document_.pagesRemoved = !removed.empty();
    document_.goneTagKeys.merge(tagKeysOf(removed));
    removePages(*target_, removed, left);
}

void Composer::stampInfo(const std::map<PDFInfoKey, std::string>& info) {
    if (info.empty()) {
        return;
    }
    auto trailer = target_->getTrailer();
    if (!trailer.getKey("/Info").isDictionary()) {
        trailer.replaceKey("/Info", document_.add(QPDFObjectHandle::newDictionary()));
    }
    for (const auto& [key, text] : info) {
        trailer.getKey("/Info").replaceKey(infoEntry(key), QPDFObjectHandle::newUnicodeString(text));
    }
}

} // namespace orvex
