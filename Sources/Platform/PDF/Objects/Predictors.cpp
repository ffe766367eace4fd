// Sums that undo a prediction: TIFF's from the sample to the left, PNG's also from the row above.
#include "Platform/PDF/Objects/StreamFilters_p.h"

#include <algorithm>
#include <cstdlib>

namespace orvex {

namespace {

constexpr std::int64_t mostColors = 64;

bool makesSense(const Predictor& predictor) {
    constexpr std::int64_t mostColumns = std::int64_t{1} << 31;
    const std::int64_t bits = predictor.bits;
    const bool knownBits = bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16;
    return knownBits && predictor.colors >= 1 && predictor.colors <= mostColors && predictor.columns >= 1 &&
           predictor.columns <= mostColumns;
}

std::size_t rowBytes(const Predictor& predictor) {
    return static_cast<std::size_t>((predictor.columns * predictor.colors * predictor.bits + 7) / 8);
}

std::uint8_t paeth(int left, int above, int corner) {
    const int estimate = left + above - corner;
    const int toLeft = std::abs(estimate - left);
    const int toAbove = std::abs(estimate - above);
    const int toCorner = std::abs(estimate - corner);
    return static_cast<std::uint8_t>(toLeft <= toAbove && toLeft <= toCorner ? left
                                     : toAbove <= toCorner                   ? above
                                                                             : corner);
}

/// One row in place; `above` may be empty for the first.
void undoPNGRow(std::uint8_t filter, std::span<std::uint8_t> row, ByteSpan above, std::size_t pixel) {
    const auto left = [&](std::size_t i) -> int { return i < pixel ? 0 : row[i - pixel]; };
    const auto up = [&](std::size_t i) -> int { return above.empty() ? 0 : above[i]; };
    const auto corner = [&](std::size_t i) -> int { return i < pixel ? 0 : up(i - pixel); };
    const auto add = [&](auto&& guess) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            row[i] = static_cast<std::uint8_t>(row[i] + guess(i));
        }
    };
    switch (filter) {
    case 1:
        return add(left);
    case 2:
        return add(up);
    case 3:
        return add([&](std::size_t i) { return (left(i) + up(i)) / 2; });
    case 4:
        return add([&](std::size_t i) { return paeth(left(i), up(i), corner(i)); });
    default:
        return;
    }
}

ByteBuffer undoPNG(const ByteBuffer& data, const Predictor& predictor) {
    const std::size_t length = rowBytes(predictor);
    const auto pixel = static_cast<std::size_t>((predictor.colors * predictor.bits + 7) / 8);
    const std::size_t rows = (data.size() + length) / (length + 1);
    ByteBuffer out(data.size() - rows);
    for (std::size_t y = 0; y < rows; ++y) {
        const ByteSpan stored = ByteSpan(data).subspan(y * (length + 1));
        const std::span row = std::span(out).subspan(y * length, std::min(length, stored.size() - 1));
        std::copy_n(stored.data() + 1, row.size(), row.data());
        undoPNGRow(stored[0], row, y == 0 ? ByteSpan() : ByteSpan(out).subspan((y - 1) * length, length), pixel);
    }
    return out;
}

/// Samples smaller than a byte, most significant first.
void sumSmallSamples(std::span<std::uint8_t> row, const Predictor& predictor) {
    const auto bits = static_cast<std::size_t>(predictor.bits);
    const unsigned mask = (1u << bits) - 1;
    const auto colors = static_cast<std::size_t>(predictor.colors);
    const std::size_t samples = std::min(static_cast<std::size_t>(predictor.columns) * colors, row.size() * 8 / bits);
    const auto shift = [bits](std::size_t i) { return 8 - bits - i * bits % 8; };
    for (std::size_t i = colors; i < samples; ++i) {
        const unsigned before = unsigned{row[(i - colors) * bits / 8]} >> shift(i - colors) & mask;
        std::uint8_t& byte = row[i * bits / 8];
        const unsigned sum = (before + (unsigned{byte} >> shift(i) & mask)) & mask;
        byte = static_cast<std::uint8_t>((byte & ~(mask << shift(i))) | sum << shift(i));
    }
}

void sumRow(std::span<std::uint8_t> row, const Predictor& predictor) {
    const auto colors = static_cast<std::size_t>(predictor.colors);
    if (predictor.bits == 8) {
        for (std::size_t i = colors; i < row.size(); ++i) {
            row[i] = static_cast<std::uint8_t>(row[i] + row[i - colors]);
        }
    } else if (predictor.bits == 16) {
        for (std::size_t i = 2 * colors; i + 1 < row.size(); i += 2) {
            const std::size_t before = i - 2 * colors;
            const int sum = (row[i] << 8 | row[i + 1]) + (row[before] << 8 | row[before + 1]);
            row[i] = static_cast<std::uint8_t>(sum >> 8);
            row[i + 1] = static_cast<std::uint8_t>(sum);
        }
    } else {
        sumSmallSamples(row, predictor);
    }
}

} // namespace

std::optional<ByteBuffer> unpredict(ByteBuffer data, const Predictor& predictor) {
    if (predictor.kind < 2) {
        return data;
    }
    if (!makesSense(predictor)) {
        return std::nullopt;
    }
    if (predictor.kind >= 10) {
        return undoPNG(data, predictor);
    }
    const std::size_t length = rowBytes(predictor);
    for (std::size_t offset = 0; offset < data.size(); offset += length) {
        sumRow(std::span(data).subspan(offset, std::min(length, data.size() - offset)), predictor);
    }
    return data;
}

} // namespace orvex
