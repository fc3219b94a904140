#include "GeometryTestSupport.h"

using namespace vellumix;
using namespace vellumix::geometry;
using namespace vellumix::testing;

TEST(HitTesting, ToleranceIsEightUnitsOnEverySide) {
    const AnnotationList list{shapeAt(QRectF(100, 100, 50, 40))};
    EXPECT_EQ(hitIndices(list, {92, 120}), std::vector<int>{0});
    EXPECT_EQ(hitIndices(list, {158, 148}), std::vector<int>{0});
    EXPECT_TRUE(hitIndices(list, {91.99, 120}).empty());
    EXPECT_TRUE(hitIndices(list, {158.01, 120}).empty());
    EXPECT_TRUE(hitIndices(list, {120, 148.01}).empty());
}

TEST(HitTesting, TopmostComesFirstAndLockedItemsAreHitToo) {
    ShapeAnnotation locked = shapeAt(QRectF(0, 0, 100, 100));
    locked.isLocked = true;
    const AnnotationList list{locked, shapeAt(QRectF(200, 200, 10, 10)),
                              shapeAt(QRectF(50, 50, 100, 100))};
    EXPECT_EQ(hitIndices(list, {60, 60}), (std::vector<int>{2, 0}));
}

TEST(HitTesting, StraightStrokesAreHitThroughTheirZeroWidthBounds) {
    const AnnotationList list{strokeThrough({{10, 50}, {10, 150}})};
    EXPECT_EQ(hitIndices(list, {17, 100}), std::vector<int>{0});
    EXPECT_TRUE(hitIndices(list, {18.5, 100}).empty());
}

TEST(HitTesting, ZoomFactorConvertsMagnificationAndIsCapped) {
    EXPECT_DOUBLE_EQ(zoomFactor(std::nullopt), 1);
    EXPECT_DOUBLE_EQ(zoomFactor(2.0), 0.5);
    EXPECT_DOUBLE_EQ(zoomFactor(0.25), 4);
    EXPECT_DOUBLE_EQ(zoomFactor(0.1), 6);
    EXPECT_DOUBLE_EQ(zoomFactor(0.0), 6);
}

TEST(HitTesting, HandlesAreSquaresScaledByZoomTriedInOrder) {
    const Annotation shape = shapeAt(QRectF(0, 0, 100, 60));
    EXPECT_EQ(annotationHandleAt(shape, {104, 64}, 1), ResizeHandle::bottomRight);
    EXPECT_EQ(annotationHandleAt(shape, {106, 64}, 1), std::nullopt);
    EXPECT_EQ(annotationHandleAt(shape, {50, -3}, 1), ResizeHandle::topCenter);
    EXPECT_EQ(annotationHandleAt(shape, {-3, 30}, 1), ResizeHandle::centerLeft);
    EXPECT_EQ(annotationHandleAt(shape, {50, 30}, 1), std::nullopt);
    // At 10% magnification the handle is 60 units wide.
    EXPECT_EQ(annotationHandleAt(shape, {130, 90}, zoomFactor(0.1)), ResizeHandle::bottomRight);
    // On a tiny box several handles overlap; the first in order wins.
    const Annotation tiny = shapeAt(QRectF(0, 0, 2, 2));
    EXPECT_EQ(annotationHandleAt(tiny, {1, 1}, 1), ResizeHandle::topLeft);
}

TEST(HitTesting, ArrowsHaveAnchorsNotResizeHandles) {
    const ArrowAnnotation arrow =
        arrowBetween({0, 0}, {4, 0}, {100, 100}, 2, ArrowEndCap::triangle);
    EXPECT_EQ(annotationHandleAt(arrow, {0, 0}, 1), std::nullopt);
    // Both ends are within reach of (2, 0); start is tried first.
    EXPECT_EQ(arrowAnchorAt(arrow, {2, 0}, 1), ArrowAnchor::start);
    EXPECT_EQ(arrowAnchorAt(arrow, {8, 3}, 1), ArrowAnchor::end);
    EXPECT_EQ(arrowAnchorAt(arrow, {8, 3.01}, 1), std::nullopt);
    EXPECT_EQ(arrowAnchorAt(arrow, {103, 104}, 1), ArrowAnchor::control);
    EXPECT_EQ(arrowAnchorAt(arrow, {106, 106}, 1), std::nullopt);
    EXPECT_EQ(arrowAnchorAt(arrow, {106, 106}, 2), ArrowAnchor::control);
}

TEST(HitTesting, CropHandlesTakeFourExtraUnitsAroundTheirSquare) {
    const QRectF crop(100, 100, 200, 100);
    EXPECT_EQ(cropHandleAt(crop, {91, 91}, 1), CropHandle::topLeft);
    EXPECT_EQ(cropHandleAt(crop, {90.9, 100}, 1), std::nullopt);
    EXPECT_EQ(cropHandleAt(crop, {200, 208}, 1), CropHandle::bottomCenter);
    EXPECT_EQ(cropHandleAt(crop, {150, 150}, 1), CropHandle::interior);
    EXPECT_EQ(cropHandleAt(crop, {301, 150}, 1), CropHandle::centerRight);
    EXPECT_EQ(cropHandleAt(crop, {350, 150}, 1), std::nullopt);
    EXPECT_EQ(cropHandleAt(crop, {82, 150}, 2), CropHandle::centerLeft);
}

TEST(HitTesting, HandlePointsSitOnCornersAndEdgeMidpoints) {
    const QRectF r(10, 20, 100, 50);
    EXPECT_EQ(handlePoint(ResizeHandle::topRight, r), QPointF(110, 20));
    EXPECT_EQ(handlePoint(ResizeHandle::centerLeft, r), QPointF(10, 45));
    EXPECT_EQ(handlePoint(ResizeHandle::bottomCenter, r), QPointF(60, 70));
    EXPECT_EQ(handlePoint(CropHandle::interior, r), QPointF(60, 45));
}
