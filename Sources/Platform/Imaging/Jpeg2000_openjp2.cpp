// OpenJPEG. It keeps samples as planes of 32-bit integers; its messages stay here, the first error becomes the reason.
#include "Platform/Imaging/ImagingModule_p.h"
#include "Platform/Imaging/Jpeg2000_p.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

#include <openjpeg.h>

namespace orvex::jpeg2000 {
namespace {

using Codec = std::unique_ptr<opj_codec_t, decltype(&opj_destroy_codec)>;
using Stream = std::unique_ptr<opj_stream_t, decltype(&opj_stream_destroy)>;
using Planes = std::unique_ptr<opj_image_t, decltype(&opj_image_destroy)>;

void keepFirst(const char* text, void* user) {
    auto& message = *static_cast<std::array<char, 200>*>(user);
    if (message[0] == '\0') {
        std::strncpy(message.data(), text, message.size() - 1);
        std::replace_if(
            message.begin(), message.end() - 1, [](char c) { return c > 0 && c < ' '; }, ' ');
    }
}

/// Bytes that are read, or that grow. No exception may pass through C.
struct Source {
    std::span<const std::uint8_t> data;
    std::size_t at = 0;

    static OPJ_SIZE_T read(void* target, OPJ_SIZE_T count, void* user) {
        auto& self = *static_cast<Source*>(user);
        count = std::min(count, self.data.size() - self.at);
        if (count == 0) {
            return static_cast<OPJ_SIZE_T>(-1);
        }
        std::memcpy(target, self.data.data() + self.at, count);
        self.at += count;
        return count;
    }
    static OPJ_OFF_T skip(OPJ_OFF_T count, void* user) {
        auto& self = *static_cast<Source*>(user);
        const auto rest = static_cast<OPJ_OFF_T>(self.data.size() - self.at);
        const OPJ_OFF_T moved = std::clamp(count, -static_cast<OPJ_OFF_T>(self.at), rest);
        self.at = static_cast<std::size_t>(static_cast<OPJ_OFF_T>(self.at) + moved);
        return moved;
    }
    static OPJ_BOOL seek(OPJ_OFF_T offset, void* user) {
        auto& self = *static_cast<Source*>(user);
        if (offset < 0 || static_cast<std::size_t>(offset) > self.data.size()) {
            return OPJ_FALSE;
        }
        self.at = static_cast<std::size_t>(offset);
        return OPJ_TRUE;
    }
};

struct Sink {
    std::vector<std::uint8_t> data;
    std::size_t at = 0;

