#include "Platform/PDF/Writing/ObjectPlaces_p.h"

#include "Platform/PDF/PDFDocument.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>

namespace orvex {

namespace {

constexpr std::size_t rowLength = 20;           // of a table
constexpr std::size_t farthest = 9'999'999'999; // ten digits
constexpr char upFilter = 2;                    // PNG's: each byte is told by what it has more than the one above

} // namespace

void ObjectPlaces::set(std::size_t number, Place place) {
    places_.resize(std::max(places_.size(), number + 1));
    places_[number] = place;
}

void ObjectPlaces::writeTable(FileOutput& output) const {
    output.write("xref\n0 " + std::to_string(size()) + "\n0000000000 65535 f \n");
    for (std::size_t number = 1; number < size(); ++number) {
        if (places_[number].at > farthest) {
            throw PDFWriteError("cannot write the document: it would be larger than 10 GB");
        }
        std::array<char, rowLength + 1> row{};
        std::snprintf(row.data(), row.size(), "%010zu 00000 n \n", static_cast<std::size_t>(places_[number].at));
        output.write({row.data(), rowLength});
    }
}

std::string ObjectPlaces::streamEntries() const {
    const std::size_t width = placeWidth();
    return " /Type /XRef /Size " + std::to_string(size()) + " /W [1 " + std::to_string(width) +
           " 1] /Filter /FlateDecode /DecodeParms << /Predictor 12 /Columns " + std::to_string(width + 2) + " >>";
}

std::string ObjectPlaces::streamData() const {
    const std::size_t width = placeWidth();
    std::string data;
    data.reserve(size() * (width + 3));
    std::string above(width + 2, '\0');
    std::string row = above;
    for (const auto& place : places_) {
        row.front() = static_cast<char>(place.kind);
        for (std::size_t i = 0; i < width; ++i) {
            row[width - i] = static_cast<char>(place.at >> (8 * i) & 0xFFU);
        }
        row.back() = static_cast<char>(place.index);
        data += upFilter;
        std::ranges::transform(row, above, std::back_inserter(data), std::minus<>());
        above = row;
    }
    return data;
}

/// In bytes.
std::size_t ObjectPlaces::placeWidth() const {
    const auto highest = std::ranges::max(places_, {}, &Place::at).at;
    return std::max<std::size_t>((std::bit_width(highest) + 7) / 8, 1);
}

} // namespace orvex
