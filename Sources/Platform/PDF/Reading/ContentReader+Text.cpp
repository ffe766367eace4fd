#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/Reading/ContentReader_p.h"

#include <algorithm>
#include <cmath>

namespace orvex {

namespace {

bool isLongWhiteSpace(std::string_view text) {
    if (text.size() == 2) {
        return text == "\u00A0";
    }
    if (text.size() != 3) {
        return false;
    }
    return text == "\u3000" || text == "\u202F" || text == "\u205F" || (text >= "\u2000" && text <= "\u200A");
}

/// Blanks of all widths, and the controls that some maps have in their place.
inline bool isWhiteSpace(std::string_view text) {
    if (text.size() == 1) {
        return text[0] == ' ' || (text[0] >= '\t' && text[0] <= '\r');
    }
    return isLongWhiteSpace(text);
}

// Thousandths of an em: what moves the pen farther within a string is no kerning.
constexpr double smallMove = 150;

bool overlap(const Rect& a, const Rect& b) {
    return a.x < b.maxX() && b.x < a.maxX() && a.y < b.maxY() && b.y < a.maxY();
}

} // namespace

void ContentReader::showString(const Operand& string, const ContentScanner& scanner) {
    if (state_.font != nullptr) {
        show(scanner.bytesOf(string, stringBuffer_));
    }
}

/// What the content itself puts somewhere stands there on purpose, whatever the spacing was.
void ContentReader::endTracking() {
    if (!page_.glyphs.empty()) {
        page_.glyphs.back().tracking = 0;
    }
}

void ContentReader::showArray(const ContentScanner& scanner) {
    if (state_.font == nullptr) {
        return;
    }
    const bool vertical = state_.font->isVertical();
    for (const auto& operand : scanner.operands()) {
        if (operand.isString()) {
            show(scanner.bytesOf(operand, stringBuffer_));
        } else if (operand.kind == OperandKind::number) {
            if (std::abs(operand.number) > smallMove) {
                endTracking();
            }
            const double move = -operand.number / 1000 * state_.fontSize;
            textMatrix_ =
                vertical ? textMatrix_.translated(0, move) : textMatrix_.translated(move * state_.horizontalScaling, 0);
        }
    }
}

void ContentReader::show(std::string_view bytes) {
    if (bytes.empty()) {
        return;
    }
    const AffineTransform matrix = textMatrix_.followedBy(state_.ctm);
    updateStyle(matrix);
    const TextFont& font = *state_.font;
    const bool vertical = font.isVertical();
    const double em = page_.styles.back().em;
    const double size = state_.fontSize;
    const double scaling = vertical ? 1 : state_.horizontalScaling;
    const Point step = vertical ? Point{matrix.c, matrix.d} : Point{matrix.a, matrix.b};
    const Point start{matrix.tx + state_.rise * matrix.c, matrix.ty + state_.rise * matrix.d};
    const double toPage = size != 0 && scaling != 0 ? em / std::abs(size * (vertical ? 1 : scaling)) : 0;
    tracking_ = static_cast<float>(std::max(0.0, state_.characterSpacing * scaling * toPage));
    double pen = 0;
    while (!bytes.empty() && !exhausted_) {
        const TextGlyph glyph = font.next(bytes, spareText_);
        const double advance = static_cast<double>(glyph.advance);
        place(glyph.text, {start.x + pen * step.x, start.y + pen * step.y}, vertical ? -advance * em : advance * em);
        const double spacing = state_.characterSpacing + (glyph.wordSpace ? state_.wordSpacing : 0);
        pen += (advance * size + spacing) * scaling;
    }
    textMatrix_ = vertical ? textMatrix_.translated(0, pen) : textMatrix_.translated(pen, 0);
}

void ContentReader::updateStyle(const AffineTransform& matrix) {
    const StyleKey key{{matrix.a, matrix.b, matrix.c, matrix.d, 0, 0},
                       state_.font,
                       state_.fontSize,
                       state_.horizontalScaling,
                       state_.isTextLayer ? items_ : 0};
    if (page_.styles.empty() || key != styleKey_) {
        styleKey_ = key;
        addStyle();
    }
}

void ContentReader::addStyle() {
    const auto& [m, font, size, scaling, item] = styleKey_;
    Point along{m.a * size * scaling, m.b * size * scaling};
    Point up{m.c * size, m.d * size};
    double ascent = static_cast<double>(font->ascent());
    double descent = static_cast<double>(font->descent());
    if (font->isVertical()) { // the line runs down, its characters stand on both sides of it
        const Point across = along;
        along = {-up.x, -up.y};
        up = across;
        ascent = 0.5;
        descent = -0.5;
    }
    GlyphStyle style;
    style.em = std::hypot(along.x, along.y);
    if (style.em > 0) {
        style.direction = {along.x / style.em, along.y / style.em};
    }
    const double across = style.direction.x * up.y - style.direction.y * up.x;
    style.size = std::abs(across);
    style.gapEm = std::clamp(style.em, style.size / 2, style.size);
    style.mirrored = across < 0;
    style.left = std::min(ascent * up.x, descent * up.x);
    style.right = std::max(ascent * up.x, descent * up.x);
    style.below = std::min(ascent * up.y, descent * up.y);
    style.above = std::max(ascent * up.y, descent * up.y);
    style.item = item;
    const auto last = page_.styles.size() - 1;
    if (!page_.styles.empty() && (page_.glyphs.empty() || page_.glyphs.back().style != last)) {
        page_.styles.back() = style; // nothing was shown in it
    } else {
        page_.styles.push_back(style);
    }
}

/// As a selection of the media box would have it; of what is clipped away only what is so for sure is left out.
bool ContentReader::isShown(const Glyph& glyph, const GlyphStyle& style) const {
    const double x = glyph.origin.x + (style.direction.x * glyph.width + style.left + style.right) / 2;
    const double y = glyph.origin.y + (style.direction.y * glyph.width + style.below + style.above) / 2;
    if (!(x >= mediaBox_.x && x <= mediaBox_.maxX() && y >= mediaBox_.y && y <= mediaBox_.maxY())) {
        return false;
    }
    if (!state_.clip) {
        return true;
    }
    const Rect box = boxOf(glyph, style);
    const Rect middle{box.x + box.width / 4, box.y + box.height / 4, box.width / 2, box.height / 2};
    return overlap(middle, *state_.clip);
}

/// Of the bytes of text that are left; with too few of them reading ends.
bool ContentReader::take(std::size_t bytes) {
    const bool has = bytes <= limits_.textBytes;
    limits_.textBytes = has ? limits_.textBytes - bytes : 0;
    exhausted_ = exhausted_ || !has;
    return has;
}

void ContentReader::place(std::string_view text, Point origin, double width) {
    const GlyphStyle& style = page_.styles.back();
    if (hiddenMarks_ > 0 || !(style.size > 0)) {
        return;
    }
    Glyph glyph{origin, std::abs(width), text, tracking_, static_cast<std::uint32_t>(page_.styles.size() - 1)};
    if (width < 0) {
        glyph.origin = {origin.x + style.direction.x * width, origin.y + style.direction.y * width};
    }
    if (!isShown(glyph, style) || !take(text.size())) {
        return;
    }
    glyph.isBlank = isWhiteSpace(text);
    if (text.data() == spareText_.data()) {
        glyph.text = page_.texts.emplace_back(text);
    }
    page_.glyphs.push_back(glyph);
    exhausted_ = page_.glyphs.size() >= limits_.glyphs || (stopAtFirstText_ && replacingMarks_ == 0 && !glyph.isBlank &&
                                                           !trimWhitespaceAndNewlines(text).empty());
}

void ContentReader::beginMark(const ContentScanner& scanner) {
    const auto content = scanner.operation() == operatorCode("BDC")
                             ? resources_->markedContent(scanner.operands(), scanner)
                             : MarkedContent{};
    if (marks_.size() < limits_.savedStates) {
        marks_.push_back({content.hidden, content.actualText, page_.glyphs.size(), content.foundText.has_value()});
        if (content.foundText && !inItem_ && page_.foundTexts.size() < limits_.items &&
            isValidUTF8(*content.foundText) && take(content.foundText->size())) {
            inItem_ = true;
            page_.foundTexts[++items_] = {*content.foundText, state_.ctm.apply(content.foundBox)};
        }
        hiddenMarks_ += content.hidden ? 1 : 0;
        replacingMarks_ += content.actualText ? 1U : 0U;
    }
}

void ContentReader::endMark() {
    if (marks_.empty()) {
        return;
    }
    const Mark mark = std::move(marks_.back());
    marks_.pop_back();
    inItem_ = inItem_ && !mark.isItem;
    hiddenMarks_ -= mark.hidden ? 1 : 0;
    replacingMarks_ -= mark.actualText ? 1U : 0U;
    if (mark.actualText && mark.firstGlyph < page_.glyphs.size()) {
        replaceText(mark);
    }
}

/// The text goes to the first of the glyphs that it replaces, which grows over the others of its line.
void ContentReader::replaceText(const Mark& mark) {
    auto& glyphs = page_.glyphs;
    if (!take(glyphs.size() - mark.firstGlyph + mark.actualText->size())) {
        return;
    }
    std::string shown;
    for (std::size_t i = mark.firstGlyph; i < glyphs.size(); ++i) {
        shown += glyphs[i].text;
    }
    if (shown == *mark.actualText) {
        return;
    }
    const auto text = isValidUTF8(*mark.actualText) ? std::string_view(*mark.actualText) : std::string_view{};
    Glyph first = glyphs[mark.firstGlyph];
    const GlyphStyle& style = page_.styleOf(first);
    for (std::size_t i = mark.firstGlyph + 1; i < glyphs.size(); ++i) {
        const double dx = glyphs[i].origin.x - first.origin.x;
        const double dy = glyphs[i].origin.y - first.origin.y;
        const double off = dy * style.direction.x - dx * style.direction.y;
        if (std::abs(off) < style.size) {
            const double end = dx * style.direction.x + dy * style.direction.y + glyphs[i].width;
            first.width = std::max(first.width, end);
        }
    }
    glyphs.resize(mark.firstGlyph);
    if (!text.empty()) {
        first.text = page_.texts.emplace_back(text);
        first.isBlank = isWhiteSpace(text);
        glyphs.push_back(first);
    }
}

} // namespace orvex
