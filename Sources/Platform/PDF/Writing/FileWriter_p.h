// The composed file as bytes.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/PDF/Writing/KeptObjects_p.h"

#include <qpdf/QPDF.hh>

namespace orvex {

enum class StreamPacking {
    keep,   ///< a loaded file's own way: objects loose or in object streams as they were
    compact ///< a file of our own: objects in object streams
};

enum class Protection {
    none,    ///< written in the open
    asLoaded ///< encrypted with the key, passwords and permissions of the loaded file
};

/// How a file is written.
struct FileForm {
    Bytes loaded; ///< what the document was parsed from, if it was
    StreamPacking packing = StreamPacking::compact;
    Protection protection = Protection::none;
    KeptObjects* kept = nullptr; ///< only for files that are written plainly
};

/// Whether a loaded file is written with a cross-reference table, and all its objects stand in that.
[[nodiscard]] bool isWrittenPlainly(QPDF& pdf, const ObjectTable& table);

/// Writes streams as they are. Equal files get equal bytes: the file's id is a digest of its contents.
void writeFile(QPDF& pdf, const FileForm& form, ByteSink& sink);

/// How many bytes writeFile() would write, instead of it.
[[nodiscard]] std::size_t measureFile(QPDF& pdf, const FileForm& form);

} // namespace orvex
