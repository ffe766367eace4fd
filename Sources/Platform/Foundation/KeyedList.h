// Values in order, reached by position or by key. Inserting, removing and finding cost nearly the same among ten values
// and among tens of thousands, and no value moves in memory: the list is cut into blocks of pointers, and a table leads
// from keys to values.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace orvex {

/// `KeyOf` is a stateless function object that gives a value's key. Keys need not be unique. Positions count from 0.
/// Values may be changed in place, keys included; position() takes notice of what was changed through a reference that
/// was handed out since it was last called. Not for use by several threads at once, unless all of them only read and
/// none calls position().
template <class Value, class KeyOf> class KeyedList {
    struct Block;
    struct Node {
        Value value;
        std::size_t hash = 0; ///< of the key under which the table holds it
        Block* block = nullptr;
    };
    struct Block {
        std::vector<std::unique_ptr<Node>> nodes;
        std::size_t ordinal = 0;
    };
    struct Place {
        std::size_t block = 0;
        std::size_t offset = 0;
    };
    template <class List, class Element> class Iterator;

public:
    using value_type = Value;
    using size_type = std::size_t;
    using key_type = std::remove_cvref_t<decltype(KeyOf()(std::declval<const Value&>()))>;
    using iterator = Iterator<KeyedList, Value>;
    using const_iterator = Iterator<const KeyedList, const Value>;

    KeyedList() = default;
    KeyedList(const KeyedList& other) { append(other); }
    KeyedList(KeyedList&& other) noexcept { swap(other); }
    KeyedList& operator=(KeyedList other) noexcept {
        swap(other);
        return *this;
    }
    ~KeyedList() = default;

    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] bool empty() const { return size_ == 0; }

    /// Throws std::out_of_range for a position that holds nothing.
    [[nodiscard]] const Value& at(std::size_t position) const { return node(position).value; }
    [[nodiscard]] Value& at(std::size_t position) { return touched(node(position)); }
    [[nodiscard]] const Value& operator[](std::size_t position) const { return at(position); }
    [[nodiscard]] Value& operator[](std::size_t position) { return at(position); }
    [[nodiscard]] const Value& front() const { return at(0); }
    [[nodiscard]] Value& front() { return at(0); }
    [[nodiscard]] const Value& back() const { return at(size_ - 1); }
    [[nodiscard]] Value& back() { return at(size_ - 1); }

    [[nodiscard]] const_iterator begin() const { return {*this, 0}; }
    [[nodiscard]] const_iterator end() const { return {*this, size_}; }
    [[nodiscard]] iterator begin() {
        isAllTouched_ = true;
        return {*this, 0};
    }
    [[nodiscard]] iterator end() { return {*this, size_}; }

    /// Inserts before `position` (0 to size()); throws std::out_of_range otherwise.
    void insert(std::size_t position, Value value);
    void push_back(Value value) { insert(size_, std::move(value)); }
    template <class... Arguments> Value& emplace_back(Arguments&&... arguments) {
        push_back(Value(std::forward<Arguments>(arguments)...));
        return back();
    }
    /// Removes and hands back; throws std::out_of_range for a position that holds nothing.
    Value take(std::size_t position);
    void pop_back() { take(size_ - 1); }
    void clear() { KeyedList().swap(*this); }

    /// The first position whose value has this key.
    [[nodiscard]] std::optional<std::size_t> position(const key_type& key) const;

