#include "Platform/PDF/Objects/PDFColorSpace.h"

#include "Platform/Imaging/ColorProfile.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace orvex {

namespace {

ColorModel modelOf(std::int64_t components) {
    return components == 1 ? ColorModel::gray : components == 3 ? ColorModel::rgb : ColorModel::cmyk;
}

bool allFinite(const std::vector<double>& numbers) {
    return std::all_of(numbers.begin(), numbers.end(), [](double number) { return std::isfinite(number); });
}

std::uint8_t asByte(double unit) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(unit, 0.0, 1.0) * 255));
}

} // namespace

PDFColorSpacePtr PDFColorSpace::device(ColorModel model) {
    std::shared_ptr<PDFColorSpace> space(new PDFColorSpace);
    space->pixels_.model = model;
    return space;
}

PDFColorSpacePtr PDFColorSpace::indexed(PDFColorSpacePtr base, std::int64_t last, const Bytes& table) {
    if (!base || base->family_ == Family::indexed || last < 0 || last > 255) {
        return nullptr;
    }
    std::shared_ptr<PDFColorSpace> space(new PDFColorSpace);
    space->family_ = Family::indexed;
    space->pixels_ = base->pixels_;
    space->colors_.resize(static_cast<std::size_t>(last) + 1);
    const auto components = static_cast<std::size_t>(base->components());
    for (std::size_t i = 0; i < space->colors_.size(); ++i) {
        auto& color = space->colors_[i];
        for (std::size_t c = 0; c < components && i * components + c < table.size(); ++c) {
            color[c] = table.data()[i * components + c];
        }
        if (base->family_ == Family::lab) {
            const auto value = [&](int c) {
                const Range range = base->range(c, 8);
                return range.low + color[static_cast<std::size_t>(c)] * (range.high - range.low) / 255;
            };
            const auto rgb = labToSRGB(value(0), value(1), value(2));
            std::transform(rgb.begin(), rgb.end(), color.begin(), asByte);
        }
    }
    return space;
}

PDFColorSpacePtr PDFColorSpace::icc(std::int64_t components, const Bytes& profile, PDFColorSpacePtr alternate) {
    if (components != 1 && components != 3 && components != 4) {
        return nullptr;
    }
    const ColorModel model = modelOf(components);
    if (isUsableProfile(profile, model)) {
        std::shared_ptr<PDFColorSpace> space(new PDFColorSpace);
        space->family_ = Family::icc;
        space->pixels_ = {model, profile, 0};
        return space;
    }
    if (!alternate) {
        return device(model);
    }
    return alternate->components() == components ? alternate : nullptr;
}

PDFColorSpacePtr PDFColorSpace::lab(const std::vector<double>& white, const std::optional<std::vector<double>>& black,
                                    const std::optional<std::vector<double>>& range) {
    const std::vector<double> ab = range.value_or(std::vector<double>{-100, 100, -100, 100});
    if (white.size() < 3 || !allFinite(white) || !(white[1] > 0) || (black && black->size() < 3) || ab.size() < 4 ||
        !allFinite(ab)) {
        return nullptr;
    }
    std::shared_ptr<PDFColorSpace> space(new PDFColorSpace);
    space->family_ = Family::lab;
    space->ab_ = {{{ab[0], ab[1]}, {ab[2], ab[3]}}};
    return space;
}

int PDFColorSpace::components() const {
    return family_ == Family::indexed ? 1 : pixels_.components();
}

PDFColorSpace::Range PDFColorSpace::range(int component, int bitsPerComponent) const {
    if (family_ == Family::indexed) {
        return {0, static_cast<double>((1 << bitsPerComponent) - 1)};
    }
    if (family_ != Family::lab) {
        return {0, 1};
    }
    return component == 0 ? Range{0, 100} : ab_[static_cast<std::size_t>(component) - 1];
}

std::array<double, 3> labToSRGB(double lightness, double a, double b) {
    // CIE 15: L*a*b* to XYZ relative to the white; taken to D50, the white of the matrix below.
    const auto undo = [](double t) {
        constexpr double knee = 6.0 / 29;
        return t > knee ? t * t * t : 3 * knee * knee * (t - 4.0 / 29);
    };
    const double fy = (lightness + 16) / 116;
    const double x = 0.9642 * undo(fy + a / 500);
    const double y = undo(fy);
    const double z = 0.8249 * undo(fy - b / 200);
    // XYZ of D50 to linear sRGB: the inverse of the colorants of ICC's sRGB profiles (Bradford adaptation).
    const std::array<double, 3> linear = {3.1338561 * x - 1.6168667 * y - 0.4906146 * z,
                                          -0.9787684 * x + 1.9161415 * y + 0.0334540 * z,
                                          0.0719453 * x - 0.2289914 * y + 1.4052427 * z};
    std::array<double, 3> rgb{};
    std::transform(linear.begin(), linear.end(), rgb.begin(), [](double value) {
        const double light = std::clamp(value, 0.0, 1.0);
        return light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
    });
    return rgb;
}

} // namespace orvex
