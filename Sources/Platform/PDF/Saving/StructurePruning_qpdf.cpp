#include "Platform/PDF/Saving/StructureTree_p.h"

#include "Platform/PDF/Saving/Items_p.h"
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

/// An element on the way down and up again.
struct ElementFrame {
    QPDFObjectHandle element;
    bool pageGone;
    std::vector<QPDFObjectHandle> kids;
    std::size_t next = 0;
    std::vector<QPDFObjectHandle> kept;
};

class StructurePruner {
public:
    StructurePruner(QPDF& target, const std::set<QPDFObjGen>& pictures) : target_(target), pictures_(pictures) {}

    void prune(const QPDFObjectHandle& root) {
        seen_.insert(root.getObjGen());
        enter(root);
        while (frames_.size() > 1 || frames_.back().next < frames_.back().kids.size()) {
            step();
        }
        keepKids(frames_.back());
    }

private:
    void enter(QPDFObjectHandle element) {
        frames_.push_back({element, hasNoContent(element.getKey("/Pg")), kidsOf(element), 0, {}});
    }

    [[nodiscard]] bool hasNoContent(const QPDFObjectHandle& page) const {
        return isGone(page) || (page.isIndirect() && pictures_.contains(page.getObjGen()));
    }

    void step() {
        auto& frame = frames_.back();
        if (frame.next == frame.kids.size()) {
            finish();
            return;
        }
        auto kid = frame.kids[frame.next++];
        if (!kid.isDictionary()) {
            if (!kid.isNull() && !(kid.isInteger() && frame.pageGone)) {
                frame.kept.push_back(kid);
            }
            return;
        }
        if (kid.isDictionaryOfType("/MCR") || kid.isDictionaryOfType("/OBJR")) {
            if (!isGoneContent(kid, frame.pageGone)) {
                frame.kept.push_back(kid);
            }
            return;
        }
        if (kid.isIndirect() && !seen_.insert(kid.getObjGen()).second) {
            frame.kept.push_back(kid);
            return;
        }
        enter(kid);
    }

    /// Marked content or an object on a page; `pageGone`: the element's own page is.
    [[nodiscard]] bool isGoneContent(QPDFObjectHandle reference, bool pageGone) const {
        auto page = reference.getKey("/Pg");
        if (reference.isDictionaryOfType("/OBJR")) {
            return reference.getKey("/Obj").isNull() || isGone(page);
        }
        return hasNoContent(page) || (page.isNull() && pageGone);
    }

    void finish() {
        ElementFrame done = std::move(frames_.back());
        frames_.pop_back();
        const bool nothingLeft = done.kept.empty() && (!done.kids.empty() || done.pageGone);
        if (nothingLeft) {
            if (done.element.isIndirect()) {
                target_.replaceObject(done.element.getObjGen(), QPDFObjectHandle::newNull());
            }
            return;
        }
        keepKids(done);
        frames_.back().kept.push_back(done.element);
    }

    static void keepKids(ElementFrame& frame) {
        if (frame.kept.size() != frame.kids.size()) {
            frame.element.replaceKey("/K", QPDFObjectHandle::newArray(frame.kept));
        }
        if (isGone(frame.element.getKey("/Pg"))) {
            frame.element.removeKey("/Pg");
        }
    }

    QPDF& target_;
    const std::set<QPDFObjGen>& pictures_;
    std::vector<ElementFrame> frames_;
    std::set<QPDFObjGen> seen_;
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
