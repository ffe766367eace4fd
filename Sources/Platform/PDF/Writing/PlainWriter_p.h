// Writes a document as a file with a plain cross-reference table, each object in its turn.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/PDF/Writing/FileOutput_p.h"
#include "Platform/PDF/Writing/KeptObjects_p.h"
#include "Platform/PDF/Writing/ObjectNumbers_p.h"

#include <qpdf/QPDF.hh>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvex {

/// What the trailer leads to, in the order in which it is met; streams as they are stored. One use. `loaded` holds the
/// bytes that `pdf` was parsed from, if it was; it must not be encrypted. `kept` may be null.
class PlainWriter {
public:
    PlainWriter(QPDF& pdf, const Bytes& loaded, KeptObjects* kept, FileOutput& output)
        : pdf_(pdf), loaded_(loaded), kept_(kept), output_(output) {}
    /// Throws PDFWriteError, and what qpdf and the output throw.
    void write();

private:
    void writeHeader();
    [[nodiscard]] std::string trailerEntries();
    void writeObject(std::size_t number);
    void writeStream(QPDFObjectHandle stream);
    void writeKept(QPDFObjGen id);
    /// Those of a kept page.
    void keepStreams(std::string_view contents);
    void appendInherited(std::string& text, QPDFObjGen page);
    /// A value of the loaded file, with its references called by their new numbers.
    void appendText(std::string& text, std::string_view value);
    void writeEnd(const std::string& entries);
    [[nodiscard]] std::optional<std::string> firstID();

    void appendValue(std::string& text, const QPDFObjectHandle& value);
    /// The value itself, also of an indirect object; of a stream it takes writeStream().
    void appendDirect(std::string& text, QPDFObjectHandle value);
    /// The entries that hold something, but for one, between the brackets.
    void appendEntries(std::string& text, QPDFObjectHandle dictionary, std::string_view without);
    void appendReference(std::string& text, const QPDFObjectHandle& object);
    void appendReference(std::string& text, QPDFObjGen id);
    [[nodiscard]] bool holdsNothing(QPDFObjectHandle value) const;
    [[nodiscard]] bool isKept(QPDFObjGen id) const { return kept_ != nullptr && kept_->contains(id); }

    QPDF& pdf_;
    const Bytes& loaded_;
    KeptObjects* kept_;
    FileOutput& output_;
    ObjectNumbers numbers_;
    std::vector<std::size_t> places_; ///< of the objects in the file
    std::string text_;                ///< of the object being written
    StoredObject stored_;
};

} // namespace orvex
