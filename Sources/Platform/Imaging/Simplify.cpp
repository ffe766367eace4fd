#include "Platform/Imaging/Simplify_p.h"

#include "Platform/Imaging/Codecs_p.h"

#include <algorithm>
#include <limits>

namespace orvex {
namespace {

std::size_t samplesPerRow(const Bitmap& bitmap) {
    return static_cast<std::size_t>(bitmap.width) * static_cast<std::size_t>(bitmap.channels());
}

const std::uint16_t* deepRow(const Bitmap& bitmap, std::int64_t y) {
    return reinterpret_cast<const std::uint16_t*>(bitmap.row(y));
}

template <class Predicate> bool everyRow(const Bitmap& bitmap, Predicate predicate) {
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        if (!predicate(y)) {
            return false;
        }
    }
    return true;
}

bool usesLowerHalf(const Bitmap& bitmap) {
    return !everyRow(bitmap, [&](std::int64_t y) {
        const std::uint16_t* row = deepRow(bitmap, y);
        return std::all_of(row, row + samplesPerRow(bitmap),
                           [](std::uint16_t sample) { return sample >> 8 == (sample & 255); });
    });
}

Bitmap narrowed(const Bitmap& bitmap) {
    Bitmap result = Bitmap::make(bitmap.width, bitmap.height, 8, bitmap.colorSpace, bitmap.alpha);
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        const std::uint16_t* row = deepRow(bitmap, y);
        std::transform(row, row + samplesPerRow(bitmap), result.row(y),
                       [](std::uint16_t sample) { return static_cast<std::uint8_t>((sample * 255u + 32767) / 65535); });
    }
    return result;
}

template <class Sample> bool isOpaque(const Bitmap& bitmap) {
    const auto channels = static_cast<std::size_t>(bitmap.channels());
    return everyRow(bitmap, [&](std::int64_t y) {
        const auto* row = reinterpret_cast<const Sample*>(bitmap.row(y));
        for (std::size_t i = channels - 1; i < samplesPerRow(bitmap); i += channels) {
            if (row[i] != std::numeric_limits<Sample>::max()) {
                return false;
            }
        }
        return true;
    });
}

template <class Sample> bool isNeutral(const Bitmap& bitmap) {
    const auto channels = static_cast<std::size_t>(bitmap.channels());
    return everyRow(bitmap, [&](std::int64_t y) {
        const auto* row = reinterpret_cast<const Sample*>(bitmap.row(y));
        unsigned difference = 0;
        for (std::size_t i = 0; i < samplesPerRow(bitmap); i += channels) {
            difference |= static_cast<unsigned>(row[i] ^ row[i + 1]) | static_cast<unsigned>(row[i] ^ row[i + 2]);
        }
        return difference == 0;
    });
}

/// Copies `kept` samples of each pixel, and the last one when there is alpha to keep.
template <class Sample> void copyChannels(const Bitmap& from, Bitmap& to, std::size_t kept) {
    const auto step = static_cast<std::size_t>(from.channels());
    const bool alpha = to.alpha != Alpha::none;
    for (std::int64_t y = 0; y < from.height; ++y) {
        const auto* source = reinterpret_cast<const Sample*>(from.row(y));
        auto* target = reinterpret_cast<Sample*>(to.row(y));
        for (std::int64_t x = 0; x < from.width; ++x, source += step) {
            *target++ = *source; // by itself, as grey is most of what comes here
            for (std::size_t c = 1; c < kept; ++c) {
                *target++ = source[c];
            }
            if (alpha) {
                *target++ = source[step - 1];
            }
        }
    }
}

Bitmap withChannels(const Bitmap& bitmap, ColorSpace space, Alpha alpha) {
    const auto kept = static_cast<std::size_t>(space.components());
    Bitmap result = Bitmap::make(bitmap.width, bitmap.height, bitmap.bitsPerComponent, std::move(space), alpha);
    bitmap.bitsPerComponent == 16 ? copyChannels<std::uint16_t>(bitmap, result, kept)
                                  : copyChannels<std::uint8_t>(bitmap, result, kept);
    return result;
}

Bitmap unpacked(const Bitmap& bitmap) {
    Bitmap result = Bitmap::make(bitmap.width, bitmap.height, 8, bitmap.colorSpace);
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        unpackBits(bitmap.row(y), result.row(y), bitmap.width);
    }
    return result;
}

} // namespace

std::optional<Bitmap> withoutUnusedDepth(const Bitmap& bitmap) {
    if (bitmap.bitsPerComponent != 16 || usesLowerHalf(bitmap)) {
        return std::nullopt;
    }
    return narrowed(bitmap);
}

