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

constexpr std::size_t mostGlyphs = 0xFFFE; ///< codes are two bytes, the first is the missing glyph's

constexpr std::size_t longestCode = 4;

/// Two bytes of a literal string, which is half as long as a hexadecimal one and takes half the time to compress.
/// Returns where they end.
char* putCode(char* at, std::uint16_t code) {
    for (const auto byte : {static_cast<char>(code >> 8U), static_cast<char>(code & 0xFFU)}) {
        if (byte == '(' || byte == ')' || byte == '\\') {
            *at++ = '\\';
        }
        if (byte == '\r') { // a reader takes any end of line inside a string for a line feed
            *at++ = '\\';
            *at++ = 'r';
        } else {
            *at++ = byte;
        }
    }
    return at;
}

std::u32string decoded(std::string_view utf8) {
    std::u32string text;
    text.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();) {
        text += nextCodePoint(utf8, at);
    }
    return text;
}

/// Calls `show` with each character of a line from left to right, until it answers false, and with the blank behind
/// the line: readers see where a word ends by that blank, not by gaps alone.
template <class Show> bool forEachShown(std::string_view utf8, Show show) {
    bool ascii = true;
    for (const char byte : utf8) {
        ascii = ascii && static_cast<unsigned char>(byte) < 0x80;
    }
    if (ascii) { // as most lines are
        return std::ranges::all_of(utf8, show) && (utf8.ends_with(' ') || utf8.empty() || show(U' '));
    }
    const std::u32string text = decoded(utf8);
    const bool wordBreak = text.back() != U' ' && !isWrittenWithoutSpaces(text.back());
    return std::ranges::all_of(visualOrder(text), show) && (!wordBreak || show(U' '));
}

} // namespace

std::uint16_t InvisibleFont::codeOf(char32_t character) const {
    return character < codes_.size() ? codes_[character] : 0;
}

bool InvisibleFont::appendLine(std::string& content, std::string_view utf8) const {
    constexpr std::string_view operation = ") Tj\n";
    const std::size_t before = content.size();
    const bool full = glyphs_.size() >= mostGlyphs;
    content.resize(before + 1 + longestCode * (utf8.size() + 1) + operation.size());
    char* at = content.data() + before;
    *at++ = '(';
    const bool shown = forEachShown(utf8, [&](char32_t character) {
        const std::uint16_t code = codeOf(character);
        at = putCode(at, code);
        return code != 0 || full;
    });
    at = std::ranges::copy(operation, at).out;
    content.resize(shown ? static_cast<std::size_t>(at - content.data()) : before);
    return shown;
}

void InvisibleFont::add(std::string_view utf8, const Font& measuring) {
    forEachShown(utf8, [&](char32_t character) {
        if (codeOf(character) == 0 && glyphs_.size() < mostGlyphs) {
            glyphs_.push_back({character, static_cast<int>(std::lround(measuring.advance(character) * 1000))});
            codes_.resize(std::max<std::size_t>(codes_.size(), character + std::size_t{1}));
            codes_[character] = static_cast<std::uint16_t>(glyphs_.size());
        }
        return true;
    });
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
