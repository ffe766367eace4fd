#include "Platform/PDF/ObjectCopier_p.h"

#include <qpdf/Pipeline.hh>

#include <set>
#include <stdexcept>

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

/// What ties a page to the document that it came from, and means nothing in another one.
bool staysBehind(const std::string& key) {
    static const std::set<std::string> keys{"/Parent", "/StructParents", "/B", "/Tabs"};
    return keys.contains(key);
}

} // namespace

ObjectCopier::ObjectCopier(QPDF& target, std::shared_ptr<PDFSource> source)
    : target_(target), source_(std::move(source)) {
    for (auto page : source_->pages()) {
        copies_[page.getObjGen()] = QPDFObjectHandle::newNull();
    }
    copies_[source_->pdf().getRoot().getObjGen()] = QPDFObjectHandle::newNull();
}

void ObjectCopier::mapPage(int index, const QPDFObjectHandle& page) {
    copies_[source_->pages().at(static_cast<std::size_t>(index)).getObjGen()] = page;
}

void ObjectCopier::copyPage(int index, QPDFObjectHandle page) {
    auto from = source_->pages().at(static_cast<std::size_t>(index));
    for (const auto& key : from.getKeys()) {
        if (!staysBehind(key)) {
            page.replaceKey(key, copy(from.getKey(key), 0));
        }
    }
    for (const char* key : {"/Resources", "/MediaBox", "/CropBox", "/Rotate"}) {
        if (!page.hasKey(key)) {
            if (auto value = inheritedAttribute(from, key); !value.isNull()) {
                page.replaceKey(key, copy(value, 0));
            }
        }
    }
    drain();
}

QPDFObjectHandle ObjectCopier::copy(QPDFObjectHandle object, int depth) {
    return object.isIndirect() ? copyIndirect(object) : copyDirect(object, depth);
}

QPDFObjectHandle ObjectCopier::copyIndirect(QPDFObjectHandle object) {
    if (const auto known = copies_.find(object.getObjGen()); known != copies_.end()) {
        return known->second;
    }
    const bool treeNode = object.isDictionaryOfType("/Pages");
    auto reserved = treeNode            ? QPDFObjectHandle::newNull()
                    : object.isStream() ? target_.newStream()
                                        : QPDFObjectHandle::newReserved(&target_);
    copies_[object.getObjGen()] = reserved;
    if (!treeNode) {
        pending_.emplace_back(object, reserved);
    }
    return reserved;
}

QPDFObjectHandle ObjectCopier::copyDirect(QPDFObjectHandle object, int depth) {
    if (depth > nestingLimit) {
        return QPDFObjectHandle::newNull();
    }
    if (object.isDictionary()) {
        return copyDictionary(object, depth);
    }
    if (!object.isArray()) {
        return object.unsafeShallowCopy();
    }
    auto array = QPDFObjectHandle::newArray();
    for (int i = 0; i < object.getArrayNItems(); ++i) {
        array.appendItem(copy(object.getArrayItem(i), depth + 1));
    }
    return array;
}

QPDFObjectHandle ObjectCopier::copyDictionary(QPDFObjectHandle dictionary, int depth) {
    auto result = QPDFObjectHandle::newDictionary();
    for (const auto& key : dictionary.getKeys()) {
        result.replaceKey(key, copy(dictionary.getKey(key), depth + 1));
    }
    return result;
}

void ObjectCopier::fillStream(QPDFObjectHandle from, QPDFObjectHandle to) {
    auto dictionary = copyDictionary(from.getDict(), 0);
    dictionary.removeKey("/Length");
    to.replaceDict(dictionary);
    to.replaceStreamData(std::make_shared<StoredData>(from), dictionary.getKey("/Filter"),
                         dictionary.getKey("/DecodeParms"));
    to.setFilterOnWrite(false);
}

void ObjectCopier::drain() {
    while (!pending_.empty()) {
        auto [from, to] = pending_.front();
        pending_.pop_front();
        if (from.isStream()) {
            fillStream(from, to);
        } else {
            target_.replaceReserved(to, copyDirect(from, 0));
        }
    }
}

} // namespace orvex
