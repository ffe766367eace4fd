#include "TextRows.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/Text/Scripts.h"

#include <algorithm>

namespace orvex::tool {

namespace {

// In heights of the higher box: beyond it a row is in two columns.
constexpr double columnGap = 1.0;
constexpr double mostOverlap = 0.5;

bool isOnRowOf(const Rect& a, const Rect& b) {
    const auto holdsMiddle = [](const Rect& outer, const Rect& inner) {
        const double middle = inner.y + inner.height / 2;
        return middle >= outer.y && middle <= outer.maxY();
    };
    return holdsMiddle(a, b) && holdsMiddle(b, a);
}

/// On one row, whichever way it runs.
bool goesOn(const TextLine& line, const TextLine& next) {
    if (!line.isLayerItem || !next.isLayerItem || line.text.empty() || next.text.empty() ||
        !isOnRowOf(line.box, next.box)) {
        return false;
    }
    const double height = std::max(line.box.height, next.box.height);
    const double gap = std::max(next.box.x - line.box.maxX(), line.box.x - next.box.maxX());
    return gap >= -mostOverlap * height && gap <= columnGap * height;
}

/// Between ideographs there is none.
bool needsBlank(std::string_view left, std::string_view right) {
    return !(isWrittenWithoutSpaces(lastCodePoint(left)) && isWrittenWithoutSpaces(firstCodePoint(right)));
}

} // namespace

std::string printedRows(const std::vector<TextLine>& lines) {
    std::string rows;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        rows += lines[i].text;
        if (i + 1 == lines.size() || !goesOn(lines[i], lines[i + 1])) {
            rows += '\n';
        } else if (needsBlank(lines[i].text, lines[i + 1].text)) {
            rows += ' ';
        }
    }
    return rows;
}

} // namespace orvex::tool
