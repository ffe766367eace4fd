// What the Unicode bidirectional algorithm knows of characters and of the order in which a line shows them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orvex {

/// Marks that sit on the character before them, joiners and other controls: they take no room of their own.
[[nodiscard]] bool takesNoRoom(char32_t codePoint);

/// The characters of one line from left to right as they are shown; marks stay behind the character that they sit on.
/// The line's direction is that of its first strong character.
[[nodiscard]] std::u32string visualOrder(std::u32string_view logical);

/// Hebrew's block; no character before it makes text run from right to left.
inline constexpr char32_t firstRightToLeft = 0x590;

enum class StrongDirection : signed char { leftToRight = -1, none = 0, rightToLeft = 1 };
/// Which way a character alone makes text run.
[[nodiscard]] StrongDirection strongDirection(char32_t codePoint);

/// The way back from visualOrder(): the indices, in logical order, of the characters of a line as it is shown, for a
/// line that starts from the right or from the left.
[[nodiscard]] std::vector<std::size_t> logicalOrder(std::u32string_view visual, bool startsFromTheRight);

/// A stretch of one line whose characters run the same way.
struct DirectionRun {
    std::size_t start = 0; ///< in logical order
    std::size_t length = 0;
    bool rightToLeft = false;
};

/// The stretches of one line from left to right as they are shown.
[[nodiscard]] std::vector<DirectionRun> directionRuns(std::u32string_view logical);

} // namespace orvex
