#include "Platform/PDF/Saving/RemovedPages_p.h"

#include "Platform/PDF/Saving/Items_p.h"
#include "Platform/PDF/Saving/TreePruner_p.h"

#include <algorithm>
#include <optional>
#include <set>

namespace orvex {

namespace {

std::set<QPDFObjGen> annotationsOf(const std::vector<QPDFObjectHandle>& pages) {
    std::set<QPDFObjGen> all;
    for (auto page : pages) {
        for (const auto& annotation : items(page.getKey("/Annots"))) {
            if (annotation.isIndirect()) {
                all.insert(annotation.getObjGen());
            }
        }
    }
    return all;
}

/// Annotations that a remaining page shows as well are not gone; they belong to that page alone from now on.
void keepShared(std::set<QPDFObjGen>& gone, const std::vector<QPDFObjectHandle>& remaining) {
    for (auto page : remaining) {
        for (auto& annotation : items(page.getKey("/Annots"))) {
            if (annotation.isIndirect() && gone.erase(annotation.getObjGen()) > 0 && annotation.isDictionary()) {
                annotation.replaceKey("/P", page);
            }
        }
    }
}

/// A field whose widget is gone, or stood on a page that is.
bool isGoneField(QPDFObjectHandle field) {
    return field.isNull() || (field.isDictionary() && isGone(field.getKey("/P")) && !field.hasKey("/Kids"));
}

class FieldPruner : TreePruner {
public:
    explicit FieldPruner(QPDF& target) : TreePruner(target) {}

    /// What is left of a list of fields; none when nothing changed.
    std::optional<QPDFObjectHandle> pruned(const QPDFObjectHandle& fields) {
        const auto top = walked({QPDFObjectHandle::newNull(), items(fields), false, 0, {}});
        return top.hasLost() ? std::optional(QPDFObjectHandle::newArray(top.kept)) : std::nullopt;
    }

private:
    [[nodiscard]] Node nodeOf(const QPDFObjectHandle& field) const override {
        return {field, items(QPDFObjectHandle(field).getKey("/Kids")), false, 0, {}};
    }

    Fate fateOf(const QPDFObjectHandle& kid, const Node& /*parent*/, bool isNew) override {
        if (isGoneField(kid)) {
            remove(kid);
            return Fate::dropped;
        }
        QPDFObjectHandle field = kid;
        const bool hasKids = field.isDictionary() && !items(field.getKey("/Kids")).empty();
        return hasKids && isNew ? Fate::walked : Fate::kept;
    }

    [[nodiscard]] bool isLeft(const Node& field) const override { return !field.kept.empty(); }

    void settle(Node& field) override {
        if (field.hasLost()) {
            field.object.replaceKey("/Kids", QPDFObjectHandle::newArray(field.kept));
        }
    }
};

QPDFObjectHandle withoutGone(const QPDFObjectHandle& list) {
    auto left = QPDFObjectHandle::newArray();
    for (const auto& item : items(list)) {
        if (!QPDFObjectHandle(item).isNull()) {
            left.appendItem(item);
        }
    }
    return left;
}

/// The beads of a thread in their order, those on pages that are gone left out.
std::vector<QPDFObjectHandle> remainingBeads(QPDFObjectHandle thread) {
    std::vector<QPDFObjectHandle> beads;
    std::set<QPDFObjGen> seen;
    auto bead = thread.getKey("/F");
    while (bead.isDictionary() && bead.isIndirect() && seen.insert(bead.getObjGen()).second) {
        if (!isGone(bead.getKey("/P"))) {
            beads.push_back(bead);
        }
        bead = bead.getKey("/N");
    }
    return beads;
}

bool forgetBeads(QPDFObjectHandle thread) {
    auto beads = remainingBeads(thread);
    if (beads.empty()) {
        return false;
    }
    for (std::size_t i = 0; i < beads.size(); ++i) {
        auto& following = beads[(i + 1) % beads.size()];
        beads[i].replaceKey("/N", following);
        following.replaceKey("/V", beads[i]);
    }
    beads.front().replaceKey("/T", thread);
    thread.replaceKey("/F", beads.front());
    return true;
}

} // namespace

void removePages(QPDF& target, const std::vector<QPDFObjectHandle>& removed,
                 const std::vector<QPDFObjectHandle>& remaining) {
    auto gone = annotationsOf(removed);
    if (!gone.empty()) {
        keepShared(gone, remaining);
    }
    for (const auto& og : gone) {
        target.replaceObject(og, QPDFObjectHandle::newNull());
    }
    for (const auto& page : removed) {
        target.replaceObject(page.getObjGen(), QPDFObjectHandle::newNull()); // pages always are objects of their own
    }
}

void forgetRemovedFields(QPDF& target) {
    auto form = target.getRoot().getKey("/AcroForm");
    if (!form.isDictionary()) {
        return;
    }
    if (const auto fields = FieldPruner(target).pruned(form.getKey("/Fields"))) {
        form.replaceKey("/Fields", *fields);
    }
    if (form.getKey("/CO").isArray()) {
        form.replaceKey("/CO", withoutGone(form.getKey("/CO")));
    }
}

void forgetRemovedBeads(QPDF& target) {
    auto threads = target.getRoot().getKey("/Threads");
    if (!threads.isArray()) {
        return;
    }
    auto left = QPDFObjectHandle::newArray();
    for (auto& thread : items(threads)) {
        if (thread.isDictionary() && forgetBeads(thread)) {
            left.appendItem(thread);
        }
    }
    if (left.getArrayNItems() > 0) {
        target.getRoot().replaceKey("/Threads", left);
    } else {
        target.getRoot().removeKey("/Threads");
    }
}

} // namespace orvex
