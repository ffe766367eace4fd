// The order of a KeyedList's values: blocks of pointers, and where each block begins.
#pragma once

#include "Platform/Foundation/KeyedListBlock.h"
#include "Platform/Foundation/Room.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace orvex {

/// Positions count from 0 in all blocks. Where values pass from one block to another, `passed(hash, from, to)` is
/// called; it must not throw.
template <class Value> class KeyedListBlocks {
public:
    using Block = KeyedListBlock<Value>;
    struct Place {
        std::size_t block = 0;
        std::size_t offset = 0;
    };

    void swap(KeyedListBlocks& other) noexcept {
        std::swap(blocks_, other.blocks_);
        std::swap(spares_, other.spares_);
        std::swap(starts_, other.starts_);
        std::swap(size_, other.size_);
        last_ = other.last_.exchange(last_);
    }

    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] auto begin() const { return blocks_.begin(); }
    [[nodiscard]] auto end() const { return blocks_.end(); }
    [[nodiscard]] Block& operator[](std::size_t block) { return *blocks_[block]; }
    [[nodiscard]] const Block& operator[](std::size_t block) const { return *blocks_[block]; }
    [[nodiscard]] std::size_t start(const Block& block) const { return starts_[block.ordinal]; }

    /// The end is a place in the last block.
    [[nodiscard]] Place place(std::size_t position) const {
        if (starts_.empty()) {
            return {};
        }
        auto block = last_.load(std::memory_order_relaxed);
        if (!isIn(block, position)) {
            block = 0;
            for (auto count = starts_.size(); count > 1; count -= count / 2) { // nothing for a processor to guess
                block += starts_[block + count / 2] <= position ? count / 2 : 0;
            }
            last_.store(block, std::memory_order_relaxed);
        }
        return {block, position - starts_[block]};
    }

    /// The place of a value; throws std::out_of_range where there is none.
    [[nodiscard]] Place occupied(std::size_t position) const {
        if (position >= size_) {
            throw std::out_of_range("no position " + std::to_string(position) + " among " + std::to_string(size_));
        }
        return place(position);
    }

    /// Where a value before `position` goes: in a block with room. Needs memory only where there never were more
    /// values.
    template <class Passed> [[nodiscard]] Place placeFor(std::size_t position, const Passed& passed) {
        const bool appends = position == size_ && (blocks_.empty() || blocks_.back()->size() >= appendLimit);
        const auto at = place(position);
        if (!appends && !blocks_[at.block]->isFull()) {
            return at;
        }
        try {
            appends ? addBlock(blocks_.size()) : split(at.block, passed);
        } catch (const std::bad_alloc&) {
            if (const auto made = moveAlong(at, passed)) {
                return *made;
            }
            throw;
        }
        return place(position);
    }

    /// `at` is what placeFor() gave.
    void insert(Place at, std::shared_ptr<Value> value, std::uint32_t hash) {
        blocks_[at.block]->insert(at.offset, std::move(value), hash);
        shiftStartsBehind(at.block, 1);
    }

    std::shared_ptr<Value> take(Place at) {
        auto value = blocks_[at.block]->take(at.offset);
        shiftStartsBehind(at.block, -1);
        if (blocks_[at.block]->size() == 0) {
            removeBlock(at.block);
        }
        return value;
    }

private:
    static constexpr std::size_t appendLimit = Block::limit / 2; ///< so that insertions find room

    [[nodiscard]] bool isIn(std::size_t block, std::size_t position) const {
        return block < starts_.size() && position >= starts_[block] &&
               (block + 1 == starts_.size() || position < starts_[block + 1]);
    }

    void shiftStartsBehind(std::size_t block, int by) {
        for (auto i = block + 1; i < starts_.size(); ++i) {
            starts_[i] += static_cast<std::uint32_t>(by);
        }
        size_ += static_cast<std::size_t>(by);
    }

    void numberBlocks(std::size_t from) {
        for (; from < blocks_.size(); ++from) {
            blocks_[from]->ordinal = from;
        }
    }

    void addBlock(std::size_t ordinal) {
        makeRoom(blocks_);
        makeRoom(starts_);
        spares_.reserve(blocks_.capacity());
        if (spares_.empty()) {
            spares_.push_back(std::make_unique<Block>());
        }
        const auto at = static_cast<std::ptrdiff_t>(ordinal);
        starts_.insert(starts_.begin() + at,
                       ordinal < starts_.size() ? starts_[ordinal] : static_cast<std::uint32_t>(size_));
        blocks_.insert(blocks_.begin() + at, std::move(spares_.back()));
        spares_.pop_back();
        numberBlocks(ordinal);
    }

    void removeBlock(std::size_t ordinal) {
        const auto at = static_cast<std::ptrdiff_t>(ordinal);
        spares_.push_back(std::move(blocks_[ordinal]));
        blocks_.erase(blocks_.begin() + at);
        starts_.erase(starts_.begin() + at);
        numberBlocks(ordinal);
    }

    template <class Passed> void split(std::size_t ordinal, const Passed& passed) {
        addBlock(ordinal + 1);
        auto& full = *blocks_[ordinal];
        while (full.size() > Block::limit / 2) {
            pass(full, full.size() - 1, *blocks_[ordinal + 1], 0, passed);
        }
        starts_[ordinal + 1] = starts_[ordinal] + static_cast<std::uint32_t>(full.size());
    }

    /// Makes room at a place without memory: the blocks from there to the nearest one with room pass a value on. Where
    /// the place is then; none when every block is full.
    template <class Passed> [[nodiscard]] std::optional<Place> moveAlong(Place at, const Passed& passed) {
        const auto middle = blocks_.begin() + static_cast<std::ptrdiff_t>(at.block);
        const auto hasRoom = [](const auto& block) { return !block->isFull(); };
        if (const auto behind = std::find_if(middle, blocks_.end(), hasRoom); behind != blocks_.end()) {
            for (auto to = (*behind)->ordinal; to > at.block; --to) {
                pass(*blocks_[to - 1], blocks_[to - 1]->size() - 1, *blocks_[to], 0, passed);
                --starts_[to];
            }
            return at;
        }
        const auto before = std::find_if(std::reverse_iterator(middle), blocks_.rend(), hasRoom);
        if (before == blocks_.rend()) {
            return std::nullopt;
        }
        const auto last = at.offset == 0 ? at.block - 1 : at.block; // what goes before a block ends the one before it
        for (auto to = (*before)->ordinal; to < last; ++to) {
            pass(*blocks_[to + 1], 0, *blocks_[to], blocks_[to]->size(), passed);
            ++starts_[to + 1];
        }
        return Place{last, at.offset == 0 ? blocks_[last]->size() : at.offset - 1};
    }

    template <class Passed>
    static void pass(Block& from, std::size_t offset, Block& to, std::size_t at, const Passed& passed) {
        const auto hash = from.hash(offset);
        passed(hash, &from, &to);
        to.insert(at, from.take(offset), hash);
    }

    std::vector<std::unique_ptr<Block>> blocks_;
    std::vector<std::unique_ptr<Block>> spares_; ///< that became empty; with room for all
    std::vector<std::uint32_t> starts_;          ///< position of each block's first value
    std::size_t size_ = 0;
    mutable std::atomic<std::size_t> last_ = 0; ///< the block that was last looked up: an edit looks up one often
};

} // namespace orvex
