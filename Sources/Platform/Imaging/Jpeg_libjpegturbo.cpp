// libjpeg-turbo. Its errors leave C by longjmp and this file as results; its warnings about damage count as errors.
#include "Platform/Imaging/Codecs_p.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <utility>

#include <jerror.h>
#include <jpeglib.h>

namespace orvex {
namespace {

/// First member of whatever the library calls back into, so that a callback finds it behind `cinfo->err`.
struct ErrorState {
    jpeg_error_mgr manager;
    std::jmp_buf jump;
    std::array<char, JMSG_LENGTH_MAX> message{};
};

ErrorState& errorState(j_common_ptr cinfo) {
    return *reinterpret_cast<ErrorState*>(cinfo->err);
}

[[noreturn]] void leave(j_common_ptr cinfo) {
    ErrorState& state = errorState(cinfo);
    (*cinfo->err->format_message)(cinfo, state.message.data());
    std::longjmp(state.jump, 1);
}

/// Warnings that mean lost pixels. Others (stray bytes between segments, unknown version numbers) do no harm.
void emitMessage(j_common_ptr cinfo, int level) {
    constexpr std::array damage = {static_cast<int>(JWRN_HIT_MARKER), static_cast<int>(JWRN_HUFF_BAD_CODE),
                                   static_cast<int>(JWRN_JPEG_EOF), static_cast<int>(JWRN_MUST_RESYNC)};
    if (level < 0 && std::find(damage.begin(), damage.end(), cinfo->err->msg_code) != damage.end()) {
        leave(cinfo);
    }
}

void ignoreMessage(j_common_ptr) {}

jpeg_error_mgr* setUp(ErrorState& state) {
    jpeg_std_error(&state.manager);
    state.manager.error_exit = leave;
    state.manager.emit_message = emitMessage;
    state.manager.output_message = ignoreMessage;
    return &state.manager;
}

struct Decoder {
    ErrorState errors;
    jpeg_decompress_struct cinfo{};
    jpeg_progress_mgr progress{};
    bool invert = false;
    Bitmap bitmap;

    Decoder() { cinfo.err = setUp(errors); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    ~Decoder() { jpeg_destroy_decompress(&cinfo); }
};

/// A progressive file may repeat scans without end, each a walk over all blocks.
void limitScans(j_common_ptr common) {
    const auto* cinfo = reinterpret_cast<j_decompress_ptr>(common);
    const double blocks = static_cast<double>(cinfo->image_width) * cinfo->image_height / 64;
    constexpr double patience = 1 << 28;
    if (cinfo->input_scan_number > 64 && cinfo->input_scan_number * blocks > patience) {
        common->err->msg_code = JERR_TOO_LITTLE_DATA;
        leave(common);
    }
}

bool start(Decoder& decoder, const Bytes& data, unsigned eighths) {
    if (setjmp(decoder.errors.jump)) {
        return false;
    }
    jpeg_create_decompress(&decoder.cinfo);
    decoder.progress.progress_monitor = limitScans;
    decoder.cinfo.progress = &decoder.progress;
    jpeg_mem_src(&decoder.cinfo, data.data(), data.size());
    jpeg_read_header(&decoder.cinfo, TRUE);
    decoder.cinfo.scale_num = eighths;
    decoder.cinfo.scale_denom = 8;
    decoder.cinfo.out_color_space = decoder.cinfo.num_components == 1   ? JCS_GRAYSCALE
                                    : decoder.cinfo.num_components == 3 ? JCS_RGB
                                                                        : JCS_CMYK;
    jpeg_calc_output_dimensions(&decoder.cinfo);
    return true;
}

bool readRows(Decoder& decoder) {
    if (setjmp(decoder.errors.jump)) {
        return false;
    }
    jpeg_start_decompress(&decoder.cinfo);
    while (decoder.cinfo.output_scanline < decoder.cinfo.output_height) {
        JSAMPROW row = decoder.bitmap.row(decoder.cinfo.output_scanline);
        if (jpeg_read_scanlines(&decoder.cinfo, &row, 1) == 1 && decoder.invert) {
            std::transform(row, row + decoder.bitmap.bytesPerRow, row,
                           [](std::uint8_t sample) { return static_cast<std::uint8_t>(~sample); });
        }
    }
    jpeg_finish_decompress(&decoder.cinfo);
    return true;
}

[[noreturn]] void throwDamaged(const Decoder& decoder) {
    throw ImageError("damaged JPEG data (" + std::string(decoder.errors.message.data()) + ")");
}

} // namespace

namespace jpeg {

Bitmap decode(const Bytes& data, const ImageInfo& info, int eighths) {
    verify(data);
    Decoder decoder;
    if (!start(decoder, data, static_cast<unsigned>(eighths))) {
        throwDamaged(decoder);
    }
    if (decoder.cinfo.output_components != info.colorSpace.components()) {
        throw ImageError("damaged JPEG data (contradicting headers)");
    }
    decoder.bitmap = Bitmap::make(decoder.cinfo.output_width, decoder.cinfo.output_height, 8, info.colorSpace);
    decoder.invert = info.adobeInvertedCMYK;
    if (!readRows(decoder)) {
        throwDamaged(decoder);
    }
    return std::move(decoder.bitmap);
}

} // namespace jpeg

} // namespace orvex
