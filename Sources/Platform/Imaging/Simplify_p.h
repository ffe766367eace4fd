// Steps that make samples cheaper to store. Each gives nothing where it does not apply, so that nothing is copied.
#pragma once

#include "Platform/Imaging/Bitmap.h"

#include <optional>
#include <utility>

namespace orvex {

/// Sixteen bits to eight where no sample uses the lower half.
[[nodiscard]] std::optional<Bitmap> withoutUnusedDepth(const Bitmap& bitmap);
/// The alpha channel left out where every pixel is opaque.
[[nodiscard]] std::optional<Bitmap> withoutUnusedAlpha(const Bitmap& bitmap);
/// RGB that is grey everywhere as grey, unless its profile gives equal amounts a tint.
[[nodiscard]] std::optional<Bitmap> withoutUnusedColor(const Bitmap& bitmap);
/// RGB whose three components are the same everywhere.
[[nodiscard]] bool hasEqualComponents(const Bitmap& bitmap);
/// 1 or 16 bits as bytes, rounded.
[[nodiscard]] std::optional<Bitmap> asBytes(const Bitmap& bitmap);
/// Laid over white (no ink).
[[nodiscard]] std::optional<Bitmap> overWhite(const Bitmap& bitmap);

/// A bitmap, or what it was simplified to so far.
class Simplified {
public:
    explicit Simplified(const Bitmap& source) : current_(&source) {}
    Simplified(const Simplified&) = delete;
    Simplified& operator=(const Simplified&) = delete;

    Simplified& apply(std::optional<Bitmap> (*step)(const Bitmap&)) {
        if (std::optional<Bitmap> simpler = step(*current_)) {
            owned_ = std::move(*simpler);
            current_ = &owned_;
        }
        return *this;
    }
    [[nodiscard]] const Bitmap& bitmap() const { return *current_; }
    /// What it was simplified to, when it was; its samples keep their address.
    [[nodiscard]] Bitmap take() { return std::move(owned_); }

private:
    const Bitmap* current_;
    Bitmap owned_;
};

} // namespace orvex
