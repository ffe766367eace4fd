#include "Platform/PDF/Reading/TextFontBuilder_p.h"
#include "Platform/PDF/Reading/TextFontObjects_p.h"

#include <algorithm>

namespace orvex {

namespace {

using Metrics = CompositeFontParts::Metrics;

constexpr float thousandth = 0.001F;

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

/// Reads `[c [m m ...] c c m ...]`, where each m is `size` numbers: /W has one, /W2 has three.
std::vector<Metrics> readMetrics(QPDFObjectHandle array, int size) {
    std::vector<Metrics> metrics;
    const auto add = [&](QPDFObjectHandle from, int at, std::uint32_t first, std::uint32_t last) {
        const auto advance = fontNumber(from.getArrayItem(at));
        if (advance && first <= last) {
            const float x = size > 1 ? fontNumber(from.getArrayItem(at + 1)).value_or(0) : 0;
            const float y = size > 1 ? fontNumber(from.getArrayItem(at + 2)).value_or(0) : 0;
            metrics.push_back({first, last, *advance * thousandth, x * thousandth, y * thousandth});
        }
    };
    const int count = array.isArray() ? std::min(array.getArrayNItems(), mostFontArrayItems) : 0;
    for (int i = 0; i + 1 < count;) {
        const auto first = fontCode(array.getArrayItem(i));
        auto second = array.getArrayItem(i + 1);
        if (!first) {
            ++i;
        } else if (second.isArray()) {
            const int inner = std::min(second.getArrayNItems(), mostFontArrayItems);
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

std::shared_ptr<const CMap> namedEncoding(const std::string& name) {
    return CMap::identity(name.ends_with("-V"));
}

} // namespace

void TextFontBuilder::buildComposite() {
    auto descendants = fontEntry(font_, "/DescendantFonts");
    auto cidFont = descendants.isArray() ? descendants.getArrayItem(0) : descendants;
    descriptor_ = fontEntry(cidFont, "/FontDescriptor");
    CompositeFontParts parts;
    auto encoding = fontEntry(font_, "/Encoding");
    parts.encoding = encoding.isStream() ? embeddedCMap(encoding) : namedEncoding(fontName(encoding));
    parts.toUnicode = embeddedCMap(fontEntry(font_, "/ToUnicode"));
    parts.widths = readMetrics(fontEntry(cidFont, "/W"), 1);
    parts.width = fontNumber(fontEntry(cidFont, "/DW")).value_or(1000) * thousandth;
    readVertical(parts, cidFont);
    made_->vertical_ = parts.encoding->isVertical();
    made_->composite_ = std::make_unique<CompositeGlyphs>(std::move(parts));
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
