#include "Platform/Text/FontsModule_p.h"

#include "Platform/Foundation/Module.h"

#include <algorithm>

namespace orvex {

const FontsModule& fontsModule() {
    static const auto& loaded = *static_cast<const FontsModule*>(
        loadModule(ORVEX_FONTS_MODULE, "orvexFontsModule", "what finds and shapes fonts"));
    return loaded;
}

ShapedLine shapeLine(std::string_view utf8, const Font& font) {
    return fontsModule().shaped(utf8, font);
}

TextExtent measureShownText(std::string_view utf8, const Font& font, double size) {
    TextExtent extent;
    for (const auto line : TextLines(utf8)) {
        extent.width = std::max(extent.width, shapeLine(line, font).width * size);
        extent.height += size;
    }
    return extent;
}

std::optional<FontSubset> subsetFont(const FontFile& font, const std::set<std::uint32_t>& glyphs) {
    return fontsModule().cutDown(font, glyphs);
}

} // namespace orvex
