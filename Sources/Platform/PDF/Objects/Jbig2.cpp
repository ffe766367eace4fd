// JBIG2 data as PDF holds them: segments without a file's header, shared ones apart. Our own, since the free decoders
// are not for libraries like this one, and readers that have one differ in what they can read.
#include "Platform/PDF/Jbig2/Page_p.h"
#include "Platform/PDF/Objects/StreamFilters_p.h"

#include <algorithm>

namespace orvex {

namespace {

constexpr std::int64_t mostPixels = std::int64_t{1} << 28;
/// Pages are drawn over more than once, in parts; more than this many seconds and megabytes no page needs.
constexpr std::int64_t mostUnits = std::int64_t{1} << 29;
constexpr std::int64_t freeUnits = std::int64_t{1} << 25;
constexpr std::int64_t unitsOfAPixel = 16;

} // namespace

std::optional<ByteBuffer> decodeJbig2(const Jbig2Image& image) {
    if (image.width < 1 || image.height < 1 || image.width > mostPixels || image.height > mostPixels / image.width) {
        return std::nullopt;
    }
    const std::int64_t units = std::min(freeUnits + unitsOfAPixel * image.width * image.height, mostUnits);
    jbig2::Budget budget(static_cast<std::uint64_t>(units));
    jbig2::Page page(budget);
    page.read(image.globals.span(), image.height);
    page.read(image.data.span(), image.height);
    const auto& picture = page.picture();
    if (!picture) {
        return std::nullopt;
    }
    const auto rowBytes = static_cast<std::size_t>((image.width + 7) / 8);
    const unsigned behindRow = (0xFFU >> (image.width - 1) % 8) >> 1;
    ByteBuffer out(rowBytes * static_cast<std::size_t>(image.height), 0xFF); // what the page does not reach is white
    for (std::int64_t y = 0; y < std::min(image.height, picture->height()); ++y) {
        const std::size_t shared = std::min(rowBytes, picture->rowBytes());
        const auto inverted = [](std::uint8_t eight) { return static_cast<std::uint8_t>(~eight); };
        std::uint8_t* const row = &out[static_cast<std::size_t>(y) * rowBytes];
        std::transform(picture->row(y), picture->row(y) + shared, row, inverted);
        row[rowBytes - 1] = static_cast<std::uint8_t>(row[rowBytes - 1] | behindRow);
    }
    return out;
}

} // namespace orvex
