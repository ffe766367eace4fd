// What layouts need to know of writing systems.
#pragma once

namespace orvex {

/// Han, kana and their punctuation, Thai, Lao, Burmese, Khmer: words stand side by side without blanks.
[[nodiscard]] bool isWrittenWithoutSpaces(char32_t codePoint);

/// As wide as it is high: East Asian ideographs, syllables, full-width forms, emoji.
[[nodiscard]] bool isWide(char32_t codePoint);

} // namespace orvex
