#include "Platform/PDF/FieldFrame_p.h"

#include "Platform/PDF/ContentStream_p.h"
#include "Platform/PDF/Numbers_p.h"
#include "Platform/PDF/Saving/Items_p.h"

#include <algorithm>
#include <array>

namespace orvex {

namespace {

constexpr double widest = 100;

/// The operator for a colour of one, three or four components; empty for others, which mean none.
std::string colorOperator(QPDFObjectHandle color, const std::array<const char*, 3>& names) {
    const auto components = firstItems(color, 5);
    std::string text;
    for (const auto& component : components) {
        double value = 0;
        (void)readNumber(component, value);
        appendNumber(text, std::clamp(value, 0.0, 1.0));
        text += ' ';
    }
    const auto count = components.size();
    const char* name = count == 1 ? names[0] : count == 3 ? names[1] : count == 4 ? names[2] : nullptr;
    return name != nullptr ? text + name + "\n" : std::string();
}

std::string dashOperator(QPDFObjectHandle dashes) {
    std::string text = "[ ";
    double sum = 0;
    for (const auto& dash : firstItems(dashes, 10)) {
        double length = 0;
        if (readNumber(dash, length) && length >= 0) {
            appendNumber(text, length);
            text += ' ';
            sum += length;
        }
    }
    return sum > 0 ? text + "] 0 d\n" : "[3] 0 d\n";
}

/// A closed path around the box, `inset` within.
void appendEllipse(std::string& content, Size box, double inset) {
    const double x = box.width / 2;
    const double y = box.height / 2;
    const double r = std::max(0.0, std::min(x, y) - inset);
    const double k = r * quarterCircle;
    appendOperator(content, {x + r, y}, "m");
    appendOperator(content, {x + r, y + k, x + k, y + r, x, y + r}, "c");
    appendOperator(content, {x - k, y + r, x - r, y + k, x - r, y}, "c");
    appendOperator(content, {x - r, y - k, x - k, y - r, x, y - r}, "c");
    appendOperator(content, {x + k, y - r, x + r, y - k, x + r, y}, "c");
    content += "h\n";
}

/// The inner edges of a raised or a sunk box: two at the left and the top, the others opposite.
void appendEdges(std::string& content, Size box, double width, bool isRaised) {
    const double w = box.width - width;
    const double h = box.height - width;
    content += isRaised ? "1 g\n" : "0.5 g\n";
    appendOperator(content, {width, width}, "m");
    appendOperator(content, {width, h}, "l");
    appendOperator(content, {w, h}, "l");
    appendOperator(content, {w - width, h - width}, "l");
    appendOperator(content, {2 * width, h - width}, "l");
    appendOperator(content, {2 * width, 2 * width}, "l");
    content += isRaised ? "f\n0.5 g\n" : "f\n0.75 g\n";
    appendOperator(content, {w, h}, "m");
    appendOperator(content, {w, width}, "l");
    appendOperator(content, {width, width}, "l");
    appendOperator(content, {2 * width, 2 * width}, "l");
    appendOperator(content, {w - width, 2 * width}, "l");
    appendOperator(content, {w - width, h - width}, "l");
    content += "f\n";
}

} // namespace

void appendOperator(std::string& content, std::initializer_list<double> operands, std::string_view operation) {
    for (const double number : operands) {
        appendNumber(content, number);
        content += ' ';
    }
    content.append(operation).append("\n");
}

FieldFrame::FieldFrame(QPDFObjectHandle widget) {
    if (auto look = widget.getKey("/MK"); look.isDictionary()) {
        fill = colorOperator(look.getKey("/BG"), {"g", "rg", "k"});
        stroke = colorOperator(look.getKey("/BC"), {"G", "RG", "K"});
    }
    width = 1;
    auto given = widget.getKey("/BS");
    if (given.isDictionary()) {
        (void)readNumber(given.getKey("/W"), width);
        auto name = given.getKey("/S");
        style = name.isName() && name.getName().size() > 1 ? name.getName()[1] : 'S';
        dashes = dashOperator(given.getKey("/D"));
    } else if (auto border = firstItems(widget.getKey("/Border"), 4); border.size() >= 3) {
        (void)readNumber(border[2], width);
        style = border.size() > 3 && border[3].isArray() ? 'D' : 'S';
        dashes = dashOperator(border.size() > 3 ? border[3] : QPDFObjectHandle::newNull());
    }
    width = stroke.empty() ? 0 : std::clamp(width, 0.0, widest);
}

std::string FieldFrame::rectangle(Size box) const {
    std::string content;
    if (!fill.empty()) {
        content += "q\n" + fill;
        appendOperator(content, {0, 0, box.width, box.height}, "re f\nQ");
    }
    if (width <= 0) {
        return content;
    }
    content += "q\n";
    if (style == 'B' || style == 'I') {
        appendEdges(content, box, width, style == 'B');
    }
    content += stroke + (style == 'D' ? dashes : "");
    appendOperator(content, {width}, "w");
    if (style == 'U') {
        appendOperator(content, {0, width / 2}, "m");
        appendOperator(content, {box.width, width / 2}, "l S\nQ");
    } else {
        appendOperator(content, {width / 2, width / 2, box.width - width, box.height - width}, "re S\nQ");
    }
    return content;
}

std::string FieldFrame::circle(Size box) const {
    std::string content;
    if (!fill.empty()) {
        content += "q\n" + fill;
        appendEllipse(content, box, 0);
        content += "f\nQ\n";
    }
    if (width > 0) {
        content += "q\n" + stroke + (style == 'D' ? dashes : "");
        appendOperator(content, {width}, "w");
        appendEllipse(content, box, width / 2);
        content += "S\nQ\n";
    }
    return content;
}

std::string FieldFrame::dividers(Size box, int cells) const {
    std::string content;
    if (width <= 0) {
        return content;
    }
    content = "q\n" + stroke;
    appendOperator(content, {width}, "w");
    for (int i = 1; i < cells; ++i) {
        appendOperator(content, {i * box.width / cells, 0}, "m");
        appendOperator(content, {i * box.width / cells, box.height}, "l");
    }
    return content + "S\nQ\n";
}

} // namespace orvex
