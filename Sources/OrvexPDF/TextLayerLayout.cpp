#include "OrvexPDF/TextLayerLayout_p.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/Text/Scripts.h"

#include <algorithm>
#include <cmath>

namespace orvex {

namespace {

// Flatter or narrower boxes than this hold no legible text: they come from recognisers that failed to measure.
constexpr double smallestExtent = 3;
// How far letters may be stretched or squeezed in such a box. Beyond the one, poppler takes words for columns; beyond
// the other it drops letters as printed twice.
constexpr double mostStretch = 2;
constexpr double leastStretch = 0.5;
constexpr double leastHeight = 0.25;
constexpr double leastWidth = 0.1;
// The gap, in ems, below which poppler and pdf.js see no word break whatever stands in it (0.03, and a margin).
constexpr double wordGap = 0.035;
// The gap, in ems, up to which no reader makes a blank between wide characters.
constexpr double wideGap = 0.09;
// A wider gap than this, in ems, is a column's, not a character's.
constexpr double widestJoin = 0.8;
// How much of a box may be given up for a word break.
constexpr double mostGivenUp = 0.08;

// Points; no page reaches so far, and readers stumble over what does.
constexpr double mostDistant = 1e6;

/// None for a box that lies nowhere.
std::optional<Rect> pageRect(const Rect& box, Size found, Size drawn) {
    const double sx = drawn.width / found.width;
    const double sy = drawn.height / found.height;
    Rect rect{box.x * sx, (found.height - box.y - box.height) * sy, box.width * sx, box.height * sy};
    rect = {std::min(rect.x, rect.maxX()), std::min(rect.y, rect.maxY()), std::abs(rect.width), std::abs(rect.height)};
    const double farthest = std::max({rect.maxX(), rect.maxY(), -rect.x, -rect.y, rect.width, rect.height});
    const bool finite = std::isfinite(rect.maxX()) && std::isfinite(rect.maxY());
    return finite && farthest < mostDistant ? std::optional(rect) : std::nullopt;
}

/// Boxes too small for their text grow, upwards from where they put the baseline and to the right.
void settle(PlacedText& item) {
    Rect& rect = item.rect;
    if (rect.height < smallestExtent) {
        const double height = std::max({rect.height, rect.width / (mostStretch * item.extent.width), leastHeight});
        rect.y -= (height - rect.height) * Font::descent();
        rect.height = height;
    }
    if (rect.width < smallestExtent && item.extent.width > 1) {
        rect.width = std::max(rect.width, leastStretch * item.extent.width * rect.height);
    }
    rect.width = std::max(rect.width, leastWidth);
}

bool onOneRow(const Rect& a, const Rect& b) {
    const double shared = std::min(a.maxY(), b.maxY()) - std::max(a.y, b.y);
    return shared > std::min(a.height, b.height) / 2;
}

/// Neighbours of a script without blanks become one run: gaps that readers would fill with a blank are closed.
void join(PlacedText& left, const PlacedText& right, bool wide) {
    const auto [smaller, larger] = std::minmax({left.rect.height, right.rect.height});
    const double gap = right.rect.x - left.rect.maxX();
    const double kept = wide ? wideGap * smaller : 0;
    if (gap > kept && gap < widestJoin * larger) {
        left.rect.width += gap - kept;
    }
}

/// The horizontal em or the vertical one, whichever is larger: readers differ in which they compare gaps with.
double largestEm(const PlacedText& item) {
    return std::max(item.rect.height, item.rect.width / item.extent.width);
}

/// Words whose boxes touch draw back from each other, the wider one more, far enough for a word break.
void part(PlacedText& left, PlacedText& right) {
    const double gap = right.rect.x - left.rect.maxX();
    const double missing = wordGap * std::max(largestEm(left), largestEm(right)) - gap;
    const double both = left.rect.width + right.rect.width;
    if (missing <= 0 || missing > both / 4) {
        return;
    }
    const double share = std::min(missing / both, mostGivenUp);
    right.rect.x += right.rect.width * share;
    right.rect.width -= right.rect.width * share;
    left.rect.width -= left.rect.width * share;
}

void adjustNeighbours(PlacedText& first, PlacedText& second) {
    if (!onOneRow(first.rect, second.rect)) {
        return;
    }
    const char32_t end = lastCodePoint(first.found.text);
    const char32_t start = firstCodePoint(second.found.text);
    const bool forward = second.rect.midX() >= first.rect.midX();
    if (forward && isWrittenWithoutSpaces(end) && isWrittenWithoutSpaces(start)) {
        join(first, second, isWide(end) && isWide(start));
        return;
    }
    first.wordBreak = isWrittenWithoutSpaces(end);
    part(forward ? first : second, forward ? second : first);
}

} // namespace

std::vector<FoundText> foundTexts(const std::vector<OrvexFoundItem>& items, Size found, Size drawn) {
    std::vector<FoundText> texts;
    texts.reserve(items.size());
    for (const auto& item : items) {
        const auto box = item.box ? item.box->cgRect() : std::nullopt;
        const auto rect = box && item.text ? pageRect(*box, found, drawn) : std::nullopt;
        const auto text = rect ? trimWhitespaceAndNewlines(*item.text) : std::string_view{};
        if (!text.empty()) {
            texts.push_back({text, *rect});
        }
    }
    return texts;
}

std::vector<PlacedText> placeTexts(const std::vector<FoundText>& found, const Font& font) {
    std::vector<PlacedText> placed;
    placed.reserve(found.size());
    for (const auto& item : found) {
        if (const TextExtent extent = measureText(item.text, font, 1); extent.width > 0) {
            placed.push_back({item, item.rect, extent});
            settle(placed.back());
        }
    }
    for (std::size_t i = 1; i < placed.size(); ++i) {
        adjustNeighbours(placed[i - 1], placed[i]);
    }
    return placed;
}

} // namespace orvex
