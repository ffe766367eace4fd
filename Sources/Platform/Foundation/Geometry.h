// Points, sizes, rectangles and affine transforms. Plain values; units are the caller's (points unless said otherwise).
#pragma once

namespace orvex {

struct Point {
    double x = 0;
    double y = 0;
    friend bool operator==(const Point&, const Point&) = default;
};

struct Size {
    double width = 0;
    double height = 0;
    friend bool operator==(const Size&, const Size&) = default;
};

/// A rectangle given by its origin and extent. Nothing is standardised: negative extents stay as they are.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    [[nodiscard]] double midX() const { return x + width / 2; }
    [[nodiscard]] double midY() const { return y + height / 2; }
    [[nodiscard]] double maxX() const { return x + width; }
    [[nodiscard]] double maxY() const { return y + height; }
    [[nodiscard]] Size size() const { return {width, height}; }
    friend bool operator==(const Rect&, const Rect&) = default;
};

/// The matrix [a b 0; c d 0; tx ty 1], points as row vectors, as in PDF: x' = a x + c y + tx, y' = b x + d y + ty.
struct AffineTransform {
    double a = 1;
    double b = 0;
    double c = 0;
    double d = 1;
    double tx = 0;
    double ty = 0;

    /// Each of these prepends: the result applies the new step first, then *this.
    [[nodiscard]] AffineTransform translated(double x, double y) const;
    [[nodiscard]] AffineTransform scaled(double sx, double sy) const;
    [[nodiscard]] AffineTransform rotated(double radians) const; ///< counter-clockwise where y points up

    /// *this first, then `next`.
    [[nodiscard]] AffineTransform followedBy(const AffineTransform& next) const;
    [[nodiscard]] Point apply(Point p) const;
    /// The smallest upright rectangle around the image of `r`.
    [[nodiscard]] Rect apply(const Rect& r) const;
    [[nodiscard]] bool isIdentity() const { return *this == AffineTransform{}; }
    friend bool operator==(const AffineTransform&, const AffineTransform&) = default;
};

} // namespace orvex
