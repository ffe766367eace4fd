#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/Reading/FontProgram_p.h"
#include "Platform/PDF/Reading/FreeType_p.h"
#include "Platform/PDF/Reading/GlyphNames_p.h"

#include FT_CID_H

#include <algorithm>
#include <array>
#include <string_view>

namespace orvex {

namespace {

bool isPrivate(FT_ULong character) {
    return (character >= 0xE000 && character <= 0xF8FF) || character >= 0xF0000;
}

} // namespace

struct FontProgram::Implementation {
    explicit Implementation(std::string program) : bytes(std::move(program)), opened(bytes) {}

    [[nodiscard]] FT_CharMap mapFor(FT_Encoding encoding) const {
        FT_Face face = opened.get();
        const std::span maps(face->charmaps, static_cast<std::size_t>(face->num_charmaps));
        const auto found = std::ranges::find(maps, encoding, [](FT_CharMap map) { return map->encoding; });
        return found == maps.end() ? nullptr : *found;
    }
    [[nodiscard]] FT_UInt glyph(FT_CharMap map, FT_ULong code) const {
        FT_Face face = opened.get();
        return map != nullptr && FT_Set_Charmap(face, map) == 0 ? FT_Get_Char_Index(face, code) : 0;
    }
    /// The characters that glyphs are mapped from; what is no private character wins, then the lowest.
    [[nodiscard]] std::vector<char32_t> charactersOfGlyphs() const;

    std::string bytes;
    FreeTypeFace opened;
};

std::vector<char32_t> FontProgram::Implementation::charactersOfGlyphs() const {
    FT_Face face = opened.get();
    std::vector<char32_t> characters(static_cast<std::size_t>(std::clamp<FT_Long>(face->num_glyphs, 0, 0x10000)));
    FT_CharMap map = mapFor(FT_ENCODING_UNICODE);
    if (map == nullptr || FT_Set_Charmap(face, map) != 0) {
        return characters;
    }
    FT_UInt glyph = 0;
    for (FT_ULong code = FT_Get_First_Char(face, &glyph); glyph != 0; code = FT_Get_Next_Char(face, code, &glyph)) {
        if (glyph < characters.size() && (characters[glyph] == 0 || isPrivate(characters[glyph]))) {
            characters[glyph] = static_cast<char32_t>(code);
        }
    }
    return characters;
}

std::unique_ptr<FontProgram> FontProgram::open(std::string bytes) {
    auto implementation = std::make_unique<Implementation>(std::move(bytes));
    if (implementation->opened.get() == nullptr) {
        return nullptr;
    }
    return std::unique_ptr<FontProgram>(new FontProgram(std::move(implementation)));
}

FontProgram::FontProgram(std::unique_ptr<Implementation> implementation) : implementation_(std::move(implementation)) {}
FontProgram::~FontProgram() = default;

std::uint32_t FontProgram::glyphCount() const {
    return static_cast<std::uint32_t>(std::max<FT_Long>(implementation_->opened.get()->num_glyphs, 0));
}

/// Type 1 and CFF have an encoding; symbolic TrueType fonts map their codes alone, at 0xF000, or through a Macintosh
/// map.
std::uint32_t FontProgram::glyphOfCode(std::uint8_t code) const {
    const auto& it = *implementation_;
    for (const FT_Encoding encoding :
         {FT_ENCODING_ADOBE_CUSTOM, FT_ENCODING_ADOBE_STANDARD, FT_ENCODING_ADOBE_EXPERT}) {
        if (FT_CharMap map = it.mapFor(encoding)) {
            return it.glyph(map, code);
        }
    }
    if (FT_CharMap map = it.mapFor(FT_ENCODING_MS_SYMBOL)) {
        for (const FT_ULong page : {0xF000U, 0x0000U, 0xF100U, 0xF200U}) {
            if (const FT_UInt glyph = it.glyph(map, page + code)) {
                return glyph;
            }
        }
    }
    if (const FT_UInt glyph = it.glyph(it.mapFor(FT_ENCODING_APPLE_ROMAN), code)) {
        return glyph;
    }
    return it.glyph(it.mapFor(FT_ENCODING_UNICODE), code);
}

bool FontProgram::isMacintoshCoded() const {
    const auto& it = *implementation_;
    FT_CharMap roman = it.mapFor(FT_ENCODING_APPLE_ROMAN);
    if (roman == nullptr || it.mapFor(FT_ENCODING_UNICODE) != nullptr) {
        return false;
    }
    constexpr std::array<FT_ULong, 5> undefinedInWindows = {0x81, 0x8D, 0x8F, 0x90, 0x9D};
    return it.mapFor(FT_ENCODING_MS_SYMBOL) == nullptr ||
           std::ranges::any_of(undefinedInWindows, [&](FT_ULong code) { return it.glyph(roman, code) != 0; });
}

std::uint32_t FontProgram::glyphNamed(const std::string& name) const {
    FT_Face face = implementation_->opened.get();
    return FT_HAS_GLYPH_NAMES(face) ? FT_Get_Name_Index(face, name.c_str()) : 0;
}

std::string FontProgram::ordering() const {
    const char* registry = nullptr;
    const char* ordering = nullptr;
    FT_Int supplement = 0;
    const bool has =
        FT_Get_CID_Registry_Ordering_Supplement(implementation_->opened.get(), &registry, &ordering, &supplement) == 0;
    return has && ordering != nullptr ? ordering : "";
}

std::vector<std::string> FontProgram::textsOfGlyphs(std::span<const std::uint32_t> glyphs) const {
    FT_Face face = implementation_->opened.get();
    std::vector<std::string> names(glyphs.size());
    if (FT_HAS_GLYPH_NAMES(face)) {
        std::array<char, 128> buffer{};
        for (std::size_t i = 0; i < glyphs.size(); ++i) {
            if (glyphs[i] != 0 && FT_Get_Glyph_Name(face, glyphs[i], buffer.data(), buffer.size()) == 0) {
                names[i] = buffer.data();
            }
        }
    }
    auto texts = textsOfGlyphNames(std::vector<std::string_view>(names.begin(), names.end()));
    const bool isSFNT = FT_IS_SFNT(face);
    const auto characters = isSFNT ? implementation_->charactersOfGlyphs() : std::vector<char32_t>();
    for (std::size_t i = 0; i < glyphs.size(); ++i) {
        const char32_t mapped = glyphs[i] < characters.size() ? characters[glyphs[i]] : 0;
        if (mapped != 0 && (texts[i].empty() || !isPrivate(mapped))) {
            texts[i].clear();
            appendUTF8(texts[i], mapped);
        }
    }
    return texts;
}

std::optional<float> FontProgram::advance(std::uint32_t glyph) const {
    FT_Face face = implementation_->opened.get();
    if (FT_Load_Glyph(face, glyph, FT_LOAD_NO_SCALE | FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP) != 0 ||
        face->units_per_EM == 0) {
        return std::nullopt;
    }
    return static_cast<float>(face->glyph->metrics.horiAdvance) / static_cast<float>(face->units_per_EM);
}

bool FontProgram::statesLineHeights() const {
    return FT_IS_SFNT(implementation_->opened.get());
}

float FontProgram::ascent() const {
    FT_Face face = implementation_->opened.get();
    return face->units_per_EM == 0 ? 0 : static_cast<float>(face->ascender) / static_cast<float>(face->units_per_EM);
}

float FontProgram::descent() const {
    FT_Face face = implementation_->opened.get();
    return face->units_per_EM == 0 ? 0 : static_cast<float>(face->descender) / static_cast<float>(face->units_per_EM);
}

} // namespace orvex
