// JPEG 2000 headers: the image header box of a JP2 file, or the SIZ marker of a bare codestream.
#include "Platform/Imaging/Codecs_p.h"

#include <algorithm>
#include <string_view>

namespace orvex::jpeg2000 {
namespace {

ImageInfo describe(std::int64_t width, std::int64_t height, std::uint32_t components, std::uint32_t depth) {
    ImageInfo info;
    info.format = ImageFormat::jpeg2000;
    info.width = width;
    info.height = height;
    info.bitsPerComponent = depth <= 8 ? 8 : 16;
    info.colorSpace.model = components <= 2 ? ColorModel::gray : ColorModel::rgb;
    info.alpha = components == 2 || components == 4 ? Alpha::straight : Alpha::none;
    requireDecodable(width, height, info.colorSpace.components(), info.bitsPerComponent);
    return info;
}

/// The codestream opens with SOC and SIZ; SIZ holds the reference grid, of which the image is a part.
ImageInfo readCodestream(std::span<const std::uint8_t> data) {
    constexpr std::size_t sizEnd = 43;
    if (data.size() < sizEnd) {
        throw ImageError("truncated JPEG 2000 data");
    }
    const auto field = [&](std::size_t at) { return static_cast<std::int64_t>(bigEndian32(&data[at])); };
    return describe(field(8) - field(16), field(12) - field(20), bigEndian16(&data[40]), (data[42] & 0x7Fu) + 1);
}

/// Finds the image header by its name: it is the first box inside the header box, which is near the start.
ImageInfo readBoxes(std::span<const std::uint8_t> data) {
    constexpr std::string_view name = "ihdr";
    const auto found = std::search(data.begin(), data.end(), name.begin(), name.end());
    if (data.end() - found < 15) {
        throw ImageError("truncated JPEG 2000 data");
    }
    const std::uint8_t* header = &*found + name.size();
    return describe(bigEndian32(header + 4), bigEndian32(header), bigEndian16(header + 8), (header[10] & 0x7Fu) + 1);
}

} // namespace

ImageInfo readInfo(const Bytes& data) {
    return data.span()[0] == 0xFF ? readCodestream(data.span()) : readBoxes(data.span());
}

} // namespace orvex::jpeg2000
