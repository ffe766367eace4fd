// Streams of a loaded file that are written as they are. Piece by piece qpdf copies them several times on their way.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <qpdf/Buffer.hh>
#include <qpdf/QPDF.hh>

#include <cstddef>
#include <memory>
#include <string_view>

namespace orvex {

/// The `size` bytes from `start` on, when they lie between "stream" and "endstream" and nothing else does; else none.
[[nodiscard]] std::string_view streamData(std::string_view file, std::size_t start, std::size_t size);

/// The stored bytes of a stream inside `file`, which its document was parsed from. Empty for new and encrypted ones,
/// where the stated length is wrong, and for streams that are not to be filtered: of those the data may have been
/// replaced, which qpdf does not tell.
[[nodiscard]] std::string_view storedData(QPDFObjectHandle stream, const Bytes& file);

/// The same of long streams, for qpdf to take; `file` has to outlive it. Null for short ones.
[[nodiscard]] std::shared_ptr<Buffer> storedInPlace(QPDFObjectHandle stream, const Bytes& file);

} // namespace orvex