    bool reach(std::size_t size) noexcept {
        try {
            data.resize(std::max(data.size(), size));
            return true;
        } catch (const std::bad_alloc&) {
            return false;
        }
    }
    static OPJ_SIZE_T write(void* source, OPJ_SIZE_T count, void* user) {
        auto& self = *static_cast<Sink*>(user);
        if (!self.reach(self.at + count)) {
            return static_cast<OPJ_SIZE_T>(-1);
        }
        std::memcpy(self.data.data() + self.at, source, count);
        self.at += count;
        return count;
    }
    static OPJ_BOOL seek(OPJ_OFF_T offset, void* user) {
        auto& self = *static_cast<Sink*>(user);
        if (offset < 0 || !self.reach(static_cast<std::size_t>(offset))) {
            return OPJ_FALSE;
        }
        self.at = static_cast<std::size_t>(offset);
        return OPJ_TRUE;
    }
    static OPJ_OFF_T skip(OPJ_OFF_T count, void* user) {
        const auto target = static_cast<OPJ_OFF_T>(static_cast<Sink*>(user)->at) + count;
        return seek(target, user) == OPJ_TRUE ? count : -1;
    }
};

[[noreturn]] void throwDamaged(const std::array<char, 200>& message) {
    std::string_view text(message.data());
    text = text.substr(0, text.find_last_not_of(' ') + 1);
    throw ImageError("damaged JPEG 2000 data (" + (text.empty() ? "unreadable" : std::string(text)) + ")");
}

Planes decodePlanes(const Bytes& data, const Header& header) {
    std::array<char, 200> message{};
    Source source{data.span()};
    const Stream stream(opj_stream_default_create(OPJ_TRUE), &opj_stream_destroy);
    const Codec codec(opj_create_decompress(header.boxed ? OPJ_CODEC_JP2 : OPJ_CODEC_J2K), &opj_destroy_codec);
    if (!stream || !codec) {
        throw std::bad_alloc();
    }
    opj_stream_set_user_data(stream.get(), &source, nullptr);
    opj_stream_set_user_data_length(stream.get(), data.size());
    opj_stream_set_read_function(stream.get(), Source::read);
    opj_stream_set_skip_function(stream.get(), Source::skip);
    opj_stream_set_seek_function(stream.get(), Source::seek);
    opj_set_error_handler(codec.get(), keepFirst, &message);
    opj_dparameters_t parameters;
    opj_set_default_decoder_parameters(&parameters);
    opj_image_t* raw = nullptr;
    bool good = opj_setup_decoder(codec.get(), &parameters) == OPJ_TRUE &&
                opj_read_header(stream.get(), codec.get(), &raw) == OPJ_TRUE;
    Planes planes(raw, &opj_image_destroy);
    good = good && opj_decode(codec.get(), stream.get(), planes.get()) == OPJ_TRUE &&
           opj_end_decompress(codec.get(), stream.get()) == OPJ_TRUE;
    if (!good) {
        throwDamaged(message);
    }
    return planes;
}

/// The channels in the bitmap's order: colours, then opacity.
std::vector<const opj_image_comp_t*> chooseChannels(const opj_image_t& planes, const ImageInfo& info) {
    std::vector<const opj_image_comp_t*> colors;
    std::vector<const opj_image_comp_t*> others;
    const auto wanted = static_cast<std::size_t>(info.colorSpace.components());
    for (std::size_t i = 0; i < planes.numcomps; ++i) {
        const opj_image_comp_t& component = planes.comps[i];
        if (component.data == nullptr || component.w == 0 || component.h == 0 || component.prec < 1 ||
            component.prec > 31) {
            throw ImageError("damaged JPEG 2000 data (empty component)");
        }
        (component.alpha == 0 && colors.size() < wanted ? colors : others).push_back(&component);
    }
    if (colors.size() < wanted || (info.alpha != Alpha::none && others.empty())) {
        throw ImageError("damaged JPEG 2000 data (contradicting headers)");
    }
    if (info.alpha != Alpha::none) {
        const auto marked = std::find_if(others.begin(), others.end(), [](const auto* c) { return c->alpha != 0; });
        colors.push_back(marked == others.end() ? others.front() : *marked);
    }
    return colors;
}

template <class Sample> void putChannel(const opj_image_comp_t& component, Bitmap& bitmap, std::size_t index) {
    const auto channels = static_cast<std::size_t>(bitmap.channels());
    const std::int64_t offset = component.sgnd != 0 ? std::int64_t{1} << (component.prec - 1) : 0;
    const std::int64_t most = (std::int64_t{1} << component.prec) - 1;
    constexpr std::int64_t full = std::numeric_limits<Sample>::max();
    const std::int64_t wide = component.w;
    const std::int64_t high = component.h;
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        // A component with fewer samples is stretched over the picture.
        const OPJ_INT32* source = component.data + (high == bitmap.height ? y : y * high / bitmap.height) * wide;
        auto* target = reinterpret_cast<Sample*>(bitmap.row(y)) + index;
        for (std::int64_t x = 0; x < bitmap.width; ++x, target += channels) {
            const OPJ_INT32 stored = source[wide == bitmap.width ? x : x * wide / bitmap.width];
            const std::int64_t value = std::clamp<std::int64_t>(stored + offset, 0, most);
            *target = static_cast<Sample>(most == full ? value : (value * full + most / 2) / most);
        }
    }
}

/// JPEG's lightness and colour differences to RGB (ITU-R BT.601).
template <class Sample> void toRGB(Bitmap& bitmap) {
    constexpr double full = std::numeric_limits<Sample>::max();
    const auto channels = static_cast<std::size_t>(bitmap.channels());
    const auto sample = [full](double value) { return static_cast<Sample>(std::lround(std::clamp(value, 0.0, full))); };
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        auto* pixel = reinterpret_cast<Sample*>(bitmap.row(y));
        for (std::int64_t x = 0; x < bitmap.width; ++x, pixel += channels) {
            const double light = pixel[0];
            const double blue = pixel[1] - (full + 1) / 2;
            const double red = pixel[2] - (full + 1) / 2;
            pixel[0] = sample(light + 1.402 * red);
            pixel[1] = sample(light - 0.344136 * blue - 0.714136 * red);
            pixel[2] = sample(light + 1.772 * blue);
        }
    }
}

} // namespace

Bitmap decode(const Bytes& data, const ImageInfo& info) {
    verify(data);
    const Header header = readHeader(data);
    const Planes planes = decodePlanes(data, header);
    const auto channels = chooseChannels(*planes, info);
    std::int64_t width = 0;
    std::int64_t height = 0;
    for (const auto* channel : channels) {
        width = std::max<std::int64_t>(width, channel->w);
        height = std::max<std::int64_t>(height, channel->h);
    }
    Bitmap bitmap = Bitmap::make(width, height, info.bitsPerComponent, info.colorSpace, info.alpha);
    const bool deep = info.bitsPerComponent == 16;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        deep ? putChannel<std::uint16_t>(*channels[i], bitmap, i) : putChannel<std::uint8_t>(*channels[i], bitmap, i);
    }
    if (header.luminanceFirst) {
        deep ? toRGB<std::uint16_t>(bitmap) : toRGB<std::uint8_t>(bitmap);
    }
    if (header.premultiplied && info.alpha != Alpha::none) {
        unpremultiply(bitmap);
    }
    return bitmap;
}

