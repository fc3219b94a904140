#include "GeometryTestSupport.h"

using namespace vellumix;
using namespace vellumix::geometry;
using namespace vellumix::testing;

namespace {
const QRectF limit(0, 0, 400, 300);
}

TEST(CropDrag, HandleDragMovesItsEdgesWithinTheLimit) {
    expectRectNear(dragCropRect(QRectF(50, 50, 100, 100), CropHandle::bottomRight, 10, 20, limit),
                   QRectF(50, 50, 110, 120));
    // The left edge stops at the limit; the right edge does not move.
    expectRectNear(dragCropRect(QRectF(50, 50, 100, 100), CropHandle::centerLeft, -80, 0, limit),
                   QRectF(0, 50, 150, 100));
    expectRectNear(dragCropRect(QRectF(300, 200, 50, 50), CropHandle::bottomRight, 500, 500, limit),
                   QRectF(300, 200, 100, 100));
}

TEST(CropDrag, HandleDragKeepsTheMinimumSide) {
    expectRectNear(dragCropRect(QRectF(50, 50, 100, 100), CropHandle::topCenter, 0, 200, limit),
                   QRectF(50, 250, 100, 4));
}

TEST(CropDrag, InteriorDragKeepsTheSizeAndStaysInside) {
    expectRectNear(dragCropRect(QRectF(50, 50, 100, 100), CropHandle::interior, 10, -5, limit),
                   QRectF(60, 45, 100, 100));
    expectRectNear(dragCropRect(QRectF(50, 50, 100, 100), CropHandle::interior, 500, -500, limit),
                   QRectF(300, 0, 100, 100));
}

TEST(CropDrag, IncrementalStepsAddUp) {
    QRectF crop(100, 100, 100, 100);
    for (int i = 0; i < 10; ++i) {
        crop = dragCropRect(crop, CropHandle::topLeft, -2, -3, limit);
    }
    expectRectNear(crop, QRectF(80, 70, 120, 130));
}
