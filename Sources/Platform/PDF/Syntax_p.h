// The characters that PDF and PostScript tell apart.
#pragma once

#include <array>

namespace orvex {

enum class CharacterClass : unsigned char { regular, blank, delimiter };

inline constexpr std::array<CharacterClass, 256> characterClasses = [] {
    std::array<CharacterClass, 256> classes{};
    for (const char c : {'\0', '\t', '\n', '\f', '\r', ' '}) {
        classes[static_cast<unsigned char>(c)] = CharacterClass::blank;
    }
    for (const char c : {'(', ')', '<', '>', '[', ']', '{', '}', '/', '%'}) {
        classes[static_cast<unsigned char>(c)] = CharacterClass::delimiter;
    }
    return classes;
}();

[[nodiscard]] constexpr CharacterClass classOf(char c) {
    return characterClasses[static_cast<unsigned char>(c)];
}
[[nodiscard]] constexpr bool isBlank(char c) {
    return classOf(c) == CharacterClass::blank;
}
[[nodiscard]] constexpr bool isDelimiter(char c) {
    return classOf(c) == CharacterClass::delimiter;
}
[[nodiscard]] constexpr bool isRegular(char c) {
    return classOf(c) == CharacterClass::regular;
}
[[nodiscard]] constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Of a hexadecimal digit; -1 for anything else.
[[nodiscard]] constexpr int hexDigit(char c) {
    if (isDigit(c)) {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

} // namespace orvex
