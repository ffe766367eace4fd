// The decoded bytes of a stream object, whatever it claims to be.
#pragma once

#include <qpdf/QPDFObjectHandle.hh>

#include <cstddef>
#include <string>

namespace orvex {

/// At most `most` bytes; a stream that is damaged half way gives what came before, something that is no stream or whose
/// filters are unknown gives nothing. Hold the source's mutex.
[[nodiscard]] std::string decodedBytes(QPDFObjectHandle stream, std::size_t most);

} // namespace orvex
