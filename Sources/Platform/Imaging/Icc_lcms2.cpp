// Little CMS. A profile that is damaged or does not fit the samples counts as none.
#include "Platform/Imaging/Codecs_p.h"
#include "Platform/Imaging/ColorProfile.h"
#include "Platform/Imaging/Simplify_p.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <utility>

#include <lcms2.h>

namespace orvex {
namespace {

using Context = std::unique_ptr<std::remove_pointer_t<cmsContext>, decltype(&cmsDeleteContext)>;
using Profile = std::unique_ptr<void, decltype(&cmsCloseProfile)>;
using Transform = std::unique_ptr<void, decltype(&cmsDeleteTransform)>;
using Curve = std::unique_ptr<cmsToneCurve, decltype(&cmsFreeToneCurve)>;

void ignoreMessage(cmsContext, cmsUInt32Number, const char*) {}

/// Each conversion has its own context: nothing is shared between threads and nothing is printed.
Context makeContext() {
    Context context(cmsCreateContext(nullptr, nullptr), &cmsDeleteContext);
    cmsSetLogErrorHandlerTHR(context.get(), ignoreMessage);
    return context;
}

cmsColorSpaceSignature signatureOf(ColorModel model) {
    return model == ColorModel::gray ? cmsSigGrayData : model == ColorModel::rgb ? cmsSigRgbData : cmsSigCmykData;
}

Profile openProfile(const Context& context, const ColorSpace& space) {
    Profile profile(cmsOpenProfileFromMemTHR(context.get(), space.iccProfile.data(),
                                             static_cast<cmsUInt32Number>(space.iccProfile.size())),
                    &cmsCloseProfile);
    if (profile && cmsGetColorSpace(profile.get()) != signatureOf(space.model)) {
        profile.reset();
    }
    return profile;
}

/// sRGB's primaries and white with the tone curve of `gamma`; 0 stands for sRGB's own.
Profile standardProfile(const Context& context, ColorModel model, double gamma) {
    // IEC 61966-2-1: the curve's five parameters.
    constexpr std::array<double, 5> standard = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    const Curve curve(gamma > 0 ? cmsBuildGamma(context.get(), gamma)
                                : cmsBuildParametricToneCurve(context.get(), 4, standard.data()),
                      &cmsFreeToneCurve);
    if (model == ColorModel::gray) {
        return {cmsCreateGrayProfileTHR(context.get(), cmsD50_xyY(), curve.get()), &cmsCloseProfile};
    }
    constexpr cmsCIExyY white = {0.3127, 0.3290, 1};
    constexpr cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
    const std::array<cmsToneCurve*, 3> curves = {curve.get(), curve.get(), curve.get()};
    return {cmsCreateRGBProfileTHR(context.get(), &white, &primaries, curves.data()), &cmsCloseProfile};
}

/// A file gamma that is sRGB's in all but name.
bool isNearStandard(double gamma) {
    return gamma == 0 || std::abs(gamma - 2.2) < 0.05;
}

cmsUInt32Number formatOf(ColorModel model, bool alpha, int bits) {
    const ColorSpace space{model, {}, 0};
    const int type = model == ColorModel::gray ? PT_GRAY : model == ColorModel::rgb ? PT_RGB : PT_CMYK;
    return static_cast<cmsUInt32Number>(COLORSPACE_SH(type) | CHANNELS_SH(space.components()) |
                                        EXTRA_SH(alpha ? 1 : 0) | BYTES_SH(bits / 8));
}

Bitmap runTransform(const Transform& transform, const Bitmap& bitmap, ColorModel model) {
    Bitmap result = Bitmap::make(bitmap.width, bitmap.height, bitmap.bitsPerComponent, {model, {}, 0}, bitmap.alpha);
    for (std::int64_t y = 0; y < bitmap.height; ++y) {
        cmsDoTransform(transform.get(), bitmap.row(y), result.row(y), static_cast<cmsUInt32Number>(bitmap.width));
    }
    return result;
}

/// Empty when there is nothing to convert by, or the profile is unusable.
std::optional<Bitmap> convertByProfile(const Bitmap& bitmap) {
    const ColorSpace& space = bitmap.colorSpace;
    const Context context = makeContext();
    const Profile from =
        space.iccProfile.empty() ? standardProfile(context, space.model, space.gamma) : openProfile(context, space);
    const ColorModel target = space.model == ColorModel::gray ? ColorModel::gray : ColorModel::rgb;
    const Profile to = standardProfile(context, target, 0);
    const bool alpha = bitmap.alpha != Alpha::none;
    if (!from || !to) {
        return std::nullopt;
    }
    const Transform transform(
        cmsCreateTransformTHR(context.get(), from.get(), formatOf(space.model, alpha, bitmap.bitsPerComponent),
                              to.get(), formatOf(target, alpha, bitmap.bitsPerComponent), INTENT_RELATIVE_COLORIMETRIC,
                              cmsFLAGS_BLACKPOINTCOMPENSATION | (alpha ? cmsFLAGS_COPY_ALPHA : 0)),
        &cmsDeleteTransform);
    return transform ? std::optional(runTransform(transform, bitmap, target)) : std::nullopt;
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
        if (auto converted = convertByProfile(bitmap)) {
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
    return !profile.empty() && convertByProfile(Bitmap::make(1, 1, 8, {model, profile, 0})).has_value();
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
