// The objects of a loaded file, to look at: dictionaries, arrays, streams, names, numbers and strings, references
// followed. Looking never changes the file; what is not there, or is of another kind, reads as null or empty.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvex {

class PDFPage;

/// What a stream's bytes are once its general-purpose filters are undone.
enum class PDFStreamFormat { raw, jpeg, jpeg2000 };

struct PDFStreamData {
    PDFStreamFormat format = PDFStreamFormat::raw;
    Bytes bytes;
};

/// A value of a file, or null. Keeps its file alive; copying copies a handle. Threads: any.
class PDFObject {
public:
    enum class Kind { null, boolean, integer, real, name, string, array, dictionary, stream };
    /// No decoded stream is larger: what promises more gives no data.
    static constexpr std::size_t mostStreamBytes = std::size_t{1} << 30;

    PDFObject();
    /// The page's own dictionary as its file has it, without what it inherits; for an image page, that of the file in
    /// which it would be saved. Null for a blank page and when there is none.
    static PDFObject ofPage(const PDFPage& page);

    [[nodiscard]] Kind kind() const;
    [[nodiscard]] bool isNull() const { return kind() == Kind::null; }
    /// The number by which the file refers to the object; 0 for one that stands inside another.
    [[nodiscard]] int objectNumber() const;
    /// Empty for anything but an integer: a real is none, whatever its value.
    [[nodiscard]] std::optional<std::int64_t> integer() const;
    /// Empty for anything but true and false.
    [[nodiscard]] std::optional<bool> boolean() const;
    /// An integer or a real.
    [[nodiscard]] std::optional<double> number() const;
    /// Without the slash, escapes undone; any bytes.
    [[nodiscard]] std::optional<std::string> name() const;
    /// A string's bytes, decrypted.
    [[nodiscard]] std::optional<Bytes> string() const;

    /// Elements of an array; 0 for anything else.
    [[nodiscard]] std::size_t count() const;
    /// An array's element; null out of range.
    [[nodiscard]] PDFObject at(std::size_t index) const;
    /// A dictionary's value; null when the key is missing or this is no dictionary. A stream is not its dictionary.
    [[nodiscard]] PDFObject get(std::string_view key) const;
    /// A dictionary's keys in the order in which the file writes them, without those whose value is null. Keys that are
    /// not found in the file's text (a dictionary that was repaired) come last, sorted.
    [[nodiscard]] std::vector<std::string> keys() const;

    /// A stream's dictionary; null for anything else.
    [[nodiscard]] PDFObject streamDictionary() const;
    /// A stream's data with every filter undone but a final DCT or JPX one. Raw data stops at `limit` bytes; damaged
    /// data gives what could be decoded. Empty when this is no stream, when a filter is unknown, encrypts or cannot be
    /// undone, and when more than mostStreamBytes would be needed on the way.
    [[nodiscard]] std::optional<PDFStreamData> streamData(std::size_t limit = mostStreamBytes) const;

private:
    struct Place;
    explicit PDFObject(std::shared_ptr<const Place> place) : place_(std::move(place)) {}
    std::shared_ptr<const Place> place_; ///< none: null
};

} // namespace orvex
