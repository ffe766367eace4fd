#include "Platform/PDF/Saving/Layers_p.h"

#include "Platform/PDF/Saving/Items_p.h"
#include "Platform/PDF/Saving/NamedMerge_p.h"

#include <set>

namespace orvex {

namespace {

constexpr int orderDepthLimit = 50;

class LayerMerger {
public:
    LayerMerger(Composition& document, ImportSource& from, QPDFObjectHandle properties)
        : document_(document), copier_(from.copier), properties_(properties) {
        auto configuration = properties.getKey("/D");
        from_ = configuration.isDictionary() ? configuration : QPDFObjectHandle::newDictionary();
    }

    void merge() {
        std::vector<QPDFObjectHandle> copied;
        for (const auto& layer : items(properties_.getKey("/OCGs"))) {
            if (layer.isIndirect() && copier_.known(layer).isDictionary()) {
                copied.push_back(layer);
            }
        }
        if (copied.empty()) {
            return;
        }
        auto root = document_.target.getRoot();
        auto target = ownDictionary(root, "/OCProperties");
        auto all = ownArray(target, "/OCGs");
        to_ = ownDictionary(target, "/D");
        for (const auto& layer : copied) {
            all.appendItem(copier_.known(layer));
        }
        mergeStates(copied);
        append("/Order", ordered(from_.getKey("/Order"), 0));
        append("/Locked", known(from_.getKey("/Locked")));
        mergeGroups();
        mergeUsage();
    }

private:
    [[nodiscard]] QPDFObjectHandle known(const QPDFObjectHandle& layers) const {
        auto copies = QPDFObjectHandle::newArray();
        for (const auto& layer : items(layers)) {
            if (layer.isIndirect() && copier_.known(layer).isDictionary()) {
                copies.appendItem(copier_.known(layer));
            }
        }
        return copies;
    }

    void append(const std::string& key, const QPDFObjectHandle& added) {
        if (items(added).empty()) {
            return;
        }
        auto list = ownArray(to_, key);
        for (const auto& item : items(added)) {
            list.appendItem(item);
        }
    }

    void mergeStates(const std::vector<QPDFObjectHandle>& layers) {
        std::set<QPDFObjGen> on;
        std::set<QPDFObjGen> off;
        for (const auto& layer : items(from_.getKey("/ON"))) {
            on.insert(layer.getObjGen());
        }
        for (const auto& layer : items(from_.getKey("/OFF"))) {
            off.insert(layer.getObjGen());
        }
        const bool shownBefore = !from_.getKey("/BaseState").isNameAndEquals("/OFF");
        const bool shownHere = !to_.getKey("/BaseState").isNameAndEquals("/OFF");
        auto changed = QPDFObjectHandle::newArray();
        for (const auto& layer : layers) {
            const bool shown = shownBefore ? !off.contains(layer.getObjGen()) : on.contains(layer.getObjGen());
            if (shown != shownHere) {
                changed.appendItem(copier_.known(layer));
            }
        }
        append(shownHere ? "/OFF" : "/ON", changed);
    }

    /// The part of a tree of layers that was copied; its labels stay where something is under them.
    [[nodiscard]] QPDFObjectHandle ordered(const QPDFObjectHandle& order, int depth) {
        auto result = QPDFObjectHandle::newArray();
        if (order.isIndirect() && !seenLists_.insert(order.getObjGen()).second) {
            return result;
        }
        bool layers = false;
        for (auto& item : items(order)) {
            if (item.isString() || item.isName()) {
                result.appendItem(item.unsafeShallowCopy());
            } else if (item.isArray() && depth < orderDepthLimit) {
                if (auto part = ordered(item, depth + 1); part.getArrayNItems() > 0) {
                    result.appendItem(part);
                    layers = true;
                }
            } else if (item.isIndirect() && copier_.known(item).isDictionary()) {
                result.appendItem(copier_.known(item));
                layers = true;
            }
        }
        return layers ? result : QPDFObjectHandle::newArray();
    }

    void mergeGroups() {
        auto groups = QPDFObjectHandle::newArray();
        for (const auto& group : items(from_.getKey("/RBGroups"))) {
            if (auto part = known(group); part.getArrayNItems() > 0) {
                groups.appendItem(part);
            }
        }
        append("/RBGroups", groups);
    }

    void mergeUsage() {
        auto rules = QPDFObjectHandle::newArray();
        for (auto& rule : items(from_.getKey("/AS"))) {
            auto layers = rule.isDictionary() ? known(rule.getKey("/OCGs")) : QPDFObjectHandle::newArray();
            if (layers.getArrayNItems() == 0) {
                continue;
            }
            auto copy = QPDFObjectHandle::newDictionary();
            for (const char* key : {"/Event", "/Category"}) {
                copy.replaceKey(key, copier_.copy(rule.getKey(key), ObjectCopier::Scope::shared));
            }
            copy.replaceKey("/OCGs", layers);
            rules.appendItem(copy);
        }
        append("/AS", rules);
        copier_.drain();
    }

    Composition& document_;
    ObjectCopier& copier_;
    QPDFObjectHandle properties_;
    QPDFObjectHandle from_; ///< the default configuration of the pages' file
    QPDFObjectHandle to_;   ///< the document's
    std::set<QPDFObjGen> seenLists_;
};

} // namespace

void mergeLayers(Composition& document) {
    std::set<ImportSource*> done;
    for (auto& import : document.imports) {
        auto& from = import->from();
        auto properties = from.copier.source()->pdf().getRoot().getKey("/OCProperties");
        if (!from.copier.sameFile() && properties.isDictionary() && done.insert(&from).second) {
            import->enter();
            LayerMerger(document, from, properties).merge();
        }
    }
}

} // namespace orvex
