// Small PDFs from readable pieces: the bodies of the objects, numbered from 1; the cross-reference table is worked out.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <string>
#include <vector>

namespace orvex::test {

/// Object 1 is the catalogue; `trailer` goes into the trailer dictionary besides /Root and /Size.
std::string pdfFromObjects(const std::vector<std::string>& bodies, const std::string& trailer = {});
/// The same with all but streams in an object stream, and a cross-reference stream; none of them compressed.
std::string packedPDFFromObjects(const std::vector<std::string>& bodies, const std::string& trailer = {});
/// A stream object's body with its length.
std::string streamBody(const std::string& data, const std::string& dictionary = {});

struct FixturePage {
    std::string content; ///< operators
    std::string mediaBox = "[0 0 612 792]";
    std::string more; ///< further entries of the page dictionary
};
/// A file of pages whose resources hold Helvetica as /F1. The first page is object 5, the next 7, and so on; `objects`
/// are numbered from behind the last page's content.
Bytes pdfFromPages(const std::vector<FixturePage>& pages, const std::string& info = {}, const std::string& catalog = {},
                   const std::vector<std::string>& objects = {});
/// Operators that show `text` in Helvetica, 24 points, at (72, 700).
std::string showing(const std::string& text);

} // namespace orvex::test
