#include "Platform/PDF/Saving/StructureTree_p.h"

#include "Platform/PDF/Saving/Items_p.h"
#include "Platform/PDF/Saving/TreePruner_p.h"
#include "Platform/PDF/Saving/Trees_p.h"

#include <algorithm>

namespace orvex {

namespace {

std::vector<QPDFObjectHandle> kidsOf(QPDFObjectHandle element) {
    auto kids = element.getKey("/K");
    if (kids.isArray()) {
        return kids.getArrayAsVector();
    }
    return kids.isNull() && !kids.isIndirect() ? std::vector<QPDFObjectHandle>{} : std::vector<QPDFObjectHandle>{kids};
}

class StructurePruner : TreePruner {
public:
    StructurePruner(QPDF& target, const std::set<QPDFObjGen>& pictures) : TreePruner(target), pictures_(pictures) {}

    void prune(const QPDFObjectHandle& root) {
        auto left = walked(nodeOf(root));
        settle(left);
    }

private:
    [[nodiscard]] Node nodeOf(const QPDFObjectHandle& element) const override {
        return {element, kidsOf(element), hasNoContent(QPDFObjectHandle(element).getKey("/Pg")), 0, {}};
    }

    [[nodiscard]] bool hasNoContent(const QPDFObjectHandle& page) const {
        return isGone(page) || (page.isIndirect() && pictures_.contains(page.getObjGen()));
    }

    Fate fateOf(const QPDFObjectHandle& kid, const Node& parent, bool isNew) override {
        QPDFObjectHandle object = kid;
        if (!object.isDictionary()) {
            const bool isLost = object.isNull() || (object.isInteger() && parent.isPageGone);
            return isLost ? Fate::dropped : Fate::kept;
        }
        if (object.isDictionaryOfType("/MCR") || object.isDictionaryOfType("/OBJR")) {
            return isGoneContent(object, parent.isPageGone) ? Fate::dropped : Fate::kept;
        }
        return isNew ? Fate::walked : Fate::kept;
    }

    /// Marked content or an object on a page; `pageGone`: the element's own page is.
    [[nodiscard]] bool isGoneContent(QPDFObjectHandle reference, bool pageGone) const {
        auto page = reference.getKey("/Pg");
        if (reference.isDictionaryOfType("/OBJR")) {
            return reference.getKey("/Obj").isNull() || isGone(page);
        }
        return hasNoContent(page) || (page.isNull() && pageGone);
    }

    [[nodiscard]] bool isLeft(const Node& element) const override {
        return !element.kept.empty() || (element.kids.empty() && !element.isPageGone);
    }

    void settle(Node& element) override {
        if (element.hasLost()) {
            element.object.replaceKey("/K", QPDFObjectHandle::newArray(element.kept));
        }
        if (isGone(element.object.getKey("/Pg"))) {
            element.object.removeKey("/Pg");
        }
    }

    const std::set<QPDFObjGen>& pictures_;
};

bool knowsNothing(QPDFObjectHandle entry) {
    return entry.isNull() || (entry.isArray() && std::ranges::all_of(entry.getArrayAsVector(), [](const auto& element) {
                                  return QPDFObjectHandle(element).isNull();
                              }));
}

} // namespace

std::set<long long> tagKeysOf(const std::vector<QPDFObjectHandle>& pages) {
    std::set<long long> keys;
    const auto add = [&keys](QPDFObjectHandle key) {
        if (key.isInteger()) {
            keys.insert(key.getIntValue());
        }
    };
    for (auto page : pages) {
        add(page.getKey("/StructParents"));
        for (auto& annotation : items(page.getKey("/Annots"))) {
            if (annotation.isDictionary()) {
                add(annotation.getKey("/StructParent"));
            }
        }
    }
    return keys;
}

std::set<long long> contentTagKeysOf(QPDF& target, const std::set<QPDFObjGen>& pages) {
    std::set<long long> keys;
    for (const auto& page : pages) {
        if (auto key = target.getObject(page).getKey("/StructParents"); key.isInteger()) {
            keys.insert(key.getIntValue());
        }
    }
    return keys;
}

void pruneStructure(QPDF& target, const std::set<QPDFObjGen>& pictures, const std::set<long long>& goneKeys) {
    auto root = target.getRoot().getKey("/StructTreeRoot");
    if (!root.isDictionary()) {
        return;
    }
    StructurePruner(target, pictures).prune(root);
    NumberEntries parents;
    for (const auto& entry : readNumberTree(root.getKey("/ParentTree"))) {
        if (!goneKeys.contains(entry.first) && !knowsNothing(entry.second)) {
            parents.push_back(entry);
        }
    }
    root.replaceKey("/ParentTree", makeNumberTree(target, std::move(parents)));
    if (root.hasKey("/IDTree")) {
        NameEntries ids = readNameTree(root.getKey("/IDTree"));
        std::erase_if(ids, [](const auto& entry) { return QPDFObjectHandle(entry.second).isNull(); });
        root.replaceKey("/IDTree", makeNameTree(target, std::move(ids)));
    }
}

} // namespace orvex
