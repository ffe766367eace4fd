// Black and white pixels, as JBIG2 puts them together.
#pragma once

#include "Platform/PDF/Jbig2/Reader_p.h"

#include <memory>
#include <vector>

namespace orvex::jbig2 {

/// By their numbers in the data.
enum class Operator : std::uint8_t { or_, and_, xor_, xnor, replace };

/// Rows of packed bits from the top left, 1 black.
class Bitmap {
public:
    Bitmap() = default;
    /// Throws Damage when the budget does not allow it.
    Bitmap(std::int64_t width, std::int64_t height, Budget& budget, bool isBlack = false);

    [[nodiscard]] std::int64_t width() const { return width_; }
    [[nodiscard]] std::int64_t height() const { return height_; }
    [[nodiscard]] std::size_t rowBytes() const { return rowBytes_; }
    [[nodiscard]] const std::uint8_t* row(std::int64_t y) const {
        return bits_.data() + static_cast<std::size_t>(y) * rowBytes_;
    }
    [[nodiscard]] std::uint8_t* row(std::int64_t y) { return bits_.data() + static_cast<std::size_t>(y) * rowBytes_; }

    /// White outside.
    [[nodiscard]] unsigned at(std::int64_t x, std::int64_t y) const {
        const bool inside = x >= 0 && x < width_ && y >= 0 && y < height_;
        return inside ? static_cast<unsigned>(row(y)[x / 8]) >> (7 - x % 8) & 1U : 0U;
    }
    void blacken(std::int64_t x, std::int64_t y) {
        row(y)[x / 8] = static_cast<std::uint8_t>(row(y)[x / 8] | 0x80U >> x % 8);
    }

    /// With the other's top left corner at (x, y); what lies outside is cut off.
    void draw(const Bitmap& other, std::int64_t x, std::int64_t y, Operator combination);
    [[nodiscard]] Bitmap part(std::int64_t x, std::int64_t y, std::int64_t width, std::int64_t height,
                              Budget& budget) const;

private:
    std::int64_t width_ = 0;
    std::int64_t height_ = 0;
    std::size_t rowBytes_ = 0;
    std::vector<std::uint8_t> bits_;
};

using BitmapPtr = std::shared_ptr<const Bitmap>;

} // namespace orvex::jbig2
