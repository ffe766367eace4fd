#include "Platform/PDF/Saving/RemovedPages_p.h"

#include "Platform/PDF/Saving/Items_p.h"
#include <algorithm>
#include <optional>
#include <set>

namespace orvex {

namespace {

void remove(QPDF& target, const QPDFObjectHandle& object) {
    if (object.isIndirect()) {
        target.replaceObject(object.getObjGen(), QPDFObjectHandle::newNull());
    }
}

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

/// A node of the tree of fields on the way down and up again.
struct FieldFrame {
    QPDFObjectHandle node;
    std::vector<QPDFObjectHandle> kids;
    std::size_t next = 0;
    std::vector<QPDFObjectHandle> kept;
};

class FieldPruner {
public:
    explicit FieldPruner(QPDF& target) : target_(target) {}

    /// What is left of a list of fields; none when nothing changed.
    std::optional<QPDFObjectHandle> pruned(const QPDFObjectHandle& fields) {
        FieldFrame top{QPDFObjectHandle::newNull(), items(fields), 0, {}};
        const std::size_t before = top.kids.size();
        frames_.push_back(std::move(top));
        while (frames_.size() > 1 || frames_.back().next < frames_.back().kids.size()) {
            step();
        }
        top = std::move(frames_.back());
        frames_.clear();
        return top.kept.size() == before ? std::nullopt : std::optional(QPDFObjectHandle::newArray(top.kept));
    }

private:
    void step() {
        auto& frame = frames_.back();
        if (frame.next == frame.kids.size()) {
            finish();
            return;
        }
        auto kid = frame.kids[frame.next++];
        if (isGoneField(kid)) {
            remove(target_, kid);
            return;
        }
        const bool again = kid.isIndirect() && !seen_.insert(kid.getObjGen()).second;
        auto kids = kid.isDictionary() && !again ? items(kid.getKey("/Kids")) : std::vector<QPDFObjectHandle>{};
        if (kids.empty()) {
            frame.kept.push_back(kid);
        } else {
            frames_.push_back({kid, std::move(kids), 0, {}});
        }
    }

    void finish() {
        FieldFrame done = std::move(frames_.back());
        frames_.pop_back();
        if (done.kept.empty()) {
            remove(target_, done.node);
            return;
        }
        if (done.kept.size() != done.kids.size()) {
            done.node.replaceKey("/Kids", QPDFObjectHandle::newArray(done.kept));
        }
        frames_.back().kept.push_back(done.node);
    }

    QPDF& target_;
    std::vector<FieldFrame> frames_;
    std::set<QPDFObjGen> seen_;
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
        remove(target, page);
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
