#include "AnnotationGeometry.h"

#include <algorithm>

namespace vellumix::geometry {

QRectF dragCropRect(const QRectF& cropRect, CropHandle handle, double dx, double dy,
                    const QRectF& limit) {
    const QRectF bound = limit.normalized();
    if (handle == CropHandle::interior) {
        QRectF moved = cropRect.translated(dx, dy);
        // Keep the size; when the rectangle is larger than the limit its top-left stays inside.
        const double x =
            std::max(bound.left(), std::min(moved.left(), bound.right() - moved.width()));
        const double y =
            std::max(bound.top(), std::min(moved.top(), bound.bottom() - moved.height()));
        moved.moveTo(x, y);
        return moved;
    }
    const QRectF r = resizeRect(*toResizeHandle(handle), false, cropRect, dx, dy);
    const double left = std::max(bound.left(), r.left());
    const double top = std::max(bound.top(), r.top());
    const double right = std::min(bound.right(), r.right());
    const double bottom = std::min(bound.bottom(), r.bottom());
    return {left, top, std::max(right - left, minimumSide), std::max(bottom - top, minimumSide)};
}

} // namespace vellumix::geometry
