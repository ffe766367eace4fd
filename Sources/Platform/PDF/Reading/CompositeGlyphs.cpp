#include "Platform/PDF/Reading/CompositeGlyphs_p.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/Reading/GlyphNames_p.h"

#include <algorithm>

namespace orvex {

namespace {

const CompositeFontParts::Metrics* find(const std::vector<CompositeFontParts::Metrics>& metrics, std::uint32_t id) {
    const auto after = std::ranges::upper_bound(metrics, id, {}, &CompositeFontParts::Metrics::first);
    return after != metrics.begin() && id <= std::prev(after)->last ? &*std::prev(after) : nullptr;
}

/// The character that a code is in a coding of Unicode.
std::uint32_t decoded(CMap::Code code, TextCoding coding) {
    if (coding == TextCoding::utf32 || (coding == TextCoding::utf16 && code.length == 2)) {
        return code.value;
    }
    if (coding == TextCoding::utf16) {
        return 0x10000 + (((code.value >> 16U) & 0x3FFU) << 10U) + (code.value & 0x3FFU);
    }
    std::string bytes;
    for (unsigned at = code.length; coding == TextCoding::utf8 && at > 0; --at) {
        bytes += static_cast<char>((code.value >> ((at - 1) * 8)) & 0xFFU);
    }
    std::size_t at = 0;
    return isValidUTF8(bytes) && !bytes.empty() ? nextCodePoint(bytes, at) : 0;
}

bool appendDecoded(std::string& text, CMap::Code code, TextCoding coding) {
    const std::uint32_t character = coding == TextCoding::none ? 0 : decoded(code, coding);
    if (isCharacter(character)) {
        appendUTF8(text, character);
        return true;
    }
    return false;
}

} // namespace

CompositeGlyphs::Page::Page() {
    ++alive;
}
CompositeGlyphs::Page::~Page() {
    --alive;
}

CompositeGlyphs::CompositeGlyphs(CompositeFontParts parts, int pages) : parts_(std::move(parts)), mostPages_(pages) {}

CompositeGlyphs::~CompositeGlyphs() {
    for (auto& slot : oneByte_) {
        delete slot.load();
    }
    for (auto& slot : twoByte_) {
        delete slot.load();
    }
}

TextGlyph CompositeGlyphs::next(std::string_view& string, std::string& spare) const {
    CMap::Code code;
    if (parts_.encoding->isTwoByte() && string.size() >= 2) {
        code.value = static_cast<std::uint32_t>((static_cast<std::uint8_t>(string[0]) << 8) |
                                                static_cast<std::uint8_t>(string[1]));
        code.length = 2;
    } else {
        code = parts_.encoding->next(string);
    }
    string.remove_prefix(code.length);
    return glyph(code, spare);
}

TextGlyph CompositeGlyphs::glyph(CMap::Code code, std::string& spare) const {
    const std::uint32_t number = code.value / pageSize;
    const CMap::Code first{number * pageSize, code.length};
    const Page* page = code.length == 2   ? shortPage(twoByte_[number], first)
                       : code.length == 1 ? shortPage(oneByte_[number], first)
                                          : longPage((std::uint64_t{code.length} << 32U) | number, first);
    if (page != nullptr) {
        return page->glyphs[code.value % pageSize];
    }
    const std::uint32_t id = parts_.encoding->identifier(code).value_or(0);
    TextGlyph made = makeGlyph(code, id);
    spare = textOf(code, id);
    made.text = spare;
    return made;
}

/// Two threads may make the same page; the first one's stays.
const CompositeGlyphs::Page* CompositeGlyphs::shortPage(std::atomic<const Page*>& slot, CMap::Code first) const {
    const Page* present = slot.load(std::memory_order_acquire);
    if (present == nullptr && Page::alive < mostPages_) {
        auto made = makePage(first);
        if (slot.compare_exchange_strong(present, made.get(), std::memory_order_acq_rel)) {
            present = made.release();
        }
    }
    return present;
}

const CompositeGlyphs::Page* CompositeGlyphs::longPage(std::uint64_t key, CMap::Code first) const {
    const std::lock_guard lock(longMutex_);
    if (const auto kept = longer_.find(key); kept != longer_.end()) {
        return kept->second.get();
    }
    return Page::alive < mostPages_ ? longer_.emplace(key, makePage(first)).first->second.get() : nullptr;
}

std::unique_ptr<const CompositeGlyphs::Page> CompositeGlyphs::makePage(CMap::Code first) const {
    auto page = std::make_unique<Page>();
    std::array<std::size_t, pageSize + 1> ends{};
    for (std::uint32_t i = 0; i < pageSize; ++i) {
        const CMap::Code code{first.value + i, first.length};
        const std::uint32_t id = parts_.encoding->identifier(code).value_or(0);
        page->glyphs.at(i) = makeGlyph(code, id);
        page->texts += textOf(code, id);
        ends.at(i + 1) = page->texts.size();
    }
    for (std::size_t i = 0; i < pageSize; ++i) {
        page->glyphs.at(i).text = std::string_view(page->texts).substr(ends.at(i), ends.at(i + 1) - ends.at(i));
    }
    return page;
}

TextGlyph CompositeGlyphs::makeGlyph(CMap::Code code, std::uint32_t id) const {
    TextGlyph glyph;
    glyph.code = code.value;
    glyph.length = code.length;
    glyph.wordSpace = code.length == 1 && code.value == ' ';
    const auto* horizontal = find(parts_.widths, id);
    const float width = horizontal != nullptr ? horizontal->advance : parts_.width;
    if (!parts_.encoding->isVertical()) {
        glyph.advance = width;
    } else if (const auto* vertical = find(parts_.verticals, id)) {
        glyph.advance = vertical->advance;
        glyph.originX = vertical->originX;
        glyph.originY = vertical->originY;
    } else {
        glyph.advance = parts_.advance;
        glyph.originX = width / 2;
        glyph.originY = parts_.originY;
    }
    return glyph;
}

std::string CompositeGlyphs::textOf(CMap::Code code, std::uint32_t id) const {
    std::string text;
    const bool told = (parts_.toUnicode && parts_.toUnicode->appendText(text, code.value)) ||
                      appendDecoded(text, code, parts_.coding) ||
                      (parts_.ofIdentifiers && parts_.ofIdentifiers->appendText(text, id));
    if (!told && id < parts_.glyphTexts.size()) {
        text = parts_.glyphTexts[id];
    }
    makePlain(text);
    return text;
}

} // namespace orvex
