// Writes PNG: the filter that pays is found on samples of the picture, then everything is deflated in one go.
#include "Platform/Imaging/Deflate.h"
#include "Platform/Imaging/Png_p.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string_view>

namespace orvex {
namespace png {
namespace {

/// PNG's five filters by their numbers, and the choice of one per row.
enum class Filter : std::uint8_t { none, sub, up, average, paeth, adaptive };

std::uint8_t paethPredictor(int left, int up, int corner) {
    const int estimate = left + up - corner;
    const int toLeft = std::abs(estimate - left);
    const int toUp = std::abs(estimate - up);
    const int toCorner = std::abs(estimate - corner);
    return static_cast<std::uint8_t>(toLeft <= toUp && toLeft <= toCorner ? left : toUp <= toCorner ? up : corner);
}

/// `row` and `above` are preceded by `pixel` zero bytes, as the first pixel's neighbours are.
template <class Predict>
void subtract(const std::uint8_t* row, std::size_t count, std::uint8_t* target, Predict predict) {
    for (std::size_t i = 0; i < count; ++i) {
        target[i] = static_cast<std::uint8_t>(row[i] - predict(i));
    }
}

class RowFilter {
public:
    RowFilter(std::size_t rowBytes, std::size_t pixelBytes)
        : count_(rowBytes), pixel_(pixelBytes), current_(rowBytes + pixelBytes), above_(rowBytes + pixelBytes),
          best_(rowBytes), trial_(rowBytes) {}

    /// Writes the filter's number and the filtered row. Rows come in order.
    std::uint8_t* write(Filter filter, const std::uint8_t* row, std::uint8_t* target) {
        std::copy_n(row, count_, current_.begin() + static_cast<std::ptrdiff_t>(pixel_));
        if (filter == Filter::adaptive) {
            filter = chooseFilter();
            std::copy(best_.begin(), best_.end(), target + 1);
        } else {
            apply(filter, target + 1);
        }
        *target = static_cast<std::uint8_t>(filter);
        std::swap(current_, above_);
        return target + 1 + count_;
    }
    /// What stands above the next row.
    void setAbove(const std::uint8_t* row) {
        std::copy_n(row, count_, above_.begin() + static_cast<std::ptrdiff_t>(pixel_));
    }

private:
    void apply(Filter filter, std::uint8_t* target) const {
        const std::uint8_t* row = current_.data() + pixel_;
        const std::uint8_t* left = current_.data();
        const std::uint8_t* up = above_.data() + pixel_;
        const std::uint8_t* corner = above_.data();
        switch (filter) {
        case Filter::sub:
            return subtract(row, count_, target, [=](std::size_t i) { return left[i]; });
        case Filter::up:
            return subtract(row, count_, target, [=](std::size_t i) { return up[i]; });
        case Filter::average:
            return subtract(row, count_, target, [=](std::size_t i) { return (left[i] + up[i]) / 2; });
        case Filter::paeth:
            return subtract(row, count_, target,
                            [=](std::size_t i) { return paethPredictor(left[i], up[i], corner[i]); });
        default:
            std::copy_n(row, count_, target);
        }
    }

    /// The least sum of absolute differences, PNG's own advice; the winner stays in best_.
    Filter chooseFilter() {
        Filter chosen = Filter::none;
        std::uint64_t least = std::numeric_limits<std::uint64_t>::max();
        for (const Filter filter : {Filter::none, Filter::sub, Filter::up, Filter::average, Filter::paeth}) {
            apply(filter, trial_.data());
            std::uint64_t sum = 0;
            for (const std::uint8_t byte : trial_) {
                sum += byte < 128 ? byte : 256u - byte;
            }
            if (sum < least) {
                least = sum;
                chosen = filter;
                std::swap(best_, trial_);
            }
        }
        return chosen;
    }

