// libpng's decoder. Its errors leave C by longjmp and this file as ImageError; nothing is printed.
#include "Platform/Imaging/Png_p.h"

#include <bit>
#include <cstring>

#include <png.h>

namespace orvex::png {
namespace {

struct Reader {
    std::span<const std::uint8_t> rest;
    std::string message;
    Bitmap bitmap;
    int passes = 1;
    png_structp png = nullptr;
    png_infop info = nullptr;

    explicit Reader(const Bytes& data) : rest(data.span()) {}
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
};

void readBytes(png_structp png, png_bytep target, std::size_t count) {
    auto& reader = *static_cast<Reader*>(png_get_io_ptr(png));
    if (count > reader.rest.size()) {
        png_error(png, "data stops early");
    }
    std::memcpy(target, reader.rest.data(), count);
    reader.rest = reader.rest.subspan(count);
}

[[noreturn]] void onError(png_structp png, png_const_charp message) {
    try {
        static_cast<Reader*>(png_get_error_ptr(png))->message = message;
    } catch (...) { // no memory for the text: the jump itself says enough
    }
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

/// 1-bit grey stays packed; everything else becomes 8 or 16 bits a component, palettes rgb, tRNS alpha. Gives the
/// number of passes over the rows.
int setTransforms(png_structp png, png_infop info) {
    const bool transparent = png_get_valid(png, info, PNG_INFO_tRNS) != 0;
    const png_byte type = png_get_color_type(png, info);
    const png_byte bits = png_get_bit_depth(png, info);
    if (type == PNG_COLOR_TYPE_PALETTE) {
        png_set_palette_to_rgb(png);
    } else if (bits < 8 && (bits > 1 || transparent)) {
        png_set_expand_gray_1_2_4_to_8(png);
    }
    if (transparent) {
        png_set_tRNS_to_alpha(png);
    }
    if (bits == 16 && std::endian::native == std::endian::little) {
        png_set_swap(png);
    }
    const int passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    return passes;
}

bool readHeader(Reader& reader) {
    if (setjmp(png_jmpbuf(reader.png))) {
        return false;
    }
    png_set_user_limits(reader.png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_chunk_malloc_max(reader.png, 32 << 20);
    // verify() has checked the chunks that matter, faster.
    png_set_crc_action(reader.png, PNG_CRC_QUIET_USE, PNG_CRC_WARN_DISCARD);
    png_set_read_fn(reader.png, &reader, readBytes);
    png_read_info(reader.png, reader.info);
    reader.passes = setTransforms(reader.png, reader.info);
    return true;
}

bool readPixels(Reader& reader) {
    if (setjmp(png_jmpbuf(reader.png))) {
        return false;
    }
    // Row by row: pointers to all rows would outweigh a tall narrow picture.
    for (int pass = 0; pass < reader.passes; ++pass) {
        for (std::int64_t y = 0; y < reader.bitmap.height; ++y) {
            png_read_row(reader.png, reader.bitmap.row(y), nullptr);
        }
    }
    png_read_end(reader.png, nullptr);
    return true;
}

void makeBitmap(Reader& reader, const ImageInfo& info) {
    const int bits = png_get_bit_depth(reader.png, reader.info);
    const bool alpha = (png_get_color_type(reader.png, reader.info) & PNG_COLOR_MASK_ALPHA) != 0;
    reader.bitmap =
        Bitmap::make(png_get_image_width(reader.png, reader.info), png_get_image_height(reader.png, reader.info), bits,
                     info.colorSpace, alpha ? Alpha::straight : Alpha::none);
    if (png_get_rowbytes(reader.png, reader.info) != reader.bitmap.bytesPerRow) {
        throw ImageError("damaged PNG data (contradicting headers)");
    }
}

} // namespace

Bitmap decode(const Bytes& data, const ImageInfo& info) {
    verify(data);
    Reader reader(data);
    reader.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &reader, onError, onWarning);
    reader.info = reader.png ? png_create_info_struct(reader.png) : nullptr;
    if (!reader.info) {
        throw ImageError("no memory to decode PNG data");
    }
    if (!readHeader(reader)) {
        throw ImageError("damaged PNG data (" + reader.message + ")");
    }
    makeBitmap(reader, info);
    if (!readPixels(reader)) {
        throw ImageError("damaged PNG data (" + reader.message + ")");
    }
    return std::move(reader.bitmap);
}

} // namespace orvex::png
