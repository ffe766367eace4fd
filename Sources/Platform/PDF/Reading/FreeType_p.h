// FreeType's library and faces, closed when they go.
#pragma once

#include <ft2build.h>
#include FT_FREETYPE_H

#include <memory>
#include <string_view>
#include <type_traits>

namespace orvex {

/// A face out of memory with a library of its own: FreeType's libraries are not shared between threads.
class FreeTypeFace {
public:
    /// `program` stays where it is for as long as the face lives. get() is null when it is no font.
    explicit FreeTypeFace(std::string_view program) {
        FT_Library library = nullptr;
        if (FT_Init_FreeType(&library) != 0) {
            return;
        }
        library_.reset(library);
        FT_Face face = nullptr;
        if (FT_New_Memory_Face(library, reinterpret_cast<const FT_Byte*>(program.data()),
                               static_cast<FT_Long>(program.size()), 0, &face) == 0) {
            face_.reset(face);
        }
    }
    [[nodiscard]] FT_Face get() const { return face_.get(); }

private:
    struct Close {
        void operator()(FT_Library library) const { FT_Done_FreeType(library); }
        void operator()(FT_Face face) const { FT_Done_Face(face); }
    };
    std::unique_ptr<std::remove_pointer_t<FT_Library>, Close> library_;
    std::unique_ptr<std::remove_pointer_t<FT_Face>, Close> face_;
};

} // namespace orvex
