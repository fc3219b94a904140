#include "GeometryTestSupport.h"

#include <cmath>

using namespace vellumix;
using namespace vellumix::geometry;
using namespace vellumix::testing;

TEST(ResizeRect, FreeResizeMovesOnlyTheNamedEdges) {
    const QRectF r(100, 100, 50, 40);
    struct Case {
        ResizeHandle handle;
        QRectF expected;
    };
    const Case cases[] = {
        {ResizeHandle::topLeft, QRectF(110, 95, 40, 45)},
        {ResizeHandle::topCenter, QRectF(100, 95, 50, 45)},
        {ResizeHandle::topRight, QRectF(100, 95, 60, 45)},
        {ResizeHandle::centerLeft, QRectF(110, 100, 40, 40)},
        {ResizeHandle::centerRight, QRectF(100, 100, 60, 40)},
        {ResizeHandle::bottomLeft, QRectF(110, 100, 40, 35)},
        {ResizeHandle::bottomCenter, QRectF(100, 100, 50, 35)},
        {ResizeHandle::bottomRight, QRectF(100, 100, 60, 35)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(qPrintable(rawValue(c.handle)));
        expectRectNear(resizeRect(c.handle, false, r, 10, -5), c.expected);
    }
}

TEST(ResizeRect, MinimumSideHoldsWhileTheOriginKeepsFollowing) {
    expectRectNear(resizeRect(ResizeHandle::topLeft, false, QRectF(0, 0, 10, 10), 20, 0),
                   QRectF(20, 0, 4, 10));
    expectRectNear(resizeRect(ResizeHandle::bottomRight, false, QRectF(0, 0, 10, 10), -50, -50),
                   QRectF(0, 0, 4, 4));
}

TEST(ResizeRect, AspectResizeUsesTheFactorThatDepartsMoreFromOne) {
    // fx = 150/100 = 1.5, fy = 60/50 = 1.2: 1.5 wins, top-left fixed.
    expectRectNear(resizeRect(ResizeHandle::bottomRight, true, QRectF(0, 0, 100, 50), 50, 10),
                   QRectF(0, 0, 150, 75));
    // Top-left handle: the bottom-right corner stays at (100, 50); fy = 0.6 departs more.
    expectRectNear(resizeRect(ResizeHandle::topLeft, true, QRectF(0, 0, 100, 50), -10, 20),
                   QRectF(40, 20, 60, 30));
    // Edge handles keep the box centred on the other axis.
    expectRectNear(resizeRect(ResizeHandle::bottomCenter, true, QRectF(0, 0, 100, 50), 999, 50),
                   QRectF(-50, 0, 200, 100));
    expectRectNear(resizeRect(ResizeHandle::centerLeft, true, QRectF(0, 0, 100, 50), 50, 999),
                   QRectF(50, 12.5, 50, 25));
}

TEST(ResizeRect, AspectResizeClampsEachSideSeparately) {
    // Factor 0.02: 2×1 would be the result; each side is held at 4.
    expectRectNear(resizeRect(ResizeHandle::bottomRight, true, QRectF(0, 0, 100, 50), -98, 0),
                   QRectF(0, 0, 4, 4));
}

TEST(ResizeAnnotation, RectangularKindsTakeTheNewRect) {
    TextAnnotation text;
    text.rect = QRectF(0, 0, 100, 40);
    text.fontSize = 22;
    const auto resizedText =
        std::get<TextAnnotation>(resized(text, ResizeHandle::centerRight, false, 20, 0));
    expectRectNear(resizedText.rect, QRectF(0, 0, 120, 40));
    EXPECT_EQ(resizedText.fontSize, 22);
    EXPECT_EQ(resizedText.id, text.id);
}

TEST(ResizeAnnotation, StrokesScaleIntoTheNewBounds) {
    const StrokeAnnotation stroke = strokeThrough({{10, 10}, {30, 20}, {50, 50}});
    const auto result =
        std::get<StrokeAnnotation>(resized(stroke, ResizeHandle::bottomRight, false, 40, -20));
    // (10,10)-(50,50) becomes (10,10)-(90,30): x scales by 2, y by 0.5.
    expectPointNear(result.path.elementAt(1), {50, 15});
    expectRectNear(result.path.controlPointRect(), QRectF(10, 10, 80, 20));
    // The original path is untouched.
    expectPointNear(stroke.path.elementAt(1), {30, 20});
}

TEST(ResizeAnnotation, DegenerateStrokesAndArrowsStayUnchanged) {
    const StrokeAnnotation vertical = strokeThrough({{10, 10}, {10, 60}});
    const auto stroke =
        std::get<StrokeAnnotation>(resized(vertical, ResizeHandle::bottomRight, false, 30, 30));
    EXPECT_EQ(stroke.path, vertical.path);

    const ArrowAnnotation arrow =
        arrowBetween({0, 0}, {50, 50}, {25, 25}, 2, ArrowEndCap::triangle);
    const auto same = std::get<ArrowAnnotation>(resized(arrow, ResizeHandle::topLeft, true, 9, 9));
    EXPECT_EQ(same.start, arrow.start);
    EXPECT_EQ(same.end, arrow.end);
}

TEST(MoveAndAdjust, OffsetMovesEveryKindAlike) {
    const AnnotationList list{shapeAt(QRectF(0, 0, 10, 10)), strokeThrough({{0, 0}, {10, 10}}),
                              arrowBetween({0, 0}, {10, 0}, {5, 5}, 2, ArrowEndCap::line)};
    for (const Annotation& a : list) {
        const QRectF before = bounds(a);
        expectRectNear(bounds(offset(a, 7, -3)), before.translated(7, -3));
    }
    const auto arrow = std::get<ArrowAnnotation>(offset(list[2], 7, -3));
    EXPECT_EQ(arrow.controlPoint, QPointF(12, 2));
}

TEST(MoveAndAdjust, AnchorAdjustMovesOnlyTheNamedPoint) {
    const ArrowAnnotation a = arrowBetween({0, 0}, {100, 0}, {50, 0}, 2, ArrowEndCap::triangle);
    const ArrowAnnotation moved = adjusted(a, ArrowAnchor::control, 0, 40);
    EXPECT_EQ(moved.controlPoint, QPointF(50, 40));
    EXPECT_EQ(moved.start, a.start);
    EXPECT_EQ(moved.end, a.end);
    EXPECT_EQ(adjusted(a, ArrowAnchor::end, 3, 4).end, QPointF(103, 4));
    EXPECT_EQ(adjusted(a, ArrowAnchor::start, -1, 0).start, QPointF(-1, 0));
}

TEST(ShiftConstraints, SquareFollowsTheDragDirection) {
    expectRectNear(rectFromPoints({10, 10}, {40, 20}, false), QRectF(10, 10, 30, 10));
    expectRectNear(rectFromPoints({40, 20}, {10, 10}, false), QRectF(10, 10, 30, 10));
    expectRectNear(rectFromPoints({10, 10}, {40, 20}, true), QRectF(10, 10, 10, 10));
    expectRectNear(rectFromPoints({100, 100}, {40, 80}, true), QRectF(80, 80, 20, 20));
    expectRectNear(rectFromPoints({100, 100}, {130, 20}, true), QRectF(100, 70, 30, 30));
}

TEST(ShiftConstraints, SnapAngleKeepsDistanceAndRoundsTo45Degrees) {
    expectPointNear(snapAngle({0, 0}, {10, 1}), {std::hypot(10, 1), 0});
    const double d = std::hypot(10, 8);
    expectPointNear(snapAngle({0, 0}, {10, 8}), {d / std::sqrt(2), d / std::sqrt(2)});
    expectPointNear(snapAngle({5, 5}, {5, -15}), {5, -15});
    expectPointNear(snapAngle({0, 0}, {-10, 1}), {-std::hypot(10, 1), 0});
}

TEST(ShiftConstraints, DominantAxisDropsTheSmallerComponent) {
    EXPECT_EQ(dominantAxis({5, -3}), QPointF(5, 0));
    EXPECT_EQ(dominantAxis({2, -3}), QPointF(0, -3));
    EXPECT_EQ(dominantAxis({-4, 4}), QPointF(-4, 0));
}
