// Numbers of files, whatever locale the process has: qpdf reads reals with the C library, which may want commas.
#pragma once

#include "Platform/Foundation/Geometry.h"

#include <qpdf/QPDFObjectHandle.hh>

#include <array>
#include <cmath>
#include <optional>

namespace orvex {

/// False, with `number` as it was, for anything but an integer or a real.
[[nodiscard]] bool readNumber(QPDFObjectHandle value, double& number);

/// The first numbers of an array; none unless all of them are there and finite.
template <std::size_t count> [[nodiscard]] std::optional<std::array<double, count>> numbers(QPDFObjectHandle array) {
    std::array<double, count> values{};
    if (!array.isArray() || array.getArrayNItems() < static_cast<int>(count)) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (!readNumber(array.getArrayItem(static_cast<int>(i)), values[i]) || !std::isfinite(values[i])) {
            return std::nullopt;
        }
    }
    return values;
}

/// Between two opposite corners, whichever they are. None for anything but four numbers or more.
[[nodiscard]] std::optional<Rect> readRectangle(const QPDFObjectHandle& array);
/// Six numbers; the identity for anything less.
[[nodiscard]] AffineTransform readMatrix(const QPDFObjectHandle& array);

} // namespace orvex
