// What a JPEG 2000 file says outside its codestream, shared by the reader of headers and the codec.
#pragma once

#include "Platform/Imaging/Codecs_p.h"

namespace orvex::jpeg2000 {

struct Header {
    std::span<const std::uint8_t> codestream;
    bool boxed = false;          ///< inside a JP2 file, not a bare codestream
    bool luminanceFirst = false; ///< lightness and two colour differences, as JPEG has them
    bool premultiplied = false;
    ImageInfo info;
};

/// Throws ImageError, also for what no decoder here takes.
[[nodiscard]] Header readHeader(const Bytes& data);

} // namespace orvex::jpeg2000
