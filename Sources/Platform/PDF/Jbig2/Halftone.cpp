#include "Platform/PDF/Jbig2/Segments_p.h"

#include <algorithm>

namespace orvex::jbig2 {

namespace {

/// Where the patterns of a halftone go.
struct Grid {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::int64_t left = 0; ///< these in 256ths of a pixel
    std::int64_t top = 0;
    std::int64_t stepX = 0;
    std::int64_t stepY = 0;

    [[nodiscard]] std::int64_t x(std::int64_t column, std::int64_t row) const {
        return (left + row * stepY + column * stepX) >> 8;
    }
    [[nodiscard]] std::int64_t y(std::int64_t column, std::int64_t row) const {
        return (top + row * stepX - column * stepY) >> 8;
    }
};

Grid readGrid(Reader& reader) {
    Grid grid;
    grid.width = reader.u32();
    grid.height = reader.u32();
    grid.left = reader.i32();
    grid.top = reader.i32();
    grid.stepX = reader.u16();
    grid.stepY = reader.u16();
    return grid;
}

/// Black where a pattern would be outside of the region.
Bitmap outside(const Grid& grid, Size size, const Bitmap& pattern, Budget& budget) {
    Bitmap bitmap(grid.width, grid.height, budget);
    for (std::int64_t row = 0; row < grid.height; ++row) {
        for (std::int64_t column = 0; column < grid.width; ++column) {
            const std::int64_t x = grid.x(column, row);
            const std::int64_t y = grid.y(column, row);
            if (x + pattern.width() <= 0 || x >= size.width || y + pattern.height() <= 0 || y >= size.height) {
                bitmap.blacken(column, row);
            }
        }
    }
    return bitmap;
}

GenericCoding codingOf(unsigned pattern, AdaptivePixel first) {
    GenericCoding coding;
    coding.pattern = pattern;
    coding.adaptive = {first, {-3, -1}, {2, -2}, {-2, -2}};
    return coding;
}

/// Planes of a picture in grey, the highest bit first, each but the first as its difference from the one before.
std::vector<Bitmap> readPlanes(Reader& reader, const Grid& grid, std::size_t count, bool isFacsimile,
                               const GenericCoding& coding, Budget& budget) {
    std::vector<Bitmap> planes;
    ArithmeticDecoder decoder(reader.rest());
    Contexts contexts = genericContexts(coding.pattern);
    while (planes.size() < count) {
        Bitmap plane = isFacsimile ? decodeFacsimile(grid.width, grid.height, reader, budget)
                                   : decodeGeneric(grid.width, grid.height, coding, decoder, contexts, budget);
        if (!planes.empty()) {
            plane.draw(planes.back(), 0, 0, Operator::xor_);
        }
        planes.push_back(std::move(plane));
    }
    return planes;
}

} // namespace

PatternDictionary readPatternDictionary(Reader& reader, Budget& budget) {
    const unsigned flags = reader.u8();
    const std::int64_t width = reader.u8();
    const std::int64_t height = reader.u8();
    const std::int64_t count = std::int64_t{reader.u32()} + 1;
    if (width == 0 || height == 0) {
        throw Damage("patterns without pixels");
    }
    const unsigned pattern = flags >> 1 & 3U;
    const auto collective = [&] {
        if ((flags & 1U) != 0) {
            return decodeFacsimile(count * width, height, reader, budget);
        }
        ArithmeticDecoder decoder(reader.rest());
        Contexts contexts = genericContexts(pattern);
        const AdaptivePixel first{static_cast<std::int16_t>(-width), 0};
        return decodeGeneric(count * width, height, codingOf(pattern, first), decoder, contexts, budget);
    };
    const Bitmap all = collective();
    PatternDictionary dictionary;
    for (std::int64_t i = 0; i < count; ++i) {
        dictionary.patterns.push_back(std::make_shared<const Bitmap>(all.part(i * width, 0, width, height, budget)));
    }
    return dictionary;
}

Bitmap readHalftoneRegion(Reader& reader, Size size, const References& references, Budget& budget) {
    const auto* dictionary = references.patterns();
    if (dictionary == nullptr) {
        throw Damage("a halftone without patterns");
    }
    const Symbols& patterns = dictionary->patterns;
    const unsigned flags = reader.u8();
    const Grid grid = readGrid(reader);
    const unsigned pattern = flags >> 1 & 3U;
    GenericCoding coding = codingOf(pattern, {static_cast<std::int16_t>(pattern <= 1 ? 3 : 2), -1});
    const bool skips = (flags & 8U) != 0;
    const Bitmap skipped = skips ? outside(grid, size, *patterns.front(), budget) : Bitmap();
    coding.skipped = skips ? &skipped : nullptr;
    const auto planes = readPlanes(reader, grid, bitsFor(patterns.size()), (flags & 1U) != 0, coding, budget);

    Bitmap region(size.width, size.height, budget, (flags & 0x80U) != 0);
    const auto combination = static_cast<Operator>(std::min(flags >> 4 & 7U, 4U));
    const auto drawUnits = 16 + patterns.front()->rowBytes() * static_cast<std::uint64_t>(patterns.front()->height());
    for (std::int64_t row = 0; row < grid.height; ++row) {
        for (std::int64_t column = 0; column < grid.width; ++column) {
            budget.spend(drawUnits);
            std::size_t gray = 0;
            for (const Bitmap& plane : planes) {
                gray = gray << 1 | plane.at(column, row);
            }
            const Bitmap& drawn = *patterns[std::min(gray, patterns.size() - 1)];
            region.draw(drawn, grid.x(column, row), grid.y(column, row), combination);
        }
    }
    return region;
}

} // namespace orvex::jbig2
