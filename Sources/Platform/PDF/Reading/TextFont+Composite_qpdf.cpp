#include "Platform/PDF/Reading/GlyphNames_p.h"
#include "Platform/PDF/Reading/StandardWidths_p.h"
#include "Platform/PDF/Reading/StreamBytes_p.h"
#include "Platform/PDF/Reading/TextFontBuilder_p.h"
#include "Platform/PDF/Reading/TextFontObjects_p.h"

#include <algorithm>
#include <numeric>

namespace orvex {

namespace {

using Metrics = CompositeFontParts::Metrics;

constexpr std::uint32_t mostUsualGlyphs = 640; ///< that textOfGlyphInUsualOrder() knows

/// Sorts; where two overlap, the one that begins later, or is listed later, holds.
std::vector<Metrics> settled(std::vector<Metrics> metrics) {
    std::ranges::stable_sort(metrics, {}, &Metrics::first);
    std::vector<Metrics> apart;
    for (const Metrics& next : metrics) {
        std::optional<Metrics> rest;
        if (!apart.empty() && apart.back().last >= next.first) {
            if (apart.back().last > next.last) {
                rest = apart.back();
                rest->first = next.last + 1;
            }
            if (apart.back().first == next.first) {
                apart.pop_back();
            } else {
                apart.back().last = next.first - 1;
            }
        }
        apart.push_back(next);
        if (rest) {
            apart.push_back(*rest);
        }
    }
    return apart;
}

/// Reads `[c [m m ...] c c m ...]`, where each m is `size` numbers: /W has one, /W2 has three. Inner arrays may be one
/// and the same, so items are counted each time that they are looked at.
std::vector<Metrics> readMetrics(QPDFObjectHandle array, int size) {
    std::vector<Metrics> metrics;
    int left = mostFontArrayItems;
    const auto add = [&](QPDFObjectHandle from, int at, std::uint32_t first, std::uint32_t last) {
        const auto advance = fontNumber(from.getArrayItem(at));
        if (advance && first <= last) {
            const float x = size > 1 ? fontNumber(from.getArrayItem(at + 1)).value_or(0) : 0;
            const float y = size > 1 ? fontNumber(from.getArrayItem(at + 2)).value_or(0) : 0;
            metrics.push_back({first, last, *advance * thousandth, x * thousandth, y * thousandth});
        }
    };
    const int count = array.isArray() ? std::min(array.getArrayNItems(), mostFontArrayItems) : 0;
    for (int i = 0; i + 1 < count && left > 0; --left) {
        const auto first = fontCode(array.getArrayItem(i));
        auto second = array.getArrayItem(i + 1);
        if (!first) {
            ++i;
        } else if (second.isArray()) {
            const int inner = std::min(second.getArrayNItems(), left);
            left -= inner;
            for (int k = 0; k + size <= inner && *first + static_cast<std::uint32_t>(k / size) <= 0xFFFF; k += size) {
                const std::uint32_t id = *first + static_cast<std::uint32_t>(k / size);
                add(second, k, id, id);
            }
            i += 2;
        } else {
            if (i + 1 + size < count) {
                add(array, i + 2, *first, fontCode(second).value_or(*first));
            }
            i += 2 + size;
        }
    }
    return settled(std::move(metrics));
}

/// A map that is a stream may build upon another one that is.
std::shared_ptr<const CMap> mapOf(QPDFObjectHandle object, int depth = 0) {
    constexpr int deepest = 4;
    if (!object.isStream()) {
        const std::string name = fontName(object);
        return name.empty() ? nullptr : CMap::named(std::string_view(name).substr(1));
    }
    const auto base = fontEntry(object, "/UseCMap");
    return embeddedCMap(object, CMap::named, depth < deepest ? mapOf(base, depth + 1) : nullptr);
}

/// How the codes of maps named so are Unicode themselves.
TextCoding codingOf(QPDFObjectHandle encoding) {
    const std::string name = fontName(encoding);
    const auto says = [&name](std::string_view word) { return name.find(word) != std::string::npos; };
    if (!name.starts_with("/Uni")) {
        return TextCoding::none;
    }
    return says("UTF32") ? TextCoding::utf32 : says("UTF8") ? TextCoding::utf8 : TextCoding::utf16;
}

/// By /CIDToGIDMap, which without a stream is the identity.
std::vector<std::uint32_t> glyphsOfIdentifiers(QPDFObjectHandle map, std::uint32_t count) {
    constexpr std::size_t longest = 0x20000;
    std::vector<std::uint32_t> glyphs;
    if (map.isStream()) {
        const std::string bytes = decodedBytes(map, longest);
        for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
            glyphs.push_back(static_cast<std::uint32_t>((static_cast<std::uint8_t>(bytes[at]) << 8) |
                                                        static_cast<std::uint8_t>(bytes[at + 1])));
        }
    } else {
        glyphs.resize(std::min<std::uint32_t>(count, 0x10000));
        std::iota(glyphs.begin(), glyphs.end(), 0U);
    }
    return glyphs;
}

/// Named maps belong to no file.
std::size_t costOf(const CompositeFontParts& parts) {
    std::size_t cost = (parts.widths.size() + parts.verticals.size()) * sizeof(Metrics);
    for (const std::string& text : parts.glyphTexts) {
        cost += sizeof(std::string) + text.size();
    }
    return cost + (parts.toUnicode ? parts.toUnicode->cost() : 0);
}

} // namespace

