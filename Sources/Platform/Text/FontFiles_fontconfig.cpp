#include "Platform/Text/FontFiles_p.h"

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

} // namespace orvex
