// An image as a PDF image stream: the encoded bytes that it already carries wherever the format allows, so that nothing
// is encoded twice and the byte count that an optimiser chose is the byte count in the file.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Platform/Imaging/Image.h"

#include <cstdint>
#include <memory>
#include <string>

namespace orvex {

struct ImageStream {
    std::int64_t width = 0;
    std::int64_t height = 0;
    int bitsPerComponent = 8;
    ColorSpace colorSpace;
    Bytes palette;           ///< RGB triples; empty without a palette
    bool inverted = false;   ///< samples mean the opposite (Adobe's CMYK)
    std::string filter;      ///< "/DCTDecode", "/FlateDecode", "/JPXDecode"
    int predictorColors = 0; ///< above 0: rows carry PNG filters, for this many channels
    Bytes data;
    std::shared_ptr<const ImageStream> softMask;
};

/// Throws ImageError when the image cannot be decoded and has to be.
[[nodiscard]] std::shared_ptr<const ImageStream> makeImageStream(const Image& image);

} // namespace orvex