std::optional<Bitmap> withoutUnusedAlpha(const Bitmap& bitmap) {
    if (bitmap.alpha == Alpha::none) {
        return std::nullopt;
    }
    const bool opaque =
        bitmap.bitsPerComponent == 16 ? isOpaque<std::uint16_t>(bitmap) : isOpaque<std::uint8_t>(bitmap);
    return opaque ? std::optional(withChannels(bitmap, bitmap.colorSpace, Alpha::none)) : std::nullopt;
}

bool hasEqualComponents(const Bitmap& bitmap) {
    return bitmap.colorSpace.model == ColorModel::rgb &&
           (bitmap.bitsPerComponent == 16 ? isNeutral<std::uint16_t>(bitmap) : isNeutral<std::uint8_t>(bitmap));
}

std::optional<Bitmap> withoutUnusedColor(const Bitmap& bitmap) {
    if (!hasEqualComponents(bitmap) ||
        (!bitmap.colorSpace.iccProfile.empty() && !hasNeutralSRGBAxis(bitmap.colorSpace))) {
        return std::nullopt;
    }
    return withChannels(bitmap, {ColorModel::gray, {}, bitmap.colorSpace.gamma}, bitmap.alpha);
}

std::optional<Bitmap> asBytes(const Bitmap& bitmap) {
    if (bitmap.bitsPerComponent == 8) {
        return std::nullopt;
    }
    return bitmap.bitsPerComponent == 1 ? unpacked(bitmap) : narrowed(bitmap);
}

namespace {

template <class Sample> void layRows(const Bitmap& bitmap, Bitmap& result, bool bright) {
    constexpr std::uint64_t most = std::numeric_limits<Sample>::max();
    const auto colors = static_cast<std::size_t>(bitmap.colorSpace.components());
    const std::uint64_t paper = bright == (bitmap.colorSpace.model != ColorModel::cmyk) ? most : 0;
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        const auto* source = reinterpret_cast<const Sample*>(bitmap.row(y));
        auto* target = reinterpret_cast<Sample*>(result.row(y));
        for (std::int64_t x = 0; x < bitmap.width; ++x, source += colors + 1, target += colors) {
            const std::uint64_t alpha = source[colors];
            for (std::size_t c = 0; c < colors; ++c) {
                target[c] = static_cast<Sample>((source[c] * alpha + paper * (most - alpha) + most / 2) / most);
            }
        }
    }
}

/// Over white or over black, whichever way round the samples count.
Bitmap laidOver(const Bitmap& bitmap, bool bright) {
    Bitmap result = Bitmap::make(bitmap.width, bitmap.height, bitmap.bitsPerComponent, bitmap.colorSpace);
    bitmap.bitsPerComponent == 16 ? layRows<std::uint16_t>(bitmap, result, bright)
                                  : layRows<std::uint8_t>(bitmap, result, bright);
    return result;
}

} // namespace

std::optional<Bitmap> overWhite(const Bitmap& bitmap) {
    return bitmap.alpha == Alpha::none ? std::nullopt : std::optional(laidOver(bitmap, true));
}

Bitmap flattenedOverWhite(const Bitmap& bitmap) {
    Simplified simplified(bitmap);
    return simplified.apply(asBytes).apply(overWhite).bitmap();
}

Bitmap flattenedOverBlack(const Bitmap& bitmap) {
    return bitmap.alpha == Alpha::none ? bitmap : laidOver(bitmap, false);
}

namespace {

/// Grey or RGB of either depth, with or without alpha, as deep RGBA.
template <class Sample> void deepenRows(const Bitmap& bitmap, Bitmap& result) {
    constexpr unsigned factor = 65535u / std::numeric_limits<Sample>::max();
    const auto channels = static_cast<std::size_t>(bitmap.channels());
    const std::size_t step = bitmap.colorSpace.components() == 1 ? 0 : 1;
    const bool opaque = bitmap.alpha == Alpha::none;
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        const auto* source = reinterpret_cast<const Sample*>(bitmap.row(y));
        auto* target = reinterpret_cast<std::uint16_t*>(result.row(y));
        for (std::int64_t x = 0; x < bitmap.width; ++x, source += channels) {
            for (std::size_t c = 0; c < 3; ++c) {
                *target++ = static_cast<std::uint16_t>(source[c * step] * factor);
            }
            *target++ = opaque ? std::uint16_t{65535} : static_cast<std::uint16_t>(source[channels - 1] * factor);
        }
    }
}

} // namespace

Bitmap convertToDeepSRGB(const Bitmap& bitmap) {
    const Bitmap standard = convertToSRGB(bitmap);
    Bitmap result = Bitmap::make(bitmap.width, bitmap.height, 16, {ColorModel::rgb, {}, 0}, Alpha::straight);
    standard.bitsPerComponent == 16 ? deepenRows<std::uint16_t>(standard, result)
                                    : deepenRows<std::uint8_t>(standard, result);
    return result;
}

} // namespace orvex
