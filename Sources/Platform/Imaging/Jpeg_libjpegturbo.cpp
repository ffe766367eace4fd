// libjpeg-turbo. Its errors leave C by longjmp and this file as results; its warnings about damage count as errors.
#include "Platform/Imaging/Codecs_p.h"
#include "Platform/Imaging/JpegPlanes_p.h"
#include "Platform/Imaging/Simplify_p.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <span>
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

namespace {

/// The rows that the library hands out at a time of one component, padded to whole blocks.
struct BandRows {
    std::vector<std::uint8_t> samples;
    std::vector<JSAMPROW> rows;

    explicit BandRows(const jpeg_component_info& component) {
        const auto block = static_cast<std::size_t>(component.DCT_scaled_size);
        const std::size_t stride = component.width_in_blocks * block;
        samples.resize(stride * block * static_cast<std::size_t>(component.v_samp_factor));
        for (std::size_t start = 0; start < samples.size(); start += stride) {
            rows.push_back(samples.data() + start);
        }
    }
};

struct PlaneReader {
    Decoder& decoder;
    const TakeBand& take;
    std::vector<BandRows> bands;
    std::int64_t count = 0; ///< bands read so far

    void handOut() {
        for (std::size_t plane = 0; plane < bands.size(); ++plane) {
            const jpeg_component_info& component = decoder.cinfo.comp_info[plane];
            const auto& rows = bands[plane].rows;
            const std::int64_t height = component.downsampled_height;
            const auto tall = static_cast<std::int64_t>(rows.size());
            const std::int64_t used = std::clamp<std::int64_t>(height - count * tall, 0, tall);
            take({plane, component.downsampled_width, height, count * tall,
                  std::span(rows).first(static_cast<std::size_t>(used))});
        }
        ++count;
    }
};

bool holdsPlanes(const jpeg_decompress_struct& cinfo) {
    const auto isWhole = [&](const jpeg_component_info& component) {
        return component.h_samp_factor == cinfo.max_h_samp_factor && component.v_samp_factor == cinfo.max_v_samp_factor;
    };
    return cinfo.jpeg_color_space == JCS_YCbCr && cinfo.num_components == 3 && isWhole(cinfo.comp_info[0]);
}

bool readBands(PlaneReader& reader) {
    if (setjmp(reader.decoder.errors.jump)) {
        return false;
    }
    jpeg_decompress_struct& cinfo = reader.decoder.cinfo;
    cinfo.raw_data_out = TRUE;
    jpeg_start_decompress(&cinfo);
    JSAMPARRAY bands[] = {reader.bands[0].rows.data(), reader.bands[1].rows.data(), reader.bands[2].rows.data()};
    while (cinfo.output_scanline < cinfo.output_height) {
        jpeg_read_raw_data(&cinfo, bands, static_cast<JDIMENSION>(reader.bands[0].rows.size()));
        reader.handOut();
    }
    jpeg_finish_decompress(&cinfo);
    return true;
}

} // namespace

bool decodePlanes(const Bytes& data, int eighths, const TakeBand& take) {
    verify(data);
    Decoder decoder;
    if (!start(decoder, data, static_cast<unsigned>(eighths))) {
        throwDamaged(decoder);
    }
    if (!holdsPlanes(decoder.cinfo)) {
        return false;
    }
    const std::span components(decoder.cinfo.comp_info, 3);
    PlaneReader reader{decoder, take, {components.begin(), components.end()}};
    if (!readBands(reader)) {
        throwDamaged(decoder);
    }
    return true;
}

} // namespace jpeg

namespace {

struct Encoder {
    ErrorState errors;
    jpeg_compress_struct cinfo{};
    jpeg_destination_mgr destination{};
    std::vector<std::uint8_t> output;
    std::size_t limit = 0;

    Encoder() { cinfo.err = setUp(errors); }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;
    ~Encoder() { jpeg_destroy_compress(&cinfo); }
};

Encoder& encoderOf(j_compress_ptr cinfo) {
    return *static_cast<Encoder*>(cinfo->client_data);
}

/// Makes room behind the first `used` bytes. No exception may pass through C.
bool grow(Encoder& encoder, std::size_t used) noexcept {
    try {
        encoder.output.resize(std::max<std::size_t>(2 * used, 64 << 10));
    } catch (const std::bad_alloc&) {
        return false;
    }
    encoder.destination.next_output_byte = encoder.output.data() + used;
    encoder.destination.free_in_buffer = encoder.output.size() - used;
    return true;
}

void startOutput(j_compress_ptr cinfo) {
    if (!grow(encoderOf(cinfo), 0)) {
        ERREXIT1(cinfo, JERR_OUT_OF_MEMORY, 0);
    }
}

boolean growOutput(j_compress_ptr cinfo) {
    Encoder& encoder = encoderOf(cinfo);
    const std::size_t used = encoder.output.size();
    if ((encoder.limit != 0 && used > encoder.limit) || !grow(encoder, used)) {
        ERREXIT1(cinfo, JERR_OUT_OF_MEMORY, 0);
    }
    return TRUE;
}

void endOutput(j_compress_ptr cinfo) {
    Encoder& encoder = encoderOf(cinfo);
    encoder.output.resize(encoder.output.size() - encoder.destination.free_in_buffer);
}

/// 0 is not a quality that the library knows; not a number counts as the strongest.
int libraryQuality(double quality) {
    const double clamped = quality > 0 ? std::min(quality, 1.0) : 0;
    return std::max(1, static_cast<int>(std::lround(100 * clamped)));
}

UINT16 wholeDPI(double dpi) {
    return static_cast<UINT16>(std::clamp(std::round(usableDPI(dpi)), 1.0, 65535.0));
}

void setColorSpace(jpeg_compress_struct& cinfo, ColorModel model) {
    cinfo.input_components = model == ColorModel::gray ? 1 : model == ColorModel::rgb ? 3 : 4;
    cinfo.in_color_space = model == ColorModel::gray ? JCS_GRAYSCALE : model == ColorModel::rgb ? JCS_RGB : JCS_CMYK;
    jpeg_set_defaults(&cinfo);
    if (model == ColorModel::cmyk) {
        // With an Adobe marker: inks inverted, their luminance apart from their chroma.
        jpeg_set_colorspace(&cinfo, JCS_YCCK);
        cinfo.write_JFIF_header = TRUE; // it holds the resolution
    }
}

/// Steps of lightness at half quality, growing with the frequency whatever its direction. On scanned pages the same
/// similarity takes about a tenth less than with the steps of the standard's annex K, whose finest are coarser.
std::array<unsigned, DCTSIZE2> lightnessSteps() {
    std::array<unsigned, DCTSIZE2> steps{};
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const double frequency = std::hypot(i % DCTSIZE, i / DCTSIZE);
        steps[i] = static_cast<unsigned>(std::lround(13 + 4.5 * frequency));
    }
    return steps;
}

