#include "Platform/Imaging/Codecs_p.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace orvex {

void requireDecodable(std::int64_t width, std::int64_t height, int channels, int bitsPerComponent) {
    if (width < 1 || height < 1) {
        throw ImageError("image without pixels");
    }
    // Sides are bounded first, so that nothing below overflows.
    constexpr std::int64_t longestSide = std::int64_t{1} << 31;
    if (width >= longestSide || height >= longestSide ||
        Bitmap::tightBytesPerRow(width, channels, bitsPerComponent) >
            maximumSampleBytes / static_cast<std::uint64_t>(height)) {
        throw ImageError("image too large (" + std::to_string(width) + " x " + std::to_string(height) + " pixels)");
    }
}

std::size_t Bitmap::tightBytesPerRow(std::int64_t width, int channels, int bitsPerComponent) {
    const auto bits = static_cast<std::size_t>(width) * static_cast<std::size_t>(channels * bitsPerComponent);
    return (bits + 7) / 8;
}

Bitmap Bitmap::make(std::int64_t width, std::int64_t height, int bitsPerComponent, ColorSpace space, Alpha alpha) {
    Bitmap bitmap{width, height, bitsPerComponent, std::move(space), alpha};
    requireDecodable(width, height, bitmap.channels(), bitsPerComponent);
    bitmap.bytesPerRow = tightBytesPerRow(width, bitmap.channels(), bitsPerComponent);
    bitmap.samples.resize(bitmap.bytesPerRow * static_cast<std::size_t>(height));
    return bitmap;
}

void unpackBits(const std::uint8_t* packed, std::uint8_t* bytes, std::int64_t count) {
    for (std::int64_t x = 0; x < count; ++x) {
        bytes[x] = static_cast<std::uint8_t>(-((packed[x >> 3] >> (7 - (x & 7))) & 1));
    }
}

namespace {

/// Where the pixel (x, y) of the result comes from: source index = origin + x * stepX + y * stepY, in pixels.
struct Walk {
    std::int64_t originX, originY;
    std::int64_t columnStepX, columnStepY; ///< along a row of the result
    std::int64_t rowStepX, rowStepY;       ///< from row to row of the result
};

template <std::size_t pixelBytes> void copyPixels(const Bitmap& from, Bitmap& to, const Walk& walk) {
    const auto stride = static_cast<std::int64_t>(from.bytesPerRow);
    constexpr auto pixel = static_cast<std::int64_t>(pixelBytes);
    const std::int64_t columnStep = walk.columnStepX * pixel + walk.columnStepY * stride;
    // Tiles keep both sides of a quarter turn in the cache.
    constexpr std::int64_t tile = 64;
    for (std::int64_t top = 0; top < to.height; top += tile) {
        for (std::int64_t left = 0; left < to.width; left += tile) {
            for (std::int64_t y = top; y < std::min(top + tile, to.height); ++y) {
                const std::uint8_t* source = from.samples.data() +
                                             (walk.originY + y * walk.rowStepY + left * walk.columnStepY) * stride +
                                             (walk.originX + y * walk.rowStepX + left * walk.columnStepX) * pixel;
                std::uint8_t* target = to.row(y) + left * pixel;
                for (std::int64_t x = left; x < std::min(left + tile, to.width); ++x, target += pixel) {
                    std::copy_n(source, pixelBytes, target);
                    source += columnStep;
                }
            }
        }
    }
}

void copyBits(const Bitmap& from, Bitmap& to, const Walk& walk) {
    for (std::int64_t y = 0; y < to.height; ++y) {
        std::uint8_t* target = to.row(y);
        for (std::int64_t x = 0; x < to.width; ++x) {
            const std::int64_t sourceX = walk.originX + y * walk.rowStepX + x * walk.columnStepX;
            const std::int64_t sourceY = walk.originY + y * walk.rowStepY + x * walk.columnStepY;
            const int bit = from.row(sourceY)[sourceX >> 3] >> (7 - (sourceX & 7)) & 1;
            target[x >> 3] = static_cast<std::uint8_t>(target[x >> 3] | bit << (7 - (x & 7)));
        }
    }
}

Bitmap rearranged(const Bitmap& from, bool swapsSides, const Walk& walk) {
    Bitmap to = Bitmap::make(swapsSides ? from.height : from.width, swapsSides ? from.width : from.height,
                             from.bitsPerComponent, from.colorSpace, from.alpha);
    switch (from.bitsPerComponent * from.channels()) {
    case 1:
        copyBits(from, to, walk);
        break;
    case 8:
        copyPixels<1>(from, to, walk);
        break;
    case 16:
        copyPixels<2>(from, to, walk);
        break;
    case 24:
        copyPixels<3>(from, to, walk);
        break;
    case 32:
        copyPixels<4>(from, to, walk);
        break;
    case 48:
        copyPixels<6>(from, to, walk);
        break;
    case 64:
        copyPixels<8>(from, to, walk);
        break;
    case 40:
        copyPixels<5>(from, to, walk);
        break;
    case 80:
        copyPixels<10>(from, to, walk);
        break;
    default:
        throw ImageError("unsupported pixel layout");
    }
    return to;
}

} // namespace

Bitmap turned(const Bitmap& bitmap, int quarterTurns) {
    const std::int64_t right = bitmap.width - 1;
    const std::int64_t bottom = bitmap.height - 1;
    switch (quarterTurns & 3) {
    case 1:
        return rearranged(bitmap, true, {0, bottom, 0, -1, 1, 0});
    case 2:
        return rearranged(bitmap, false, {right, bottom, -1, 0, 0, -1});
    case 3:
        return rearranged(bitmap, true, {right, 0, 0, 1, -1, 0});
    default:
        return bitmap;
    }
}

Bitmap mirrored(const Bitmap& bitmap, bool horizontally, bool vertically) {
    return rearranged(bitmap, false,
                      {horizontally ? bitmap.width - 1 : 0, vertically ? bitmap.height - 1 : 0, horizontally ? -1 : 1,
                       0, 0, vertically ? -1 : 1});
}

namespace {

template <class Sample> void unpremultiplyRow(Sample* row, std::int64_t width, std::size_t channels) {
    const std::uint64_t most = std::numeric_limits<Sample>::max();
    for (std::int64_t x = 0; x < width; ++x, row += channels) {
        const std::uint64_t alpha = row[channels - 1];
        for (std::size_t c = 0; c + 1 < channels && alpha > 0; ++c) {
            row[c] = static_cast<Sample>(std::min(most, (row[c] * most + alpha / 2) / alpha));
        }
    }
}

} // namespace

void unpremultiply(Bitmap& bitmap) {
    const auto channels = static_cast<std::size_t>(bitmap.channels());
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        if (bitmap.bitsPerComponent == 16) {
            unpremultiplyRow(reinterpret_cast<std::uint16_t*>(bitmap.row(y)), bitmap.width, channels);
        } else {
            unpremultiplyRow(bitmap.row(y), bitmap.width, channels);
        }
    }
}

} // namespace orvex
