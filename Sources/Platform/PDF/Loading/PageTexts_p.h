// Pages as their file's bytes spell them, for looking at many pages without keeping any of them.
#pragma once

#include "Platform/PDF/Loading/StoredObjects_p.h"

#include <array>
#include <string>

namespace orvex {

/// Of nodes above a page that it may inherit from.
inline constexpr int treeDepthLimit = 64;

/// A page in its own words.
struct PageText {
    StoredObject object;    ///< the page itself
    std::string attributes; ///< a dictionary of what it has and inherits: boxes, and resources when they are wanted
};

/// Threads: one at a time, with the parse locked.
class PageTexts {
public:
    enum class Wanted { boxes, boxesAndResources };
    explicit PageTexts(StoredObjects& objects) : objects_(objects) {}
    /// False when the page, or a node that it inherits from, is not plainly spelled.
    bool read(QPDF& pdf, QPDFObjGen page, Wanted wanted, PageText& text);

private:
    static constexpr std::size_t inheritedKeys = 3;
    struct Node {
        QPDFObjGen id;
        std::array<std::string, inheritedKeys> values; ///< empty for those that it lacks
        std::optional<QPDFObjGen> parent;
    };
    static bool fill(Node& node, const StoredObject& object);
    const Node* node(QPDF& pdf, QPDFObjGen id);
    bool inherit(QPDF& pdf, Node& page, std::size_t wanted);
    std::string resources(QPDF& pdf, std::string_view value);

    StoredObjects& objects_;
    std::array<Node, 8> kept_; ///< neighbours have the same parents
    std::size_t oldest_ = 0;
};

} // namespace orvex
