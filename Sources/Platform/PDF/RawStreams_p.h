// Streams of a loaded file that are written as they are. Piece by piece qpdf copies them several times on their way.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <qpdf/Buffer.hh>
#include <qpdf/QPDF.hh>

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace orvex {

/// The `size` bytes from `start` on, when they lie between "stream" and "endstream" and nothing else does; else none.
[[nodiscard]] std::string_view streamData(std::string_view file, std::size_t start, std::size_t size);

/// The stored bytes of a long stream inside `file`, which its document was parsed from and which has to outlive them.
/// Null for short streams, encrypted ones, and where the stated length is wrong.
[[nodiscard]] std::shared_ptr<Buffer> storedInPlace(QPDFObjectHandle stream, const Bytes& file);

/// Lets the writer of `pdf` take streams so, but for those that it is to compress.
void readStreamsInPlace(QPDF& pdf, const Bytes& file, bool compressesStreams);

/// Takes the data out of those streams instead, for a file that is only measured. Returns which, and how long each was.
std::vector<std::pair<QPDFObjGen, std::size_t>> emptyStoredStreams(QPDF& pdf, const Bytes& file,
                                                                   bool compressesStreams);

} // namespace orvex
