// Resampling around the kernel: alpha weighted in and out, strong reductions averaged first.
#include "Platform/Imaging/ImagingModule_p.h"
#include "Platform/Imaging/Simplify_p.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <vector>

namespace orvex {
namespace {

/// Colours weighted by alpha, in 16 bits so that nothing is lost on the way back.
template <class Sample> Bitmap premultiplied(const Bitmap& bitmap) {
    constexpr std::uint64_t most = std::numeric_limits<Sample>::max();
    Bitmap result = Bitmap::make(bitmap.width, bitmap.height, 16, bitmap.colorSpace, bitmap.alpha);
    const auto channels = static_cast<std::size_t>(bitmap.channels());
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        const auto* source = reinterpret_cast<const Sample*>(bitmap.row(y));
        auto* target = reinterpret_cast<std::uint16_t*>(result.row(y));
        for (std::int64_t x = 0; x < bitmap.width; ++x, source += channels, target += channels) {
            const std::uint64_t alpha = source[channels - 1];
            for (std::size_t c = 0; c + 1 < channels; ++c) {
                target[c] = static_cast<std::uint16_t>((source[c] * alpha * 65535 + most * most / 2) / (most * most));
            }
            target[channels - 1] = static_cast<std::uint16_t>(alpha * (65535 / most));
        }
    }
    return result;
}

template <class Sample> Bitmap straightened(const Bitmap& bitmap) {
    constexpr std::uint64_t most = std::numeric_limits<Sample>::max();
    Bitmap result = Bitmap::make(bitmap.width, bitmap.height, sizeof(Sample) * 8, bitmap.colorSpace, bitmap.alpha);
    const auto channels = static_cast<std::size_t>(bitmap.channels());
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        const auto* source = reinterpret_cast<const std::uint16_t*>(bitmap.row(y));
        auto* target = reinterpret_cast<Sample*>(result.row(y));
        for (std::int64_t x = 0; x < bitmap.width; ++x, source += channels, target += channels) {
            const std::uint64_t alpha = source[channels - 1];
            for (std::size_t c = 0; c + 1 < channels && alpha > 0; ++c) {
                target[c] = static_cast<Sample>(std::min(most, (source[c] * most + alpha / 2) / alpha));
            }
            target[channels - 1] = static_cast<Sample>((alpha * most + 32767) / 65535);
        }
    }
    return result;
}

/// Blocks of `across` x `down` pixels averaged; what hangs over the last block is averaged by itself.
template <class Sample> Bitmap averaged(const Bitmap& bitmap, std::int64_t across, std::int64_t down) {
    Bitmap result = Bitmap::make((bitmap.width + across - 1) / across, (bitmap.height + down - 1) / down,
                                 bitmap.bitsPerComponent, bitmap.colorSpace, bitmap.alpha);
    const std::int64_t channels = bitmap.channels();
    std::vector<std::uint64_t> sums(static_cast<std::size_t>(result.width * channels));
    for (std::int64_t y = 0; y < result.height; ++y) {
        std::fill(sums.begin(), sums.end(), 0);
        const std::int64_t bottom = std::min((y + 1) * down, bitmap.height);
        for (std::int64_t sourceY = y * down; sourceY < bottom; ++sourceY) {
            const auto* source = reinterpret_cast<const Sample*>(bitmap.row(sourceY));
            for (std::int64_t x = 0; x < bitmap.width; ++x) {
                for (std::int64_t c = 0; c < channels; ++c) {
                    sums[static_cast<std::size_t>(x / across * channels + c)] += *source++;
                }
            }
        }
        auto* target = reinterpret_cast<Sample*>(result.row(y));
        for (std::int64_t x = 0; x < result.width; ++x) {
            const auto count = static_cast<std::uint64_t>((std::min((x + 1) * across, bitmap.width) - x * across) *
                                                          (bottom - y * down));
            for (std::int64_t c = 0; c < channels; ++c) {
                *target++ = static_cast<Sample>((sums[static_cast<std::size_t>(x * channels + c)] + count / 2) / count);
            }
        }
    }
    return result;
}

/// Blocks to average first, so that Lanczos is left with a reduction between 4 and 8 and a kernel of bounded length.
std::int64_t blockSize(std::int64_t from, std::int64_t to) {
    constexpr std::int64_t left = 4;
    return from / to >= 2 * left ? from / to / left : 1;
}

std::optional<Bitmap> reducedFirst(const Bitmap& bitmap, std::int64_t width, std::int64_t height) {
    const std::int64_t across = blockSize(bitmap.width, width);
    const std::int64_t down = blockSize(bitmap.height, height);
    if (across == 1 && down == 1) {
        return std::nullopt;
    }
    if (bitmap.bitsPerComponent == 1) {
        return averaged<std::uint8_t>(*asBytes(bitmap), across, down);
    }
    return bitmap.bitsPerComponent == 16 ? averaged<std::uint16_t>(bitmap, across, down)
                                         : averaged<std::uint8_t>(bitmap, across, down);
}

Bitmap resampleOpaque(const Bitmap& bitmap, std::int64_t width, std::int64_t height) {
    Bitmap result = Bitmap::make(width, height, std::max(bitmap.bitsPerComponent, 8), bitmap.colorSpace, bitmap.alpha);
    if (const auto reduced = reducedFirst(bitmap, width, height)) {
        imagingModule().resampleInto(*reduced, result);
    } else {
        imagingModule().resampleInto(bitmap, result);
    }
    return result;
}

} // namespace

Bitmap resample(const Bitmap& bitmap, std::int64_t width, std::int64_t height) {
    requireDecodable(width, height, bitmap.channels(), std::max(bitmap.bitsPerComponent, 8));
    if (bitmap.width == width && bitmap.height == height && bitmap.bitsPerComponent != 1) {
        return bitmap;
    }
    if (bitmap.alpha == Alpha::none) {
        return resampleOpaque(bitmap, width, height);
    }
    const bool deep = bitmap.bitsPerComponent == 16;
    const Bitmap weighted = deep ? premultiplied<std::uint16_t>(bitmap) : premultiplied<std::uint8_t>(bitmap);
    const Bitmap resampled = resampleOpaque(weighted, width, height);
    return deep ? straightened<std::uint16_t>(resampled) : straightened<std::uint8_t>(resampled);
}

} // namespace orvex
