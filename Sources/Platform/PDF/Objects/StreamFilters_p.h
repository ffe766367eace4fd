// A stream's filters, undone one after the other. Each gives what it can of damaged data and stops at a limit.
#pragma once

#include "Platform/PDF/Objects/PDFObject.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace orvex {

using ByteSpan = std::span<const std::uint8_t>;
using ByteBuffer = std::vector<std::uint8_t>;

/// `stored` as the dictionary of its stream says that it is encoded; see PDFObject::streamData().
[[nodiscard]] std::optional<PDFStreamData> decodeStream(const PDFObject& dictionary, const Bytes& stored,
                                                        std::size_t limit);

/// zlib data, or its bare deflate data where the header is damaged.
[[nodiscard]] ByteBuffer inflate(ByteSpan data, std::size_t limit);
/// `earlyChange`: codes grow one entry before they would have to.
[[nodiscard]] ByteBuffer expandLZW(ByteSpan data, bool earlyChange, std::size_t limit);
[[nodiscard]] ByteBuffer expandRunLengths(ByteSpan data, std::size_t limit);
[[nodiscard]] ByteBuffer decodeASCIIHex(ByteSpan data, std::size_t limit);
[[nodiscard]] ByteBuffer decodeASCII85(ByteSpan data, std::size_t limit);

struct FaxParameters {
    std::int64_t k = 0; ///< below 0 two-dimensional rows (group 4), 0 one-dimensional, above 0 mixed (group 3)
    std::int64_t columns = 1728;
    std::int64_t rows = 0; ///< at most; missing ones are white. 0: as many as there are
    bool byteAligned = false;
    bool endOfLine = false; ///< line ends are sure to be there; they are passed over wherever they are
    bool blackIs1 = false;
};
/// Rows of packed bits. Empty for a width that makes no sense. `used`: bytes that were read, a block's end among them.
[[nodiscard]] ByteBuffer decodeFax(ByteSpan data, const FaxParameters& parameters, std::size_t limit,
                                   std::size_t* used = nullptr);

struct Jbig2Image {
    Bytes data;
    Bytes globals; ///< segments that the data refer to; may be empty
    std::int64_t width = 0;
    std::int64_t height = 0;
};
/// Rows of packed bits, 0 black. Empty for data that cannot be decoded, and for sides that would take minutes.
[[nodiscard]] std::optional<ByteBuffer> decodeJbig2(const Jbig2Image& image);

struct Predictor {
    std::int64_t kind = 1; ///< 1 none, 2 TIFF's, 10 and above PNG's, which say per row what they are
    std::int64_t colors = 1;
    std::int64_t bits = 8;
    std::int64_t columns = 1;
};
/// The bytes before prediction; a last row that is cut off stays short. Empty for parameters that make no sense.
[[nodiscard]] std::optional<ByteBuffer> unpredict(ByteBuffer data, const Predictor& predictor);

} // namespace orvex
