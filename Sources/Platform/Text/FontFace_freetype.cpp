#include "Platform/Text/FontFace_p.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_ADVANCES_H

#include <cmath>
#include <memory>
#include <type_traits>

namespace orvex {

namespace {

using Library = std::unique_ptr<std::remove_pointer_t<FT_Library>, decltype(&FT_Done_FreeType)>;
using Face = std::unique_ptr<std::remove_pointer_t<FT_Face>, decltype(&FT_Done_Face)>;

Library openLibrary() {
    FT_Library library = nullptr;
    FT_Init_FreeType(&library);
    return {library, FT_Done_FreeType};
}

Face openFace(FT_Library library, const std::string& path) {
    FT_Face face = nullptr;
    if (library != nullptr) {
        FT_New_Face(library, path.c_str(), 0, &face);
    }
    return {face, FT_Done_Face};
}

} // namespace

std::optional<FaceAdvances> readFaceAdvances(const std::string& path) {
    const Library library = openLibrary();
    const Face face = openFace(library.get(), path);
    if (!face || face->units_per_EM == 0 || FT_Select_Charmap(face.get(), FT_ENCODING_UNICODE) != 0) {
        return std::nullopt;
    }
    FaceAdvances advances;
    FT_UInt glyph = 0;
    for (FT_ULong code = FT_Get_First_Char(face.get(), &glyph); glyph != 0;
         code = FT_Get_Next_Char(face.get(), code, &glyph)) {
        FT_Fixed units = 0;
        if (FT_Get_Advance(face.get(), glyph, FT_LOAD_NO_SCALE, &units) == 0) {
            const double ems = static_cast<double>(units) / face->units_per_EM;
            advances[static_cast<char32_t>(code)] = std::round(ems * 1000) / 1000;
        }
    }
    return advances;
}

} // namespace orvex
