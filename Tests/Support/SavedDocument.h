// A document as it was saved, to be read back by other people's tools.
#pragma once

#include "Platform/PDF/PDFDocument.h"
#include "Support/TempFolder.h"

#include <string>

namespace orvex::test {

/// Saves on construction and has `qpdf --check` approve of the file.
class SavedDocument {
public:
    explicit SavedDocument(const PDFDocument& document);
    [[nodiscard]] std::string path() const { return (folder_.path() / "saved.pdf").string(); }
    /// What poppler reads: words with single blanks, a bar after each page.
    [[nodiscard]] std::string words() const;
    /// What poppler reports of words and their boxes, as its markup.
    [[nodiscard]] std::string boxes() const;
    /// Standard output of `command` with the file's path behind it.
    [[nodiscard]] std::string tool(const std::string& command) const;
    /// What `mutool show` prints of a part of the file, such as "outline" or "pages/1/Annots".
    [[nodiscard]] std::string show(const std::string& part) const;
    /// What poppler draws of a page, from 1, fields and annotations included: a PPM file.
    [[nodiscard]] std::string picture(int page) const;
    Bytes bytes;

private:
    TempFolder folder_;
};

} // namespace orvex::test
