#include "Platform/PDF/Saving/PageTree_p.h"

#include <set>

namespace orvex {

namespace {

void giveAttributes(QPDFObjectHandle page, const InheritedAttributes& attributes) {
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        if (attributes[i].isInitialized() && page.getKey(inheritableKeys[i]).isNull()) {
            page.replaceKey(inheritableKeys[i], attributes[i]);
        }
    }
}

/// A node on the way down the tree.
struct Level {
    QPDFObjectHandle kids;
    int next = 0;
    InheritedAttributes attributes;
    std::uint32_t kept = 0; ///< as the kept pages know the attributes; 0 until one does
};

class Inheritance {
public:
    explicit Inheritance(Composition& document) : document_(document), kept_(document.kept.get()) {}

    void run(const QPDFObjectHandle& root) {
        enter(root, {});
        while (!levels_.empty()) {
            Level& level = levels_.back();
            if (level.next == level.kids.getArrayNItems()) {
                levels_.pop_back();
                continue;
            }
            visit(level.kids.getArrayItem(level.next++));
        }
    }

private:
    void visit(QPDFObjectHandle kid) {
        Level& level = levels_.back();
        if (kept_ != nullptr && kept_->contains(kid.getObjGen())) {
            level.kept = level.kept == 0 ? kept_->addInherited(level.attributes) : level.kept;
            kept_->setInherited(kid.getObjGen(), level.kept);
        } else if (kid.isDictionary() && kid.hasKey("/Kids")) {
            enter(kid, InheritedAttributes(level.attributes));
        } else if (kid.isDictionary()) {
            giveAttributes(kid, level.attributes);
        }
    }

    void enter(QPDFObjectHandle node, InheritedAttributes attributes) {
        auto kids = node.getKey("/Kids");
        if (!kids.isArray() || (node.isIndirect() && !seen_.insert(node.getObjGen()).second)) {
            return;
        }
        for (std::size_t i = 0; i < attributes.size(); ++i) {
            auto value = node.getKey(inheritableKeys[i]);
            if (value.isNull()) {
                continue;
            }
            // Pages share it.
            attributes[i] = value.isIndirect() || value.isScalar() ? value : document_.add(value);
            node.removeKey(inheritableKeys[i]);
        }
        levels_.push_back({kids, 0, attributes});
    }

    Composition& document_;
    KeptObjects* kept_;
    std::vector<Level> levels_;
    std::set<QPDFObjGen> seen_;
};

} // namespace

void inheritAttributes(Composition& document) {
    Inheritance(document).run(document.target.getRoot().getKey("/Pages"));
}

void placeBelowRoot(Composition& document, const std::vector<QPDFObjectHandle>& pages) {
    auto root = document.target.getRoot().getKey("/Pages");
    for (auto page : pages) {
        if (!document.isKept(page)) {
            page.replaceKey("/Parent", root);
        }
    }
    root.replaceKey("/Kids", QPDFObjectHandle::newArray(pages));
    root.replaceKey("/Count", QPDFObjectHandle::newInteger(static_cast<long long>(pages.size())));
    if (document.kept) {
        document.kept->setParent(root);
    }
}

void releasePage(Composition& document, QPDFObjectHandle page) {
    if (!document.isKept(page)) {
        return;
    }
    auto& kept = *document.kept;
    kept.release(page.getObjGen());
    if (!kept.parent().isNull()) {
        giveAttributes(page, kept.inherited(page.getObjGen()));
        page.replaceKey("/Parent", kept.parent());
    }
}

} // namespace orvex
