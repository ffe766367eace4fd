// Cases of the text layer's table: what is found on a page, what is to be read of it.
#pragma once

#include "OrvexPDF/FoundContent.h"
#include "Platform/PDF/PDFDocument.h"
#include "Support/Readers.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace orvex::test {

using Lines = std::vector<std::string>;

struct TextLayerCase {
    std::string name;
    std::vector<ExpectedItem> items;
    Lines lines; ///< what is to be read
    /// What a reader reads instead, for a reason that no encoding changes; none where that is beyond description.
    std::map<Reader, Lines> others;
    std::set<Reader> butForBlanks; ///< readers that get the characters right and misplace blanks
    bool overlaps = true;          ///< whether boxes are compared; otherwise they only have to be covered
};

/// Helvetica's width of a text, in points.
double naturalWidth(const std::string& text, double height);
/// The items as a record of a page of that size.
std::shared_ptr<const OrvexFoundPage> foundPage(const std::vector<ExpectedItem>& items, Size size);
/// Fails the test where lines or boxes are not what the case says.
void expectReads(const TextLayerCase& c, Reader reader, const ReadPage& page);
/// Fails the test where poppler or MuPDF paints the two differently.
void expectSamePixels(const PDFDocument& with, const PDFDocument& without);

} // namespace orvex::test
