#include "Platform/PDF/Objects/Samples_p.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace orvex {

namespace {

using Range = PDFColorSpace::Range;

/// How samples of one component become values.
Range rangeOf(const PDFImage& image, int component) {
    const auto at = 2 * static_cast<std::size_t>(component);
    return image.decode.empty() ? image.colorSpace->range(component, image.bitsPerComponent)
                                : Range{image.decode[at], image.decode[at + 1]};
}

double largestSample(int bits) {
    return static_cast<double>((1 << bits) - 1);
}

/// NaN reads as zero: a decode array may hold any number.
double unit(double value) {
    return value > 0 ? std::min(value, 1.0) : 0.0;
}

/// Unpacks the samples of one row.
class RowReader {
public:
    explicit RowReader(const PDFImage& image)
        : image_(image), samples_(static_cast<std::size_t>(image.width * image.colorSpace->components())) {}

    const std::vector<std::uint16_t>& read(std::int64_t y) {
        const auto start = static_cast<std::size_t>(y * image_.bytesPerRow);
        const auto row = image_.data.span().subspan(std::min(start, image_.data.size()));
        const auto bits = static_cast<std::size_t>(image_.bitsPerComponent);
        const std::size_t held = std::min(samples_.size(), row.size() * 8 / bits);
        if (bits == 8) {
            std::copy_n(row.data(), held, samples_.data());
        } else if (bits == 16) {
            for (std::size_t i = 0; i < held; ++i) {
                samples_[i] = static_cast<std::uint16_t>(row[2 * i] << 8 | row[2 * i + 1]);
            }
        } else {
            const unsigned mask = (1u << bits) - 1;
            for (std::size_t i = 0; i < held; ++i) {
                const unsigned byte = row[i * bits / 8];
                samples_[i] = static_cast<std::uint16_t>(byte >> (8 - bits - i * bits % 8) & mask);
            }
        }
        std::fill(samples_.begin() + static_cast<std::ptrdiff_t>(held), samples_.end(), std::uint16_t{0});
        return samples_;
    }

private:
    const PDFImage& image_;
    std::vector<std::uint16_t> samples_;
};

/// Bilevel grey whose two values are black and white.
bool isBilevel(const PDFImage& image) {
    const Range range = rangeOf(image, 0);
    return image.bitsPerComponent == 1 && image.colorSpace->family() != PDFColorSpace::Family::indexed &&
           image.colorSpace->pixels().model == ColorModel::gray && std::min(range.low, range.high) == 0 &&
           std::max(range.low, range.high) == 1;
}

Bitmap bilevel(const PDFImage& image) {
    Bitmap bitmap = Bitmap::make(image.width, image.height, 1, image.colorSpace->pixels());
    const bool inverted = rangeOf(image, 0).low == 1;
    const auto flip = static_cast<std::uint8_t>(inverted ? 0xFF : 0);
    const auto stored = image.data.span();
    for (std::int64_t y = 0; y < image.height; ++y) {
        const auto start = std::min(static_cast<std::size_t>(y * image.bytesPerRow), stored.size());
        const auto row = stored.subspan(start, std::min(bitmap.bytesPerRow, stored.size() - start));
        std::uint8_t* target = std::copy(row.begin(), row.end(), bitmap.row(y));
        std::fill(target, bitmap.row(y) + bitmap.bytesPerRow, std::uint8_t{0});
        std::for_each(bitmap.row(y), bitmap.row(y) + bitmap.bytesPerRow,
                      [flip](std::uint8_t& byte) { byte = static_cast<std::uint8_t>(byte ^ flip); });
        if (const auto rest = image.width % 8; rest != 0) { // bits behind the row's end stay clear
            bitmap.row(y)[bitmap.bytesPerRow - 1] &= static_cast<std::uint8_t>(0xFF << (8 - rest));
        }
    }
    return bitmap;
}

Bitmap indexed(const PDFImage& image) {
    const PDFColorSpace& space = *image.colorSpace;
    Bitmap bitmap = Bitmap::make(image.width, image.height, 8, space.pixels());
    const auto channels = static_cast<std::size_t>(bitmap.channels());
    const Range range = rangeOf(image, 0);
    const double largest = largestSample(image.bitsPerComponent);
    std::array<std::array<std::uint8_t, 4>, 256> colors{};
    for (std::size_t sample = 0; sample < colors.size(); ++sample) {
        const double index = range.low + static_cast<double>(sample) * (range.high - range.low) / largest;
        const double last = static_cast<double>(space.colors().size() - 1);
        colors[sample] =
            space.colors()[static_cast<std::size_t>(std::lround(unit(index / std::max(last, 1.0)) * last))];
    }
    RowReader reader(image);
    for (std::int64_t y = 0; y < image.height; ++y) {
        std::uint8_t* target = bitmap.row(y);
        for (const std::uint16_t sample : reader.read(y)) {
            target = std::copy_n(colors[sample].data(), channels, target);
        }
    }
    return bitmap;
}

/// What each sample of each component becomes.
template <class Sample> class Tables {
public:
    explicit Tables(const PDFImage& image)
        : components_(static_cast<std::size_t>(image.colorSpace->components())),
          size_(std::size_t{1} << image.bitsPerComponent), values_(components_ * size_) {
        const double largest = largestSample(image.bitsPerComponent);
        for (std::size_t i = 0; i < values_.size(); ++i) {
            const Range range = rangeOf(image, static_cast<int>(i / size_));
            const double value = range.low + static_cast<double>(i % size_) * (range.high - range.low) / largest;
            values_[i] = static_cast<Sample>(std::lround(unit(value) * std::numeric_limits<Sample>::max()));
        }
    }
    void write(const std::vector<std::uint16_t>& samples, Sample* target) const {
        for (std::size_t i = 0; i < samples.size(); i += components_) {
            for (std::size_t c = 0; c < components_; ++c) {
                target[i + c] = values_[c * size_ + samples[i + c]];
            }
        }
    }

private:
    std::size_t components_;
    std::size_t size_;
    std::vector<Sample> values_;
};

template <class Sample> void writeSamples(const PDFImage& image, Bitmap& bitmap) {
    const Tables<Sample> tables(image);
    RowReader reader(image);
    for (std::int64_t y = 0; y < image.height; ++y) {
        tables.write(reader.read(y), reinterpret_cast<Sample*>(bitmap.row(y)));
    }
}

/// Conversion is slow and neighbours are often equal.
template <class Sample> void writeLab(const PDFImage& image, Bitmap& bitmap) {
    const double largest = largestSample(image.bitsPerComponent);
    const std::array<Range, 3> ranges = {rangeOf(image, 0), rangeOf(image, 1), rangeOf(image, 2)};
    const auto value = [&](std::size_t c, std::uint16_t sample) {
        return ranges[c].low + sample * (ranges[c].high - ranges[c].low) / largest;
    };
    RowReader reader(image);
    std::array<std::uint16_t, 3> last{};
    std::array<double, 3> color = labToSRGB(value(0, 0), value(1, 0), value(2, 0));
    for (std::int64_t y = 0; y < image.height; ++y) {
        const auto& samples = reader.read(y);
        auto* target = reinterpret_cast<Sample*>(bitmap.row(y));
        for (std::size_t i = 0; i < samples.size(); i += 3) {
            if (!std::equal(last.begin(), last.end(), samples.data() + i)) {
                std::copy_n(samples.data() + i, last.size(), last.begin());
                color = labToSRGB(value(0, last[0]), value(1, last[1]), value(2, last[2]));
            }
            target = std::transform(color.begin(), color.end(), target, [](double part) {
                return static_cast<Sample>(std::lround(unit(part) * std::numeric_limits<Sample>::max()));
            });
        }
    }
}

} // namespace

