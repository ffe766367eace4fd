#include "Platform/PDF/ContentStream_p.h"

#include "Platform/PDF/InvisibleFont_p.h"
#include "Platform/PDF/PDFDocument.h"

#include <array>
#include <charconv>
#include <cmath>

namespace orvex {

void appendNumber(std::string& content, double value) {
    constexpr double largest = 1e9; // beyond it readers disagree; no page is that large
    if (!std::isfinite(value)) {
        value = 0;
    }
    value = std::min(std::max(value, -largest), largest);
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 6).ptr;
    std::string_view number(text.data(), static_cast<std::size_t>(end - text.data()));
    number.remove_suffix(number.size() - 1 - number.find_last_not_of('0'));
    if (number.ends_with('.')) {
        number.remove_suffix(1);
    }
    content += number == "-0" ? "0" : number;
}

namespace {

void appendMatrix(std::string& content, const AffineTransform& t) {
    for (const double number : {t.a, t.b, t.c, t.d, t.tx, t.ty}) {
        appendNumber(content, number);
        content += ' ';
    }
    content += "cm\n";
}

} // namespace

void ContentStreamContext::saveState() {
    ++depth_;
    (contentDrawn_ ? after_ : before_) += "q\n";
}

void ContentStreamContext::restoreState() {
    --depth_;
    (contentDrawn_ ? after_ : before_) += "Q\n";
    moveToOrigin();
}

void ContentStreamContext::concatenate(const AffineTransform& transform) {
    if (!contentDrawn_) {
        throw PDFWriteError("a page draws its content before anything else");
    }
    appendMatrix(after_, transform);
}

void ContentStreamContext::drawPageContent(const PDFPage& /*page*/, PDFDisplayBox /*box*/) {
    contentDrawn_ = true;
    moveToOrigin();
}

/// Page content stands in page space, everything else relative to the box: the shift follows the content's own state.
void ContentStreamContext::moveToOrigin() {
    if (contentDrawn_ && depth_ == 0 && origin_ != Point{}) {
        appendMatrix(after_, AffineTransform{}.translated(origin_.x, origin_.y));
        origin_ = {};
    }
}

void ContentStreamContext::drawText(std::string_view utf8, const std::shared_ptr<const Font>& font, double size,
                                    const Rect& rect, TextMode /*mode*/) {
    if (!contentDrawn_) {
        throw PDFWriteError("a page draws its content before anything else");
    }
    double top = rect.maxY();
    for (const auto line : textLines(utf8)) {
        font_.appendLine(after_, fontName_, line, *font, size, rect.x, top - Font::ascent() * size);
        top -= size;
    }
    drewText_ = true;
}

} // namespace orvex
