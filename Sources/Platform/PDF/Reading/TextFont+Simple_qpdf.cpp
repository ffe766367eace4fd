#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/Reading/Encoding_p.h"
#include "Platform/PDF/Reading/GlyphNames_p.h"
#include "Platform/PDF/Reading/StandardWidths_p.h"
#include "Platform/PDF/Reading/TextFontBuilder_p.h"
#include "Platform/PDF/Reading/TextFontObjects_p.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace orvex {

namespace {

constexpr unsigned symbolicFlag = 1U << 2U;

/// The number that ends a name such as "g65", "C0041" or "cid_12"; none when that is not all there is.
std::optional<std::uint32_t> numberOf(std::string_view name, int base) {
    const std::size_t at = name.find_first_of("0123456789");
    if (at == std::string_view::npos || at > 4) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    const char* end = name.data() + name.size();
    const auto [stopped, error] = std::from_chars(name.data() + at, end, value, base);
    return error == std::errc() && stopped == end ? std::optional(value) : std::nullopt;
}

/// A number that is likely to be the code of a character.
bool isPrintable(std::uint32_t character) {
    return character >= 0x20 && character <= 0xFF && (character < 0x7F || character > 0x9F);
}

} // namespace

void TextFontBuilder::buildSimple() {
    const float flags = fontNumber(fontEntry(descriptor_, "/Flags")).value_or(0);
    flags_ = flags > 0 ? static_cast<unsigned>(flags) : 0;
    readWidths();
    readDifferences();
    textsFromToUnicode();
    textsFromNames();
    textsFromEncoding();
    if (!hasWidths_) {
        addMissingWidths();
    }
    keepTexts();
}

void TextFontBuilder::readWidths() {
    float unit = thousandth;
    if (subtype_ == "/Type3") {
        auto matrix = fontEntry(font_, "/FontMatrix");
        unit = matrix.isArray() ? fontNumber(matrix.getArrayItem(0)).value_or(thousandth) : thousandth;
    }
    const float missing = fontNumber(fontEntry(descriptor_, "/MissingWidth")).value_or(0) * unit;
    for (TextGlyph& glyph : made_->glyphs_) {
        glyph.advance = missing;
    }
    auto widths = fontEntry(font_, "/Widths");
    const std::uint32_t first = fontCode(fontEntry(font_, "/FirstChar")).value_or(0);
    hasWidths_ = widths.isArray() && widths.getArrayNItems() > 0;
    const int count = widths.isArray() ? std::min(widths.getArrayNItems(), 256) : 0;
    for (int i = 0; i < count && first + static_cast<std::uint32_t>(i) < 256; ++i) {
        if (const auto width = fontNumber(widths.getArrayItem(i))) {
            made_->glyphs_.at(first + static_cast<std::uint32_t>(i)).advance = *width * unit;
        }
    }
}

void TextFontBuilder::readDifferences() {
    auto differences = fontEntry(fontEntry(font_, "/Encoding"), "/Differences");
    if (!differences.isArray()) {
        return;
    }
    std::size_t code = 0;
    const int count = std::min(differences.getArrayNItems(), mostFontArrayItems);
    for (int i = 0; i < count; ++i) {
        auto item = differences.getArrayItem(i);
        if (item.isName() && code < names_.size()) {
            names_.at(code++) = fontName(item).substr(1);
        } else if (const auto start = fontCode(item)) {
            code = *start;
        }
    }
}

void TextFontBuilder::textsFromToUnicode() {
    auto object = fontEntry(font_, "/ToUnicode");
    const auto map = object.isName() ? CMap::identityTexts() : embeddedCMap(object, CMap::named);
    made_->cost_ += map ? map->cost() : 0;
    for (std::size_t code = 0; map && code < texts_.size(); ++code) {
        map->appendText(texts_.at(code), static_cast<std::uint32_t>(code));
    }
}

/// Codes whose glyphs have a width are meant to be shown.
bool TextFontBuilder::isUsed(std::size_t code) const {
    return !hasWidths_ || made_->glyphs_.at(code).advance != 0;
}

void TextFontBuilder::textsFromNames() {
    std::vector<std::string_view> names;
    std::vector<std::size_t> codes;
    for (std::size_t code = 0; code < texts_.size(); ++code) {
        if (texts_.at(code).empty() && !names_.at(code).empty()) {
            names.emplace_back(names_.at(code));
            codes.push_back(code);
        }
    }
    auto texts = textsOfGlyphNames(names, name_.find("Dingbats") == std::string::npos ? GlyphNaming::common
                                                                                      : GlyphNaming::dingbats);
    for (std::size_t i = 0; i < codes.size(); ++i) {
        texts_.at(codes[i]) = std::move(texts[i]);
    }
    textsFromNumberedNames();
}

