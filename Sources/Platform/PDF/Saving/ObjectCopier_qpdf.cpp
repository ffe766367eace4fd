#include "Platform/PDF/Saving/ObjectCopier_p.h"

#include "Platform/PDF/Writing/RawStreams_p.h"

#include <qpdf/Pipeline.hh>

#include <algorithm>
#include <set>

namespace orvex {

namespace {

constexpr int nestingLimit = 200; // direct objects in direct objects; indirect ones are queued, not nested

/// Hands a source stream's bytes on as they are stored.
class StoredData final : public QPDFObjectHandle::StreamDataProvider {
public:
    explicit StoredData(const QPDFObjectHandle& stream) : stream_(stream) {}
    void provideStreamData(QPDFObjGen const& /*og*/, Pipeline* pipeline) override {
        if (!stream_.pipeStreamData(pipeline, 0, qpdf_dl_none, true, false)) {
            pipeline->finish();
        }
    }

private:
    QPDFObjectHandle stream_;
};

/// A node of a tree of the file: through its parent it would bring the whole tree along.
bool belongsToTree(QPDFObjectHandle dictionary, ObjectCopier::Scope scope) {
    static const std::set<std::string> types{"/Pages",    "/Page",           "/Catalog",
                                             "/Outlines", "/StructTreeRoot", "/StructElem"};
    auto type = dictionary.getKey("/Type");
    if (type.isName() && types.contains(type.getName())) {
        return true;
    }
    const auto hasAny = [&dictionary](std::initializer_list<const char*> keys) {
        return std::ranges::any_of(keys, [&](const char* key) { return dictionary.hasKey(key); });
    };
    if (hasAny({"/Parent", "/Kids"}) && hasAny({"/T", "/FT", "/Title", "/Subtype"})) {
        return true;
    }
    return scope == ObjectCopier::Scope::own && dictionary.getKey("/P").isDictionary();
}

bool isLayer(QPDFObjectHandle object) {
    return object.isDictionaryOfType("/OCG");
}

} // namespace

ObjectCopier::ObjectCopier(QPDF& target, std::shared_ptr<PDFSource> source, bool sameFile)
    : target_(target), source_(std::move(source)), sameFile_(sameFile) {
    shared_[source_->pdf().getRoot().getObjGen()] = QPDFObjectHandle::newNull();
}

void ObjectCopier::mapPage(int index, const QPDFObjectHandle& page) {
    (*own_)[source_->pageID(index)] = page;
    mapFirstPage(index, page);
}

QPDFObjectHandle ObjectCopier::page(long long index) const {
    if (index < 0 || index >= source_->pageCount()) {
        return QPDFObjectHandle::newNull();
    }
    return known(source_->page(static_cast<int>(index)));
}

QPDFObjectHandle ObjectCopier::known(const QPDFObjectHandle& object) const {
    const QPDFObjGen og = object.getObjGen();
    if (const auto found = own_->find(og); found != own_->end()) {
        return found->second;
    }
    if (const auto page = source_->pageNumber(og)) {
        const auto first = firstPages_.find(*page);
        return first != firstPages_.end() ? first->second : QPDFObjectHandle::newNull();
    }
    const auto found = shared_.find(og);
    return found != shared_.end() ? found->second : QPDFObjectHandle::newNull();
}

QPDFObjectHandle ObjectCopier::copy(QPDFObjectHandle object, Scope scope, int depth) {
    return object.isIndirect() ? copyIndirect(object, scope) : copyDirect(object, scope, depth);
}

QPDFObjectHandle ObjectCopier::copyIndirect(const QPDFObjectHandle& object, Scope scope) {
    const QPDFObjGen og = object.getObjGen();
    const bool copied = own_->contains(og) || shared_.contains(og) || source_->pageNumber(og).has_value();
    if (copied) {
        return known(object);
    }
    if (QPDFObjectHandle(object).isDictionary() && belongsToTree(object, scope)) {
        return QPDFObjectHandle::newNull();
    }
    const Scope placed = QPDFObjectHandle(object).isStream() || isLayer(object) ? Scope::shared : scope;
    if (sameFile_ && placed == Scope::shared) {
        return target_.getObject(og);
    }
    auto reserved = QPDFObjectHandle(object).isStream() ? target_.newStream() : QPDFObjectHandle::newReserved(&target_);
    (placed == Scope::shared ? shared_ : *own_)[og] = reserved;
    pending_.push_back({object, reserved, placed});
    return reserved;
}

QPDFObjectHandle ObjectCopier::copyDirect(QPDFObjectHandle object, Scope scope, int depth) {
    if (depth > nestingLimit) {
        return QPDFObjectHandle::newNull();
    }
    if (object.isDictionary()) {
        return copyDictionary(object, scope, depth);
    }
    if (!object.isArray()) {
        return object.unsafeShallowCopy();
    }
    auto array = QPDFObjectHandle::newArray();
    for (auto& item : object.getArrayAsVector()) {
        array.appendItem(copy(item, scope, depth + 1));
    }
    return array;
}

QPDFObjectHandle ObjectCopier::copyDictionary(QPDFObjectHandle dictionary, Scope scope, int depth) {
    auto result = QPDFObjectHandle::newDictionary();
    for (const auto& key : dictionary.getKeys()) {
        result.replaceKey(key, copy(dictionary.getKey(key), scope, depth + 1));
    }
    return result;
}

void ObjectCopier::copyStructureKeys(QPDFObjectHandle from, QPDFObjectHandle to) const {
    for (const char* name : {"/StructParent", "/StructParents"}) {
        to.removeKey(name);
        auto old = from.getKey(name);
        if (const auto key = old.isInteger() && structureKey_ ? structureKey_(old.getIntValue()) : std::nullopt) {
            to.replaceKey(name, QPDFObjectHandle::newInteger(*key));
        }
    }
}

void ObjectCopier::fillStream(QPDFObjectHandle from, QPDFObjectHandle to) {
    auto dictionary = copyDictionary(from.getDict(), Scope::shared, 0);
    dictionary.removeKey("/Length");
    copyStructureKeys(from.getDict(), dictionary);
    to.replaceDict(dictionary);
    auto filter = dictionary.getKey("/Filter");
    auto parameters = dictionary.getKey("/DecodeParms");
    if (const auto data = storedInPlace(from, source_->bytes())) {
        to.replaceStreamData(data, filter, parameters);
    } else {
        to.replaceStreamData(std::make_shared<StoredData>(from), filter, parameters);
    }
    to.setFilterOnWrite(false);
}

void ObjectCopier::drain() {
    while (!pending_.empty()) {
        const Pending next = pending_.front();
        pending_.pop_front();
        if (QPDFObjectHandle(next.from).isStream()) {
            fillStream(next.from, next.to);
        } else {
            target_.replaceReserved(next.to, copyDirect(next.from, next.scope, 0));
        }
    }
}

} // namespace orvex
