#include "Platform/PDF/Loading/PageTexts_p.h"

#include <algorithm>

namespace orvex {

namespace {

constexpr std::array inherited{"/MediaBox", "/CropBox", "/Resources"};
constexpr std::array own{"/BleedBox", "/TrimBox", "/ArtBox"};
/// Longer ones are shared by pages, and would take long to parse for each.
constexpr std::size_t longestResources = 8192;

bool isNull(const TextValue& value) {
    return value.text == "null";
}

void append(std::string& dictionary, std::string_view key, std::string_view value) {
    if (!value.empty()) {
        dictionary.append(key).append(" ").append(value).append(" ");
    }
}

} // namespace

bool PageTexts::read(QPDF& pdf, QPDFObjGen page, Wanted wanted, PageText& text) {
    if (objects_.wastesTime() || !objects_.read(pdf, page, text.object) || text.object.data != 0) {
        return false;
    }
    Node attributes;
    const std::size_t count = wanted == Wanted::boxes ? inheritedKeys - 1 : inheritedKeys;
    if (!fill(attributes, text.object) || !inherit(pdf, attributes, count)) {
        return false;
    }
    text.attributes = "<< ";
    for (std::size_t i = 0; i < count; ++i) {
        const bool isResources = i == inheritedKeys - 1;
        append(text.attributes, inherited[i],
               isResources ? resources(pdf, attributes.values[i]) : attributes.values[i]);
    }
    for (const char* key : own) {
        const auto* value = findEntry(text.object.entries, key);
        if (value == nullptr && hasEntry(text.object.entries, key)) {
            return false;
        }
        append(text.attributes, key, value != nullptr ? value->text : std::string_view());
    }
    text.attributes += ">>";
    return true;
}

bool PageTexts::fill(Node& node, const StoredObject& object) {
    for (std::size_t i = 0; i < inheritedKeys; ++i) {
        if (!hasEntry(object.entries, inherited[i])) {
            continue;
        }
        const auto* value = findEntry(object.entries, inherited[i]);
        if (value == nullptr || isNull(*value)) {
            return false;
        }
        node.values[i] = value->text;
    }
    node.parent = referenceOf(findEntry(object.entries, "/Parent"));
    return node.parent || !hasEntry(object.entries, "/Parent");
}

/// What the page lacks of the first `wanted` attributes, from the nearest node that has it.
bool PageTexts::inherit(QPDF& pdf, Node& page, std::size_t wanted) {
    auto parent = page.parent;
    for (int depth = 1; depth < treeDepthLimit && parent; ++depth) {
        const auto end = page.values.begin() + static_cast<std::ptrdiff_t>(wanted);
        if (std::none_of(page.values.begin(), end, [](const auto& value) { return value.empty(); })) {
            break;
        }
        const Node* const above = node(pdf, *parent);
        if (above == nullptr) {
            return false;
        }
        for (std::size_t i = 0; i < wanted; ++i) {
            if (page.values[i].empty()) {
                page.values[i] = above->values[i];
            }
        }
        parent = above->parent;
    }
    return true;
}

const PageTexts::Node* PageTexts::node(QPDF& pdf, QPDFObjGen id) {
    if (const auto known = std::ranges::find(kept_, id, &Node::id); known != kept_.end()) {
        return &*known;
    }
    StoredObject object;
    Node fresh{id, {}, std::nullopt};
    if (!objects_.read(pdf, id, object) || object.data != 0 || !fill(fresh, object)) {
        return nullptr;
    }
    return &(kept_[oldest_++ % kept_.size()] = std::move(fresh));
}

/// In place of a reference the dictionary itself, so that the parser has nothing to keep.
std::string PageTexts::resources(QPDF& pdf, std::string_view value) {
    const auto scanned = TextScanner(value).value();
    const auto id = referenceOf(scanned ? &*scanned : nullptr);
    StoredObject object;
    const bool isShort =
        id && objects_.read(pdf, *id, object) && object.data == 0 && object.text.size() <= longestResources;
    return std::string(isShort ? object.text : value);
}

} // namespace orvex
