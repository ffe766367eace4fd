// The few EXIF tags that place an image on a page. EXIF is a TIFF file without pixels, found inside other formats.
#include "Platform/Imaging/Codecs_p.h"

namespace orvex {
namespace {

class TiffReader {
public:
    explicit TiffReader(std::span<const std::uint8_t> data)
        : data_(data), littleEndian_(!data.empty() && data[0] == 'I') {}

    [[nodiscard]] bool has(std::size_t offset, std::size_t length) const {
        return offset <= data_.size() && length <= data_.size() - offset;
    }
    [[nodiscard]] std::uint32_t read16(std::size_t offset) const {
        const std::uint32_t first = data_[offset];
        const std::uint32_t second = data_[offset + 1];
        return littleEndian_ ? second << 8 | first : first << 8 | second;
    }
    [[nodiscard]] std::uint32_t read32(std::size_t offset) const {
        const std::uint32_t first = read16(offset);
        const std::uint32_t second = read16(offset + 2);
        return littleEndian_ ? second << 16 | first : first << 16 | second;
    }
    [[nodiscard]] double readRational(std::size_t offset) const {
        const std::uint32_t denominator = has(offset, 8) ? read32(offset + 4) : 0;
        return denominator == 0 ? 0 : static_cast<double>(read32(offset)) / denominator;
    }

private:
    std::span<const std::uint8_t> data_;
    bool littleEndian_;
};

struct RawTags {
    std::uint32_t orientation = 0;
    double xResolution = 0;
    double yResolution = 0;
    std::uint32_t unit = 2; ///< inches, EXIF's default
};

void readEntry(const TiffReader& reader, std::size_t entry, RawTags& tags) {
    constexpr std::uint32_t typeShort = 3;
    constexpr std::uint32_t typeRational = 5;
    const std::uint32_t type = reader.read16(entry + 2);
    const std::size_t value = entry + 8;
    switch (reader.read16(entry)) {
    case 0x0112:
        tags.orientation = type == typeShort ? reader.read16(value) : 0;
        break;
    case 0x011A:
        tags.xResolution = type == typeRational ? reader.readRational(reader.read32(value)) : 0;
        break;
    case 0x011B:
        tags.yResolution = type == typeRational ? reader.readRational(reader.read32(value)) : 0;
        break;
    case 0x0128:
        tags.unit = type == typeShort ? reader.read16(value) : tags.unit;
        break;
    default:
        break;
    }
}

} // namespace

ExifTags readExif(std::span<const std::uint8_t> tiff) {
    const TiffReader reader(tiff);
    if (!reader.has(0, 8) || reader.read16(2) != 42 || !reader.has(reader.read32(4), 2)) {
        return {};
    }
    RawTags tags;
    const std::size_t directory = reader.read32(4);
    const std::size_t count = reader.read16(directory);
    for (std::size_t i = 0; i < count && reader.has(directory + 2 + 12 * i, 12); ++i) {
        readEntry(reader, directory + 2 + 12 * i, tags);
    }
    constexpr double centimetresPerInch = 2.54;
    const double scale = tags.unit == 2 ? 1 : tags.unit == 3 ? centimetresPerInch : 0;
    const int orientation = tags.orientation <= 8 ? static_cast<int>(tags.orientation) : 0;
    return {orientation, tags.xResolution * scale, tags.yResolution * scale};
}

std::array<std::uint8_t, 32> exifWithOrientation(int orientation) {
    return {'E', 'x',  'i', 'f', 0, 0,       // what the segment is
            'M', 'M',  0,   42,  0, 0, 0, 8, // big-endian, directory at 8
            0,   1,                          // one entry
            1,   0x12, 0,   3,   0, 0, 0, 1, 0, static_cast<std::uint8_t>(orientation), 0, 0, // one short number
            0,   0,    0,   0};                                                               // no further directory
}

} // namespace orvex
