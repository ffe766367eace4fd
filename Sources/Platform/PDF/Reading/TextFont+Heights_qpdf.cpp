#include "Platform/PDF/Reading/StandardWidths_p.h"
#include "Platform/PDF/Reading/StreamBytes_p.h"
#include "Platform/PDF/Reading/TextFontBuilder_p.h"
#include "Platform/PDF/Reading/TextFontObjects_p.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace orvex {

namespace {

using Heights = TextFontHeights;

constexpr Heights usualHeights = {0.9F, -0.22F};

/// Of a font of text; what lies outside was not meant, or is in other units.
bool isPlausibleAscent(float ascent) {
    return ascent >= 0.3F && ascent <= 1.5F;
}
bool isPlausibleDescent(float descent) {
    return descent < -0.01F && descent >= -0.8F;
}
bool isPlausible(const Heights& heights) {
    return isPlausibleAscent(heights.ascent) && isPlausibleDescent(heights.descent);
}

/// More than a line takes: what the tallest and the deepest glyph of the whole font reach, as its bounding box does.
bool isTallerThanLines(const Heights& heights) {
    return heights.ascent - heights.descent > 1.25F;
}

/// Of a font of drawn glyphs, which may have any scale.
bool isPossible(const Heights& heights) {
    return heights.ascent > 0 && heights.ascent < 1e4F && heights.descent > -1e4F && heights.descent < heights.ascent;
}

/// By a rectangle of glyph space.
std::optional<Heights> heightsOfBox(QPDFObjectHandle box, float unit) {
    if (!box.isArray() || box.getArrayNItems() != 4) {
        return std::nullopt;
    }
    const float a = fontNumber(box.getArrayItem(1)).value_or(0) * unit;
    const float b = fontNumber(box.getArrayItem(3)).value_or(0) * unit;
    return a == b ? std::nullopt : std::optional(Heights{std::max(a, b), std::min(a, b)});
}

/// By the boxes that the glyphs' procedures begin with.
std::optional<Heights> heightsOfProcedures(QPDFObjectHandle procedures, float unit) {
    constexpr int mostLooked = 64;
    constexpr std::size_t enough = 200;
    std::optional<Heights> all;
    int looked = 0;
    for (const auto& name : procedures.isDictionary() ? procedures.getKeys() : std::set<std::string>()) {
        if (++looked > mostLooked) {
            break;
        }
        std::istringstream content(decodedBytes(procedures.getKey(name), enough));
        content.imbue(std::locale::classic());
        std::array<float, 6> operands{};
        std::string operation;
        for (float& operand : operands) {
            content >> operand;
        }
        content >> operation;
        const auto [low, high] = std::minmax({operands[3] * unit, operands[5] * unit});
        if (operation == "d1" && isPossible({high, low})) {
            all = {std::max(all ? all->ascent : high, high), std::min(all ? all->descent : low, low)};
        }
    }
    return all;
}

Heights heightsOfFace(StandardFace face) {
    switch (face) {
    case StandardFace::helvetica:
    case StandardFace::helveticaBold:
        return {0.718F, -0.207F};
    case StandardFace::courier:
        return {0.629F, -0.157F};
    case StandardFace::symbol:
        return {0.8F, -0.22F};
    case StandardFace::zapfDingbats:
        return {0.82F, -0.143F};
    default:
        return {0.683F, -0.217F};
    }
}

} // namespace

/// How much larger than a font of text the glyphs are, by the mean of their advances.
float TextFontBuilder::scaleOfAdvances() const {
    constexpr float usualAdvance = 0.5F;
    float sum = 0;
    float count = 0;
    for (const TextGlyph& glyph : made_->glyphs_) {
        sum += std::abs(glyph.advance);
        count += glyph.advance != 0 ? 1.0F : 0.0F;
    }
    return count > 0 ? sum / count / usualAdvance : 1;
}

TextFontHeights TextFontBuilder::heightsElsewhere() {
    const auto box = heightsOfBox(fontEntry(descriptor_, "/FontBBox"), thousandth);
    if (const auto standard = standardFaceNamed(name_)) {
        return heightsOfFace(*standard);
    }
    if (box && isPlausible(*box)) {
        return *box;
    }
    if (program() != nullptr && isPlausible({program()->ascent(), program()->descent()})) {
        return {program()->ascent(), program()->descent()};
    }
    return usualHeights;
}

TextFontHeights TextFontBuilder::heightsOfLines() {
    if (program() != nullptr && program()->statesLineHeights()) {
        const Heights stated{program()->ascent(), program()->descent()};
        return isPlausible(stated) ? stated : usualHeights;
    }
    return usualHeights;
}

void TextFontBuilder::readHeights() {
    const auto keep = [this](const Heights& heights) {
        made_->ascent_ = heights.ascent;
        made_->descent_ = heights.descent;
    };
    if (subtype_ == "/Type3") {
        auto matrix = fontEntry(font_, "/FontMatrix");
        const float unit = matrix.isArray() ? fontNumber(matrix.getArrayItem(3)).value_or(thousandth) : thousandth;
        auto heights = heightsOfBox(fontEntry(font_, "/FontBBox"), unit);
        if (!heights || !isPossible(*heights)) {
            heights = heightsOfProcedures(fontEntry(font_, "/CharProcs"), unit);
        }
        keep(heights.value_or(
            Heights{usualHeights.ascent * scaleOfAdvances(), usualHeights.descent * scaleOfAdvances()}));
        return;
    }
    // writers err in the sign
    const float ascent = std::abs(fontNumber(fontEntry(descriptor_, "/Ascent")).value_or(0)) * thousandth;
    const float descent = -std::abs(fontNumber(fontEntry(descriptor_, "/Descent")).value_or(0)) * thousandth;
    keep({ascent, descent});
    if (!isPlausible({ascent, descent})) {
        const Heights others = heightsElsewhere();
        keep({isPlausibleAscent(ascent) ? ascent : others.ascent,
              isPlausibleDescent(descent) ? descent : others.descent});
    }
    if (isTallerThanLines({made_->ascent_, made_->descent_})) {
        keep(heightsOfLines());
    }
}

} // namespace orvex
