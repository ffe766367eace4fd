#include "Platform/PDF/Deflate_p.h"

#include <libdeflate.h>

#include <memory>
#include <new>

namespace orvex {

Bytes deflate(std::span<const std::uint8_t> data) {
    constexpr int level = 9;
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
        libdeflate_alloc_compressor(level), libdeflate_free_compressor);
    if (!compressor) {
        throw std::bad_alloc();
    }
    std::vector<std::uint8_t> out(libdeflate_zlib_compress_bound(compressor.get(), data.size()));
    out.resize(libdeflate_zlib_compress(compressor.get(), data.data(), data.size(), out.data(), out.size()));
    out.shrink_to_fit();
    return Bytes(std::move(out));
}

} // namespace orvex
