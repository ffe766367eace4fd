// Little CMS. A profile that is damaged or does not fit the samples counts as none.
#include "Platform/Imaging/ImagingModule_p.h"

#include <array>
#include <memory>

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

} // namespace

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

} // namespace orvex
