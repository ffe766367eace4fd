// zlib streams of whole buffers.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct libdeflate_compressor;

namespace orvex {

/// zlib data of unknown size; empty when it is damaged or larger than `limit` bytes.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> inflateZlib(std::span<const std::uint8_t> data,
                                                                   std::size_t limit);

/// A zlib stream; empty when it would pass `limit` bytes (0: no limit). Levels 0 to 12.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> deflateZlib(std::span<const std::uint8_t> data, int level,
                                                                   std::size_t limit);

/// A zlib stream at a level that is worth its time in a file, or at the one given. Throws std::bad_alloc.
[[nodiscard]] Bytes deflate(std::span<const std::uint8_t> data, int level = 6);

/// Makes zlib streams of one level, one after the other, and sets up for it once: for short data that takes a fifth of
/// the time. Used by one thread at a time.
class Deflater {
public:
    /// Levels 0 to 12. Throws std::bad_alloc.
    explicit Deflater(int level);
    ~Deflater();
    Deflater(const Deflater&) = delete;
    Deflater& operator=(const Deflater&) = delete;
    /// The same bytes as deflate(). Throws std::bad_alloc.
    [[nodiscard]] std::string deflate(std::string_view data);

private:
    libdeflate_compressor* compressor_;
    std::vector<std::uint8_t> room_;
};

} // namespace orvex
