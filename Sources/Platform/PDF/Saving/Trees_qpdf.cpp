#include "Platform/PDF/Saving/Trees_p.h"

#include <algorithm>
#include <optional>
#include <set>

namespace orvex {

namespace {

constexpr std::size_t leafSize = 64;

std::optional<std::string> readKey(const QPDFObjectHandle& key, const std::string& /*kind*/) {
    return QPDFObjectHandle(key).isString() ? std::optional(QPDFObjectHandle(key).getStringValue()) : std::nullopt;
}

std::optional<long long> readKey(const QPDFObjectHandle& key, long long /*kind*/) {
    return QPDFObjectHandle(key).isInteger() ? std::optional(QPDFObjectHandle(key).getIntValue()) : std::nullopt;
}

QPDFObjectHandle keyObject(const std::string& key) {
    return QPDFObjectHandle::newString(key);
}

QPDFObjectHandle keyObject(long long key) {
    return QPDFObjectHandle::newInteger(key);
}

template <typename Key>
std::vector<std::pair<Key, QPDFObjectHandle>> readTree(const QPDFObjectHandle& root, const char* pairs) {
    std::vector<std::pair<Key, QPDFObjectHandle>> entries;
    std::vector<QPDFObjectHandle> waiting{root};
    std::set<QPDFObjGen> seen;
    while (!waiting.empty()) {
        auto node = waiting.back();
        waiting.pop_back();
        if (!node.isDictionary() || (node.isIndirect() && !seen.insert(node.getObjGen()).second)) {
            continue;
        }
        if (auto kids = node.getKey("/Kids"); kids.isArray()) {
            const auto nodes = kids.getArrayAsVector();
            waiting.insert(waiting.end(), nodes.rbegin(), nodes.rend());
        }
        auto items = node.getKey(pairs);
        const auto values = items.isArray() ? items.getArrayAsVector() : std::vector<QPDFObjectHandle>{};
        for (std::size_t i = 0; i + 1 < values.size(); i += 2) {
            if (const auto key = readKey(values[i], Key())) {
                entries.emplace_back(*key, values[i + 1]);
            }
        }
    }
    return entries;
}

template <typename Key> struct Node {
    QPDFObjectHandle object;
    Key first;
    Key last;
};

template <typename Key>
std::vector<Node<Key>> leaves(const std::vector<std::pair<Key, QPDFObjectHandle>>& entries, const char* pairs) {
    std::vector<Node<Key>> nodes;
    for (std::size_t start = 0; start < entries.size(); start += leafSize) {
        const std::size_t end = std::min(start + leafSize, entries.size());
        auto items = QPDFObjectHandle::newArray();
        for (std::size_t i = start; i < end; ++i) {
            items.appendItem(keyObject(entries[i].first));
            items.appendItem(entries[i].second);
        }
        auto leaf = QPDFObjectHandle::newDictionary();
        leaf.replaceKey(pairs, items);
        nodes.push_back({leaf, entries[start].first, entries[end - 1].first});
    }
    return nodes;
}

template <typename Key> std::vector<Node<Key>> levelAbove(QPDF& target, const std::vector<Node<Key>>& below) {
    std::vector<Node<Key>> nodes;
    for (std::size_t start = 0; start < below.size(); start += leafSize) {
        const std::size_t end = std::min(start + leafSize, below.size());
        auto kids = QPDFObjectHandle::newArray();
        for (std::size_t i = start; i < end; ++i) {
            auto kid = below[i].object;
            auto limits = QPDFObjectHandle::newArray();
            limits.appendItem(keyObject(below[i].first));
            limits.appendItem(keyObject(below[i].last));
            kid.replaceKey("/Limits", limits);
            kids.appendItem(target.makeIndirectObject(kid));
        }
        auto node = QPDFObjectHandle::newDictionary();
        node.replaceKey("/Kids", kids);
        nodes.push_back({node, below[start].first, below[end - 1].last});
    }
    return nodes;
}

template <typename Key>
QPDFObjectHandle makeTree(QPDF& target, std::vector<std::pair<Key, QPDFObjectHandle>> entries, const char* pairs) {
    const auto keyOf = [](const auto& entry) { return entry.first; };
    std::ranges::stable_sort(entries, {}, keyOf);
    const auto repeated = std::ranges::unique(entries, {}, keyOf);
    entries.erase(repeated.begin(), repeated.end());
    auto nodes = leaves<Key>(entries, pairs);
    while (nodes.size() > 1) {
        nodes = levelAbove<Key>(target, nodes);
    }
    if (nodes.empty()) {
        auto root = QPDFObjectHandle::newDictionary();
        root.replaceKey(pairs, QPDFObjectHandle::newArray());
        return target.makeIndirectObject(root);
    }
    return target.makeIndirectObject(nodes.front().object);
}

} // namespace

NameEntries readNameTree(const QPDFObjectHandle& root) {
    return readTree<std::string>(root, "/Names");
}

NumberEntries readNumberTree(const QPDFObjectHandle& root) {
    return readTree<long long>(root, "/Nums");
}

QPDFObjectHandle makeNameTree(QPDF& target, NameEntries entries) {
    return makeTree<std::string>(target, std::move(entries), "/Names");
}

QPDFObjectHandle makeNumberTree(QPDF& target, NumberEntries entries) {
    return makeTree<long long>(target, std::move(entries), "/Nums");
}

} // namespace orvex
