#include "Platform/PDF/Numbers_p.h"

#include <algorithm>
#include <charconv>
#include <string>

namespace orvex {

bool readNumber(QPDFObjectHandle value, double& number) {
    if (value.isInteger()) {
        number = static_cast<double>(value.getIntValue());
        return true;
    }
    if (!value.isReal()) {
        return false;
    }
    const std::string text = value.getRealValue();
    number = 0; // what has no digits at all
    std::from_chars(text.data() + (text.starts_with('+') ? 1 : 0), text.data() + text.size(), number);
    return true;
}

std::optional<Rect> readRectangle(const QPDFObjectHandle& array) {
    const auto corners = numbers<4>(array);
    if (!corners) {
        return std::nullopt;
    }
    const auto& c = *corners;
    return Rect{std::min(c[0], c[2]), std::min(c[1], c[3]), std::abs(c[2] - c[0]), std::abs(c[3] - c[1])};
}

AffineTransform readMatrix(const QPDFObjectHandle& array) {
    const auto m = numbers<6>(array);
    return m ? AffineTransform{(*m)[0], (*m)[1], (*m)[2], (*m)[3], (*m)[4], (*m)[5]} : AffineTransform{};
}

} // namespace orvex
