// What is left of a tree, of fields or of tags, once some of what it leads to has become null.
#pragma once

#include <qpdf/QPDF.hh>

#include <set>
#include <vector>

namespace orvex {

/// Walks a tree down and up again; its depth takes no stack. Nodes of which nothing is left become null.
class TreePruner {
public:
    TreePruner(const TreePruner&) = delete;
    TreePruner& operator=(const TreePruner&) = delete;
    virtual ~TreePruner() = default;

protected:
    /// A node on the way down and up again.
    struct Node {
        QPDFObjectHandle object;
        std::vector<QPDFObjectHandle> kids;
        bool isPageGone = false; ///< the one that it stands on
        std::size_t next = 0;    ///< of the kids
        std::vector<QPDFObjectHandle> kept;

        [[nodiscard]] bool hasLost() const { return kept.size() != kids.size(); }
    };
    enum class Fate { kept, dropped, walked };

    explicit TreePruner(QPDF& target) : target_(target) {}
    /// The root with what was kept of its kids.
    Node walked(Node root);
    /// Makes an object null wherever something refers to it.
    void remove(const QPDFObjectHandle& object);

private:
    [[nodiscard]] virtual Node nodeOf(const QPDFObjectHandle& object) const = 0;
    /// `isNew`: it was not met before. Otherwise it must not be walked.
    virtual Fate fateOf(const QPDFObjectHandle& kid, const Node& parent, bool isNew) = 0;
    [[nodiscard]] virtual bool isLeft(const Node& node) const = 0;
    /// A node that stays gets the kids that were kept.
    virtual void settle(Node& node) = 0;
    void step();
    void finish();

    QPDF& target_;
    std::vector<Node> nodes_;
    std::set<QPDFObjGen> seen_;
};

} // namespace orvex
