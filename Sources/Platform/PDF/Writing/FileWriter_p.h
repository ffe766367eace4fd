// The composed file as bytes.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/PDF/Writing/DocumentWriter_p.h"
#include "Platform/PDF/Writing/KeptObjects_p.h"

#include <qpdf/QPDF.hh>

namespace orvex {

enum class Protection {
    none,    ///< written in the open
    asLoaded ///< encrypted with the key, passwords and permissions of the loaded file
};

/// How a file is written.
struct FileForm {
    Bytes loaded; ///< what the document was parsed from, if it was
    Layout layout = Layout::packed;
    Protection protection = Protection::none;
    KeptObjects* kept = nullptr; ///< not for encrypted files
};

/// That of a loaded file: packed if anything is packed in it.
[[nodiscard]] Layout layoutOf(QPDF& pdf, const ObjectTable* table);

/// Writes streams as they are. Equal files get equal bytes: the file's id is a digest of its contents.
void writeFile(QPDF& pdf, const FileForm& form, ByteSink& sink);

/// How many bytes writeFile() would write, instead of it.
[[nodiscard]] std::size_t measureFile(QPDF& pdf, const FileForm& form);

} // namespace orvex
