#include "Platform/Foundation/Geometry.h"

#include <algorithm>
#include <cmath>

namespace orvex {

AffineTransform AffineTransform::translated(double x, double y) const {
    return AffineTransform{1, 0, 0, 1, x, y}.followedBy(*this);
}

AffineTransform AffineTransform::scaled(double sx, double sy) const {
    return AffineTransform{sx, 0, 0, sy, 0, 0}.followedBy(*this);
}

AffineTransform AffineTransform::rotated(double radians) const {
    const double sine = std::sin(radians);
    const double cosine = std::cos(radians);
    return AffineTransform{cosine, sine, -sine, cosine, 0, 0}.followedBy(*this);
}

AffineTransform AffineTransform::followedBy(const AffineTransform& next) const {
    return {a * next.a + b * next.c,
            a * next.b + b * next.d,
            c * next.a + d * next.c,
            c * next.b + d * next.d,
            tx * next.a + ty * next.c + next.tx,
            tx * next.b + ty * next.d + next.ty};
}

Point AffineTransform::apply(Point p) const {
    return {a * p.x + c * p.y + tx, b * p.x + d * p.y + ty};
}

Rect AffineTransform::apply(const Rect& r) const {
    const Point corners[] = {apply(Point{r.x, r.y}), apply(Point{r.maxX(), r.y}), apply(Point{r.x, r.maxY()}),
                             apply(Point{r.maxX(), r.maxY()})};
    const auto [left, right] = std::minmax({corners[0].x, corners[1].x, corners[2].x, corners[3].x});
    const auto [bottom, top] = std::minmax({corners[0].y, corners[1].y, corners[2].y, corners[3].y});
    return {left, bottom, right - left, top - bottom};
}

} // namespace orvex
