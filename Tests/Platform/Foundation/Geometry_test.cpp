#include "Platform/Foundation/Geometry.h"

#include <gtest/gtest.h>
#include <numbers>

namespace orvex {
namespace {

void expectNear(Point a, Point b) {
    EXPECT_NEAR(a.x, b.x, 1e-9);
    EXPECT_NEAR(a.y, b.y, 1e-9);
}

TEST(Geometry, ARectangleKeepsNegativeExtents) {
    const Rect r{10, 20, -4, -6};
    EXPECT_EQ(r.maxX(), 6);
    EXPECT_EQ(r.maxY(), 14);
    EXPECT_EQ(r.midX(), 8);
    EXPECT_EQ(r.midY(), 17);
    EXPECT_EQ(r.size(), (Size{-4, -6}));
}

TEST(AffineTransform, MapsPointsAsRowVectors) {
    const AffineTransform t{2, 3, 5, 7, 11, 13};
    EXPECT_EQ(t.apply(Point{1, 1}), (Point{2 + 5 + 11, 3 + 7 + 13}));
    EXPECT_EQ(t.apply(Point{0, 0}), (Point{11, 13}));
}

TEST(AffineTransform, ANewStepComesBeforeWhatIsThere) {
    const auto t = AffineTransform{}.translated(100, 0).scaled(2, 3);
    EXPECT_EQ(t.apply(Point{1, 1}), (Point{102, 3}));
    const auto turned = AffineTransform{}.translated(10, 0).rotated(std::numbers::pi / 2);
    expectNear(turned.apply(Point{1, 0}), {10, 1});
}

TEST(AffineTransform, FollowedByAppliesThisFirst) {
    const auto scale = AffineTransform{}.scaled(2, 2);
    const auto move = AffineTransform{}.translated(5, 0);
    EXPECT_EQ(scale.followedBy(move).apply(Point{1, 1}), (Point{7, 2}));
    EXPECT_EQ(move.followedBy(scale).apply(Point{1, 1}), (Point{12, 2}));
}

TEST(AffineTransform, RotationIsCounterClockwiseWhereYPointsUp) {
    expectNear(AffineTransform{}.rotated(std::numbers::pi / 2).apply(Point{1, 0}), {0, 1});
}

TEST(AffineTransform, ARectangleMapsToTheUprightRectangleAroundItsImage) {
    const Rect image = AffineTransform{}.rotated(std::numbers::pi / 2).apply(Rect{0, 0, 10, 4});
    EXPECT_NEAR(image.x, -4, 1e-9);
    EXPECT_NEAR(image.y, 0, 1e-9);
    EXPECT_NEAR(image.width, 4, 1e-9);
    EXPECT_NEAR(image.height, 10, 1e-9);
    EXPECT_EQ((AffineTransform{}.apply(Rect{10, 10, -4, -6})), (Rect{6, 4, 4, 6}));
}

TEST(AffineTransform, OnlyTheIdentityIsTheIdentity) {
    EXPECT_TRUE(AffineTransform{}.isIdentity());
    EXPECT_FALSE(AffineTransform{}.translated(0, 1).isIdentity());
}

} // namespace
} // namespace orvex