private:
    // Half full after loading, so that the first insertions find room.
    static constexpr std::size_t blockLimit = 256;
    static constexpr std::size_t appendLimit = blockLimit / 2;
    static constexpr std::size_t touchedLimit = 100;

    static std::size_t hashOf(const Value& value) { return std::hash<key_type>()(KeyOf()(value)); }

    void swap(KeyedList& other) noexcept {
        std::swap(blocks_, other.blocks_);
        std::swap(counts_, other.counts_);
        std::swap(size_, other.size_);
        std::swap(table_, other.table_);
        std::swap(touched_, other.touched_);
        std::swap(isAllTouched_, other.isAllTouched_);
        std::swap(hasTable_, other.hasTable_);
    }

    void append(const KeyedList& other) {
        for (const auto& value : other) {
            push_back(value);
        }
    }

    /// The end is a place in the last block.
    [[nodiscard]] Place place(std::size_t position) const {
        Place found;
        while (found.block + 1 < counts_.size() && position >= counts_[found.block]) {
            position -= counts_[found.block++];
        }
        found.offset = position;
        return found;
    }

    [[nodiscard]] Node& node(std::size_t position) const {
        if (position >= size_) {
            throw std::out_of_range("there is no position " + std::to_string(position) + " among " +
                                    std::to_string(size_));
        }
        const auto found = place(position);
        return *blocks_[found.block]->nodes[found.offset];
    }

    [[nodiscard]] std::size_t positionOf(const Node& node) const {
        std::size_t position = 0;
        for (std::size_t i = 0; i < node.block->ordinal; ++i) {
            position += counts_[i];
        }
        const auto& nodes = node.block->nodes;
        for (auto one = nodes.begin(); one->get() != &node; ++one) {
            ++position;
        }
        return position;
    }

    Value& touched(Node& node) {
        if (!hasTable_) {
            return node.value;
        }
        if (touched_.empty() || touched_.back() != &node) {
            touched_.push_back(&node);
        }
        if (touched_.size() > touchedLimit) {
            touched_.clear();
            isAllTouched_ = true;
        }
        return node.value;
    }

    /// The table is made when somebody first asks for a key.
    void enter(Node& node) const {
        if (!hasTable_) {
            return;
        }
        node.hash = hashOf(node.value);
        table_.emplace(node.hash, &node);
    }

    void leave(const Node& node) const {
        if (!hasTable_) {
            return;
        }
        auto [one, end] = table_.equal_range(node.hash);
        while (one != end && one->second != &node) {
            ++one;
        }
        table_.erase(one);
    }

    void reenter(Node& node) const {
        if (hashOf(node.value) != node.hash) {
            leave(node);
            enter(node);
        }
    }

    void makeTable() const;
    void noticeChangedKeys() const;
    void addBlock(std::size_t ordinal);
    void removeBlock(std::size_t ordinal);
    void split(std::size_t ordinal);

    std::vector<std::unique_ptr<Block>> blocks_;
    std::vector<std::size_t> counts_; ///< values per block, side by side
    std::size_t size_ = 0;
    // What is known of keys follows the values when somebody asks.
    mutable std::unordered_multimap<std::size_t, Node*> table_;
    mutable std::vector<Node*> touched_;
    mutable bool isAllTouched_ = false;
    mutable bool hasTable_ = false;
};

template <class Value, class KeyOf> template <class List, class Element> class KeyedList<Value, KeyOf>::Iterator {
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = Value;
    using difference_type = std::ptrdiff_t;
    using pointer = Element*;
    using reference = Element&;

    Iterator() = default;
    Iterator(List& list, std::size_t position) : list_(&list), position_(position), place_(list.place(position)) {}

    reference operator*() const { return list_->blocks_[place_.block]->nodes[place_.offset]->value; }
    pointer operator->() const { return &**this; }
    reference operator[](difference_type distance) const { return *(*this + distance); }
    Iterator& operator++() {
        ++position_;
        if (++place_.offset == list_->counts_[place_.block] && place_.block + 1 < list_->counts_.size()) {
            place_ = {place_.block + 1, 0};
        }
        return *this;
    }
    Iterator operator++(int) { return std::exchange(*this, *this + 1); }
    Iterator& operator--() { return *this += -1; }
    Iterator operator--(int) { return std::exchange(*this, *this - 1); }
    Iterator& operator+=(difference_type distance) {
        return *this = Iterator(*list_, static_cast<std::size_t>(static_cast<difference_type>(position_) + distance));
    }
    Iterator& operator-=(difference_type distance) { return *this += -distance; }
    friend Iterator operator+(Iterator from, difference_type distance) { return from += distance; }
    friend Iterator operator+(difference_type distance, Iterator from) { return from += distance; }
    friend Iterator operator-(Iterator from, difference_type distance) { return from -= distance; }
    friend difference_type operator-(const Iterator& a, const Iterator& b) {
        return static_cast<difference_type>(a.position_) - static_cast<difference_type>(b.position_);
    }
    friend bool operator==(const Iterator& a, const Iterator& b) { return a.position_ == b.position_; }
    friend auto operator<=>(const Iterator& a, const Iterator& b) { return a.position_ <=> b.position_; }

private:
    List* list_ = nullptr;
    std::size_t position_ = 0;
    Place place_;
};

