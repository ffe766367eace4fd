#include "Platform/Text/Scripts.h"

#include <algorithm>
#include <array>
#include <span>

namespace orvex {

namespace {

struct Block {
    char32_t first;
    char32_t last;
};

/// East Asian Width W and F, in whole blocks.
constexpr std::array<Block, 16> wideBlocks = {{{0x1100, 0x115F},
                                               {0x2E80, 0x303E},
                                               {0x3041, 0x33FF},
                                               {0x3400, 0x4DBF},
                                               {0x4E00, 0x9FFF},
                                               {0xA000, 0xA4CF},
                                               {0xA960, 0xA97F},
                                               {0xAC00, 0xD7A3},
                                               {0xF900, 0xFAFF},
                                               {0xFE10, 0xFE19},
                                               {0xFE30, 0xFE6F},
                                               {0xFF01, 0xFF60},
                                               {0xFFE0, 0xFFE6},
                                               {0x16FE0, 0x1B2FF},
                                               {0x1F300, 0x1FAFF},
                                               {0x20000, 0x3FFFD}}};

constexpr std::array<Block, 9> blocksWithoutSpaces = {{{0x0E00, 0x0EFF}, // Thai, Lao
                                                       {0x1000, 0x109F}, // Burmese
                                                       {0x1780, 0x17FF}, // Khmer
                                                       {0x2E80, 0x312F}, // radicals, punctuation, kana, bopomofo
                                                       {0x3190, 0x9FFF}, // ideographs
                                                       {0xF900, 0xFAFF},
                                                       {0xFE30, 0xFE4F},
                                                       {0xFF00, 0xFFEF}, // full-width forms
                                                       {0x1B000, 0x1B2FF}}};

bool contains(std::span<const Block> blocks, char32_t codePoint) {
    return codePoint >= blocks.front().first && // most text comes before all of them
           std::ranges::any_of(blocks,
                               [=](const Block& block) { return codePoint >= block.first && codePoint <= block.last; });
}

} // namespace

bool isWide(char32_t codePoint) {
    return contains(wideBlocks, codePoint);
}

bool isWrittenWithoutSpaces(char32_t codePoint) {
    return contains(blocksWithoutSpaces, codePoint) || (codePoint >= 0x20000 && codePoint <= 0x3FFFD);
}

} // namespace orvex
