// libdeflate: whole buffers and checksums.
#include "Platform/Imaging/Deflate.h"

#include "Platform/Imaging/Png_p.h"

#include <algorithm>
#include <memory>
#include <new>

#include <libdeflate.h>

namespace orvex {

std::optional<std::vector<std::uint8_t>> inflateZlib(std::span<const std::uint8_t> data, std::size_t limit) {
    const std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)> inflater(
        libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
    std::size_t capacity = std::min(limit, std::max<std::size_t>(4 * data.size(), 1024));
    while (inflater) {
        std::vector<std::uint8_t> result(capacity);
        std::size_t size = 0;
        const libdeflate_result outcome =
            libdeflate_zlib_decompress(inflater.get(), data.data(), data.size(), result.data(), result.size(), &size);
        if (outcome == LIBDEFLATE_SUCCESS) {
            result.resize(size);
            return result;
        }
        if (outcome != LIBDEFLATE_INSUFFICIENT_SPACE || capacity >= limit) {
            break;
        }
        capacity = std::min(limit, capacity * 4);
    }
    return std::nullopt;
}

std::optional<std::vector<std::uint8_t>> deflateZlib(std::span<const std::uint8_t> data, int level, std::size_t limit) {
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> deflater(
        libdeflate_alloc_compressor(level), &libdeflate_free_compressor);
    if (!deflater) {
        return std::nullopt;
    }
    std::size_t capacity = libdeflate_zlib_compress_bound(deflater.get(), data.size());
    capacity = limit == 0 ? capacity : std::min(limit, capacity);
    std::vector<std::uint8_t> result(capacity);
    result.resize(libdeflate_zlib_compress(deflater.get(), data.data(), data.size(), result.data(), result.size()));
    return result.empty() ? std::nullopt : std::optional(std::move(result));
}

Bytes deflate(std::span<const std::uint8_t> data, int level) {
    auto compressed = deflateZlib(data, level, 0);
    if (!compressed) {
        throw std::bad_alloc(); // without a limit nothing else fails
    }
    compressed->shrink_to_fit();
    return Bytes(std::move(*compressed));
}

Deflater::Deflater(int level) : compressor_(libdeflate_alloc_compressor(level)) {
    if (compressor_ == nullptr) {
        throw std::bad_alloc();
    }
}

Deflater::~Deflater() {
    libdeflate_free_compressor(compressor_);
}

std::string Deflater::deflate(std::string_view data) {
    room_.resize(std::max(room_.size(), libdeflate_zlib_compress_bound(compressor_, data.size())));
    const std::size_t size =
        libdeflate_zlib_compress(compressor_, data.data(), data.size(), room_.data(), room_.size());
    return {room_.begin(), room_.begin() + static_cast<std::ptrdiff_t>(size)};
}

namespace png {

std::uint32_t crc32(std::span<const std::uint8_t> data) {
    return libdeflate_crc32(0, data.data(), data.size());
}

} // namespace png
} // namespace orvex
