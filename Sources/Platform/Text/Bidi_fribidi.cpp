#include "Platform/Text/Bidi.h"

#include <fribidi/fribidi.h>

#include <algorithm>
#include <new>
#include <numeric>
#include <vector>

namespace orvex {

namespace {

/// The library answers 0 when it is out of memory.
void require(FriBidiLevel answer) {
    if (answer == 0) {
        throw std::bad_alloc();
    }
}

bool isVowelOrFinalJamo(char32_t c) {
    return (c >= 0x1160 && c <= 0x11FF) || (c >= 0xD7B0 && c <= 0xD7FF);
}

bool hasRightToLeft(const std::vector<FriBidiCharType>& types) {
    return std::ranges::any_of(
        types, [](auto type) { return FRIBIDI_IS_RTL(type) || type == FRIBIDI_TYPE_AN || FRIBIDI_IS_EXPLICIT(type); });
}

std::vector<FriBidiCharType> bidiTypes(const std::vector<FriBidiChar>& text) {
    std::vector<FriBidiCharType> types(text.size());
    fribidi_get_bidi_types(text.data(), static_cast<FriBidiStrIndex>(text.size()), types.data());
    return types;
}

std::vector<FriBidiLevel> embeddingLevels(const std::vector<FriBidiChar>& text,
                                          const std::vector<FriBidiCharType>& types, FriBidiParType& direction) {
    const auto length = static_cast<FriBidiStrIndex>(text.size());
    std::vector<FriBidiBracketType> brackets(text.size());
    fribidi_get_bracket_types(text.data(), length, types.data(), brackets.data());
    std::vector<FriBidiLevel> levels(text.size());
    require(fribidi_get_par_embedding_levels_ex(types.data(), brackets.data(), length, &direction, levels.data()));
    return levels;
}

} // namespace

bool takesNoRoom(char32_t codePoint) {
    const auto type = fribidi_get_bidi_type(codePoint);
    const bool mark = type == FRIBIDI_TYPE_NSM || isVowelOrFinalJamo(codePoint);
    const bool control = (type == FRIBIDI_TYPE_BN && codePoint != 0xAD) || FRIBIDI_IS_EXPLICIT(type) ||
                         FRIBIDI_IS_ISOLATE(type) || codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0) ||
                         codePoint == 0x200E || codePoint == 0x200F || codePoint == 0x061C;
    return mark || control;
}

std::u32string visualOrder(std::u32string_view logical) {
    if (std::ranges::all_of(logical, [](char32_t c) { return c < firstRightToLeft; })) {
        return std::u32string(logical);
    }
    std::vector<FriBidiChar> text(logical.begin(), logical.end());
    const auto types = bidiTypes(text);
    if (!hasRightToLeft(types)) {
        return std::u32string(logical);
    }
    FriBidiParType direction = FRIBIDI_PAR_ON;
    auto levels = embeddingLevels(text, types, direction);
    require(fribidi_reorder_line(FRIBIDI_FLAGS_DEFAULT, types.data(), static_cast<FriBidiStrIndex>(text.size()), 0,
                                 direction, levels.data(), text.data(), nullptr));
    return {text.begin(), text.end()};
}

StrongDirection strongDirection(char32_t codePoint) {
    const auto type = fribidi_get_bidi_type(codePoint);
    if (!FRIBIDI_IS_STRONG(type)) {
        return StrongDirection::none;
    }
    return FRIBIDI_IS_RTL(type) ? StrongDirection::rightToLeft : StrongDirection::leftToRight;
}

std::vector<std::size_t> logicalOrder(std::u32string_view visual, bool startsFromTheRight) {
    std::vector<FriBidiChar> text(visual.begin(), visual.end());
    std::vector<FriBidiStrIndex> order(text.size());
    std::iota(order.begin(), order.end(), 0);
    // A line from the right is read backwards first; what then still runs the wrong way is turned round in both.
    if (startsFromTheRight) {
        std::ranges::reverse(text);
        std::ranges::reverse(order);
    }
    const auto types = bidiTypes(text);
    if (!text.empty() && hasRightToLeft(types)) {
        FriBidiParType direction = startsFromTheRight ? FRIBIDI_PAR_RTL : FRIBIDI_PAR_LTR;
        auto levels = embeddingLevels(text, types, direction);
        require(fribidi_reorder_line(0, types.data(), static_cast<FriBidiStrIndex>(text.size()), 0, direction,
                                     levels.data(), nullptr, order.data()));
        if (startsFromTheRight) {
            std::ranges::reverse(order);
        }
    }
    return {order.begin(), order.end()};
}

std::vector<DirectionRun> directionRuns(std::u32string_view logical) {
    const std::vector<FriBidiChar> text(logical.begin(), logical.end());
    const auto types = bidiTypes(text);
    if (!hasRightToLeft(types)) {
        return {{0, logical.size(), false}};
    }
    FriBidiParType direction = FRIBIDI_PAR_ON;
    auto levels = embeddingLevels(text, types, direction);
    const auto length = static_cast<FriBidiStrIndex>(text.size());
    std::vector<FriBidiStrIndex> order(text.size());
    std::iota(order.begin(), order.end(), 0);
    require(fribidi_reorder_line(FRIBIDI_FLAG_REORDER_NSM, types.data(), length, 0, direction, levels.data(), nullptr,
                                 order.data()));
    std::vector<DirectionRun> runs;
    for (const auto index : order) {
        const auto at = static_cast<std::size_t>(index);
        const bool rightToLeft = FRIBIDI_LEVEL_IS_RTL(levels[at]);
        if (!runs.empty() && runs.back().rightToLeft == rightToLeft &&
            (rightToLeft ? at + 1 == runs.back().start : at == runs.back().start + runs.back().length)) {
            runs.back().start = std::min(runs.back().start, at);
            ++runs.back().length;
        } else {
            runs.push_back({at, 1, rightToLeft});
        }
    }
    return runs;
}

} // namespace orvex
