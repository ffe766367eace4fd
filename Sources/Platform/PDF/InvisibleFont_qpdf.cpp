#include "Platform/PDF/InvisibleFont_p.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/FontObjects_p.h"
#include "Platform/PDF/GlyphlessTrueType_p.h"
#include "Platform/Text/Bidi.h"
#include "Platform/Text/Scripts.h"

#include <qpdf/QPDF.hh>

#include <algorithm>
#include <cmath>

namespace orvex {

namespace {

constexpr int mostGlyphs = 0xFFFE; ///< codes are two bytes, the first is the missing glyph's

/// Two bytes of a literal string, which is half as long as a hexadecimal one and takes half the time to compress.
void appendCode(std::string& literal, std::uint16_t code) {
    for (const auto byte : {static_cast<char>(code >> 8U), static_cast<char>(code & 0xFFU)}) {
        if (byte == '(' || byte == ')' || byte == '\\') {
            literal += '\\';
        }
        // A reader takes any end of line inside a string for a line feed.
        literal += byte == '\r' ? "\\r" : std::string_view(&byte, 1);
    }
}

std::u32string decoded(std::string_view utf8) {
    std::u32string text;
    text.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();) {
        text += nextCodePoint(utf8, at);
    }
    return text;
}

/// Readers see where a word ends by the blank that follows it, not by gaps alone.
std::u32string wordBreakAfter(std::u32string_view text) {
    const bool none = text.empty() || text.back() == U' ' || isWrittenWithoutSpaces(text.back());
    return none ? U"" : U" ";
}

} // namespace

std::uint16_t InvisibleFont::codeOf(char32_t character, const Font& measuring) {
    if (character < codes_.size() && codes_[character] != 0) {
        return codes_[character];
    }
    if (glyphs_.size() >= mostGlyphs) {
        return 0;
    }
    glyphs_.push_back({character, static_cast<int>(std::lround(measuring.advance(character) * 1000))});
    codes_.resize(std::max<std::size_t>(codes_.size(), character + std::size_t{1}));
    return codes_[character] = static_cast<std::uint16_t>(glyphs_.size());
}

void InvisibleFont::appendLine(std::string& content, std::string_view utf8, const Font& measuring) {
    const std::u32string text = decoded(utf8);
    content += '(';
    for (const char32_t character : visualOrder(text) + wordBreakAfter(text)) {
        appendCode(content, codeOf(character, measuring));
    }
    content += ") Tj\n";
}

QPDFObjectHandle InvisibleFont::makeObject(QPDF& pdf) const {
    CompositeFont font{"OrvexGlyphless", {}, false, 770, -230, {}};
    std::vector<int> advances = {1000};
    for (const auto& glyph : glyphs_) {
        font.glyphs.push_back({static_cast<std::uint32_t>(advances.size()), glyph.width, {glyph.character}});
        advances.push_back(glyph.width);
    }
    font.program = Bytes(makeGlyphlessTrueType(advances));
    return makeCompositeFont(pdf, font);
}

} // namespace orvex
