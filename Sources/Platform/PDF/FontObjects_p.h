// A composite font as objects of a file: two-byte codes that are glyph ids, real widths, a map back to Unicode.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <qpdf/QPDFObjectHandle.hh>

#include <cstdint>
#include <string>
#include <vector>

namespace orvex {

struct CompositeGlyph {
    std::uint32_t id = 0;
    int width = 0;       ///< thousandths of an em
    std::u32string text; ///< what it reads back as; may be empty
};

struct CompositeFont {
    std::string name;
    Bytes program; ///< a TrueType file, or a bare CFF program
    bool isCFF = false;
    int ascent = 0;                     ///< thousandths of an em
    int descent = 0;                    ///< thousandths of an em, below zero
    std::vector<CompositeGlyph> glyphs; ///< ids rise
};

/// The Type0 font, indirect.
[[nodiscard]] QPDFObjectHandle makeCompositeFont(QPDF& pdf, const CompositeFont& font);

/// A code or a UTF-16 unit as four hexadecimal digits.
void appendHexUnit(std::string& out, std::uint32_t unit);
/// A character as UTF-16, in hexadecimal digits.
void appendUTF16(std::string& out, char32_t character);

} // namespace orvex
