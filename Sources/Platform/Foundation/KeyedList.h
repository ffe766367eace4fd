// Values in order, reached by position or by key. Inserting, removing and finding cost nearly the same among ten values
// and among tens of thousands: the list is cut into blocks of pointers, a table leads from keys to blocks, and a value
// that moves in or out is not touched.
#pragma once

#include "Platform/Foundation/HashTable.h"
#include "Platform/Foundation/KeyedListBlocks.h"
#include "Platform/Foundation/Prefetch.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace orvex {

/// `KeyOf` is a stateless function object that gives a value's key. Keys need not be unique. Positions count from 0.
/// Values stay where they are in memory and may be changed in place, keys included: position() notices what was changed
/// through references handed out since it was last called. What throws changes nothing; taking and exchanging need no
/// memory, nor does inserting as long as the list held as many values before: what was taken can always be put back.
/// Fewer than 2^32 values. A value whose pointer somebody else holds is copied before it is handed out for changing.
/// Not for use by several threads at once, unless all of them only read and none calls position().
template <class Value, class KeyOf> class KeyedList {
    using Block = KeyedListBlock<Value>;
    using Place = typename KeyedListBlocks<Value>::Place;
    template <class List, class Element> class Iterator;

public:
    using value_type = Value;
    using size_type = std::size_t;
    using pointer = std::shared_ptr<Value>;
    using key_type = std::remove_cvref_t<decltype(KeyOf()(std::declval<const Value&>()))>;
    using iterator = Iterator<KeyedList, Value>;
    using const_iterator = Iterator<const KeyedList, const Value>;

    KeyedList() = default;
    KeyedList(const KeyedList& other) {
        for (const auto& value : other) {
            push_back(value);
        }
    }
    KeyedList(KeyedList&& other) noexcept { swap(other); }
    KeyedList& operator=(KeyedList other) noexcept {
        swap(other);
        return *this;
    }
    ~KeyedList() = default;

    [[nodiscard]] std::size_t size() const { return blocks_.size(); }
    [[nodiscard]] bool empty() const { return size() == 0; }

    /// Throws std::out_of_range for a position that holds nothing.
    [[nodiscard]] const Value& at(std::size_t position) const { return *shared(position); }
    [[nodiscard]] Value& at(std::size_t position) { return touched(blocks_.occupied(position)); }
    [[nodiscard]] const Value& operator[](std::size_t position) const { return at(position); }
    [[nodiscard]] Value& operator[](std::size_t position) { return at(position); }
    [[nodiscard]] const Value& front() const { return at(0); }
    [[nodiscard]] Value& front() { return at(0); }
    [[nodiscard]] const Value& back() const { return at(size() - 1); }
    [[nodiscard]] Value& back() { return at(size() - 1); }
    /// For keeping the value as it is now.
    [[nodiscard]] const pointer& shared(std::size_t position) const {
        const auto [block, offset] = blocks_.occupied(position);
        return blocks_[block].value(offset);
    }

    /// Has the value at `position`, if there is one, fetched from memory while the caller goes on.
    void expect(std::size_t position) const {
        if (position < size()) {
            const auto [block, offset] = blocks_.place(position);
            prefetchLines(blocks_[block].value(offset).get());
            table_.expect(blocks_[block].hash(offset));
        }
    }

    [[nodiscard]] const_iterator begin() const { return {*this, 0}; }
    [[nodiscard]] const_iterator end() const { return {*this, size()}; }
    [[nodiscard]] iterator begin() {
        forgetTable();
        return {*this, 0};
    }
    [[nodiscard]] iterator end() { return {*this, size()}; }

    /// Inserts before `position` (0 to size()); throws std::out_of_range otherwise. The pointer must not be null.
    void insert(std::size_t position, pointer value);
    void insert(std::size_t position, Value value) { insert(position, std::make_shared<Value>(std::move(value))); }
    void push_back(pointer value) { insert(size(), std::move(value)); }
    void push_back(Value value) { insert(size(), std::move(value)); }
    template <class... Arguments> Value& emplace_back(Arguments&&... arguments) {
        push_back(std::make_shared<Value>(Value(std::forward<Arguments>(arguments)...)));
        return back();
    }
    /// Puts `value` in the place of what is there, which is handed back; throws std::out_of_range where nothing is.
    pointer exchange(std::size_t position, pointer value);
    /// Removes and hands back; throws std::out_of_range for a position that holds nothing.
    pointer take(std::size_t position);
    void pop_back() { take(size() - 1); }
    void clear() { KeyedList().swap(*this); }

    /// The first position whose value has this key.
    [[nodiscard]] std::optional<std::size_t> position(const key_type& key) const;

private:
    static constexpr std::size_t touchedLimit = 100;

    static std::uint32_t hashOf(const key_type& key) { return spreadHash(std::hash<key_type>()(key)); }
    static std::uint32_t hashOf(const pointer& value) { return hashOf(KeyOf()(std::as_const(*value))); }

    void swap(KeyedList& other) noexcept {
        blocks_.swap(other.blocks_);
        std::swap(table_, other.table_);
        std::swap(touched_, other.touched_);
        std::swap(hasTable_, other.hasTable_);
    }

    Value& touched(Place place) {
        auto& block = blocks_[place.block];
        const auto hash = block.hash(place.offset);
        if (hasTable_ && (touched_.empty() || touched_.back() != hash)) {
            touched_.push_back(hash);
        }
        if (touched_.size() > touchedLimit) {
            forgetTable();
        }
        return own(block.value(place.offset));
    }

    static Value& own(pointer& value) {
        if (value.use_count() > 1) {
            value = std::make_shared<Value>(*value);
        }
        return *value;
    }

    /// The table is made when somebody first asks for a key.
    std::uint32_t enter(Block& block, std::uint32_t hash) const {
        if (hasTable_) {
            table_.add(hash, &block);
        }
        return hash;
    }

    void leave(Block& block, std::size_t offset) const {
        if (hasTable_) {
            table_.remove(block.hash(offset), &block);
        }
    }

    void reenter(Block& block, std::size_t offset) const {
        if (const auto hash = hashOf(block.value(offset)); hash != block.hash(offset)) {
            leave(block, offset);
            block.hash(offset) = enter(block, hash);
        }
    }

    void makeTable() const;
    void forgetTable() {
        table_ = {};
        touched_.clear();
        hasTable_ = false;
    }
    void noticeChangedKeys() const;
    void noticeChangedKeys(std::uint32_t hash) const;

    KeyedListBlocks<Value> blocks_;
    // What is known of keys follows the values when somebody asks.
    mutable HashTable<Block*> table_;
    mutable std::vector<std::uint32_t> touched_;
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
    Iterator(List& list, std::size_t position)
        : list_(&list), position_(position), place_(list.blocks_.place(position)) {}

    reference operator*() const {
        auto& value = list_->blocks_[place_.block].value(place_.offset);
        if constexpr (std::is_const_v<Element>) {
            return *value;
        } else {
            return KeyedList::own(value);
        }
    }
    pointer operator->() const { return &**this; }
    reference operator[](difference_type distance) const { return *(*this + distance); }
    Iterator& operator++() {
        ++position_;
        if (++place_.offset == list_->blocks_[place_.block].size() && place_.block + 1 < list_->blocks_.size()) {
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

template <class Value, class KeyOf> void KeyedList<Value, KeyOf>::insert(std::size_t position, pointer value) {
    if (position > size()) {
        throw std::out_of_range("cannot insert at " + std::to_string(position) + " among " + std::to_string(size()));
    }
    const auto hash = hasTable_ ? hashOf(value) : 0;
    table_.reserve(hasTable_ ? size() + 1 : 0); // entering below needs no memory
    const auto at = blocks_.placeFor(position, [this](std::uint32_t passed, Block* from, Block* to) {
        if (hasTable_) {
            table_.redirect(passed, from, to);
        }
    });
    blocks_.insert(at, std::move(value), enter(blocks_[at.block], hash));
}

template <class Value, class KeyOf>
auto KeyedList<Value, KeyOf>::exchange(std::size_t position, pointer value) -> pointer {
    const auto at = blocks_.occupied(position);
    auto& block = blocks_[at.block];
    const auto hash = hasTable_ ? hashOf(value) : 0;
    if (hash != block.hash(at.offset)) {
        leave(block, at.offset);
        block.hash(at.offset) = enter(block, hash);
    }
    return std::exchange(block.value(at.offset), std::move(value));
}

template <class Value, class KeyOf> auto KeyedList<Value, KeyOf>::take(std::size_t position) -> pointer {
    const auto at = blocks_.occupied(position);
    leave(blocks_[at.block], at.offset);
    return blocks_.take(at);
}

template <class Value, class KeyOf>
std::optional<std::size_t> KeyedList<Value, KeyOf>::position(const key_type& key) const {
    hasTable_ ? noticeChangedKeys() : makeTable();
    std::optional<std::size_t> first;
    const auto hash = hashOf(key);
    // The blocks that may hold it; among the values of one, the first with the key is the first of all.
    table_.visit(hash, [&](const Block* block) {
        for (std::size_t offset = 0; offset < block->size(); ++offset) {
            if (block->hash(offset) == hash && KeyOf()(std::as_const(*block->value(offset))) == key) {
                const auto found = blocks_.start(*block) + offset;
                first = first ? std::min(*first, found) : found;
                break;
            }
        }
    });
    return first;
}

template <class Value, class KeyOf> void KeyedList<Value, KeyOf>::makeTable() const {
    table_.reserve(size());
    hasTable_ = true;
    for (const auto& block : blocks_) {
        for (std::size_t i = 0; i < block->size(); ++i) {
            block->hash(i) = enter(*block, hashOf(block->value(i)));
        }
    }
}

template <class Value, class KeyOf> void KeyedList<Value, KeyOf>::noticeChangedKeys() const {
    for (const auto hash : touched_) {
        noticeChangedKeys(hash);
    }
    touched_.clear();
}

template <class Value, class KeyOf> void KeyedList<Value, KeyOf>::noticeChangedKeys(std::uint32_t hash) const {
    std::vector<Block*> blocks; // first: entering moves what the table holds
    table_.visit(hash, [&blocks](Block* block) { blocks.push_back(block); });
    for (auto* block : blocks) {
        for (std::size_t i = 0; i < block->size(); ++i) {
            if (block->hash(i) == hash) {
                reenter(*block, i);
            }
        }
    }
}

} // namespace orvex
