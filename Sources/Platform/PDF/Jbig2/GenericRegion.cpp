#include "Platform/PDF/Jbig2/Regions_p.h"

#include "Platform/PDF/Objects/StreamFilters_p.h"

#include <algorithm>

namespace orvex::jbig2 {

namespace {

/// What a context is made of: pixels before this one, and around it in the two rows above, each group from its
/// rightmost pixel on; between them the adaptive ones.
struct Pattern {
    unsigned before;
    unsigned above, aboveRight, aboveAt;
    unsigned above2, above2Right, above2At;
    unsigned adaptive;
    std::array<unsigned, 4> adaptiveAt;
    unsigned bits;
    unsigned rowRepeats; ///< the context of whether a row is as the one above it
};
/// T.88, figures 3 to 6 and 8 to 11.
constexpr std::array<Pattern, 4> patterns = {{{4, 5, 2, 5, 3, 1, 12, 4, {4, 10, 11, 15}, 16, 0x9B25},
                                              {3, 5, 2, 4, 4, 2, 9, 1, {3}, 13, 0x0795},
                                              {2, 4, 1, 3, 3, 1, 7, 1, {2}, 10, 0x00E5},
                                              {4, 5, 1, 5, 0, 0, 0, 1, {4}, 10, 0x0195}}};

/// The last rows, a byte a pixel, white around them.
class Rows {
public:
    Rows(std::int64_t width, std::size_t count, Budget& budget)
        : stride_(static_cast<std::size_t>(width) + 2 * margin), count_(count) {
        budget.spend(stride_ * count);
        cells_.resize(stride_ * count);
    }

    /// The first pixel of a row, which may be above the first row.
    [[nodiscard]] std::uint8_t* at(std::int64_t y) {
        const auto slot = static_cast<std::size_t>(y + static_cast<std::int64_t>(count_)) % count_;
        return &cells_[slot * stride_ + margin];
    }
    void clear(std::int64_t y) { std::fill_n(at(y) - margin, stride_, std::uint8_t{0}); }
    void repeat(std::int64_t y) { std::copy_n(at(y - 1) - margin, stride_, at(y) - margin); }

private:
    static constexpr std::size_t margin = 256; // farther than adaptive pixels are
    std::size_t stride_;
    std::size_t count_;
    std::vector<std::uint8_t> cells_;
};

constexpr unsigned ones(unsigned count) {
    return (1U << count) - 1;
}

template <unsigned number>
void decodeRow(Rows& rows, std::int64_t y, std::int64_t width, const GenericCoding& coding, ArithmeticDecoder& decoder,
               Contexts& contexts) {
    constexpr Pattern pattern = patterns[number];
    std::uint8_t* const row = rows.at(y);
    const std::uint8_t* const above = rows.at(y - 1);
    const std::uint8_t* const above2 = rows.at(y - 2);
    std::array<const std::uint8_t*, pattern.adaptive> adaptive;
    for (std::size_t i = 0; i < adaptive.size(); ++i) {
        adaptive[i] = rows.at(y + coding.adaptive[i].y) + coding.adaptive[i].x;
    }
    unsigned before = 0;
    unsigned from = 0;  // the window on the row above
    unsigned from2 = 0; // and on the one above that
    for (unsigned x = 0; x < pattern.aboveRight; ++x) {
        from = from << 1 | above[x];
    }
    for (unsigned x = 0; x < pattern.above2Right; ++x) {
        from2 = from2 << 1 | above2[x];
    }
    for (std::int64_t x = 0; x < width; ++x) {
        from = (from << 1 | above[x + pattern.aboveRight]) & ones(pattern.above);
        from2 = (from2 << 1 | above2[x + pattern.above2Right]) & ones(pattern.above2);
        unsigned context = before | from << pattern.aboveAt | from2 << pattern.above2At;
        for (std::size_t i = 0; i < adaptive.size(); ++i) {
            context |= unsigned{adaptive[i][x]} << pattern.adaptiveAt[i];
        }
        const bool isSkipped = coding.skipped != nullptr && coding.skipped->at(x, y) == 1;
        const unsigned pixel = isSkipped ? 0 : decoder.bit(contexts[context]);
        row[x] = static_cast<std::uint8_t>(pixel);
        before = (before << 1 | pixel) & ones(pattern.before);
    }
}

void pack(const std::uint8_t* pixels, Bitmap& bitmap, std::int64_t y) {
    std::uint8_t* const row = bitmap.row(y);
    for (std::int64_t x = 0; x < bitmap.width(); ++x) {
        row[x / 8] = static_cast<std::uint8_t>(row[x / 8] | pixels[x] << (7 - x % 8));
    }
}

std::size_t rowsNeeded(const GenericCoding& coding) {
    int highest = -2;
    for (std::size_t i = 0; i < adaptiveCount(coding.pattern); ++i) {
        const AdaptivePixel& pixel = coding.adaptive[i];
        if (pixel.y > 0 || (pixel.y == 0 && pixel.x >= 0)) {
            throw Damage("a context of pixels that are not decoded yet");
        }
        highest = std::min<int>(highest, pixel.y);
    }
    return static_cast<std::size_t>(1 - highest);
}

} // namespace

std::size_t adaptiveCount(unsigned pattern) {
    return patterns.at(pattern).adaptive;
}

Contexts genericContexts(unsigned pattern) {
    return Contexts(std::size_t{1} << patterns.at(pattern).bits);
}

GenericCoding readGenericCoding(Reader& reader, unsigned pattern) {
    GenericCoding coding;
    coding.pattern = pattern;
    for (std::size_t i = 0; i < adaptiveCount(pattern); ++i) {
        coding.adaptive[i].x = reader.i8();
        coding.adaptive[i].y = reader.i8();
    }
    return coding;
}

Bitmap decodeGeneric(std::int64_t width, std::int64_t height, const GenericCoding& coding, ArithmeticDecoder& decoder,
                     Contexts& contexts, Budget& budget) {
    static constexpr std::array decodeRowBy = {decodeRow<0>, decodeRow<1>, decodeRow<2>, decodeRow<3>};
    Bitmap bitmap(width, height, budget);
    Rows rows(width, rowsNeeded(coding), budget);
    bool repeats = false;
    for (std::int64_t y = 0; y < height; ++y) {
        repeats ^= coding.repeatsRows && decoder.bit(contexts[patterns[coding.pattern].rowRepeats]) == 1;
        if (repeats) {
            rows.repeat(y);
        } else {
            rows.clear(y);
            decodeRowBy[coding.pattern](rows, y, width, coding, decoder, contexts);
        }
        pack(rows.at(y), bitmap, y);
    }
    return bitmap;
}

Bitmap decodeFacsimile(std::int64_t width, std::int64_t height, Reader& reader, Budget& budget) {
    Bitmap bitmap(width, height, budget);
    if (width == 0 || height == 0) {
        return bitmap;
    }
    FaxParameters parameters;
    parameters.k = -1;
    parameters.columns = width;
    parameters.rows = height;
    parameters.blackIs1 = true;
    std::size_t used = 0;
    std::ranges::copy(decodeFax(reader.rest(), parameters, bitmap.rowBytes() * static_cast<std::size_t>(height), &used),
                      bitmap.row(0));
    reader.bytes(used);
    return bitmap;
}

} // namespace orvex::jbig2
