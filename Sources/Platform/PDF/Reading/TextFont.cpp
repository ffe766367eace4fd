#include "Platform/PDF/Reading/CompositeGlyphs_p.h"
#include "Platform/PDF/Reading/TextFont_p.h"

namespace orvex {

TextFont::TextFont() = default;
TextFont::~TextFont() = default;

TextGlyph TextFont::nextComposite(std::string_view& string, std::string& spare) const {
    return composite_->next(string, spare);
}

std::shared_ptr<const TextFont> TextFontCache::font(QPDFObjectHandle font) {
    const QPDFObjGen id = font.getObjGen();
    if (!id.isIndirect()) {
        return TextFont::make(font);
    }
    constexpr std::size_t mostKept = 4096; // a file with more is made to fill the memory
    const std::lock_guard lock(mutex_);
    if (fonts_.size() > mostKept) {
        fonts_.clear();
    }
    auto& kept = fonts_[id];
    if (!kept) {
        kept = TextFont::make(font);
    }
    return kept;
}

} // namespace orvex
