// What the names of glyphs say: "Aacute", "uni00C1", "f_f_i", "a.sc" as text.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orvex {

/// ITC Zapf Dingbats numbers its glyphs: "a1".
enum class GlyphNaming : unsigned char { common, dingbats };

/// UTF-8 for each name (without a slash), by the rules of the Adobe glyph list; empty where a name tells nothing. Many
/// names at once cost less than one by one. Threads: any.
[[nodiscard]] std::vector<std::string> textsOfGlyphNames(std::span<const std::string_view> names,
                                                         GlyphNaming naming = GlyphNaming::common);

/// The text of a glyph by its number in the fonts that everybody has, such as Arial and Times New Roman; empty for
/// other fonts (named as /BaseFont names them) and other glyphs.
[[nodiscard]] std::string textOfGlyphInUsualOrder(std::string_view fontName, std::uint32_t glyph);

/// Spells Latin ligatures out and makes no-break spaces plain: a glyph's text as people search for it.
void makePlain(std::string& utf8);

/// Of Unicode; surrogates and zero are none.
[[nodiscard]] constexpr bool isCharacter(std::uint32_t value) {
    return value > 0 && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
}

/// The characters of those names that the Adobe glyph list holds; its rarer names are looked up through FreeType.
[[nodiscard]] std::unordered_map<std::string_view, char32_t>
charactersOfRareGlyphNames(std::span<const std::string_view> names);

} // namespace orvex
