// What the samples of a file's image mean.
#pragma once

#include "Platform/Imaging/Bitmap.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace orvex {

class PDFColorSpace;
using PDFColorSpacePtr = std::shared_ptr<const PDFColorSpace>;

/// Immutable; made by the functions below, which give null for what makes no colour space. Threads: any.
class PDFColorSpace {
public:
    enum class Family { device, icc, indexed, lab };
    struct Range {
        double low = 0;
        double high = 1;
    };

    static PDFColorSpacePtr device(ColorModel model);
    /// `table` holds the base's components, a byte each, for the indices 0 to `last`; a short one is filled with zeros.
    /// Refused: a missing or an indexed base, and a last index outside 0 to 255.
    static PDFColorSpacePtr indexed(PDFColorSpacePtr base, std::int64_t last, const Bytes& table);
    /// 1, 3 or 4 components. A profile that is damaged or made for something else gives the alternate, or without one
    /// the device space; refused then is an alternate of another number of components.
    static PDFColorSpacePtr icc(std::int64_t components, const Bytes& profile, PDFColorSpacePtr alternate);
    /// Needs 3 numbers of a white point, with Y above zero; none or 3 of a black point, none or 4 of the range of a*
    /// and b* (without: -100 to 100).
    static PDFColorSpacePtr lab(const std::vector<double>& white, const std::optional<std::vector<double>>& black,
                                const std::optional<std::vector<double>>& range);

    [[nodiscard]] Family family() const { return family_; }
    /// Samples per pixel as stored: 1 for an indexed space.
    [[nodiscard]] int components() const;
    /// What pixels become: an indexed space's base, sRGB for L*a*b*.
    [[nodiscard]] const ColorSpace& pixels() const { return pixels_; }
    /// The values that the smallest and the largest sample of a component stand for, unless the image says otherwise.
    [[nodiscard]] Range range(int component, int bitsPerComponent) const;
    /// Of an indexed space, in pixels().
    [[nodiscard]] const std::vector<std::array<std::uint8_t, 4>>& colors() const { return colors_; }

private:
    PDFColorSpace() = default;
    Family family_ = Family::device;
    ColorSpace pixels_;
    std::array<Range, 2> ab_{};
    std::vector<std::array<std::uint8_t, 4>> colors_;
};

/// sRGB, 0 to 1, of a colour in CIE L*a*b* that is relative to its own white (which becomes white); clipped.
[[nodiscard]] std::array<double, 3> labToSRGB(double lightness, double a, double b);

} // namespace orvex
