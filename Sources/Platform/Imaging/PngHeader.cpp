// PNG chunks: headers, truncation checks and the compressed data as a PDF can embed it, without a decoder.
#include "Platform/Imaging/Deflate.h"
#include "Platform/Imaging/Png_p.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace orvex {
namespace png {
namespace {

struct Chunk {
    std::string_view type;
    Bytes payload;
};

[[noreturn]] void throwTruncated() {
    throw ImageError("truncated PNG data");
}

/// Calls `visit` for each chunk until it returns false or the end chunk has been visited. Throws when data stops early
/// or, with `checked`, when the checksum of a chunk that matters is wrong.
void walkChunks(const Bytes& data, bool checked, const std::function<bool(const Chunk&)>& visit) {
    std::size_t offset = signature.size();
    for (bool more = true; more;) {
        if (data.size() < offset + chunkOverhead) {
            throwTruncated();
        }
        const std::size_t length = bigEndian32(data.data() + offset);
        const Bytes body = data.slice(offset + 4, length + 4); // type and payload
        if (length > data.size() - offset - chunkOverhead) {
            // Whoever wants the header alone is done where the pixels start.
            if (body.text().substr(0, 4) != "IDAT" || visit({"IDAT", body.slice(4, length)})) {
                throwTruncated();
            }
            return;
        }
        const bool critical = (body.data()[0] & 0x20) == 0; // a damaged comment does no harm
        if (checked && critical && crc32(body.span()) != bigEndian32(body.data() + body.size())) {
            throw ImageError("damaged PNG data (wrong checksum of " + std::string(body.text().substr(0, 4)) + ")");
        }
        const Chunk chunk{body.text().substr(0, 4), body.slice(4, length)};
        more = visit(chunk) && chunk.type != "IEND";
        offset += length + chunkOverhead;
    }
}

bool isLegal(ColorType type, int bits) {
    const bool power = bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16;
    switch (type) {
    case ColorType::gray:
        return power;
    case ColorType::palette:
        return power && bits <= 8;
    case ColorType::rgb:
    case ColorType::grayAlpha:
    case ColorType::rgbAlpha:
        return bits == 8 || bits == 16;
    }
    return false;
}

void readHeaderChunk(const Bytes& payload, ImageInfo& info) {
    if (payload.size() != 13) {
        throw ImageError("damaged PNG data (bad header)");
    }
    const std::uint8_t* p = payload.data();
    const auto type = static_cast<ColorType>(p[9]);
    info.width = bigEndian32(p);
    info.height = bigEndian32(p + 4);
    info.bitsPerComponent = p[8];
    if (!isLegal(type, p[8]) || p[10] != 0 || p[11] != 0 || p[12] > 1) {
        throw ImageError("damaged PNG data (bad header)");
    }
    info.palette = type == ColorType::palette;
    info.colorSpace.model =
        type == ColorType::gray || type == ColorType::grayAlpha ? ColorModel::gray : ColorModel::rgb;
    info.alpha = type == ColorType::grayAlpha || type == ColorType::rgbAlpha ? Alpha::straight : Alpha::none;
    info.progressiveOrInterlaced = p[12] == 1;
    const int channels = std::max(channelsOf(type), info.colorSpace.components());
    requireDecodable(info.width, info.height, channels, info.palette ? 8 : p[8]);
}

void readResolution(const Bytes& payload, ImageInfo& info) {
    constexpr double metresPerInch = 0.0254;
    if (payload.size() == 9 && payload.data()[8] == 1) {
        info.dpiX = usableDPI(bigEndian32(payload.data()) * metresPerInch);
        info.dpiY = usableDPI(bigEndian32(payload.data() + 4) * metresPerInch, info.dpiX);
    }
}

void readProfile(const Bytes& payload, ImageInfo& info) {
    const std::size_t name = payload.text().find('\0');
    if (name == std::string_view::npos || name + 2 > payload.size()) {
        return;
    }
    if (auto profile = inflateZlib(payload.span().subspan(name + 2), largestProfile); profile && !profile->empty()) {
        info.colorSpace.iccProfile = Bytes(std::move(*profile));
    }
}

void readGamma(const Bytes& payload, ImageInfo& info) {
    const std::uint32_t scaled = payload.size() == 4 ? bigEndian32(payload.data()) : 0;
    if (scaled != 0) {
        info.colorSpace.gamma = 100000.0 / scaled;
    }
}

void readChunk(const Chunk& chunk, ImageInfo& info, bool& standard) {
    if (chunk.type == "IHDR") {
        readHeaderChunk(chunk.payload, info);
    } else if (chunk.type == "pHYs") {
        readResolution(chunk.payload, info);
    } else if (chunk.type == "iCCP") {
        readProfile(chunk.payload, info);
    } else if (chunk.type == "gAMA") {
        readGamma(chunk.payload, info);
    } else if (chunk.type == "sRGB") {
        standard = true;
    } else if (chunk.type == "tRNS") {
        info.alpha = Alpha::straight;
    } else if (chunk.type == "eXIf") {
        info.orientation = std::max(readExif(chunk.payload.span()).orientation, 1);
    }
}

/// What the compressed data of a header without tRNS inflates to, at least.
std::size_t filteredSize(const ImageInfo& info) {
    const int channels = info.palette ? 1 : info.colorSpace.components() + (info.alpha == Alpha::none ? 0 : 1);
    return (Bitmap::tightBytesPerRow(info.width, channels, info.bitsPerComponent) + 1) *
           static_cast<std::size_t>(info.height);
}

} // namespace

int channelsOf(ColorType type) {
    switch (type) {
    case ColorType::gray:
    case ColorType::palette:
        return 1;
    case ColorType::grayAlpha:
        return 2;
    case ColorType::rgb:
        return 3;
    case ColorType::rgbAlpha:
        return 4;
    }
    return 0;
}

ImageInfo readInfo(const Bytes& data) {
    ImageInfo info;
    info.format = ImageFormat::png;
    bool standard = false; // sRGB wins over gAMA, a profile over both; whichever order they come in
    bool first = true;
    walkChunks(data, false, [&](const Chunk& chunk) {
        if (std::exchange(first, false) != (chunk.type == "IHDR")) {
            throw ImageError("damaged PNG data (no header)");
        }
        readChunk(chunk, info, standard);
        return chunk.type != "IDAT";
    });
    if (standard || !info.colorSpace.iccProfile.empty()) {
        info.colorSpace.gamma = 0;
    }
    return info;
}

void verify(const Bytes& data) {
    ImageInfo info;
    std::uint64_t compressed = 0;
    walkChunks(data, true, [&](const Chunk& chunk) {
        if (chunk.type == "IHDR") {
            readHeaderChunk(chunk.payload, info);
        }
        compressed += chunk.type == "IDAT" ? chunk.payload.size() : 0;
        return true;
    });
    // Deflate never expands by more than 1032: what a header promises is bounded by what follows it.
    if (compressed == 0 || filteredSize(info) > 1032 * compressed) {
        throwTruncated();
    }
}

} // namespace png

