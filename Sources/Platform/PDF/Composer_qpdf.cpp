#include "Platform/PDF/Composer_p.h"

#include "Platform/Imaging/Deflate.h"
#include "Platform/PDF/ContentBalance_p.h"
#include "Platform/PDF/FieldAppearances_p.h"
#include "Platform/PDF/FormAppearances_p.h"
#include "Platform/PDF/Saving/Layers_p.h"
#include "Platform/PDF/Saving/Metadata_p.h"
#include "Platform/PDF/Saving/PicturedPlaces_p.h"
#include "Platform/PDF/Saving/Pictures_p.h"
#include "Platform/PDF/Saving/RemovedPages_p.h"
#include "Platform/PDF/Saving/StructureTree_p.h"

#include <qpdf/QPDFExc.hh>

#include <algorithm>
#include <set>

namespace orvex {

namespace {

std::shared_ptr<QPDF> emptyTarget() {
    auto pdf = QPDF::create();
    pdf->emptyPDF();
    pdf->setSuppressWarnings(true);
    return pdf;
}

QPDFObjectHandle copyOfDictionary(QPDFObjectHandle value) {
    return value.isDictionary() ? value.shallowCopy() : QPDFObjectHandle::newDictionary();
}

/// A start of names that no resource of the page has yet.
std::string freePrefix(QPDFObjectHandle page) {
    auto resources = inheritedAttribute(page, "/Resources");
    const auto isTaken = [&resources](const std::string& prefix) {
        const auto categories = {"/Font", "/ExtGState", "/XObject"};
        return resources.isDictionary() && std::ranges::any_of(categories, [&](const char* category) {
                   auto entries = resources.getKey(category);
                   return entries.isDictionary() && std::ranges::any_of(entries.getKeys(), [&](const auto& key) {
                              return key.starts_with("/" + prefix);
                          });
               });
    };
    std::string prefix = "Orvex";
    for (int i = 1; isTaken(prefix); ++i) {
        prefix = "Orvex" + std::to_string(i) + "x";
    }
    return prefix;
}

QPDFObjectHandle rectangleArray(const Rect& rect) {
    return QPDFObjectHandle::newArray(QPDFObjectHandle::Rectangle(rect.x, rect.y, rect.maxX(), rect.maxY()));
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
        placePages();
        copyPages();
        buildTree();
        mergeLayers(document_);
        if (purpose == Purpose::file) {
            carryDocument(document_);
            movePlacesOnPictures(document_, pages_);
        }
        for (std::size_t i = 0; i < pages_.size(); ++i) {
            drawPage(*pages_[i], objects_[i]);
        }
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

void Composer::showMediaBoxes() {
    for (auto& page : objects_) {
        page.replaceKey("/CropBox", rectangleArray(pageBox(page, PDFDisplayBox::media)));
    }
}

void Composer::showFields() {
    makeMissingAppearances(document_);
    for (auto& page : objects_) {
        if (orvex::showsFields(page)) {
            surroundContent(page, "q\n", "Q\n"); // may change the page's resources, so it goes first
            page.getKey("/Contents").appendItem(contents_.stream(takeFieldAppearances(page)));
        }
    }
}

void Composer::write(ByteSink& sink) {
    finish([&](const Form& form) { writeFile(*target_, form.loaded, form.packing, form.protection, sink); });
}

std::size_t Composer::measure() {
    std::size_t size = 0;
    finish([&](const Form& form) { size = measureFile(*target_, form.loaded, form.packing, form.protection); });
    return size;
}

void Composer::finish(const std::function<void(const Form&)>& use) {
    try {
        contents_.pack();
        // Whoever was trusted with a password gets a file that asks for it again.
        const bool locked = base_ && !base_->password().empty() && target_->isEncrypted();
        use({base_ ? base_->bytes() : Bytes(), base_ ? StreamPacking::keep : StreamPacking::compact,
             locked ? Protection::asLoaded : Protection::none});
        requireMemoryOfAll();
    } catch (const QPDFExc& error) {
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
    std::set<std::shared_ptr<PDFSource>> sources;
    std::vector<bool> used(base_ ? static_cast<std::size_t>(base_->pageCount()) : 0);
    for (const auto& page : pages_) {
        const auto* loaded = placeInFile(*page);
        if (loaded == nullptr) {
            continue;
        }
        const bool again = loaded->source == base_ && used.at(static_cast<std::size_t>(loaded->index));
        if (loaded->source != base_ || again) { // a second copy of a page is read from the base as it was
            sources.insert(loaded->source);
        } else {
            used[static_cast<std::size_t>(loaded->index)] = true;
        }
    }
    for (const auto& source : sources) {
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
                               ? placeLoaded(*loaded, picturedPage(*page) != nullptr)
                               : target_->makeIndirectObject(QPDFObjectHandle::parse("<< /Type /Page >>")));
        document_.pages.push_back(loaded != nullptr ? PlacedPage{objects_.back(), loaded->source, loaded->index}
                                                    : PlacedPage{objects_.back(), nullptr, 0});
    }
}

QPDFObjectHandle Composer::placeLoaded(const LoadedPageContent& content, bool asPicture) {
    const int copy = copies_[{content.source.get(), content.index}]++;
    if (content.source == base_ && copy == 0) {
        const auto& object = document_.basePages.at(static_cast<std::size_t>(content.index));
        if (asPicture) {
            document_.pictures.insert(object.getObjGen());
        }
        return object;
    }
    auto object = target_->makeIndirectObject(QPDFObjectHandle::newDictionary());
    importFor(content, copy).add(content.index, object, asPicture);
    return object;
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
    document_.pagesChanged =
        !std::ranges::equal(objects_, basePages, [](auto& a, auto& b) { return a.getObjGen() == b.getObjGen(); });
    document_.goneTagKeys = contentTagKeysOf(*target_, document_.pictures);
    auto root = target_->getRoot().getKey("/Pages");
    if (!document_.pagesChanged) {
        if (root.isDictionary() && !root.getKey("/Count").isInteger()) { // readers would see no pages
            root.replaceKey("/Count", QPDFObjectHandle::newInteger(static_cast<long long>(objects_.size())));
        }
        return;
    }
    target_->pushInheritedAttributesToPage();
    for (auto& page : objects_) {
        page.replaceKey("/Parent", root);
    }
    root.replaceKey("/Kids", QPDFObjectHandle::newArray(objects_));
    root.replaceKey("/Count", QPDFObjectHandle::newInteger(static_cast<long long>(objects_.size())));
    std::vector<QPDFObjectHandle> removed;
    std::vector<QPDFObjectHandle> kept;
    for (std::size_t i = 0; i < basePages.size(); ++i) {
        const bool used = copies_.contains({base_.get(), static_cast<int>(i)});
        (used ? kept : removed).push_back(basePages[i]);
    }
    document_.pagesRemoved = !removed.empty();
    document_.goneTagKeys.merge(tagKeysOf(removed));
    removePages(*target_, removed, kept);
    target_->updateAllPagesCache();
}

void Composer::drawPage(PDFPage& page, QPDFObjectHandle object) {
    if (const auto* pictured = picturedPage(page)) {
        becomePicture(object, pictured->rotation, page.bounds(PDFDisplayBox::media).size());
    }
    ContentStreamContext context(invisible_, outlines_, freePrefix(object));
    page.draw(PDFDisplayBox::media, context);
    if (page.rotation() != pageRotation(object)) {
        object.replaceKey("/Rotate", QPDFObjectHandle::newInteger(page.rotation()));
    }
    if (!std::holds_alternative<LoadedPageContent>(page.content())) {
        finishOwnPage(page, object, context);
    } else if (context.drewAnything()) {
        finishLoadedPage(object, context);
    }
}

void Composer::finishLoadedPage(QPDFObjectHandle object, const ContentStreamContext& drawn) {
    surroundContent(object, drawn.before(), drawn.after());
    addResources(object, drawn.resources());
}

void Composer::surroundContent(QPDFObjectHandle object, const std::string& before, const std::string& after) {
    ContentBalance balance = measureBalance(joinedContent(object));
    if (balance.unterminated) {
        wrapContent(object);
        balance = {};
    }
    auto contents = QPDFObjectHandle::newArray();
    contents.appendItem(contents_.stream(balance.opening() + before));
    auto own = object.getKey("/Contents");
    for (auto& stream : own.isArray() ? own.getArrayAsVector() : std::vector<QPDFObjectHandle>{own}) {
        if (stream.isStream()) {
            contents.appendItem(stream);
        }
    }
    contents.appendItem(contents_.stream(balance.closing() + after));
    object.replaceKey("/Contents", contents);
}

/// Content that ends inside a token would swallow what follows: as a form it ends where it ends.
void Composer::wrapContent(QPDFObjectHandle object) {
    const Bytes content = Bytes::copyOf(joinedContent(object));
    auto form = QPDFObjectHandle::newStream(target_.get(), std::string(deflate(content.span()).text()));
    form.setFilterOnWrite(false);
    auto dictionary = form.getDict();
    dictionary.replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
    dictionary.replaceKey("/Subtype", QPDFObjectHandle::newName("/Form"));
    dictionary.replaceKey("/Filter", QPDFObjectHandle::newName("/FlateDecode"));
    dictionary.replaceKey("/BBox", rectangleArray(pageBox(object, PDFDisplayBox::media)));
    dictionary.replaceKey("/Resources", inheritedAttribute(object, "/Resources"));
    auto resources = QPDFObjectHandle::parse("<< /XObject << >> >>");
    resources.getKey("/XObject").replaceKey("/OrvexContent", form);
    object.replaceKey("/Resources", resources);
    object.replaceKey("/Contents", contents_.stream("/OrvexContent Do\n"));
}

void Composer::finishOwnPage(const PDFPage& page, QPDFObjectHandle object, const ContentStreamContext& drawn) {
    const Rect media = page.bounds(PDFDisplayBox::media);
    object.replaceKey("/MediaBox", rectangleArray(media));
    auto resources = QPDFObjectHandle::newDictionary();
    std::string placement;
    if (std::holds_alternative<ImagePageContent>(page.content())) {
        auto images = QPDFObjectHandle::newDictionary();
        images.replaceKey("/Im0", images_.object(page.imageStream()));
        resources.replaceKey("/XObject", images);
        placement = "q\n";
        appendNumber(placement, media.width);
        placement += " 0 0 ";
        appendNumber(placement, media.height);
        placement += " 0 0 cm\n/Im0 Do\nQ\n";
    }
    object.replaceKey("/Resources", resources);
    const std::string operators = drawn.drewAnything() ? drawn.before() + placement + drawn.after() : placement;
    object.replaceKey("/Contents", contents_.stream(operators));
    if (drawn.drewAnything()) {
        addResources(object, drawn.resources());
    }
}

void Composer::addResources(QPDFObjectHandle page, const DrawnResources& drawn) {
    auto resources = copyOfDictionary(inheritedAttribute(page, "/Resources"));
    auto fonts = copyOfDictionary(resources.getKey("/Font"));
    const auto reserved = [this](QPDFObjectHandle& object) {
        if (!object.isInitialized()) {
            object = QPDFObjectHandle::newReserved(target_.get());
        }
        return object;
    };
    if (!drawn.invisibleFont.empty()) {
        fonts.replaceKey("/" + drawn.invisibleFont, reserved(invisibleObject_));
    }
    for (const auto& [face, name] : drawn.faces) {
        fonts.replaceKey("/" + name, reserved(faceObjects_[face]));
    }
    resources.replaceKey("/Font", fonts);
    if (!drawn.alphas.empty()) {
        auto states = copyOfDictionary(resources.getKey("/ExtGState"));
        for (const auto& [alpha, name] : drawn.alphas) {
            states.replaceKey("/" + name, alphaState(alpha));
        }
        resources.replaceKey("/ExtGState", states);
    }
    page.replaceKey("/Resources", resources);
}

QPDFObjectHandle Composer::alphaState(double alpha) {
    auto& object = alphaStates_[alpha];
    if (!object.isInitialized()) {
        object = target_->makeIndirectObject(QPDFObjectHandle::parse("<< /Type /ExtGState >>"));
        object.replaceKey("/ca", QPDFObjectHandle::newReal(alpha, 6));
    }
    return object;
}

/// Only now is it known which characters and glyphs the pages show.
void Composer::makeFonts() {
    if (invisibleObject_.isInitialized()) {
        target_->replaceReserved(invisibleObject_, invisible_.makeObject(*target_).unsafeShallowCopy());
    }
    for (auto& [face, object] : outlines_.makeObjects(*target_)) {
        target_->replaceReserved(faceObjects_.at(face), object.unsafeShallowCopy());
    }
}

void Composer::stampInfo(const std::map<PDFInfoKey, std::string>& info) {
    if (info.empty()) {
        return;
    }
    auto trailer = target_->getTrailer();
    if (!trailer.getKey("/Info").isDictionary()) {
        trailer.replaceKey("/Info", target_->makeIndirectObject(QPDFObjectHandle::newDictionary()));
    }
    for (const auto& [key, text] : info) {
        trailer.getKey("/Info").replaceKey(infoEntry(key), QPDFObjectHandle::newUnicodeString(text));
    }
}

} // namespace orvex
