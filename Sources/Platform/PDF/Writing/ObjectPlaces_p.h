// Where the objects of a file being written stand in it.
#pragma once

#include "Platform/PDF/Writing/FileOutput_p.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orvex {

/// Objects are called by number, from 1 on.
class ObjectPlaces {
public:
    /// From the start of the file.
    void setLoose(std::size_t number, std::size_t position) { set(number, {position, 0, Kind::loose}); }
    /// In the object stream of that number.
    void setPacked(std::size_t number, std::size_t stream, std::size_t index) {
        set(number, {stream, static_cast<std::uint8_t>(index), Kind::packed});
    }
    /// The highest number and one more, as 0 counts too.
    [[nodiscard]] std::size_t size() const { return places_.size(); }

    /// A cross-reference table. Throws PDFWriteError for a file too long for one.
    void writeTable(FileOutput& output) const;
    /// A cross-reference stream's dictionary, without its brackets, and data of the same.
    [[nodiscard]] std::string streamEntries() const;
    [[nodiscard]] std::string streamData() const;

private:
    enum class Kind : std::uint8_t { free, loose, packed }; ///< as cross-reference streams count them
    struct Place {
        std::uint64_t at = 0;   ///< of a packed object the number of its stream
        std::uint8_t index = 0; ///< in that stream
        Kind kind = Kind::free;
    };
    void set(std::size_t number, Place place);
    [[nodiscard]] std::size_t placeWidth() const;

    std::vector<Place> places_{Place{}};
};

} // namespace orvex
