// Reduces a JPEG while its lightness and colour are still apart: most scans have little colour or none, and what there
// is needs less detail.
#include "Platform/Imaging/JpegReduction.h"

#include "Platform/Imaging/Codecs_p.h"
#include "Platform/Imaging/Interleave_p.h"
#include "Platform/Imaging/JpegPlanes_p.h"

#include <algorithm>
#include <cstring>

namespace orvex {
namespace {

constexpr std::uint8_t colorless = 128;

Bitmap plane(std::int64_t width, std::int64_t height) {
    return Bitmap::make(width, height, 8, {ColorModel::gray, {}, 0});
}

/// Two rows to one of half the length, each pixel the mean of four; a last one without a neighbour counts twice.
void halve(const std::uint8_t* upper, const std::uint8_t* lower, std::int64_t count, std::uint8_t* target) {
    for (std::int64_t x = 0; x < count / 2; ++x) {
        target[x] =
            static_cast<std::uint8_t>((upper[2 * x] + upper[2 * x + 1] + lower[2 * x] + lower[2 * x + 1] + 2) / 4);
    }
    if (count % 2 != 0) {
        target[count / 2] = static_cast<std::uint8_t>((upper[count - 1] + lower[count - 1] + 1) / 2);
    }
}

/// A plane of colour, stored from its first colour on, and at half the size where that is enough for the target.
class ColorPlane {
public:
    ColorPlane(std::int64_t width, std::int64_t height) : width_(width), height_(height) {}

    void take(const jpeg::PlaneBand& band) {
        if (samples_.samples.empty()) {
            if (isColorless(band)) {
                return;
            }
            halved_ = (band.width + 1) / 2 >= width_ && (band.height + 1) / 2 >= height_ && band.rows.size() % 2 == 0;
            samples_ = halved_ ? plane((band.width + 1) / 2, (band.height + 1) / 2) : plane(band.width, band.height);
            std::memset(samples_.samples.data(), colorless, samples_.samples.size());
        }
        halved_ ? storeHalved(band) : store(band);
    }
    [[nodiscard]] bool hasColor() const { return !samples_.samples.empty(); }
    [[nodiscard]] Bitmap resampled() const {
        if (hasColor()) {
            return resample(samples_, width_, height_);
        }
        Bitmap result = plane(width_, height_);
        std::memset(result.samples.data(), colorless, result.samples.size());
        return result;
    }

private:
    static bool isColorless(const jpeg::PlaneBand& band) {
        return std::all_of(band.rows.begin(), band.rows.end(), [&](const std::uint8_t* row) {
            unsigned difference = 0;
            for (std::int64_t x = 0; x < band.width; ++x) {
                difference |= row[x] ^ unsigned { colorless };
            }
            return difference == 0;
        });
    }
    void store(const jpeg::PlaneBand& band) {
        for (std::size_t i = 0; i < band.rows.size(); ++i) {
            std::copy_n(band.rows[i], band.width, samples_.row(band.top + static_cast<std::int64_t>(i)));
        }
    }
    void storeHalved(const jpeg::PlaneBand& band) {
        for (std::size_t i = 0; i < band.rows.size(); i += 2) {
            const std::size_t next = std::min(i + 1, band.rows.size() - 1);
            halve(band.rows[i], band.rows[next], band.width,
                  samples_.row((band.top + static_cast<std::int64_t>(i)) / 2));
        }
    }

