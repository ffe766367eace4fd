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

/// A stretch of one line whose characters run the same way.
struct DirectionRun {
    std::size_t start = 0; ///< in logical order
    std::size_t length = 0;
    bool rightToLeft = false;
};

/// The stretches of one line from left to right as they are shown.
[[nodiscard]] std::vector<DirectionRun> directionRuns(std::u32string_view logical);

} // namespace orvex
