#include "AnnotationGeometry.h"

#include <QLineF>

#include <algorithm>
#include <cmath>

namespace vellumix::geometry {

namespace {

// Unit vector from `from` towards `to`, or `fallback` when the points coincide.
QPointF unitTowards(QPointF from, QPointF to, QPointF fallback) {
    const QPointF d = to - from;
    const double length = std::hypot(d.x(), d.y());
    return length == 0 ? fallback : d / length;
}

QPainterPath triangleHead(QPointF tip, QPointF u, double length) {
    const double half = 0.45 * length;
    QPainterPath head;
    head.moveTo(tip);
    head.lineTo(tip.x() - u.x() * length - u.y() * half, tip.y() - u.y() * length + u.x() * half);
    head.lineTo(tip.x() - u.x() * length + u.y() * half, tip.y() - u.y() * length - u.x() * half);
    head.closeSubpath();
    return head;
}

QPainterPath dot(QPointF centre, double radius) {
    QPainterPath path;
    path.addEllipse(QRectF(centre.x() - radius, centre.y() - radius, 2 * radius, 2 * radius));
    return path;
}

struct ArrowFrame {
    QPointF endDirection;
    QPointF startDirection;
    double headLength;
};

ArrowFrame frameOf(const ArrowAnnotation& arrow) {
    return {unitTowards(arrow.controlPoint, arrow.end, {1, 0}),
            unitTowards(arrow.controlPoint, arrow.start, {-1, 0}), arrowHeadLength(arrow.lineWidth)};
}

} // namespace

double arrowHeadLength(double lineWidth) {
    return std::max(5 * lineWidth, 14.0);
}

double arrowDotRadius(double lineWidth) {
    return std::max(1.6 * lineWidth, 5.0);
}

QPainterPath arrowShaftPath(const ArrowAnnotation& arrow) {
    const ArrowFrame f = frameOf(arrow);
    QPointF s = arrow.start;
    QPointF e = arrow.end;
    if (arrow.endCap == ArrowEndCap::triangle || arrow.endCap == ArrowEndCap::triangleBoth) {
        e = arrow.end - f.headLength * f.endDirection;
    }
    if (arrow.endCap == ArrowEndCap::triangleBoth) {
        s = arrow.start - f.headLength * f.startDirection;
    }
    // The exact cubic form of the quadratic through the control point.
    const QPointF c = arrow.controlPoint;
    QPainterPath path;
    path.moveTo(s);
    path.cubicTo(s + (c - s) * 2.0 / 3.0, e + (c - e) * 2.0 / 3.0, e);
    return path;
}

std::vector<QPainterPath> arrowCapPaths(const ArrowAnnotation& arrow) {
    const ArrowFrame f = frameOf(arrow);
    const double radius = arrowDotRadius(arrow.lineWidth);
    switch (arrow.endCap) {
    case ArrowEndCap::triangle:
        return {triangleHead(arrow.end, f.endDirection, f.headLength)};
    case ArrowEndCap::triangleBoth:
        return {triangleHead(arrow.end, f.endDirection, f.headLength),
                triangleHead(arrow.start, f.startDirection, f.headLength)};
    case ArrowEndCap::dot:
        return {dot(arrow.end, radius)};
    case ArrowEndCap::dotBoth:
        return {dot(arrow.end, radius), dot(arrow.start, radius)};
    case ArrowEndCap::line:
        break;
    }
    return {};
}

QRectF bounds(const ArrowAnnotation& arrow) {
    QRectF box = arrowShaftPath(arrow).controlPointRect();
    for (const QPainterPath& cap : arrowCapPaths(arrow)) {
        box = unite(box, cap.controlPointRect());
    }
    return box;
}

} // namespace vellumix::geometry
