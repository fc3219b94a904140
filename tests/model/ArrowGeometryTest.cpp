#include "GeometryTestSupport.h"

#include <cmath>

using namespace vellumix;
using namespace vellumix::geometry;
using namespace vellumix::testing;

namespace {

// The three corners of a closed triangle head: tip, then the two base corners.
std::vector<QPointF> corners(const QPainterPath& head) {
    std::vector<QPointF> points;
    for (int i = 0; i < 3; ++i) {
        points.push_back(head.elementAt(i));
    }
    return points;
}

} // namespace

TEST(ArrowGeometry, HeadSizeGrowsWithLineWidthAboveTheMinimum) {
    // Width 1: length 14 (the minimum), half-width 0.45·14 = 6.3.
    auto thin = arrowBetween({0, 0}, {100, 0}, {50, 0}, 1, ArrowEndCap::triangle);
    auto head = corners(arrowCapPaths(thin).at(0));
    expectPointNear(head[0], {100, 0});
    expectPointNear(head[1], {86, 6.3});
    expectPointNear(head[2], {86, -6.3});

    // Width 4: length 20, full width 18.
    auto thick = arrowBetween({0, 0}, {0, 100}, {0, 50}, 4, ArrowEndCap::triangle);
    head = corners(arrowCapPaths(thick).at(0));
    expectPointNear(head[0], {0, 100});
    expectPointNear(head[1], {-9, 80});
    expectPointNear(head[2], {9, 80});
}

TEST(ArrowGeometry, DotRadiusIsFiveUntilTheLineIsThick) {
    EXPECT_DOUBLE_EQ(arrowDotRadius(1), 5);
    EXPECT_DOUBLE_EQ(arrowDotRadius(3.125), 5);
    EXPECT_DOUBLE_EQ(arrowDotRadius(4), 6.4);
    auto a = arrowBetween({0, 0}, {40, 40}, {20, 20}, 10, ArrowEndCap::dot);
    expectRectNear(arrowCapPaths(a).at(0).controlPointRect(), QRectF(24, 24, 32, 32), 1e-6);
}

TEST(ArrowGeometry, CoincidentPointsPointRightAtTheEndAndLeftAtTheStart) {
    auto a = arrowBetween({10, 10}, {10, 10}, {10, 10}, 2, ArrowEndCap::triangleBoth);
    const auto caps = arrowCapPaths(a);
    ASSERT_EQ(caps.size(), 2u);
    // Head at the end points along (1, 0): its base lies 14 to the left of the tip.
    expectPointNear(corners(caps[0])[1], {-4, 16.3});
    // Head at the start points along (-1, 0): its base lies 14 to the right.
    expectPointNear(corners(caps[1])[1], {24, 3.7});
}

TEST(ArrowGeometry, ShaftStopsAtTheBaseOfEachTriangleHead) {
    auto a = arrowBetween({0, 0}, {100, 0}, {50, 0}, 2, ArrowEndCap::triangle);
    QPainterPath shaft = arrowShaftPath(a);
    ASSERT_EQ(shaft.elementCount(), 4); // move-to plus one cubic
    expectPointNear(shaft.elementAt(0), {0, 0});
    expectPointNear(shaft.elementAt(3), {86, 0});

    a.endCap = ArrowEndCap::triangleBoth;
    shaft = arrowShaftPath(a);
    expectPointNear(shaft.elementAt(0), {14, 0});
    expectPointNear(shaft.elementAt(3), {86, 0});

    a.endCap = ArrowEndCap::dotBoth;
    shaft = arrowShaftPath(a);
    expectPointNear(shaft.elementAt(0), {0, 0});
    expectPointNear(shaft.elementAt(3), {100, 0});
}

TEST(ArrowGeometry, ShaftIsTheCubicFormOfTheQuadratic) {
    auto a = arrowBetween({0, 0}, {90, 0}, {45, 90}, 2, ArrowEndCap::line);
    const QPainterPath shaft = arrowShaftPath(a);
    expectPointNear(shaft.elementAt(1), {30, 60});
    expectPointNear(shaft.elementAt(2), {60, 60});
    // The quadratic's midpoint is (S + 2C + E) / 4 = (45, 45).
    expectPointNear(shaft.pointAtPercent(0.5), {45, 45}, 1e-6);
}

TEST(ArrowGeometry, CapsFollowTheEndCapInOrder) {
    auto a = arrowBetween({0, 0}, {50, 0}, {25, 0}, 2, ArrowEndCap::line);
    EXPECT_TRUE(arrowCapPaths(a).empty());
    a.endCap = ArrowEndCap::dotBoth;
    const auto dots = arrowCapPaths(a);
    ASSERT_EQ(dots.size(), 2u);
    EXPECT_NEAR(dots[0].controlPointRect().center().x(), 50, 1e-9); // end first
    EXPECT_NEAR(dots[1].controlPointRect().center().x(), 0, 1e-9);
}

TEST(ArrowGeometry, BoundsUniteShaftAndCapsWithoutLineWidth) {
    auto a = arrowBetween({0, 0}, {100, 0}, {50, 0}, 40, ArrowEndCap::triangle);
    // Head length 200, half-width 90: the base lies at x = -100, behind the start.
    expectRectNear(bounds(Annotation(a)), QRectF(-100, -90, 200, 180), 1e-6);

    a.endCap = ArrowEndCap::line;
    a.controlPoint = {50, 50};
    // Control points of the cubic reach y = 2/3 · 50.
    expectRectNear(bounds(Annotation(a)), QRectF(0, 0, 100, 100.0 / 3), 1e-6);
}

// Bounds are computed from points without building paths; they must agree with the paths.
TEST(ArrowGeometry, BoundsAgreeWithTheDrawnPathsForEveryCap) {
    for (ArrowEndCap cap : allCases<ArrowEndCap>()) {
        SCOPED_TRACE(qPrintable(rawValue(cap)));
        const auto a = arrowBetween({30, 40}, {-20, 90}, {70, 120}, 3.5, cap);
        QRectF expected = arrowShaftPath(a).controlPointRect();
        for (const QPainterPath& p : arrowCapPaths(a)) {
            expected = expected.united(p.controlPointRect());
        }
        expectRectNear(bounds(Annotation(a)), expected, 1e-9);
    }
}
