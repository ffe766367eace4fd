#include "Platform/PDF/Saving/PageImport_p.h"

#include <algorithm>
#include <set>

namespace orvex {

namespace {

using Scope = ObjectCopier::Scope;

constexpr int fieldDepthLimit = 200;

/// What ties a page to the document that it came from, and means nothing in another one, or is copied apart.
bool staysBehind(const std::string& key) {
    static const std::set<std::string> keys{"/Parent", "/StructParents", "/B", "/DPart", "/Annots"};
    return keys.contains(key);
}

bool isWidget(QPDFObjectHandle annotation) {
    return annotation.getKey("/Subtype").isNameAndEquals("/Widget");
}

} // namespace

PageImport::PageImport(std::shared_ptr<ImportSource> from, long long* nextTagKey)
    : from_(std::move(from)), copier_(from_->copier), nextTagKey_(nextTagKey),
      destinations_({[this](const QPDFObjectHandle& name) { return placeOf(name); },
                     [this](long long number) { return copier_.page(number); }}) {}

void PageImport::enter() {
    copier_.enter(own_);
    copier_.setStructureKey([this](long long old) -> std::optional<long long> {
        if (nextTagKey_ == nullptr) {
            return std::nullopt;
        }
        const auto [known, isNew] = tagKeys_.try_emplace(old, *nextTagKey_);
        *nextTagKey_ += isNew ? 1 : 0;
        return known->second;
    });
}

void PageImport::add(int index, const QPDFObjectHandle& page, bool asPicture) {
    if (asPicture) {
        pictures_.insert(index);
    }
    copier_.enter(own_);
    copier_.mapPage(index, page);
    pages_.emplace_back(index, page);
}

void PageImport::copyPages() {
    enter();
    const PDFSource& source = *copier_.source();
    for (const auto& [index, page] : pages_) {
        makeAnnotations(source.page(index), page);
    }
    for (const auto& [index, page] : pages_) {
        fillPage(source.page(index), page, pictures_.contains(index));
    }
    for (std::size_t i = 0; i < annotations_.size(); ++i) { // filling one may find another, its popup
        fillAnnotation(CopiedAnnotation(annotations_[i]));
    }
    copier_.drain();
}

void PageImport::revisePlaces() {
    enter();
    for (const auto& annotation : annotations_) {
        destinations_.reviseHolder(annotation.to);
    }
    for (auto& node : fieldNodes_) {
        destinations_.reviseHolder(node);
    }
    for (const auto& [index, page] : pages_) {
        destinations_.reviseHolder(page);
    }
}

/// Before any is filled: they refer to each other.
void PageImport::makeAnnotations(const QPDFObjectHandle& from, QPDFObjectHandle page) {
    auto annotations = QPDFObjectHandle(from).getKey("/Annots");
    if (!annotations.isArray()) {
        return;
    }
    auto copies = QPDFObjectHandle::newArray();
    for (auto& annotation : annotations.getArrayAsVector()) {
        if (annotation.isDictionary()) {
            copies.appendItem(makeAnnotation(annotation, page));
        }
    }
    page.replaceKey("/Annots", copies);
}

QPDFObjectHandle PageImport::makeAnnotation(const QPDFObjectHandle& from, const QPDFObjectHandle& page) {
    auto copy = copier_.target().makeIndirectObject(QPDFObjectHandle::newDictionary());
    if (from.isIndirect()) {
        own_.try_emplace(from.getObjGen(), copy);
    }
    annotations_.push_back({from, copy, page});
    return copy;
}

void PageImport::fillPage(QPDFObjectHandle from, QPDFObjectHandle page, bool asPicture) {
    const auto isContent = [](const std::string& key) { return key == "/Contents" || key == "/Resources"; };
    for (const auto& key : from.getKeys()) {
        if (!staysBehind(key) && !(asPicture && isContent(key))) {
            page.replaceKey(key, copier_.copy(from.getKey(key), key == "/AA" ? Scope::own : Scope::shared));
        }
    }
    for (const char* key : {"/Resources", "/MediaBox", "/CropBox", "/Rotate"}) {
        if (!page.hasKey(key) && !(asPicture && isContent(key))) {
            if (auto value = inheritedAttribute(from, key); !value.isNull()) {
                page.replaceKey(key, copier_.copy(value, Scope::shared));
            }
        }
    }
    if (!asPicture) {
        copier_.copyStructureKeys(from, page);
    }
    if (nextTagKey_ == nullptr && page.getKey("/Tabs").isNameAndEquals("/S")) {
        page.removeKey("/Tabs"); // the order of tags, which stay behind
    }
}

void PageImport::fillAnnotation(const CopiedAnnotation& annotation) {
    auto from = annotation.from;
    auto to = annotation.to;
    const bool widget = isWidget(from);
    if (auto popup = from.getKey("/Popup");
        popup.isDictionary() && popup.isIndirect() && copier_.known(popup).isNull()) {
        makeAnnotation(popup, annotation.page);
    }
    for (const auto& key : from.getKeys()) {
        const bool apart = key == "/P" || key == "/Kids" || (widget && key == "/Parent");
        if (!apart) {
            to.replaceKey(key, copier_.copy(from.getKey(key), Scope::own));
        }
    }
    to.replaceKey("/P", annotation.page);
    copier_.copyStructureKeys(from, to);
    if (widget) {
        bringField(from, to);
    }
}

/// Copies the fields above a widget that are not there yet, and ties them together.
void PageImport::bringField(QPDFObjectHandle from, QPDFObjectHandle to) {
    for (int depth = 0; depth < fieldDepthLimit; ++depth) {
        auto parent = from.getKey("/Parent");
        if (!parent.isDictionary() || !parent.isIndirect()) {
            break;
        }
        auto copy = copier_.known(parent);
        const bool isNew = copy.isNull();
        if (isNew) {
            copy = copier_.target().makeIndirectObject(QPDFObjectHandle::newDictionary());
            own_[parent.getObjGen()] = copy;
            copy.replaceKey("/Kids", QPDFObjectHandle::newArray());
            fillField(parent, copy);
        }
        if (!copy.getKey("/Kids").isArray()) { // a parent that is an annotation as well, or its own parent
            break;
        }
        copy.getKey("/Kids").appendItem(to);
        to.replaceKey("/Parent", copy);
        if (!isNew) {
            return;
        }
        from = parent;
        to = copy;
    }
    if (from.hasKey("/T") || from.hasKey("/FT")) {
        fields_.emplace_back(to, from);
    }
}

void PageImport::fillField(QPDFObjectHandle from, QPDFObjectHandle to) {
    for (const auto& key : from.getKeys()) {
        if (key != "/Parent" && key != "/Kids") {
            to.replaceKey(key, copier_.copy(from.getKey(key), Scope::own));
        }
    }
    fieldNodes_.push_back(to);
}

std::vector<QPDFObjectHandle> PageImport::copies() const {
    std::vector<QPDFObjectHandle> all = fieldNodes_;
    for (const auto& annotation : annotations_) {
        all.push_back(annotation.to);
    }
    return all;
}

QPDFObjectHandle PageImport::placeOf(const QPDFObjectHandle& name) {
    auto& names = from_->names;
    if (!names) {
        names = readNamedDestinations(copier_.source()->pdf());
    }
    QPDFObjectHandle key = name;
    const auto found = names->find(key.isName() ? key.getName().substr(1) : key.getStringValue());
    if (found == names->end()) {
        return QPDFObjectHandle::newNull();
    }
    auto place = found->second.isDictionary() ? found->second.getKey("/D") : found->second;
    if (!place.isArray()) {
        return QPDFObjectHandle::newNull();
    }
    auto copy = copier_.copy(place, Scope::own);
    copier_.drain();
    return destinations_.revised(copy);
}

} // namespace orvex