std::optional<PNGStream> pngStream(const Bytes& data) {
    if (sniffImageFormat(data.span()) != ImageFormat::png) {
        return std::nullopt;
    }
    PNGStream stream;
    ImageInfo info;
    std::vector<Bytes> parts;
    try {
        png::verify(data);
        info = png::readInfo(data);
        png::walkChunks(data, false, [&](const png::Chunk& chunk) {
            if (chunk.type == "PLTE") {
                stream.palette = chunk.payload;
            } else if (chunk.type == "IDAT" && !chunk.payload.empty()) {
                parts.push_back(chunk.payload);
            }
            return true;
        });
    } catch (const ImageError&) {
        return std::nullopt;
    }
    const std::size_t colors = stream.palette.size() / 3;
    if (info.progressiveOrInterlaced || info.alpha != Alpha::none || (info.palette && (colors < 1 || colors > 256))) {
        return std::nullopt;
    }
    stream.colors = info.palette ? 1 : info.colorSpace.components();
    stream.bitsPerComponent = info.bitsPerComponent;
    stream.palette = info.palette ? stream.palette.slice(0, colors * 3) : Bytes{};
    if (parts.size() == 1) {
        stream.deflate = parts.front();
        return stream;
    }
    std::vector<std::uint8_t> joined;
    for (const Bytes& part : parts) {
        joined.insert(joined.end(), part.span().begin(), part.span().end());
    }
    stream.deflate = Bytes(std::move(joined));
    return stream;
}

} // namespace orvex
