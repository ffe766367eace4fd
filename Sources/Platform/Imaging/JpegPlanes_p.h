// JPEGs as the planes of lightness and colour that they consist of.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace orvex::jpeg {

/// Some rows of a picture's lightness (plane 0) or colour (1 and 2, which may be smaller).
struct PlaneBand {
    std::size_t plane;
    std::int64_t width;  ///< of the whole plane
    std::int64_t height; ///< of the whole plane
    std::int64_t top;    ///< of the first of these rows
    std::span<std::uint8_t* const> rows;
};
using TakeBand = std::function<void(const PlaneBand&)>;
/// Hands over the planes that a colour JPEG consists of, scaled to `eighths` / 8, from top to bottom. False, and
/// nothing handed over, when it holds other components. Throws ImageError; what was handed over until then is worth
/// nothing.
[[nodiscard]] bool decodePlanes(const Bytes& data, int eighths, const TakeBand& take);

} // namespace orvex::jpeg
