// The module that finds, shapes and cuts down installed fonts. Reading and measuring text need none of it.
#pragma once

#include "Platform/Text/FontSubset.h"
#include "Platform/Text/Shaping.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace orvex {

struct FontsModule {
    /// The file of an upright face of exactly this family, regular or bold; empty when none is installed.
    std::string (*installedFontFile)(const std::string& family, bool bold);
    ShapedLine (*shaped)(std::string_view utf8, const Font& font);
    std::optional<FontSubset> (*cutDown)(const FontFile& font, const std::set<std::uint32_t>& glyphs);
};

/// Loads it with the first call. Throws std::runtime_error. Threads: any.
[[nodiscard]] const FontsModule& fontsModule();

// From here on: within the module.

std::string installedFontFile(const std::string& family, bool bold);
ShapedLine shaped(std::string_view utf8, const Font& font);
std::optional<FontSubset> cutDown(const FontFile& font, const std::set<std::uint32_t>& glyphs);

/// A scalable face that has the character, as near as can be to a sans serif; none when no installed face has it.
/// Bitmap and colour faces are passed over: a page cannot carry them as text.
std::optional<FontFile> fontFileWith(char32_t character, bool bold);

} // namespace orvex