void TextFontBuilder::buildComposite() {
    auto descendants = fontEntry(font_, "/DescendantFonts");
    auto cidFont = descendants.isArray() ? descendants.getArrayItem(0) : descendants;
    descriptor_ = fontEntry(cidFont, "/FontDescriptor");
    CompositeFontParts parts;
    auto encoding = fontEntry(font_, "/Encoding");
    parts.encoding = mapOf(encoding);
    if (!parts.encoding) {
        parts.encoding = CMap::identity(fontName(encoding).ends_with("-V"));
    }
    parts.coding = codingOf(encoding);
    parts.widths = readMetrics(fontEntry(cidFont, "/W"), 1);
    parts.width = fontNumber(fontEntry(cidFont, "/DW")).value_or(1000) * thousandth;
    textsOfIdentifiers(parts, cidFont);
    readVertical(parts, cidFont);
    made_->vertical_ = parts.encoding->isVertical();
    made_->cost_ += costOf(parts) + (encoding.isStream() ? parts.encoding->cost() : 0);
    made_->composite_ = std::make_unique<CompositeGlyphs>(std::move(parts));
}

void TextFontBuilder::textsOfIdentifiers(CompositeFontParts& parts, QPDFObjectHandle cidFont) {
    auto toUnicode = fontEntry(font_, "/ToUnicode");
    toUnicode = toUnicode.isNull() ? fontEntry(cidFont, "/ToUnicode") : toUnicode; // some writers misplace it
    if (toUnicode.isStream()) {
        parts.toUnicode = embeddedCMap(toUnicode, CMap::named);
    } else if (const std::string name = fontName(toUnicode); name.starts_with("/Identity")) {
        parts.toUnicode = CMap::identityTexts();
    } else if (!name.empty()) {
        parts.ofIdentifiers = CMap::named(std::string_view(name).substr(1));
    }
    std::string ordering = parts.encoding->ordering();
    if (ordering.empty() || ordering == "Identity") {
        auto named = fontEntry(fontEntry(cidFont, "/CIDSystemInfo"), "/Ordering");
        ordering = named.isString() ? named.getStringValue() : std::string();
    }
    if (!parts.ofIdentifiers && !ordering.empty()) {
        parts.ofIdentifiers = CMap::named("Adobe-" + ordering + "-UCS2");
    }
    if (!parts.ofIdentifiers && (!parts.toUnicode || !parts.toUnicode->hasTexts())) {
        textsFromGlyphs(parts, cidFont);
    }
}

void TextFontBuilder::textsFromGlyphs(CompositeFontParts& parts, QPDFObjectHandle cidFont) {
    const std::string ordering = program() != nullptr ? program()->ordering() : std::string();
    if (!ordering.empty()) {
        parts.ofIdentifiers = CMap::named("Adobe-" + ordering + "-UCS2");
        return;
    }
    const auto glyphs = glyphsOfIdentifiers(fontEntry(cidFont, "/CIDToGIDMap"),
                                            program() != nullptr ? program()->glyphCount() : mostUsualGlyphs);
    parts.glyphTexts =
        program() != nullptr ? program()->textsOfGlyphs(glyphs) : std::vector<std::string>(glyphs.size());
    const bool tell = std::ranges::any_of(parts.glyphTexts, [](const std::string& text) { return !text.empty(); });
    for (std::size_t i = 0; !tell && i < glyphs.size(); ++i) {
        parts.glyphTexts[i] = textOfGlyphInUsualOrder(name_, glyphs[i]);
    }
}

void TextFontBuilder::readVertical(CompositeFontParts& parts, QPDFObjectHandle cidFont) {
    auto defaults = fontEntry(cidFont, "/DW2");
    if (defaults.isArray() && defaults.getArrayNItems() >= 2) {
        parts.originY = fontNumber(defaults.getArrayItem(0)).value_or(880) * thousandth;
        parts.advance = fontNumber(defaults.getArrayItem(1)).value_or(-1000) * thousandth;
    }
    if (parts.encoding->isVertical()) {
        parts.verticals = readMetrics(fontEntry(cidFont, "/W2"), 3);
    }
}

} // namespace orvex
