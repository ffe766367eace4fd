#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/Reading/GlyphNames_p.h"
#include "Platform/PDF/Reading/TextFontBuilder_p.h"
#include "Platform/PDF/Reading/TextFontObjects_p.h"

#include <algorithm>

namespace orvex {

namespace {

constexpr float thousandth = 0.001F;

/// "/ABCDEF+Name" without slash and tag.
std::string plainName(const std::string& name) {
    std::string plain = name.empty() ? name : name.substr(1);
    const bool tagged = plain.size() > 7 && plain[6] == '+' &&
                        std::all_of(plain.begin(), plain.begin() + 6, [](char c) { return c >= 'A' && c <= 'Z'; });
    return tagged ? plain.substr(7) : plain;
}

} // namespace

std::shared_ptr<const TextFont> TextFont::make(QPDFObjectHandle font) {
    return TextFontBuilder(font).build();
}

TextFontBuilder::TextFontBuilder(QPDFObjectHandle font)
    : font_(font), descriptor_(fontEntry(font, "/FontDescriptor")), subtype_(fontName(fontEntry(font, "/Subtype"))),
      name_(plainName(fontName(fontEntry(font, "/BaseFont")))), made_(new TextFont) {}

std::shared_ptr<const TextFont> TextFontBuilder::build() {
    if (subtype_ == "/Type0") {
        buildComposite();
    } else {
        buildSimple();
    }
    readHeights();
    return made_;
}

void TextFontBuilder::buildSimple() {
    const auto flags = fontNumber(fontEntry(descriptor_, "/Flags"));
    symbolic_ = flags && (static_cast<unsigned>(*flags) & 4U) != 0;
    Texts texts;
    readEncoding(texts);
    readToUnicode(texts);
    readWidths();
    setTexts(texts);
}

BaseEncoding TextFontBuilder::defaultEncoding() const {
    if (name_ == "Symbol") {
        return BaseEncoding::symbol;
    }
    if (name_ == "ZapfDingbats") {
        return BaseEncoding::zapfDingbats;
    }
    return subtype_ == "/TrueType" ? BaseEncoding::winAnsi : BaseEncoding::standard;
}

void TextFontBuilder::readEncoding(Texts& texts) {
    auto encoding = fontEntry(font_, "/Encoding");
    const auto named = encoding.isDictionary() ? fontEntry(encoding, "/BaseEncoding") : encoding;
    const BaseEncoding base = baseEncodingNamed(fontName(named)).value_or(defaultEncoding());
    for (std::size_t code = 0; code < texts.size(); ++code) {
        if (const char16_t character = encodingOf(base).at(code); character != 0) {
            appendUTF8(texts.at(code), character);
        }
    }
    readDifferences(texts, fontEntry(encoding, "/Differences"));
}

void TextFontBuilder::readDifferences(Texts& texts, QPDFObjectHandle differences) {
    if (!differences.isArray()) {
        return;
    }
    std::array<std::string, 256> names;
    std::size_t code = 0;
    const int count = std::min(differences.getArrayNItems(), mostFontArrayItems);
    for (int i = 0; i < count; ++i) {
        auto item = differences.getArrayItem(i);
        if (item.isName() && code < names.size()) {
            names.at(code++) = item.getName().substr(1);
        } else if (const auto start = fontCode(item)) {
            code = *start;
        }
    }
    const std::vector<std::string_view> views(names.begin(), names.end());
    auto named = textsOfGlyphNames(views);
    for (std::size_t at = 0; at < names.size(); ++at) {
        if (!names.at(at).empty()) {
            texts.at(at) = std::move(named[at]);
        }
    }
}

void TextFontBuilder::readToUnicode(Texts& texts) {
    const auto map = embeddedCMap(fontEntry(font_, "/ToUnicode"));
    if (!map || !map->hasTexts()) {
        return;
    }
    for (std::size_t code = 0; code < texts.size(); ++code) {
        std::string text;
        if (map->appendText(text, static_cast<std::uint32_t>(code)) && !text.empty() && text[0] != '\0') {
            texts.at(code) = std::move(text);
        }
    }
}

void TextFontBuilder::setTexts(const Texts& texts) {
    for (const auto& text : texts) {
        made_->texts_ += text;
    }
    std::size_t at = 0;
    for (std::size_t code = 0; code < texts.size(); ++code) {
        TextGlyph& glyph = made_->glyphs_.at(code);
        glyph.code = static_cast<std::uint32_t>(code);
        glyph.wordSpace = code == ' ';
        glyph.text = std::string_view(made_->texts_).substr(at, texts.at(code).size());
        at += texts.at(code).size();
    }
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
    const auto first = fontCode(fontEntry(font_, "/FirstChar")).value_or(0);
    if (!widths.isArray()) {
        return;
    }
    for (int i = 0; i < widths.getArrayNItems() && first + static_cast<unsigned>(i) < 256; ++i) {
        if (const auto width = fontNumber(widths.getArrayItem(i))) {
            made_->glyphs_.at(first + static_cast<unsigned>(i)).advance = *width * unit;
        }
    }
}

void TextFontBuilder::readHeights() {
    const auto ascent = fontNumber(fontEntry(descriptor_, "/Ascent")).value_or(0) * thousandth;
    const auto descent = fontNumber(fontEntry(descriptor_, "/Descent")).value_or(0) * thousandth;
    made_->ascent_ = ascent > 0.2F && ascent < 2 ? ascent : 0.9F;
    made_->descent_ = descent < 0 && descent > -1 ? descent : -0.2F;
}

} // namespace orvex
