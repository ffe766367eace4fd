#include "Platform/PDF/Reading/CMap_p.h"

#include "Platform/Foundation/Strings.h"

#include <algorithm>
#include <map>

namespace orvex {

namespace {

// Every code is held against all of them; real maps have up to ten.
constexpr std::size_t mostCodeSpaces = 100;

constexpr bool isHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool isLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}
constexpr char32_t joined(char16_t high, char16_t low) {
    return 0x10000 + ((char32_t{high} - 0xD800) << 10U) + (char32_t{low} - 0xDC00);
}

/// Says what a text is not.
constexpr char32_t replacement = 0xFFFD;

/// Halves of surrogate pairs that stand alone, zeros and noncharacters say nothing and are left out.
void appendCharacters(std::string& text, std::u16string_view units, std::uint32_t step) {
    for (std::size_t at = 0; at < units.size(); ++at) {
        char32_t character = units[at];
        if (isHighSurrogate(units[at]) && at + 1 < units.size() && isLowSurrogate(units[at + 1])) {
            character = joined(units[at], units[at + 1]);
            ++at;
        }
        if (at + 1 == units.size()) {
            character += step;
        }
        const bool isOne = character != 0 && character != replacement && character <= 0x10FFFF &&
                           (character < 0xD800 || character > 0xDFFF) && (character & 0xFFFEU) != 0xFFFEU;
        if (isOne) {
            appendUTF8(text, character);
        }
    }
}

} // namespace

bool CMap::CodeSpace::holds(std::uint32_t code, unsigned bytes) const {
    for (unsigned shift = (length - bytes) * 8; bytes > 0; --bytes, shift += 8, code >>= 8U) {
        const std::uint32_t byte = code & 0xFFU;
        if (byte < ((low >> shift) & 0xFFU) || byte > ((high >> shift) & 0xFFU)) {
            return false;
        }
    }
    return true;
}

std::shared_ptr<const CMap> CMap::identity(bool vertical) {
    auto map = std::make_shared<CMap>();
    map->spaces_.push_back({0, 0xFFFF, 2});
    map->identifiers_.push_back({key({0, 2}), key({0xFFFF, 2}), key({0, 2}), 0, 1});
    map->vertical_ = vertical;
    map->finish();
    return map;
}

std::shared_ptr<const CMap> CMap::identityTexts() {
    auto map = std::make_shared<CMap>();
    map->pool_ = std::u16string(1, u'\0');
    map->texts_.push_back({0, 0xFFFF, 0, 0, 1});
    return map;
}

void CMap::finish() {
    cost_ += (identifiers_.size() + undefined_.size() + texts_.size()) * sizeof(Range) + (base_ ? base_->cost_ : 0);
    if (base_) {
        spaces_.insert(spaces_.end(), base_->spaces_.begin(), base_->spaces_.end());
        ordering_ = ordering_.empty() ? base_->ordering_ : ordering_;
    }
    spaces_.resize(std::min(spaces_.size(), mostCodeSpaces));
    std::ranges::stable_sort(spaces_, {}, &CodeSpace::length);
    twoByte_ = std::ranges::all_of(spaces_, [](const CodeSpace& space) { return space.length == 2; });
    settle(identifiers_);
    settle(undefined_);
    settle(texts_);
}

/// Sorts; where ranges overlap, the one that was defined last holds.
void CMap::settle(std::vector<Range>& ranges) {
    std::vector<Range> sorted = ranges;
    std::ranges::stable_sort(sorted, {}, &Range::low);
    const auto overlap =
        std::ranges::adjacent_find(sorted, [](const Range& a, const Range& b) { return b.low <= a.high; });
    if (overlap == sorted.end()) {
        ranges = std::move(sorted);
        return;
    }
    std::map<std::uint64_t, Range> apart;
    for (const Range& range : ranges) {
        auto at = apart.upper_bound(range.low);
        if (at != apart.begin() && std::prev(at)->second.high >= range.low) {
            --at;
        }
        while (at != apart.end() && at->second.low <= range.high) {
            const Range old = at->second;
            at = apart.erase(at);
            if (old.low < range.low) {
                apart[old.low] = {old.low, range.low - 1, old.first, old.value, old.size};
            }
            if (old.high > range.high) {
                apart[range.high + 1] = {range.high + 1, old.high, old.first, old.value, old.size};
                break;
            }
        }
        apart[range.low] = range;
    }
    ranges.clear();
    for (const auto& [low, range] : apart) {
        ranges.push_back(range);
    }
}

const CMap::Range* CMap::find(const std::vector<Range>& ranges, std::uint64_t key) {
    const auto after = std::ranges::upper_bound(ranges, key, {}, &Range::low);
    if (after == ranges.begin()) {
        return nullptr;
    }
    const Range& range = *std::prev(after);
    return key <= range.high ? &range : nullptr;
}

CMap::Code CMap::next(std::string_view string) const {
    const auto most = static_cast<std::uint8_t>(std::min<std::size_t>(string.size(), 4));
    std::uint8_t shortest = 0;
    std::uint32_t value = 0;
    for (std::uint8_t length = 1; length <= most; ++length) {
        value = (value << 8U) | static_cast<std::uint8_t>(string[length - 1U]);
        for (const CodeSpace& space : spaces_) {
            if (space.length == length && space.holds(value, length)) {
                return {value, length};
            }
            if (length == 1 && shortest == 0 && space.holds(value, 1)) {
                shortest = space.length;
            }
        }
    }
    if (shortest == 0) {
        shortest = spaces_.empty() ? 2 : spaces_.front().length;
    }
    const std::uint8_t length = std::min(shortest, most);
    return {value >> ((most - length) * 8U), length};
}

std::optional<std::uint32_t> CMap::identifier(Code code) const {
    for (const auto* ranges : {&identifiers_, &undefined_}) {
        if (const Range* range = find(*ranges, key(code))) {
            return range->value + range->size * static_cast<std::uint32_t>(key(code) - range->first);
        }
    }
    return base_ ? base_->identifier(code) : std::nullopt;
}

bool CMap::appendText(std::string& text, std::uint32_t code) const {
    if (const Range* range = find(texts_, code)) {
        const std::size_t before = text.size();
        appendCharacters(text, std::u16string_view(pool_).substr(range->value, range->size),
                         static_cast<std::uint32_t>(code - range->first));
        return text.size() > before;
    }
    return base_ && base_->appendText(text, code);
}

} // namespace orvex
