#include "Platform/PDF/Saving/TreePruner_p.h"

#include <utility>

namespace orvex {

TreePruner::Node TreePruner::walked(Node root) {
    if (root.object.isIndirect()) {
        seen_.insert(root.object.getObjGen());
    }
    nodes_.push_back(std::move(root));
    while (nodes_.size() > 1 || nodes_.back().next < nodes_.back().kids.size()) {
        step();
    }
    root = std::move(nodes_.back());
    nodes_.clear();
    return root;
}

void TreePruner::remove(const QPDFObjectHandle& object) {
    if (object.isIndirect()) {
        target_.replaceObject(object.getObjGen(), QPDFObjectHandle::newNull());
    }
}

void TreePruner::step() {
    auto& node = nodes_.back();
    if (node.next == node.kids.size()) {
        finish();
        return;
    }
    const auto kid = node.kids[node.next++];
    const bool isNew = !kid.isIndirect() || seen_.insert(kid.getObjGen()).second;
    switch (fateOf(kid, node, isNew)) {
    case Fate::kept:
        node.kept.push_back(kid);
        break;
    case Fate::dropped:
        break;
    case Fate::walked:
        nodes_.push_back(nodeOf(kid));
        break;
    }
}

void TreePruner::finish() {
    Node done = std::move(nodes_.back());
    nodes_.pop_back();
    if (!isLeft(done)) {
        remove(done.object);
        return;
    }
    settle(done);
    nodes_.back().kept.push_back(done.object);
}

} // namespace orvex
