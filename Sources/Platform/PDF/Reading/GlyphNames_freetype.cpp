#include "Platform/PDF/Reading/FreeType_p.h"
#include "Platform/PDF/Reading/GlyphNames_p.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

namespace orvex {

namespace {

constexpr std::size_t mostNames = 4096;

/// As Type 1 fonts hide their private part.
std::string encrypted(std::string_view plain, std::uint16_t key) {
    std::string cipher;
    for (const char c : "\1\1\1\1" + std::string(plain)) {
        const auto byte = static_cast<std::uint8_t>(static_cast<std::uint8_t>(c) ^ (key >> 8U));
        key = static_cast<std::uint16_t>((byte + key) * 52845U + 22719U);
        cipher += static_cast<char>(byte);
    }
    return cipher;
}

bool isAlphanumeric(std::string_view name) {
    return std::ranges::all_of(name, [](unsigned char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    });
}

/// A Type 1 font of empty glyphs with these names.
std::string fontOfNames(std::span<const std::string_view> names) {
    const std::string glyph = encrypted("\x8B\x8B\x0D\x0E", 4330); // 0 0 hsbw endchar
    const std::string data = std::to_string(glyph.size()) + " RD " + glyph + " ND\n";
    std::string hidden = "dup /Private 4 dict dup begin\n/RD {string currentfile exch readstring pop} def\n/ND {def} "
                         "def\n/BlueValues [] def\n2 index /CharStrings " +
                         std::to_string(names.size() + 1) + " dict dup begin\n/.notdef " + data;
    for (const auto name : names) {
        hidden.append("/").append(name).append(" ").append(data);
    }
    hidden +=
        "end\nend\nreadonly put\nnoaccess put\ndup /FontName get exch definefont pop\nmark currentfile closefile\n";
    return "%!PS-AdobeFont-1.0: Names\n/FontName /Names def\n/PaintType 0 def\n/FontType 1 def\n"
           "/FontMatrix [0.001 0 0 0.001 0 0] def\n/Encoding StandardEncoding def\n/FontBBox {0 0 0 0} def\n"
           "currentfile eexec\n" +
           encrypted(hidden, 55665);
}

} // namespace

/// FreeType holds the whole list, to give Type 1 fonts a Unicode map from the names of their glyphs, but does not show
/// it. So it is given a font that has the names, and its map is read.
std::unordered_map<std::string_view, char32_t> charactersOfRareGlyphNames(std::span<const std::string_view> names) {
    std::vector<std::string_view> wanted;
    std::ranges::copy_if(names.first(std::min(names.size(), mostNames)), std::back_inserter(wanted), isAlphanumeric);
    std::ranges::sort(wanted);
    wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
    std::unordered_map<std::string_view, char32_t> found;
    if (wanted.empty()) {
        return found;
    }
    const std::string program = fontOfNames(wanted);
    const FreeTypeFace opened(program);
    FT_Face face = opened.get();
    if (face == nullptr) {
        return found;
    }
    FT_Select_Charmap(face, FT_ENCODING_UNICODE);
    FT_UInt glyph = 0;
    for (FT_ULong character = FT_Get_First_Char(face, &glyph); glyph != 0;
         character = FT_Get_Next_Char(face, character, &glyph)) {
        std::array<char, 128> buffer{};
        FT_Get_Glyph_Name(face, glyph, buffer.data(), buffer.size());
        const auto name = std::ranges::lower_bound(wanted, std::string_view(buffer.data()));
        if (name != wanted.end() && *name == buffer.data()) {
            found.emplace(*name, static_cast<char32_t>(character));
        }
    }
    return found;
}

} // namespace orvex
