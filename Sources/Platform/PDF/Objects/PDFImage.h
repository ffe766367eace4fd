// An image as a file stores it: samples, or JPEG data, with the colour space that the file declares for them. Pixels
// are worked out when somebody asks.
#pragma once

#include "Platform/Imaging/Image.h"
#include "Platform/PDF/Objects/PDFColorSpace.h"
#include "Platform/PDF/Objects/PDFObject.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace orvex {

struct PDFImage;
using PDFImagePtr = std::shared_ptr<const PDFImage>;

/// Immutable. Threads: any.
struct PDFImage {
    std::int64_t width = 0;  ///< pixels
    std::int64_t height = 0; ///< pixels
    int bitsPerComponent = 8;
    int bitsPerPixel = 8;
    std::int64_t bytesPerRow = 0; ///< from one row to the next; 0 for JPEG data
    PDFColorSpacePtr colorSpace;
    /// For each component the values of the smallest and the largest sample; empty: the colour space's own.
    std::vector<double> decode;
    PDFStreamFormat format = PDFStreamFormat::raw; ///< raw or jpeg
    bool inksInverted = false;                     ///< JPEG of four components: samples mean the opposite
    Bytes data;

    /// From samples. Null for what makes no image: sides below 1; other depths than 1, 2, 4, 8 and 16 (an indexed image
    /// has none of 16); rows so much shorter than their samples that more than a begun byte is missing; no data;
    /// more than PDFObject::mostStreamBytes of samples or pixels; many samples with next to no data behind them. A
    /// decode array with too few numbers counts as none.
    static PDFImagePtr fromSamples(PDFImage image);
    /// From JPEG data, whose header alone is read; the colour space is the device's. Null when it is no such data.
    static PDFImagePtr fromJPEG(const Bytes& data, bool inksInverted = false);
    /// The same image with another colour space for its samples; null when the components differ in number.
    [[nodiscard]] PDFImagePtr withColorSpace(PDFColorSpacePtr space) const;
    /// The same image with each row from a byte boundary on, as the format stores rows; samples only.
    [[nodiscard]] PDFImagePtr withWholeByteRows() const;

    /// A representation of one point per pixel; JPEG data stays as it is where the colour space allows, and is decoded
    /// only when pixels are asked for. Throws ImageError for damaged JPEG data that has to be decoded.
    [[nodiscard]] ImageRepPtr makeRep() const;
};

} // namespace orvex
