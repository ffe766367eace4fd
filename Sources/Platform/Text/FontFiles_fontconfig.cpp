#include "Platform/Text/FontsModule_p.h"

#include <fontconfig/fontconfig.h>

#include <memory>

namespace orvex {

namespace {

using Pattern = std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)>;

const FcChar8* chars(const std::string& text) {
    return reinterpret_cast<const FcChar8*>(text.c_str());
}

/// fontconfig always answers; whether it answered with what was asked for shows in the family.
bool isOfFamily(FcPattern* match, const std::string& family) {
    FcChar8* name = nullptr;
    for (int i = 0; FcPatternGetString(match, FC_FAMILY, i, &name) == FcResultMatch; ++i) {
        if (FcStrCmpIgnoreCase(name, chars(family)) == 0) {
            return true;
        }
    }
    return false;
}

bool isFace(FcPattern* match, bool bold) {
    int weight = 0;
    int slant = 0;
    return FcPatternGetInteger(match, FC_WEIGHT, 0, &weight) == FcResultMatch &&
           FcPatternGetInteger(match, FC_SLANT, 0, &slant) == FcResultMatch && slant == FC_SLANT_ROMAN &&
           weight == (bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
}

/// A scalable TrueType or OpenType face that has the character; none for any other.
std::optional<FontFile> embeddableFileWith(FcPattern* font, char32_t character) {
    FcBool outline = FcFalse;
    FcBool color = FcFalse;
    FcCharSet* covered = nullptr;
    FcChar8* format = nullptr;
    FcChar8* file = nullptr;
    FcPatternGetBool(font, FC_OUTLINE, 0, &outline);
    FcPatternGetBool(font, FC_COLOR, 0, &color);
    const bool usable = outline == FcTrue && color == FcFalse &&
                        FcPatternGetCharSet(font, FC_CHARSET, 0, &covered) == FcResultMatch &&
                        FcCharSetHasChar(covered, character) == FcTrue &&
                        FcPatternGetString(font, FC_FONTFORMAT, 0, &format) == FcResultMatch &&
                        (FcStrCmp(format, chars("TrueType")) == 0 || FcStrCmp(format, chars("CFF")) == 0) &&
                        FcPatternGetString(font, FC_FILE, 0, &file) == FcResultMatch;
    int index = 0;
    FcPatternGetInteger(font, FC_INDEX, 0, &index);
    constexpr int variation = ~0xFFFF; // the upper half names an instance of a variable face
    return usable && (index & variation) == 0
               ? std::optional(FontFile{reinterpret_cast<const char*>(file), static_cast<unsigned>(index)})
               : std::nullopt;
}

} // namespace

std::string installedFontFile(const std::string& family, bool bold) {
    const Pattern wanted(FcPatternCreate(), FcPatternDestroy);
    FcPatternAddString(wanted.get(), FC_FAMILY, chars(family));
    FcPatternAddInteger(wanted.get(), FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddInteger(wanted.get(), FC_SLANT, FC_SLANT_ROMAN);
    FcConfigSubstitute(nullptr, wanted.get(), FcMatchPattern);
    FcDefaultSubstitute(wanted.get());
    FcResult result = FcResultNoMatch;
    const Pattern match(FcFontMatch(nullptr, wanted.get(), &result), FcPatternDestroy);
    FcChar8* file = nullptr;
    const bool usable = match && isOfFamily(match.get(), family) && isFace(match.get(), bold) &&
                        FcPatternGetString(match.get(), FC_FILE, 0, &file) == FcResultMatch;
    return usable ? reinterpret_cast<const char*>(file) : std::string{};
}

std::optional<FontFile> fontFileWith(char32_t character, bool bold) {
    const std::unique_ptr<FcCharSet, decltype(&FcCharSetDestroy)> set(FcCharSetCreate(), FcCharSetDestroy);
    FcCharSetAddChar(set.get(), character);
    const Pattern wanted(FcPatternCreate(), FcPatternDestroy);
    FcPatternAddString(wanted.get(), FC_FAMILY, chars("sans-serif"));
    FcPatternAddInteger(wanted.get(), FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddCharSet(wanted.get(), FC_CHARSET, set.get());
    FcPatternAddBool(wanted.get(), FC_OUTLINE, FcTrue);
    FcConfigSubstitute(nullptr, wanted.get(), FcMatchPattern);
    FcDefaultSubstitute(wanted.get());
    FcResult result = FcResultNoMatch;
    const std::unique_ptr<FcFontSet, decltype(&FcFontSetDestroy)> fonts(
        FcFontSort(nullptr, wanted.get(), FcFalse, nullptr, &result), FcFontSetDestroy);
    for (int i = 0; fonts && i < fonts->nfont; ++i) {
        if (auto file = embeddableFileWith(fonts->fonts[i], character)) {
            return file;
        }
    }
    return std::nullopt;
}

} // namespace orvex
