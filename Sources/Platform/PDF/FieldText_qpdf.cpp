#include "Platform/PDF/FieldText_p.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/ContentStream_p.h"
#include "Platform/PDF/FieldFrame_p.h"
#include "Platform/PDF/Reading/TextFontObjects_p.h"

#include <qpdf/QPDF.hh>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

namespace orvex {

namespace {

constexpr double smallestSize = 4;
constexpr double largestSize = 1000;
constexpr double usualSize = 12;      // of several lines that may have any
constexpr double leading = 1.15;      // between baselines
constexpr double firstLine = 0.9;     // of the size, below the edge
constexpr double capHeight = 0.72;    // Helvetica's
constexpr double shareOfHeight = 0.8; // that a line of any size takes of its box

std::vector<std::string_view> words(std::string_view text) {
    constexpr std::string_view blanks("\0\t\n\f\r ", 6);
    std::vector<std::string_view> found;
    for (std::size_t at = text.find_first_not_of(blanks); at != std::string_view::npos;) {
        const auto end = std::min(text.find_first_of(blanks, at), text.size());
        found.push_back(text.substr(at, end - at));
        at = text.find_first_not_of(blanks, end);
    }
    return found;
}

std::optional<double> numberOf(std::string_view word) {
    double value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value, std::chars_format::fixed);
    const bool isNumber = error == std::errc() && end == word.data() + word.size() && std::isfinite(value);
    return isNumber ? std::optional(value) : std::nullopt;
}

/// The last `count` of `operands`, and the operator; empty unless they are numbers.
std::string colorOperator(const std::vector<std::string_view>& operands, std::size_t count, std::string_view name) {
    std::string text;
    for (std::size_t i = operands.size() - std::min(count, operands.size()); i < operands.size(); ++i) {
        if (const auto value = numberOf(operands[i])) {
            appendNumber(text, std::clamp(*value, 0.0, 1.0));
            text += ' ';
            --count;
        }
    }
    return count == 0 ? text.append(name).append("\n") : std::string();
}

std::string_view takeCharacter(std::string_view& text) {
    std::size_t end = 0;
    (void)nextCodePoint(text, end);
    const auto character = text.substr(0, end);
    text.remove_prefix(end);
    return character;
}

/// The line in the font's own codes; none when it lacks a character.
std::optional<std::string> encoded(const FieldFont& font, std::string_view line) {
    std::string codes;
    while (!line.empty()) {
        const auto found = font.codes.find(takeCharacter(line));
        if (found == font.codes.end()) {
            return std::nullopt;
        }
        codes += found->second.first;
    }
    return codes;
}

std::shared_ptr<const Font> standIn(const FieldFont& font) {
    return Font::named(font.isBold ? "Helvetica Bold" : "Helvetica");
}

/// Breaks where words end, and inside those that are wider than the box.
std::vector<std::string> wrapped(std::string_view text, const FieldFont& font, double size, double width) {
    std::vector<std::string> lines;
    for (const auto paragraph : TextLines(text)) {
        std::string line;
        double used = 0;
        std::size_t lastBlank = std::string::npos;
        for (auto rest = paragraph; !rest.empty();) {
            const auto character = takeCharacter(rest);
            const double advance = FieldFonts::width(font, character, size);
            if (used + advance > width && !line.empty() && character != " ") {
                const auto keep = lastBlank == std::string::npos ? line.size() : lastBlank + 1;
                std::string carried = line.substr(keep);
                line.resize(keep);
                lines.push_back(std::move(line));
                line = std::move(carried);
                used = FieldFonts::width(font, line, size);
                lastBlank = std::string::npos;
            }
            lastBlank = character == " " ? line.size() : lastBlank;
            line += character;
            used += advance;
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

double padding(const FieldLayout& layout) {
    return 2 * std::max(layout.border, 1.0);
}

double startOf(double lineWidth, const FieldLayout& layout) {
    const double room = layout.box.width - lineWidth;
    return layout.quadding == 1 ? room / 2 : layout.quadding == 2 ? room - padding(layout) : padding(layout);
}

FieldLines manyLines(std::string_view text, const FieldFont& font, double size, const FieldLayout& layout) {
    const double width = layout.box.width - 2 * padding(layout);
    const double height = layout.box.height - 2 * padding(layout);
    FieldLines made{size > 0 ? size : usualSize, {}};
    auto lines = wrapped(text, font, made.size, width);
    while (size <= 0 && made.size > smallestSize && static_cast<double>(lines.size()) * leading * made.size > height) {
        made.size -= 1;
        lines = wrapped(text, font, made.size, width);
    }
    double y = layout.box.height - padding(layout) - firstLine * made.size;
    for (auto& line : lines) {
        if (y < -made.size) {
            break;
        }
        const auto seen = std::string_view(line).substr(0, line.find_last_not_of(' ') + 1);
        const double x = startOf(FieldFonts::width(font, seen, made.size), layout);
        made.lines.push_back({std::move(line), {x, y}});
        y -= leading * made.size;
    }
    return made;
}

FieldLines oneLine(std::string_view text, const FieldFont& font, double size, const FieldLayout& layout) {
    if (size <= 0) {
        const double width = FieldFonts::width(font, text, 1);
        const double room = layout.box.width - 2 * padding(layout);
        size = shareOfHeight * layout.box.height;
        size = layout.cells == 0 && width * size > room ? room / width : size;
        size = std::clamp(size, smallestSize, largestSize);
    }
    const double y = (layout.box.height - capHeight * size) / 2;
    FieldLines made{size, {}};
    if (layout.cells == 0) {
        made.lines.push_back({std::string(text), {startOf(FieldFonts::width(font, text, size), layout), y}});
        return made;
    }
    const double cell = layout.box.width / layout.cells;
    for (int i = 0; i < layout.cells && !text.empty(); ++i) {
        const auto character = takeCharacter(text);
        const double x = (i + 0.5) * cell - FieldFonts::width(font, character, size) / 2;
        made.lines.push_back({std::string(character), {x, y}});
    }
    return made;
}

} // namespace

DefaultAppearance readDefaultAppearance(std::string_view text) {
    DefaultAppearance result;
    std::vector<std::string_view> operands;
    for (const auto word : words(text)) {
        if (word == "Tf" && operands.size() >= 2 && operands[operands.size() - 2].starts_with('/')) {
            result.font = operands[operands.size() - 2];
            result.size = std::clamp(numberOf(operands.back()).value_or(0), 0.0, largestSize);
        } else if (word == "g" || word == "rg" || word == "k") {
            const auto color = colorOperator(operands, word == "g" ? 1 : word == "rg" ? 3 : 4, word);
            result.color = color.empty() ? result.color : color;
        } else {
            operands.push_back(word);
            continue;
        }
        operands.clear();
    }
    return result;
}

/// One object for all fields: readers make each font that stands for itself anew.
QPDFObjectHandle FieldFonts::standardFont(const std::string& name, const std::string& encoding) {
    auto& font = standardFonts_[name];
    if (!font.isInitialized()) {
        font = target_.makeIndirectObject(
            QPDFObjectHandle::parse("<< /Type /Font /Subtype /Type1 /BaseFont /" + name + " " + encoding + " >>"));
    }
    return font;
}

const FieldFont& FieldFonts::named(const std::string& name) {
    constexpr std::size_t mostFonts = 200; // a form with more is made to take time
    auto [known, isNew] = known_.try_emplace(known_.size() < mostFonts ? name : std::string());
    auto& font = known->second;
    if (!isNew) {
        return font;
    }
    font.name = name;
    font.object = fonts_.isDictionary() ? fonts_.getKey(name) : QPDFObjectHandle::newNull();
    if (!font.object.isDictionary()) { // many forms name Helvetica so without saying what it is
        font.object = standardFont("Helvetica", "/Encoding /WinAnsiEncoding");
    }
    font.isBold = fontName(font.object.getKey("/BaseFont")).find("Bold") != std::string::npos;
    if (font.object.getKey("/Subtype").isNameAndEquals("/Type0")) {
        return font; // its characters come from faces that stand in
    }
    const auto reader = TextFont::make(font.object);
    std::string spare;
    for (int code = 255; code >= 0; --code) { // the first of several codes counts
        const char byte = static_cast<char>(code);
        std::string_view string(&byte, 1);
        if (const auto glyph = reader->next(string, spare); !glyph.text.empty()) {
            font.codes.insert_or_assign(std::string(glyph.text), std::pair(byte, static_cast<double>(glyph.advance)));
        }
    }
    return font;
}

double FieldFonts::width(const FieldFont& font, std::string_view line, double size) {
    double width = 0;
    for (auto rest = line; !rest.empty();) {
        const auto found = font.codes.find(takeCharacter(rest));
        if (found == font.codes.end()) {
            const auto other = standIn(font);
            return other ? other->lineWidth(line) * size : 0;
        }
        width += found->second.second * size;
    }
    return width;
}

void FieldFonts::show(std::string& content, QPDFObjectHandle used, const FieldFont& font, std::string_view line,
                      double size, Point baseline) {
    const auto codes = encoded(font, line);
    if (!codes) {
        if (const auto other = standIn(font)) {
            const auto nameOf = [&](const FontFile& face) {
                auto& object = faces_[face];
                object = object.isInitialized() ? object : QPDFObjectHandle::newReserved(&target_);
                std::string name = "OrvexFace" + std::to_string(object.getObjectID());
                used.replaceKey("/" + name, object);
                return name;
            };
            outlines_.appendLine(content, nameOf, line, *other, size, baseline.x, baseline.y);
        }
        return;
    }
    content += "BT\n/OrvexField ";
    used.replaceKey("/OrvexField", font.object);
    appendOperator(content, {size}, "Tf");
    appendOperator(content, {baseline.x, baseline.y}, "Td");
    content += QPDFObjectHandle::newString(*codes).unparse() + " Tj\nET\n";
}

void FieldFonts::embed() {
    for (auto& [face, object] : outlines_.makeObjects(target_)) {
        target_.replaceReserved(faces_.at(face), object.unsafeShallowCopy());
    }
}

FieldLines layOut(std::string_view text, const FieldFont& font, double size, const FieldLayout& layout) {
    return layout.multiline ? manyLines(text, font, size, layout) : oneLine(text, font, size, layout);
}

} // namespace orvex