    std::int64_t width_; ///< of the target
    std::int64_t height_;
    bool halved_ = false;
    Bitmap samples_;
};

std::uint8_t clamped(int value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

/// Rows of red, green and blue.
struct RGBRows {
    std::vector<std::uint8_t> red, green, blue;
    explicit RGBRows(std::size_t count) : red(count), green(count), blue(count) {}
};

/// JFIF's conversion in 16 fractional bits.
void convertRow(const std::uint8_t* lightness, const std::uint8_t* blueness, const std::uint8_t* redness, RGBRows& to) {
    constexpr int half = 1 << 15;
    std::uint8_t* red = to.red.data();
    std::uint8_t* green = to.green.data();
    std::uint8_t* blue = to.blue.data();
    for (std::size_t x = 0; x < to.red.size(); ++x) {
        const int y = lightness[x] * 65536 + half;
        const int cb = blueness[x] - colorless;
        const int cr = redness[x] - colorless;
        red[x] = clamped((y + 91881 * cr) >> 16);
        green[x] = clamped((y - 22554 * cb - 46802 * cr) >> 16);
        blue[x] = clamped((y + 116130 * cb) >> 16);
    }
}

Bitmap putTogether(const Bitmap& lightness, const Bitmap& blueness, const Bitmap& redness, const ColorSpace& space) {
    Bitmap result = Bitmap::make(lightness.width, lightness.height, 8, space);
    RGBRows rows(static_cast<std::size_t>(result.width));
    for (std::int64_t y = 0; y < result.height; ++y) {
        convertRow(lightness.row(y), blueness.row(y), redness.row(y), rows);
        interleave(rows.red.data(), rows.green.data(), rows.blue.data(), rows.red.size(), result.row(y));
    }
    return result;
}

/// Empty when the JPEG is not made of lightness and colour.
std::optional<Bitmap> resampledByPlanes(const Bytes& data, const ImageInfo& info, int eighths, std::int64_t width,
                                        std::int64_t height) {
    Bitmap lightness;
    ColorPlane colors[] = {{width, height}, {width, height}};
    const bool whole = jpeg::decodePlanes(data, eighths, [&](const jpeg::PlaneBand& band) {
        if (band.plane > 0) {
            return colors[band.plane - 1].take(band);
        }
        if (band.top == 0) {
            lightness = plane(band.width, band.height);
        }
        for (std::size_t i = 0; i < band.rows.size(); ++i) {
            std::copy_n(band.rows[i], band.width, lightness.row(band.top + static_cast<std::int64_t>(i)));
        }
    });
    if (!whole) {
        return std::nullopt;
    }
    Bitmap gray = resample(lightness, width, height);
    const bool colored = colors[0].hasColor() || colors[1].hasColor();
    if (!colored && (info.colorSpace.iccProfile.empty() || hasNeutralSRGBAxis(info.colorSpace))) {
        gray.colorSpace.gamma = info.colorSpace.gamma;
        return gray;
    }
    return putTogether(gray, colors[0].resampled(), colors[1].resampled(), info.colorSpace);
}

/// Only powers of two are quick. A scale blurs and rings by itself, the more the closer the target comes to it: with
/// half of these factors a page comes out 0.95 to 0.99 alike to one decoded in full, which shows in its encoding.
int smallestScale(const ImageInfo& info, std::int64_t width, std::int64_t height) {
    struct Scale {
        int eighths;
        std::int64_t spare;
    };
    const auto scaled = [](std::int64_t side, int eighths) { return (side * eighths + 7) / 8; };
    for (const Scale& scale : {Scale{1, 4}, Scale{2, 3}, Scale{4, 2}}) {
        if (scaled(info.width, scale.eighths) / scale.spare >= width &&
            scaled(info.height, scale.eighths) / scale.spare >= height) {
            return scale.eighths;
        }
    }
    return 8;
}

} // namespace

Bitmap resampleJPEG(const Bytes& data, const ImageInfo& info, std::int64_t width, std::int64_t height) {
    requireDecodable(info.width, info.height, info.colorSpace.components(), 8);
    requireDecodable(width, height, info.colorSpace.components(), 8);
    const int eighths = smallestScale(info, width, height);
    // Colour planes of odd sizes reach a little beyond the picture, which shows on the smallest.
    constexpr std::int64_t largeEnough = 64;
    if (std::min(info.width, info.height) >= largeEnough) {
        if (auto result = resampledByPlanes(data, info, eighths, width, height)) {
            return std::move(*result);
        }
    }
    return resample(jpeg::decode(data, info, eighths), width, height);
}

Bitmap resampled(const ImageRep& rep, std::int64_t width, std::int64_t height) {
    const ImageInfo& info = rep.info();
    const bool mirrored = info.mirroredHorizontally() || info.mirroredVertically();
    if (!rep.encoded().empty() && info.format == ImageFormat::jpeg && !mirrored) {
        return resampleJPEG(rep.encoded(), info, width, height);
    }
    return resample(*rep.passingBitmap(), width, height);
}

} // namespace orvex
