// Writes a document as a file, each object in its turn.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/Imaging/Deflate.h"
#include "Platform/PDF/Writing/FileOutput_p.h"
#include "Platform/PDF/Writing/KeptObjects_p.h"
#include "Platform/PDF/Writing/ObjectNumbers_p.h"
#include "Platform/PDF/Writing/ObjectPlaces_p.h"
#include "Platform/PDF/Writing/ObjectStream_p.h"

#include <qpdf/QPDF.hh>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace orvex {

enum class Layout {
    plain, ///< with a cross-reference table
    packed ///< what is no stream in object streams, with a cross-reference stream
};

/// What the trailer leads to, in the order in which it is met; streams as they are stored. One use. `loaded` holds the
/// bytes that `pdf` was parsed from, if it was; it must not be encrypted. `kept` may be null.
class DocumentWriter {
public:
    DocumentWriter(QPDF& pdf, const Bytes& loaded, KeptObjects* kept, Layout layout, FileOutput& output);
    /// Throws PDFWriteError, and what qpdf and the output throw.
    void write();

private:
    void writeHeader();
    [[nodiscard]] std::string trailerEntries();
    void writeObject(std::size_t number);
    void writeStream(std::size_t number, QPDFObjectHandle stream);
    void writeKept(std::size_t number, QPDFObjGen id);
    /// With what is in the text: an object, or a stream's dictionary.
    void putObject(std::size_t number);
    void putStream(std::size_t number, std::string_view data);
    void begin(std::size_t number);
    void putPacked();
    /// Those of a kept page.
    void keepStreams(std::string_view contents);
    void appendInherited(std::string& text, QPDFObjGen page);
    /// A value of the loaded file, with its references called by their new numbers.
    void appendText(std::string& text, std::string_view value);
    void writeTable(const std::string& entries);
    void writeCrossReferences(const std::string& entries);
    void writeEnd(std::size_t crossReferences);
    /// Of what is written so far.
    [[nodiscard]] std::string ids();
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
    ObjectPlaces places_;
    std::optional<Deflater> deflater_; ///< of what is packed
    ObjectStream packed_;
    std::size_t packedNumber_ = 0; ///< of the stream being filled
    std::string text_;             ///< of the object being written
    StoredObject stored_;
};

} // namespace orvex
