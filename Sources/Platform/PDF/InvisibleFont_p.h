// Text that marks nothing but can be found, selected and copied, for one saved document. A composite font without
// outlines stands behind it: real advance widths, any Unicode character.
#pragma once

#include "Platform/Text/Font.h"

#include <qpdf/QPDFObjectHandle.hh>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvex {

/// Collects the characters that a document's pages show. Several threads may read it while none adds.
class InvisibleFont {
public:
    /// Appends the operator that shows one line of UTF-8 text in this font, from where the text matrix is. False, with
    /// the content as it was, as long as a character of the line has no code.
    bool appendLine(std::string& content, std::string_view utf8) const;
    /// Gives codes to the characters of such a line that have none, as long as there are codes.
    void add(std::string_view utf8, const Font& measuring);
    [[nodiscard]] bool isUsed() const { return !glyphs_.empty(); }
    /// The composite font for what was shown so far; its streams become objects of `pdf`.
    [[nodiscard]] QPDFObjectHandle makeObject(QPDF& pdf) const;

private:
    struct Glyph {
        char32_t character;
        int width; ///< thousandths of an em
    };
    /// A code as it stands in a string.
    struct Code {
        std::array<char, 4> bytes{};
        std::uint8_t length = 0; ///< 0: none yet
    };
    static Code makeCode(std::size_t glyph);
    std::vector<Glyph> glyphs_; ///< in the order of first use; the first has code 1
    std::vector<Code> codes_;   ///< by character as far as the highest shown
};

} // namespace orvex