template <class Value, class KeyOf> void KeyedList<Value, KeyOf>::insert(std::size_t position, Value value) {
    if (position > size_) {
        throw std::out_of_range("cannot insert at " + std::to_string(position) + " among " + std::to_string(size_));
    }
    if (blocks_.empty() || (position == size_ && counts_.back() >= appendLimit)) {
        addBlock(blocks_.size());
    }
    auto at = position == size_ ? Place{blocks_.size() - 1, counts_.back()} : place(position);
    if (counts_[at.block] == blockLimit) {
        split(at.block);
        at = place(position);
    }
    auto node = std::make_unique<Node>(Node{std::move(value), 0, blocks_[at.block].get()});
    enter(*node);
    auto& nodes = blocks_[at.block]->nodes;
    nodes.insert(nodes.begin() + static_cast<std::ptrdiff_t>(at.offset), std::move(node));
    ++counts_[at.block];
    ++size_;
}

template <class Value, class KeyOf> Value KeyedList<Value, KeyOf>::take(std::size_t position) {
    auto& taken = node(position);
    const auto at = place(position);
    leave(taken);
    std::erase(touched_, &taken);
    Value value = std::move(taken.value);
    auto& nodes = blocks_[at.block]->nodes;
    nodes.erase(nodes.begin() + static_cast<std::ptrdiff_t>(at.offset));
    --size_;
    if (--counts_[at.block] == 0) {
        removeBlock(at.block);
    }
    return value;
}

template <class Value, class KeyOf>
std::optional<std::size_t> KeyedList<Value, KeyOf>::position(const key_type& key) const {
    hasTable_ ? noticeChangedKeys() : makeTable();
    std::optional<std::size_t> first;
    const auto [begin, end] = table_.equal_range(std::hash<key_type>()(key));
    for (auto one = begin; one != end; ++one) {
        if (KeyOf()(one->second->value) == key) {
            const auto found = positionOf(*one->second);
            first = first ? std::min(*first, found) : found;
        }
    }
    return first;
}

template <class Value, class KeyOf> void KeyedList<Value, KeyOf>::makeTable() const {
    hasTable_ = true;
    isAllTouched_ = false;
    table_.reserve(size_);
    for (const auto& block : blocks_) {
        for (const auto& node : block->nodes) {
            enter(*node);
        }
    }
}

template <class Value, class KeyOf> void KeyedList<Value, KeyOf>::noticeChangedKeys() const {
    if (std::exchange(isAllTouched_, false)) {
        for (const auto& block : blocks_) {
            for (const auto& node : block->nodes) {
                reenter(*node);
            }
        }
    } else {
        for (auto* node : touched_) {
            reenter(*node);
        }
    }
    touched_.clear();
}

template <class Value, class KeyOf> void KeyedList<Value, KeyOf>::addBlock(std::size_t ordinal) {
    blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(ordinal), std::make_unique<Block>());
    blocks_[ordinal]->nodes.reserve(blockLimit);
    counts_.insert(counts_.begin() + static_cast<std::ptrdiff_t>(ordinal), 0);
    for (auto i = ordinal; i < blocks_.size(); ++i) {
        blocks_[i]->ordinal = i;
    }
}

template <class Value, class KeyOf> void KeyedList<Value, KeyOf>::removeBlock(std::size_t ordinal) {
    blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(ordinal));
    counts_.erase(counts_.begin() + static_cast<std::ptrdiff_t>(ordinal));
    for (auto i = ordinal; i < blocks_.size(); ++i) {
        blocks_[i]->ordinal = i;
    }
}

template <class Value, class KeyOf> void KeyedList<Value, KeyOf>::split(std::size_t ordinal) {
    addBlock(ordinal + 1);
    auto& full = blocks_[ordinal]->nodes;
    auto& added = *blocks_[ordinal + 1];
    const auto middle = full.begin() + static_cast<std::ptrdiff_t>(full.size() / 2);
    for (auto moved = middle; moved != full.end(); ++moved) {
        (*moved)->block = &added;
        added.nodes.push_back(std::move(*moved));
    }
    full.erase(middle, full.end());
    counts_[ordinal] = full.size();
    counts_[ordinal + 1] = added.nodes.size();
}

} // namespace orvex