    std::size_t count_;
    std::size_t pixel_;
    std::vector<std::uint8_t> current_;
    std::vector<std::uint8_t> above_;
    std::vector<std::uint8_t> best_;
    std::vector<std::uint8_t> trial_;
};

std::vector<std::uint8_t> filterRows(const PackedImage& image, Filter filter, std::int64_t from, std::int64_t to) {
    const std::size_t pixelBytes =
        std::max<std::size_t>(1, image.channels() * static_cast<std::size_t>(image.depth) / 8);
    RowFilter rows(image.rowBytes, pixelBytes);
    if (from > 0) {
        rows.setAbove(image.row(from - 1));
    }
    std::vector<std::uint8_t> filtered((image.rowBytes + 1) * static_cast<std::size_t>(to - from));
    std::uint8_t* target = filtered.data();
    for (std::int64_t y = from; y < to; ++y) {
        target = rows.write(filter, image.row(y), target);
    }
    return filtered;
}

/// Tries every filter on bands of the picture. A band is tall enough for deflate to find what repeats.
Filter bestFilter(const PackedImage& image) {
    constexpr std::size_t sampledBytes = 96 << 10;
    constexpr std::int64_t bands = 3;
    constexpr int trialLevel = 5;
    const auto affordable = static_cast<std::int64_t>(sampledBytes / (image.rowBytes + 1)) / bands;
    const std::int64_t height = std::clamp<std::int64_t>(affordable, 1, (image.height + bands - 1) / bands);
    Filter best = Filter::none;
    std::size_t least = std::numeric_limits<std::size_t>::max();
    for (int number = 0; number <= static_cast<int>(Filter::adaptive); ++number) {
        const auto filter = static_cast<Filter>(number);
        std::size_t sum = 0;
        for (std::int64_t band = 0; band < bands; ++band) {
            const std::int64_t from = (image.height - height) * band / (bands - 1);
            const auto packed = deflateZlib(filterRows(image, filter, from, from + height), trialLevel, 0);
            sum += packed ? packed->size() : 0;
        }
        if (sum < least) {
            least = sum;
            best = filter;
        }
    }
    return best;
}

/// The best level that takes about a third of a second; from 7 to 9 next to nothing is gained.
int levelFor(std::size_t bytes) {
    constexpr std::size_t mebibyte = 1 << 20;
    return bytes <= mebibyte / 2 ? 12 : bytes <= 2 * mebibyte ? 10 : bytes <= 32 * mebibyte ? 7 : 5;
}

/// What the whole picture would come to, judged from bands of it.
double estimatedSize(const PackedImage& image, Filter filter, int level, std::int64_t bands, std::size_t bandBytes) {
    const std::int64_t height = static_cast<std::int64_t>(bandBytes / (image.rowBytes + 1)) + 1;
    bands = std::clamp<std::int64_t>(bands, 1, std::max<std::int64_t>(1, image.height / height));
    constexpr std::size_t overhead = 64; // headers and tables, of which the whole picture has few
    std::size_t sum = 0;
    for (std::int64_t band = 0; band < bands; ++band) {
        const std::int64_t middle = (2 * band + 1) * image.height / (2 * bands);
        const std::int64_t from = std::max<std::int64_t>(0, middle - height / 2);
        const auto rows = filterRows(image, filter, from, std::min(from + height, image.height));
        const auto packed = deflateZlib(rows, level, 0);
        sum += packed && packed->size() > overhead ? packed->size() - overhead : 0;
    }
    return static_cast<double>(sum) * static_cast<double>(image.height) / static_cast<double>(bands * height);
}

/// Whether the middle of the picture repeats itself at distances that a band of it does not show.
bool repeatsFarther(const PackedImage& image, std::size_t bandBytes) {
    constexpr std::int64_t bands = 6; // longer than deflate looks back
    constexpr std::size_t worthAttention = 4 << 10;
    const std::int64_t height = static_cast<std::int64_t>(bandBytes / (image.rowBytes + 1)) + 1;
    const std::int64_t from = std::max<std::int64_t>(0, (image.height - bands * height) / 2);
    const auto rows = filterRows(image, Filter::none, from, std::min(from + bands * height, image.height));
    const auto sizeOf = [](std::span<const std::uint8_t> part) {
        const auto packed = deflateZlib(part, 1, 0);
        return packed ? packed->size() : 0;
    };
    const std::size_t bandLength = (image.rowBytes + 1) * static_cast<std::size_t>(height);
    std::size_t apart = 0;
    for (std::size_t start = 0; start < rows.size(); start += bandLength) {
        apart += sizeOf(std::span(rows).subspan(start, std::min(bandLength, rows.size() - start)));
    }
    return apart > worthAttention && sizeOf(rows) < apart / 4 * 3;
}

/// Whether the picture is so far beyond `limit` that no filter and level will bring it below. A glance tells most
/// scans; the others are looked at in more places, between which lines of text cannot hide, and compressed nearly as
/// well as they would be in the end.
bool hasLost(const PackedImage& image, std::size_t limit) {
    constexpr std::size_t worthTrying = 128 << 10; // smaller ones are quickly encoded
    constexpr std::size_t bandBytes = 8 << 10;
    if (limit == 0 || image.rowBytes * static_cast<std::size_t>(image.height) < worthTrying) {
        return false;
    }
    const auto most = static_cast<double>(limit);
    constexpr double hopelessAtAGlance = 4; // of the fastest level
    constexpr double hopeless = 1.3;
    const double plain = estimatedSize(image, Filter::none, 1, 8, bandBytes / 2);
    const double predicted = estimatedSize(image, Filter::paeth, 1, 8, bandBytes / 2);
    const Filter better = plain < predicted ? Filter::none : Filter::paeth;
    if (std::min(plain, predicted) <= hopelessAtAGlance * most &&
        estimatedSize(image, better, 7, 32, bandBytes) <= hopeless * most) {
        return false;
    }
    return !repeatsFarther(image, bandBytes);
}

/// The rows of the whole picture, filtered and compressed; empty when that passes the limit.
std::optional<std::vector<std::uint8_t>> compressRows(const PackedImage& image, const PNGOptions& options) {
    if (hasLost(image, options.limit)) {
        return std::nullopt;
    }
    const std::vector<std::uint8_t> filtered = filterRows(image, bestFilter(image), 0, image.height);
    const int level = options.level == PNGOptions::automaticLevel ? levelFor(filtered.size()) : options.level;
    constexpr int quickLevel = 7;
    if (options.limit != 0 && level > quickLevel) {
        // A quarter is more than the levels above it ever gain.
        const std::size_t hopeless = options.limit + options.limit / 4;
        if (!deflateZlib(filtered, quickLevel, hopeless)) {
            return std::nullopt;
        }
    }
    return deflateZlib(filtered, level, options.limit);
}

class Writer {
public:
    explicit Writer(std::size_t capacity) {
        bytes_.reserve(capacity);
        bytes_.assign(signature.begin(), signature.end());
    }
    void chunk(std::string_view type, std::span<const std::uint8_t> payload) {
        put32(static_cast<std::uint32_t>(payload.size()));
        const std::size_t start = bytes_.size();
        bytes_.insert(bytes_.end(), type.begin(), type.end());
        bytes_.insert(bytes_.end(), payload.begin(), payload.end());
        put32(crc32(std::span(bytes_).subspan(start)));
    }
    [[nodiscard]] std::vector<std::uint8_t> take() { return std::move(bytes_); }
    static void append32(std::vector<std::uint8_t>& bytes, std::uint32_t value) {
        for (const int shift : {24, 16, 8, 0}) {
            bytes.push_back(static_cast<std::uint8_t>(value >> shift));
        }
    }

private:
    void put32(std::uint32_t value) { append32(bytes_, value); }
    std::vector<std::uint8_t> bytes_;
};

void writeHeader(Writer& writer, const PackedImage& image) {
    std::vector<std::uint8_t> payload;
    Writer::append32(payload, static_cast<std::uint32_t>(image.width));
    Writer::append32(payload, static_cast<std::uint32_t>(image.height));
    payload.insert(payload.end(),
                   {static_cast<std::uint8_t>(image.depth), static_cast<std::uint8_t>(image.type), 0, 0, 0});
    writer.chunk("IHDR", payload);
}

void writeCalibration(Writer& writer, const ColorSpace& space, bool statesSRGB) {
    if (isProfileFor(space.iccProfile, space.model)) {
        constexpr std::string_view name("ICC profile\0\0", 13); // ends the name; then the compression method, 0
        std::vector<std::uint8_t> payload(name.begin(), name.end());
        if (const auto packed = deflateZlib(space.iccProfile.span(), 9, 0)) {
            payload.insert(payload.end(), packed->begin(), packed->end());
            writer.chunk("iCCP", payload);
        }
    } else if (space.gamma > 0) {
        std::vector<std::uint8_t> payload;
        Writer::append32(payload, static_cast<std::uint32_t>(std::lround(100000 / space.gamma)));
        writer.chunk("gAMA", payload);
    } else if (statesSRGB) {
        constexpr std::uint8_t perceptual = 0;
        writer.chunk("sRGB", {&perceptual, 1});
    }
}

void writeResolution(Writer& writer, const PNGOptions& options) {
    std::vector<std::uint8_t> payload;
    for (const double dpi : {options.dpiX, options.dpiY}) {
        const double perMetre = std::round(usableDPI(dpi) / 0.0254);
        Writer::append32(payload, static_cast<std::uint32_t>(std::clamp(perMetre, 1.0, 2147483647.0)));
    }
    payload.push_back(1);
    writer.chunk("pHYs", payload);
}

} // namespace
} // namespace png

std::optional<Bytes> encodePNG(const Bitmap& bitmap, const PNGOptions& options) {
    if (bitmap.colorSpace.model == ColorModel::cmyk) {
        return std::nullopt;
    }
    const png::PackedImage image = options.keepsLayout ? png::packAsIs(bitmap) : png::packForPNG(bitmap);
    const auto compressed = png::compressRows(image, options);
    if (!compressed) {
        return std::nullopt;
    }
    png::Writer writer(compressed->size() + 1024);
    png::writeHeader(writer, image);
    png::writeCalibration(writer, image.colorSpace, options.statesSRGB);
    png::writeResolution(writer, options);
    if (!image.palette.empty()) {
        writer.chunk("PLTE", image.palette);
    }
    if (!image.transparency.empty()) {
        writer.chunk("tRNS", image.transparency);
    }
    writer.chunk("IDAT", *compressed);
    writer.chunk("IEND", {});
    std::vector<std::uint8_t> bytes = writer.take();
    return options.limit != 0 && bytes.size() > options.limit ? std::nullopt : std::optional(Bytes(std::move(bytes)));
}

} // namespace orvex
