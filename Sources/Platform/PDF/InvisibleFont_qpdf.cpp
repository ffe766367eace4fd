#include "Platform/PDF/InvisibleFont_p.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/FontObjects_p.h"
#include "Platform/PDF/GlyphlessTrueType_p.h"
#include "Platform/Text/Bidi.h"
#include "Platform/Text/Scripts.h"

#include <qpdf/QPDF.hh>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace orvex {

namespace {

constexpr std::size_t mostGlyphs = 0xFFFE; ///< codes are two bytes, the first is the missing glyph's

bool isASCII(std::string_view text) {
    unsigned char bits = 0;
    for (const char byte : text) {
        bits |= static_cast<unsigned char>(byte);
    }
    return bits < 0x80;
}

/// Calls `show` with each character of a line from left to right, until it answers false, and with the blank behind
/// the line: readers see where a word ends by that blank, not by gaps alone.
template <class Show> bool forEachShown(std::string_view utf8, Show show) {
    if (isASCII(utf8)) { // as most lines are
        return std::ranges::all_of(utf8, show) && (utf8.ends_with(' ') || utf8.empty() || show(U' '));
    }
    const std::u32string text = codePoints(utf8);
    const bool wordBreak = text.back() != U' ' && !isWrittenWithoutSpaces(text.back());
    return std::ranges::all_of(visualOrder(text), show) && (!wordBreak || show(U' '));
}

} // namespace

/// Two bytes of a literal string, which is half as long as a hexadecimal one and takes half the time to compress.
InvisibleFont::Code InvisibleFont::makeCode(std::size_t glyph) {
    Code code;
    const auto put = [&code](char byte) { code.bytes.at(code.length++) = byte; };
    for (const auto byte : {static_cast<char>(glyph >> 8U & 0xFFU), static_cast<char>(glyph & 0xFFU)}) {
        if (byte == '(' || byte == ')' || byte == '\\' || byte == '\r') {
            put('\\');
        }
        put(byte == '\r' ? 'r' : byte); // a reader takes any end of line inside a string for a line feed
    }
    return code;
}

bool InvisibleFont::appendLine(std::string& content, std::string_view utf8) const {
    constexpr std::string_view operation = ") Tj\n";
    const std::size_t before = content.size();
    const Code missing = glyphs_.size() >= mostGlyphs ? makeCode(0) : Code{};
    content.resize(before + 1 + missing.bytes.size() * (utf8.size() + 1) + operation.size());
    char* at = content.data() + before;
    *at++ = '(';
    const bool shown = forEachShown(utf8, [&](char32_t character) {
        const bool known = character < codes_.size() && codes_[character].length > 0;
        const Code& code = known ? codes_[character] : missing;
        std::memcpy(at, code.bytes.data(), code.bytes.size()); // all of it: cheaper than as much as there is
        at += code.length;
        return code.length > 0;
    });
    at = std::ranges::copy(operation, at).out;
    content.resize(shown ? static_cast<std::size_t>(at - content.data()) : before);
    return shown;
}

void InvisibleFont::add(std::string_view utf8, const Font& measuring) {
    forEachShown(utf8, [&](char32_t character) {
        codes_.resize(std::max<std::size_t>(codes_.size(), character + std::size_t{1}));
        if (codes_[character].length == 0 && glyphs_.size() < mostGlyphs) {
            glyphs_.push_back({character, static_cast<int>(std::lround(measuring.advance(character) * 1000))});
            codes_[character] = makeCode(glyphs_.size());
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