/// Some writers number their glyphs: "g36" is a glyph of the embedded program, anything else a character code. The
/// numbers are hexadecimal when one has a letter or leading zeros.
void TextFontBuilder::textsFromNumberedNames() {
    std::vector<std::size_t> codes;
    bool decimal = true;
    for (std::size_t code = 0; code < texts_.size(); ++code) {
        const std::string& name = names_.at(code);
        if (texts_.at(code).empty() && !name.empty() && name != ".notdef") {
            codes.push_back(code);
            decimal = decimal && numberOf(name, 10) && name.substr(1, 2) != "00";
        }
    }
    std::vector<std::uint32_t> glyphs;
    for (const std::size_t code : codes) {
        glyphs.push_back(numberOf(names_.at(code), decimal ? 10 : 16).value_or(0));
    }
    const bool areGlyphs = isEmbedded() && std::ranges::all_of(codes, [this](std::size_t code) {
                               return names_.at(code).front() == 'g' && numberOf(names_.at(code), 16);
                           });
    auto texts = areGlyphs && !codes.empty() && program() != nullptr ? program()->textsOfGlyphs(glyphs)
                                                                     : std::vector<std::string>(codes.size());
    for (std::size_t i = 0; i < codes.size(); ++i) {
        if (areGlyphs && texts[i].empty()) {
            texts[i] = textOfGlyphInUsualOrder(name_, glyphs[i]);
        } else if (!areGlyphs && isPrintable(glyphs[i])) {
            appendUTF8(texts[i], glyphs[i]);
        }
        texts_.at(codes[i]) = std::move(texts[i]);
    }
}

void TextFontBuilder::textsFromEncoding() {
    auto encoding = fontEntry(font_, "/Encoding");
    const auto named =
        baseEncodingNamed(fontName(encoding.isDictionary() ? fontEntry(encoding, "/BaseEncoding") : encoding));
    const bool isTrueType = subtype_ == "/TrueType";
    const auto standard = standardFaceNamed(name_);
    BaseEncoding base = BaseEncoding::standard;
    if (named) {
        base = *named;
    } else if (isEmbedded() && !isTrueType) {
        textsFromProgram();
    } else if (isEmbedded() && (encoding.isNull() || (flags_ & symbolicFlag) != 0)) {
        textsFromProgram();
        base = program() != nullptr && program()->isMacintoshCoded() ? BaseEncoding::macRoman : BaseEncoding::winAnsi;
    } else if (standard == StandardFace::symbol) {
        base = BaseEncoding::symbol;
    } else if (standard == StandardFace::zapfDingbats) {
        base = BaseEncoding::zapfDingbats;
    }
    for (std::size_t code = 0; code < texts_.size(); ++code) {
        const char16_t character = encodingOf(base).at(code);
        if (character != 0 && texts_.at(code).empty() && names_.at(code).empty()) {
            appendUTF8(texts_.at(code), character);
        }
    }
}

void TextFontBuilder::textsFromProgram() {
    std::vector<std::size_t> codes;
    for (std::size_t code = 0; code < texts_.size(); ++code) {
        if (texts_.at(code).empty() && names_.at(code).empty() && isUsed(code)) {
            codes.push_back(code);
        }
    }
    if (codes.empty() || program() == nullptr) {
        return;
    }
    std::vector<std::uint32_t> glyphs;
    for (const std::size_t code : codes) {
        glyphs.push_back(program()->glyphOfCode(static_cast<std::uint8_t>(code)));
    }
    auto texts = program()->textsOfGlyphs(glyphs);
    for (std::size_t i = 0; i < codes.size(); ++i) {
        texts_.at(codes[i]) = std::move(texts[i]);
    }
}

void TextFontBuilder::addMissingWidths() {
    const StandardFace face = standardFaceLike(name_, flags_);
    FontProgram* const embedded = isEmbedded() ? program() : nullptr;
    for (std::size_t code = 0; code < texts_.size(); ++code) {
        std::optional<float> advance;
        if (embedded != nullptr) {
            const std::uint32_t named = names_.at(code).empty() ? 0 : embedded->glyphNamed(names_.at(code));
            const std::uint32_t glyph = named != 0 ? named : embedded->glyphOfCode(static_cast<std::uint8_t>(code));
            advance = glyph != 0 ? embedded->advance(glyph) : std::nullopt;
        }
        std::size_t at = 0;
        if (!advance && !texts_.at(code).empty()) {
            advance = standardAdvance(face, nextCodePoint(texts_.at(code), at));
        }
        if (advance && subtype_ != "/Type3") {
            made_->glyphs_.at(code).advance = *advance;
        }
    }
}

void TextFontBuilder::keepTexts() {
    for (auto& text : texts_) {
        makePlain(text);
        made_->texts_ += text;
    }
    std::size_t at = 0;
    for (std::size_t code = 0; code < texts_.size(); ++code) {
        TextGlyph& glyph = made_->glyphs_.at(code);
        glyph.code = static_cast<std::uint32_t>(code);
        glyph.wordSpace = code == ' ';
        glyph.text = std::string_view(made_->texts_).substr(at, texts_.at(code).size());
        at += texts_.at(code).size();
    }
}

} // namespace orvex
