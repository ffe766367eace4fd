#include "Platform/PDF/Reading/CompositeGlyphs_p.h"
#include "Platform/PDF/Reading/TextFont_p.h"

namespace orvex {

TextFont::TextFont() = default;
TextFont::~TextFont() = default;

TextGlyph TextFont::nextComposite(std::string_view& string, std::string& spare) const {
    return composite_->next(string, spare);
}

std::shared_ptr<const TextFont> TextFontCache::font(QPDFObjectHandle font, IfNew ifNew) {
    const QPDFObjGen id = font.getObjGen();
    if (!id.isIndirect()) {
        return ifNew == IfNew::make ? TextFont::make(font) : nullptr;
    }
    // a file with more is made to fill the memory
    constexpr std::size_t mostKept = 4096;
    constexpr std::size_t mostCost = std::size_t{512} << 20;
    const std::lock_guard lock(mutex_);
    if (const auto kept = fonts_.find(id); kept != fonts_.end()) {
        return kept->second;
    }
    if (ifNew == IfNew::leave) {
        return nullptr;
    }
    if (fonts_.size() > mostKept || cost_ > mostCost) {
        fonts_.clear();
        cost_ = 0;
    }
    const auto& made = fonts_.emplace(id, TextFont::make(font)).first->second;
    cost_ += made->cost();
    return made;
}

} // namespace orvex
