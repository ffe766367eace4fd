// JPEG headers and truncation checks, by walking markers: embedding a JPEG as it is needs no decoder.
#include "Platform/Imaging/Codecs_p.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string_view>

namespace orvex::jpeg {
namespace {

using namespace std::string_view_literals;

enum Marker : std::uint8_t {
    temporary = 0x01,
    startOfFrameFirst = 0xC0,
    huffmanTables = 0xC4,
    extension = 0xC8,
    arithmeticConditioning = 0xCC,
    startOfFrameLast = 0xCF,
    restartFirst = 0xD0,
    startOfImage = 0xD8,
    endOfImage = 0xD9,
    startOfScan = 0xDA,
    app0 = 0xE0,
    app1 = 0xE1,
    app2 = 0xE2,
    app14 = 0xEE
};

[[noreturn]] void throwTruncated() {
    throw ImageError("truncated JPEG data");
}

struct Frame {
    std::uint8_t marker = 0;
    std::uint32_t precision = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::uint32_t components = 0;
    std::uint64_t blocks = 0; ///< 8 x 8 blocks of all components
};

struct Header {
    Frame frame;
    double jfifX = 0;
    double jfifY = 0;
    ExifTags exif;
    bool adobe = false;
    std::map<int, Bytes> profileParts; ///< by sequence number
    std::size_t scanOffset = 0;        ///< behind the first scan's header
};

bool startsWith(const Bytes& segment, std::string_view name) {
    return segment.text().substr(0, name.size()) == name;
}

/// Blocks that the frame's components have, from their sampling factors.
std::uint64_t countBlocks(const Bytes& segment, const Frame& frame) {
    std::uint64_t perUnit = 0;
    std::uint64_t widest = 1;
    std::uint64_t tallest = 1;
    for (std::size_t i = 0; i < frame.components; ++i) {
        const std::uint8_t factors = segment.data()[6 + 3 * i + 1];
        const std::uint64_t across = factors >> 4;
        const std::uint64_t down = factors & 15;
        perUnit += across * down;
        widest = std::max(widest, across);
        tallest = std::max(tallest, down);
    }
    const std::uint64_t unitsAcross = static_cast<std::uint64_t>(frame.width) / (8 * widest);
    const std::uint64_t unitsDown = static_cast<std::uint64_t>(frame.height) / (8 * tallest);
    return frame.components == 1 ? unitsAcross * widest * unitsDown * tallest : perUnit * unitsAcross * unitsDown;
}

void readFrame(std::uint8_t marker, const Bytes& segment, Header& header) {
    if (segment.size() < 6 || segment.size() < 6 + 3u * segment.data()[5]) {
        throw ImageError("damaged JPEG data (bad frame header)");
    }
    const std::uint8_t* p = segment.data();
    Frame& frame = header.frame;
    frame.marker = marker;
    frame.precision = p[0];
    frame.height = bigEndian16(p + 1);
    frame.width = bigEndian16(p + 3);
    frame.components = p[5];
    frame.blocks = countBlocks(segment, frame);
}

void readJFIF(const Bytes& segment, Header& header) {
    if (!startsWith(segment, "JFIF\0"sv) || segment.size() < 12) {
        return;
    }
    const std::uint8_t* p = segment.data();
    // Unit 0 is an aspect ratio, and so is 1 x 1 whatever its unit: no pixel is an inch wide.
    const bool ratio = bigEndian16(p + 8) <= 1 && bigEndian16(p + 10) <= 1;
    const double perInch = ratio ? 0 : p[7] == 1 ? 1 : p[7] == 2 ? 2.54 : 0;
    header.jfifX = bigEndian16(p + 8) * perInch;
    header.jfifY = bigEndian16(p + 10) * perInch;
}

void readProfilePart(const Bytes& segment, Header& header) {
    constexpr std::size_t partHeader = 14;
    if (startsWith(segment, "ICC_PROFILE\0"sv) && segment.size() > partHeader) {
        header.profileParts.try_emplace(segment.data()[12], segment.slice(partHeader, segment.size() - partHeader));
    }
}

void readSegment(std::uint8_t marker, const Bytes& segment, Header& header) {
    switch (marker) {
    case app0:
        return readJFIF(segment, header);
    case app1:
        if (startsWith(segment, "Exif\0"sv) && segment.size() > 6) {
            header.exif = readExif(segment.span().subspan(6));
        }
        return;
    case app2:
        return readProfilePart(segment, header);
    case app14:
        header.adobe = header.adobe || (startsWith(segment, "Adobe"sv) && segment.size() >= 12);
        return;
    case huffmanTables:
    case extension:
    case arithmeticConditioning:
        return;
    default:
        break;
    }
    if (marker >= startOfFrameFirst && marker <= startOfFrameLast) {
        readFrame(marker, segment, header);
    }
}

bool standsAlone(std::uint8_t marker) {
    return marker == temporary || (marker >= restartFirst && marker <= startOfImage);
}

/// The next marker from `offset` on, which is moved behind it. Stray bytes are passed over, as decoders do.
std::uint8_t nextMarker(const Bytes& data, std::size_t& offset) {
    while (offset + 1 < data.size()) {
        const std::uint8_t marker = data.data()[offset + 1];
        if (data.data()[offset] == 0xFF && marker != 0xFF && marker != 0) {
            offset += 2;
            return marker;
        }
        ++offset;
    }
    throwTruncated();
}

Header readHeader(const Bytes& data) {
    Header header;
    std::size_t offset = 2;
    while (header.scanOffset == 0) {
        const std::uint8_t marker = nextMarker(data, offset);
        if (marker == endOfImage) {
            throw ImageError("JPEG data without an image");
        }
        if (standsAlone(marker)) {
            continue;
        }
        const std::size_t length = offset + 2 <= data.size() ? bigEndian16(data.data() + offset) : 0;
        if (length < 2 || offset + length > data.size()) {
            throwTruncated();
        }
        readSegment(marker, data.slice(offset + 2, length - 2), header);
        offset += length;
        header.scanOffset = marker == startOfScan ? offset : 0;
    }
    return header;
}

/// The parts in order: one part is shared, several are joined. Empty when parts are missing.
Bytes joinProfile(const std::map<int, Bytes>& parts) {
    if (parts.size() == 1) {
        return parts.begin()->second;
    }
    std::vector<std::uint8_t> joined;
    int expected = 1;
    for (const auto& [number, part] : parts) {
        if (number != expected++) {
            return {};
        }
        joined.insert(joined.end(), part.span().begin(), part.span().end());
    }
    return joined.empty() ? Bytes{} : Bytes(std::move(joined));
}

void requireSupported(const Frame& frame) {
    const std::uint8_t kind = frame.marker & 0x0F;
    if (frame.marker == 0) {
        throw ImageError("damaged JPEG data (no frame header)");
    }
    if (kind > 2 && kind != 9 && kind != 10) {
        throw ImageError("unsupported JPEG process (lossless or hierarchical)");
    }
    if (frame.precision != 8) {
        throw ImageError("unsupported JPEG precision (" + std::to_string(frame.precision) + " bits)");
    }
    if (frame.components != 1 && frame.components != 3 && frame.components != 4) {
        throw ImageError("unsupported JPEG with " + std::to_string(frame.components) + " components");
    }
    requireDecodable(frame.width, frame.height, static_cast<int>(frame.components), 8);
}

/// Whether an end-of-image marker follows the scan's start. Searched from the end: it is among the last bytes of a
/// sound file, and inside entropy-coded data the marker cannot occur.
bool endsImage(const Bytes& data, std::size_t scanOffset) {
    const std::uint8_t* start = data.data() + scanOffset;
    std::size_t length = data.size() - scanOffset;
    while (length > 1) {
        const auto* found = static_cast<const std::uint8_t*>(::memrchr(start + 1, endOfImage, length - 1));
        if (!found) {
            return false;
        }
        if (found[-1] == 0xFF) {
            return true;
        }
        length = static_cast<std::size_t>(found - start);
    }
    return false;
}

} // namespace

ImageInfo readInfo(const Bytes& data) {
    const Header header = readHeader(data);
    requireSupported(header.frame);
    const Frame& frame = header.frame;
    ImageInfo info;
    info.format = ImageFormat::jpeg;
    info.width = frame.width;
    info.height = frame.height;
    info.colorSpace.model = frame.components == 1   ? ColorModel::gray
                            : frame.components == 3 ? ColorModel::rgb
                                                    : ColorModel::cmyk;
    info.colorSpace.iccProfile = joinProfile(header.profileParts);
    // JFIF says what the pixels are meant to measure; cameras without JFIF write the same into EXIF.
    const bool jfif = header.jfifX > 0 && header.jfifY > 0;
    info.dpiX = usableDPI(jfif ? header.jfifX : header.exif.dpiX);
    info.dpiY = usableDPI(jfif ? header.jfifY : header.exif.dpiY, info.dpiX);
    info.orientation = std::max(header.exif.orientation, 1);
    info.adobeInvertedCMYK = header.adobe && frame.components == 4;
    info.arithmeticCoded = (frame.marker & 0x0F) >= 9;
    info.progressiveOrInterlaced = (frame.marker & 0x03) == 2;
    return info;
}

void verify(const Bytes& data) {
    const Header header = readHeader(data);
    requireSupported(header.frame);
    // Every Huffman-coded block takes a bit at least, and of arithmetic codes no real picture has many in a bit: what a
    // header promises is bounded by what follows it.
    const std::uint64_t bits = std::uint64_t{8} * (data.size() - header.scanOffset);
    const bool arithmetic = (header.frame.marker & 0x0F) >= 9;
    if ((arithmetic ? 64 * bits : bits) < header.frame.blocks || !endsImage(data, header.scanOffset)) {
        throwTruncated();
    }
}

} // namespace orvex::jpeg
