// The objects of a file as its bytes spell them, without the parser's making and keeping anything of them.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/PDF/Loading/DictionaryText_p.h"

#include <qpdf/QPDF.hh>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace orvex {

/// From where a file's offsets count: its header, which junk may precede.
[[nodiscard]] std::size_t headerOffset(std::string_view file);

/// Where a file's objects stand: what its cross-reference table says, in a fraction of the memory.
class ObjectTable {
public:
    struct Place {
        std::int64_t at = 0; ///< from the header; of a packed object the number of the stream that holds it
        std::int32_t number = 0;
        std::uint16_t generation = 0;
        bool packed = false;
    };
    ObjectTable() = default;
    explicit ObjectTable(QPDF& pdf);
    /// None for an object that the file does not have.
    [[nodiscard]] std::optional<std::size_t> position(QPDFObjGen id) const;
    [[nodiscard]] const Place& operator[](std::size_t position) const { return places_[position]; }
    [[nodiscard]] std::size_t size() const { return places_.size(); }
    /// Whether objects lie in object streams.
    [[nodiscard]] bool hasPacked() const { return hasPacked_; }

private:
    std::vector<Place> places_; ///< by number and generation
    bool hasPacked_ = false;
};

/// A dictionary, or a stream's.
struct StoredObject {
    std::vector<TextEntry> entries;
    std::string_view text;             ///< the dictionary, with its brackets
    std::size_t data = 0;              ///< a stream's: where in the file its bytes begin; 0 for a dictionary
    std::shared_ptr<const void> owner; ///< of the text; null where that is the file's own
};

/// Reads objects from their text. Of object streams just the stream itself goes through the parser, which keeps its
/// dictionary; the last few that were unpacked are kept here. Threads: one at a time, with the parse locked.
class StoredObjects {
public:
    StoredObjects(const Bytes& file, const ObjectTable& table);
    /// False for an object that is none of the file's, and unless it is a dictionary or a stream, plainly spelled.
    bool read(QPDF& pdf, QPDFObjGen id, StoredObject& object);
    /// None for an object that is no plainly spelled integer in the file itself.
    [[nodiscard]] std::optional<int> integer(QPDFObjGen id) const;
    /// Whether object streams are unpacked again and again, because what is asked for lies about in many of them:
    /// better left to the parser then, which keeps it.
    [[nodiscard]] bool wastesTime() const { return repeats_ > 64 + reads_ / 8; }

private:
    struct Unpacked {
        int stream = 0;
        std::shared_ptr<const Buffer> data;
        std::vector<std::pair<int, std::size_t>> places; ///< by number
    };
    /// Behind "obj"; none where no such object begins.
    [[nodiscard]] std::optional<TextScanner> begin(const ObjectTable::Place& place) const;
    bool readInFile(const ObjectTable::Place& place, StoredObject& object) const;
    bool readPacked(QPDF& pdf, const ObjectTable::Place& place, StoredObject& object);
    const Unpacked* unpacked(QPDF& pdf, int stream);

    std::string_view file_; ///< from its header on
    std::size_t header_;
    const ObjectTable& table_;
    std::array<Unpacked, 8> kept_;
    std::size_t oldest_ = 0;
    std::vector<int> seen_;   ///< streams that were unpacked before, by number
    std::size_t repeats_ = 0; ///< streams that were unpacked before
    std::size_t reads_ = 0;
};

} // namespace orvex
