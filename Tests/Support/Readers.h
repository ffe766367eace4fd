// Other people's readers of PDF text: the lines that they read and where they see them.
#pragma once

#include "Platform/Foundation/Geometry.h"

#include <optional>
#include <string>
#include <vector>

namespace orvex::test {

enum class Reader { poppler, popplerLayout, mupdf, ghostscript, pdfium, pdfjs };

std::string name(Reader reader);

/// The smallest text that a reader gives a box for: a word, a run or a character.
struct ReadPiece {
    std::string text;
    Rect box; ///< points, from the top left corner of the page as it is shown, y down
};
struct ReadPage {
    std::vector<std::string> lines; ///< without blank ones; white space collapsed, marks of direction left out
    std::vector<ReadPiece> pieces;
};

/// Whether the reader is there. Where continuous integration runs (CI=true) it has to be, and the test fails.
bool hasReader(Reader reader);
/// What the reader makes of a file, page by page. Fails the test when the reader does.
std::vector<ReadPage> read(Reader reader, const std::string& path);

/// `text` without white space.
std::string squeezed(const std::string& text);

struct ExpectedItem {
    std::string text;
    Rect box; ///< as in ReadPiece
};
/// What belongs together: an item and its characters, words or runs; where the one spans several of the other, all of
/// them.
struct Match {
    Rect item;
    Rect read;
    std::string text;
};
/// None when the texts differ in more than white space.
std::optional<std::vector<Match>> matched(const std::vector<ExpectedItem>& items, const std::vector<ReadPiece>& pieces);
/// Makes `all` the smallest rectangle around itself and `box`.
void unite(std::optional<Rect>& all, const Rect& box);
/// Intersection over union.
double overlap(const Rect& a, const Rect& b);

} // namespace orvex::test