namespace {

Planes planesOf(const Bitmap& bitmap) {
    std::array<opj_image_cmptparm_t, 5> parameters{};
    const auto channels = static_cast<std::size_t>(bitmap.channels());
    for (std::size_t i = 0; i < channels; ++i) {
        opj_image_cmptparm_t& parameter = parameters[i];
        parameter.dx = parameter.dy = 1;
        parameter.w = static_cast<OPJ_UINT32>(bitmap.width);
        parameter.h = static_cast<OPJ_UINT32>(bitmap.height);
        parameter.prec = static_cast<OPJ_UINT32>(bitmap.bitsPerComponent);
    }
    Planes planes(opj_image_create(static_cast<OPJ_UINT32>(channels), parameters.data(),
                                   bitmap.colorSpace.model == ColorModel::gray ? OPJ_CLRSPC_GRAY : OPJ_CLRSPC_SRGB),
                  &opj_image_destroy);
    if (!planes) {
        return planes;
    }
    planes->x1 = static_cast<OPJ_UINT32>(bitmap.width);
    planes->y1 = static_cast<OPJ_UINT32>(bitmap.height);
    for (std::size_t channel = 0; channel < channels; ++channel) {
        OPJ_INT32* target = planes->comps[channel].data;
        for (std::int64_t y = 0; y < bitmap.height; ++y) {
            const std::uint8_t* bytes = bitmap.row(y);
            const auto* words = reinterpret_cast<const std::uint16_t*>(bytes);
            for (std::size_t x = 0; x < static_cast<std::size_t>(bitmap.width); ++x) {
                const std::size_t at = x * channels + channel;
                *target++ = bitmap.bitsPerComponent == 16 ? words[at] : bytes[at];
            }
        }
    }
    return planes;
}

opj_cparameters_t parametersFor(const Bitmap& bitmap, double quality) {
    opj_cparameters_t parameters;
    opj_set_default_encoder_parameters(&parameters);
    parameters.tcp_numlayers = 1;
    parameters.tcp_mct = bitmap.colorSpace.model == ColorModel::rgb ? 1 : 0;
    const std::int64_t side = std::min(bitmap.width, bitmap.height);
    while (parameters.numresolution > 1 && side >> (parameters.numresolution - 1) == 0) {
        --parameters.numresolution;
    }
    if (quality >= 1) { // the best there is: without loss
        parameters.cp_disto_alloc = 1;
        parameters.tcp_rates[0] = 0;
    } else {
        // Decibels of noise about those that JPEG makes of a photograph at the same quality.
        constexpr double worst = 22;
        constexpr double span = 20;
        parameters.irreversible = 1;
        parameters.cp_fixed_quality = 1;
        parameters.tcp_distoratio[0] = static_cast<float>(worst + span * (quality > 0 ? quality : 0));
    }
    return parameters;
}

} // namespace

std::optional<std::vector<std::uint8_t>> encodeCodestream(const Bitmap& bitmap, double quality) {
    try {
        requireDecodable(bitmap.width, bitmap.height, bitmap.channels(), 64); // as when it is decoded
    } catch (const ImageError&) {
        return std::nullopt;
    }
    const Planes planes = planesOf(bitmap);
    const Stream stream(opj_stream_default_create(OPJ_FALSE), &opj_stream_destroy);
    const Codec codec(opj_create_compress(OPJ_CODEC_J2K), &opj_destroy_codec);
    if (!planes || !stream || !codec) {
        return std::nullopt;
    }
    Sink sink;
    opj_stream_set_user_data(stream.get(), &sink, nullptr);
    opj_stream_set_write_function(stream.get(), Sink::write);
    opj_stream_set_skip_function(stream.get(), Sink::skip);
    opj_stream_set_seek_function(stream.get(), Sink::seek);
    opj_cparameters_t parameters = parametersFor(bitmap, quality);
    const bool done = opj_setup_encoder(codec.get(), &parameters, planes.get()) == OPJ_TRUE &&
                      opj_start_compress(codec.get(), planes.get(), stream.get()) == OPJ_TRUE &&
                      opj_encode(codec.get(), stream.get()) == OPJ_TRUE &&
                      opj_end_compress(codec.get(), stream.get()) == OPJ_TRUE;
    return done ? std::optional(std::move(sink.data)) : std::nullopt;
}

} // namespace orvex::jpeg2000
