#include "Platform/PDF/OnlyDrawing.h"

#include "Platform/PDF/Reading/ContentScanner_p.h"

#include <algorithm>
#include <span>

namespace orvex {
namespace {

using Kind = PDFObject::Kind;

/// The content of a scan is a line; what is longer holds something else besides.
constexpr std::size_t mostContentBytes = 1024;

/// The streams of the page's content, one behind the other. Empty for more than a scan would have.
std::string contentOf(const PDFObject& page) {
    const PDFObject contents = page.get("Contents");
    const std::size_t count = contents.kind() == Kind::array ? contents.count() : 1;
    std::string content;
    for (std::size_t i = 0; i < count && content.size() <= mostContentBytes; ++i) {
        const PDFObject stream = contents.kind() == Kind::array ? contents.at(i) : contents;
        const auto data = stream.streamData(mostContentBytes + 1);
        if (!data) {
            return {};
        }
        content += std::string(data->bytes.text()) + "\n";
    }
    return content.size() <= mostContentBytes ? content : std::string();
}

/// An upright placement: where the unit square comes to lie.
struct Placement {
    double width = 1, height = 1, x = 0, y = 0;

    /// The operands of cm; false for what turns, mirrors or slants.
    bool concatenate(std::span<const Operand> matrix) {
        const auto isNumber = [](const Operand& operand) { return operand.kind == OperandKind::number; };
        if (matrix.size() != 6 || !std::ranges::all_of(matrix, isNumber)) {
            return false;
        }
        x += width * matrix[4].number;
        y += height * matrix[5].number;
        width *= matrix[0].number;
        height *= matrix[3].number;
        return matrix[1].number == 0 && matrix[2].number == 0 && width > 0 && height > 0;
    }
};

std::optional<OnlyDrawing> onlyDrawingOf(const std::string& content) {
    ContentScanner scanner(content);
    std::optional<OnlyDrawing> drawn;
    Placement placement;
    int saved = 0; // restoring comes after drawing, when the placement no longer matters
    while (scanner.next()) {
        const auto operands = scanner.operands();
        switch (scanner.operation()) {
        case operatorCode("q"):
            ++saved;
            break;
        case operatorCode("Q"):
            if (!drawn || --saved < 0) {
                return std::nullopt;
            }
            break;
        case operatorCode("cm"):
            if (drawn || !placement.concatenate(operands)) {
                return std::nullopt;
            }
            break;
        case operatorCode("Do"):
            if (drawn || operands.size() != 1 || operands[0].kind != OperandKind::name ||
                operands[0].text.find('#') != std::string_view::npos) {
                return std::nullopt;
            }
            drawn = OnlyDrawing{std::string(operands[0].text),
                                {placement.x, placement.y, placement.width, placement.height}};
            break;
        default:
            return std::nullopt;
        }
    }
    return drawn;
}

} // namespace

std::optional<OnlyDrawing> onlyDrawing(const PDFObject& page) {
    const std::string content = contentOf(page);
    const bool mayHoldAPicture = content.find("BI") != std::string::npos; // the scanner passes over inline ones
    return mayHoldAPicture ? std::nullopt : onlyDrawingOf(content);
}

} // namespace orvex