Bitmap pixelsOf(const PDFImage& image) {
    if (image.colorSpace->family() == PDFColorSpace::Family::indexed) {
        return indexed(image);
    }
    if (isBilevel(image)) {
        return bilevel(image);
    }
    const bool deep = image.bitsPerComponent == 16;
    Bitmap bitmap = Bitmap::make(image.width, image.height, deep ? 16 : 8, image.colorSpace->pixels());
    if (image.colorSpace->family() == PDFColorSpace::Family::lab) {
        deep ? writeLab<std::uint16_t>(image, bitmap) : writeLab<std::uint8_t>(image, bitmap);
    } else {
        deep ? writeSamples<std::uint16_t>(image, bitmap) : writeSamples<std::uint8_t>(image, bitmap);
    }
    return bitmap;
}

Bitmap withMeaning(const Bitmap& samples, const PDFColorSpace& space) {
    PDFImage image;
    image.width = samples.width;
    image.height = samples.height;
    image.bitsPerComponent = samples.bitsPerComponent;
    image.bytesPerRow = static_cast<std::int64_t>(samples.bytesPerRow);
    // The space and the samples outlive the image: both are borrowed.
    image.colorSpace = PDFColorSpacePtr(PDFColorSpacePtr(), &space);
    image.data = Bytes(nullptr, samples.samples);
    return pixelsOf(image);
}

} // namespace orvex