void setParameters(Encoder& encoder, const Bitmap& bitmap, const JPEGOptions& options) {
    jpeg_compress_struct& cinfo = encoder.cinfo;
    cinfo.image_width = static_cast<JDIMENSION>(bitmap.width);
    cinfo.image_height = static_cast<JDIMENSION>(bitmap.height);
    setColorSpace(cinfo, bitmap.colorSpace.model);
    jpeg_set_quality(&cinfo, libraryQuality(options.quality), TRUE);
    static const auto steps = lightnessSteps();
    jpeg_add_quant_table(&cinfo, 0, steps.data(), jpeg_quality_scaling(libraryQuality(options.quality)), TRUE);
    cinfo.optimize_coding = TRUE;
    cinfo.density_unit = 1;
    cinfo.X_density = wholeDPI(options.dpiX);
    cinfo.Y_density = wholeDPI(options.dpiY);
    const int factor = cinfo.num_components == 1 || options.quality >= 0.9 ? 1 : 2;
    for (int i = 0; i < cinfo.num_components; ++i) {
        const bool detailed = i == 0 || i == 3; // lightness, and black of four
        cinfo.comp_info[i].h_samp_factor = cinfo.comp_info[i].v_samp_factor = detailed ? factor : 1;
    }
}

void writeRows(Encoder& encoder, const Bitmap& bitmap, std::vector<std::uint8_t>& inverted) {
    while (encoder.cinfo.next_scanline < encoder.cinfo.image_height) {
        const std::uint8_t* row = bitmap.row(encoder.cinfo.next_scanline);
        if (!inverted.empty()) {
            std::transform(row, row + inverted.size(), inverted.begin(),
                           [](std::uint8_t ink) { return static_cast<std::uint8_t>(~ink); });
            row = inverted.data();
        }
        JSAMPROW rows = const_cast<JSAMPROW>(row);
        jpeg_write_scanlines(&encoder.cinfo, &rows, 1);
    }
}

bool compress(Encoder& encoder, const Bitmap& bitmap, const JPEGOptions& options, std::vector<std::uint8_t>& inverted) {
    if (setjmp(encoder.errors.jump)) {
        return false;
    }
    jpeg_create_compress(&encoder.cinfo);
    encoder.cinfo.client_data = &encoder;
    encoder.destination = {nullptr, 0, startOutput, growOutput, endOutput};
    encoder.cinfo.dest = &encoder.destination;
    setParameters(encoder, bitmap, options);
    jpeg_start_compress(&encoder.cinfo, TRUE);
    const Bytes& profile = bitmap.colorSpace.iccProfile;
    if (isProfileFor(profile, bitmap.colorSpace.model)) {
        jpeg_write_icc_profile(&encoder.cinfo, profile.data(), static_cast<unsigned>(profile.size()));
    }
    if (options.orientation != 0) {
        const auto exif = exifWithOrientation(options.orientation);
        jpeg_write_marker(&encoder.cinfo, JPEG_APP0 + 1, exif.data(), static_cast<unsigned>(exif.size()));
    }
    writeRows(encoder, bitmap, inverted);
    jpeg_finish_compress(&encoder.cinfo);
    return true;
}

/// JPEG carries profiles; a mere gamma must go into the samples.
std::optional<Bitmap> withoutGamma(const Bitmap& bitmap) {
    const bool carried = bitmap.colorSpace.gamma == 0 || !bitmap.colorSpace.iccProfile.empty();
    return carried ? std::nullopt : std::optional(convertToSRGB(bitmap));
}

} // namespace

std::optional<Bytes> encodeJPEG(const Bitmap& bitmap, const JPEGOptions& options) {
    if (bitmap.width > JPEG_MAX_DIMENSION || bitmap.height > JPEG_MAX_DIMENSION) {
        return std::nullopt;
    }
    Simplified simplified(bitmap);
    simplified.apply(withoutGamma).apply(asBytes).apply(overWhite).apply(withoutUnusedColor);
    const Bitmap& samples = simplified.bitmap();
    std::vector<std::uint8_t> inverted(samples.colorSpace.model == ColorModel::cmyk ? samples.bytesPerRow : 0);
    Encoder encoder;
    encoder.limit = options.limit;
    if (!compress(encoder, samples, options, inverted) ||
        (options.limit != 0 && encoder.output.size() > options.limit)) {
        return std::nullopt;
    }
    encoder.output.shrink_to_fit();
    return Bytes(std::move(encoder.output));
}

} // namespace orvex
