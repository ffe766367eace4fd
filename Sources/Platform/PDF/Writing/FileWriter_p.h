// The composed file as bytes.
#pragma once

#include "Platform/Foundation/Bytes.h"

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

/// Writes streams as they are. Equal files get equal bytes: the file's id is a digest of its contents. `loaded` holds
/// the bytes that `pdf` was parsed from, if it was.
void writeFile(QPDF& pdf, const Bytes& loaded, StreamPacking packing, Protection protection, ByteSink& sink);

/// How many bytes writeFile() would write, instead of it.
[[nodiscard]] std::size_t measureFile(QPDF& pdf, const Bytes& loaded, StreamPacking packing, Protection protection);

} // namespace orvex
