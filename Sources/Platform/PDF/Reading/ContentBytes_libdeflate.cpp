#include "Platform/PDF/Reading/ContentBytes_p.h"

#include <libdeflate.h>

#include <algorithm>
#include <new>

namespace orvex {

namespace {

struct FreeDecompressor {
    void operator()(libdeflate_decompressor* decompressor) const { libdeflate_free_decompressor(decompressor); }
};

libdeflate_decompressor* decompressor() {
    thread_local const std::unique_ptr<libdeflate_decompressor, FreeDecompressor> own(libdeflate_alloc_decompressor());
    return own.get();
}

} // namespace

bool inflateWhole(std::string_view data, std::size_t limit, ContentBuffer& buffer) {
    auto* library = decompressor();
    if (library == nullptr) {
        throw std::bad_alloc();
    }
    constexpr std::size_t least = std::size_t{1} << 16;
    // Deflate packs a thousand to one at most.
    const std::size_t most = std::min(limit, data.size() * 1100 + least);
    for (std::size_t wanted = std::max(least, data.size() * 6);; wanted *= 2) {
        const auto room = buffer.room(std::min(wanted, most) + 1);
        std::size_t written = 0;
        const auto result = libdeflate_zlib_decompress(library, data.data(), data.size(), room.data(),
                                                       std::min(room.size(), most), &written);
        if (result == LIBDEFLATE_SUCCESS) {
            buffer.grow(written);
            return true;
        }
        if (result != LIBDEFLATE_INSUFFICIENT_SPACE || wanted >= most) {
            return false;
        }
    }
}

} // namespace orvex
