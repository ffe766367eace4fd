// Samples in other colours than those they are stored in.
#include "Platform/Imaging/ColorProfile.h"
#include "Platform/Imaging/ImagingModule_p.h"
#include "Platform/Imaging/Simplify_p.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace orvex {
namespace {

/// A file gamma that is sRGB's in all but name.
bool isNearStandard(double gamma) {
    return gamma == 0 || std::abs(gamma - 2.2) < 0.05;
}

/// sRGB of the sixteen full overprints of the common coated offset inks, C lowest bit, K highest: what CMYK without a
/// profile is taken to mean by most viewers. Between them the amounts mix linearly (Neugebauer's model).
constexpr std::array<std::array<double, 3>, 16> overprints = {{{255, 255, 255},
                                                               {0, 174, 239},
                                                               {236, 0, 140},
                                                               {46, 49, 146},
                                                               {255, 242, 0},
                                                               {0, 166, 81},
                                                               {237, 28, 36},
                                                               {54, 53, 52},
                                                               {35, 31, 32},
                                                               {0, 18, 25},
                                                               {30, 0, 12},
                                                               {6, 4, 12},
                                                               {30, 26, 0},
                                                               {0, 16, 6},
                                                               {28, 4, 2},
                                                               {0, 0, 0}}};

std::array<double, 3> mixInks(const std::array<double, 4>& ink) {
    std::array<double, 3> color{};
    for (std::size_t corner = 0; corner < overprints.size(); ++corner) {
        double weight = 1;
        for (std::size_t i = 0; i < ink.size(); ++i) {
            weight *= (corner >> i & 1) != 0 ? ink[i] : 1 - ink[i];
        }
        for (std::size_t c = 0; c < 3; ++c) {
            color[c] += weight * overprints[corner][c];
        }
    }
    return color;
}

template <class Sample> void mixRows(const Bitmap& bitmap, Bitmap& result) {
    constexpr double most = std::numeric_limits<Sample>::max();
    const std::size_t extra = bitmap.alpha == Alpha::none ? 0 : 1;
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        const auto* source = reinterpret_cast<const Sample*>(bitmap.row(y));
        auto* target = reinterpret_cast<Sample*>(result.row(y));
        for (std::int64_t x = 0; x < bitmap.width; ++x, source += 4 + extra, target += 3 + extra) {
            const auto color = mixInks({source[0] / most, source[1] / most, source[2] / most, source[3] / most});
            std::transform(color.begin(), color.end(), target,
                           [](double value) { return static_cast<Sample>(std::lround(value * (most / 255))); });
            std::copy_n(source + 4, extra, target + 3);
        }
    }
}

Bitmap mixCMYK(const Bitmap& bitmap) {
    Bitmap result =
        Bitmap::make(bitmap.width, bitmap.height, bitmap.bitsPerComponent, {ColorModel::rgb, {}, 0}, bitmap.alpha);
    bitmap.bitsPerComponent == 16 ? mixRows<std::uint16_t>(bitmap, result) : mixRows<std::uint8_t>(bitmap, result);
    return result;
}

} // namespace

Bitmap convertToSRGB(const Bitmap& bitmap) {
    if (bitmap.bitsPerComponent == 1) {
        return *asBytes(bitmap);
    }
    const ColorSpace& space = bitmap.colorSpace;
    const bool calibrated = !space.iccProfile.empty() || !isNearStandard(space.gamma);
    if (calibrated) {
        if (auto converted = imagingModule().convertByProfile(bitmap)) {
            return std::move(*converted);
        }
    }
    if (space.model == ColorModel::cmyk) {
        return mixCMYK(bitmap);
    }
    Bitmap result = bitmap;
    result.colorSpace = {space.model, {}, 0};
    return result;
}

bool isUsableProfile(const Bytes& profile, ColorModel model) {
    return !profile.empty() && imagingModule().convertByProfile(Bitmap::make(1, 1, 8, {model, profile, 0})).has_value();
}

bool hasNeutralSRGBAxis(const ColorSpace& space) {
    Bitmap ramp = Bitmap::make(256, 1, 8, space);
    for (std::size_t i = 0; i < ramp.samples.size(); ++i) {
        ramp.samples[i] = static_cast<std::uint8_t>(i / static_cast<std::size_t>(ramp.channels()));
    }
    const Bitmap seen = convertToSRGB(ramp);
    constexpr int tolerance = 2;
    return std::equal(seen.samples.begin(), seen.samples.end(), ramp.samples.begin(), ramp.samples.end(),
                      [](int a, int b) { return std::abs(a - b) <= tolerance; });
}

} // namespace orvex
