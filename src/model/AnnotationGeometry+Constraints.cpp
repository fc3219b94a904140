#include "AnnotationGeometry.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vellumix::geometry {

QRectF rectFromPoints(QPointF start, QPointF end, bool square) {
    QPointF far = end;
    if (square) {
        const double side = std::min(std::abs(end.x() - start.x()), std::abs(end.y() - start.y()));
        far = {start.x() + (end.x() < start.x() ? -side : side),
               start.y() + (end.y() < start.y() ? -side : side)};
    }
    return QRectF(start, far).normalized();
}

QPointF snapAngle(QPointF anchor, QPointF point) {
    const QPointF d = point - anchor;
    const double distance = std::hypot(d.x(), d.y());
    constexpr double step = std::numbers::pi / 4;
    const double angle = std::round(std::atan2(d.y(), d.x()) / step) * step;
    return anchor + QPointF(distance * std::cos(angle), distance * std::sin(angle));
}

QPointF dominantAxis(QPointF delta) {
    if (std::abs(delta.x()) >= std::abs(delta.y())) {
        return {delta.x(), 0};
    }
    return {0, delta.y()};
}

} // namespace vellumix::geometry
