#include "AnnotationGeometry.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vellumix::geometry {

namespace {

// Unit vector from `from` towards `to`, or `fallback` when the points coincide.
QPointF unitTowards(QPointF from, QPointF to, QPointF fallback) {
    const QPointF d = to - from;
    const double length = std::hypot(d.x(), d.y());
    return length == 0 ? fallback : d / length;
}

using Triangle = std::array<QPointF, 3>;

Triangle triangleHead(QPointF tip, QPointF u, double length) {
    const double half = 0.45 * length;
    return {
        tip,
        QPointF(tip.x() - u.x() * length - u.y() * half, tip.y() - u.y() * length + u.x() * half),
        QPointF(tip.x() - u.x() * length + u.y() * half, tip.y() - u.y() * length - u.x() * half)};
}

// Every point the arrow's paths are made of, computed once and shared by the paths and the
// bounds (hit-testing needs the bounds without building path objects).
struct ArrowPoints {
    std::array<QPointF, 4> shaft; // start, two cubic control points, end
    std::array<Triangle, 2> heads;
    int headCount = 0;
    std::array<QPointF, 2> dots;
    int dotCount = 0;
    double dotRadius = 0;
};

ArrowPoints arrowPoints(const ArrowAnnotation& arrow) {
    ArrowPoints p;
    const QPointF uEnd = unitTowards(arrow.controlPoint, arrow.end, {1, 0});
    const QPointF uStart = unitTowards(arrow.controlPoint, arrow.start, {-1, 0});
    const double length = arrowHeadLength(arrow.lineWidth);
    const bool headAtEnd =
        arrow.endCap == ArrowEndCap::triangle || arrow.endCap == ArrowEndCap::triangleBoth;
    const bool headAtStart = arrow.endCap == ArrowEndCap::triangleBoth;

    // The shaft stops at the base of each head.
    const QPointF s = headAtStart ? arrow.start - length * uStart : arrow.start;
    const QPointF e = headAtEnd ? arrow.end - length * uEnd : arrow.end;
    // The exact cubic form of the quadratic through the control point.
    const QPointF c = arrow.controlPoint;
    p.shaft = {s, s + (c - s) * 2.0 / 3.0, e + (c - e) * 2.0 / 3.0, e};

    if (headAtEnd) {
        p.heads[p.headCount++] = triangleHead(arrow.end, uEnd, length);
    }
    if (headAtStart) {
        p.heads[p.headCount++] = triangleHead(arrow.start, uStart, length);
    }
    if (arrow.endCap == ArrowEndCap::dot || arrow.endCap == ArrowEndCap::dotBoth) {
        p.dots[p.dotCount++] = arrow.end;
    }
    if (arrow.endCap == ArrowEndCap::dotBoth) {
        p.dots[p.dotCount++] = arrow.start;
    }
    p.dotRadius = arrowDotRadius(arrow.lineWidth);
    return p;
}

} // namespace

double arrowHeadLength(double lineWidth) {
    return std::max(5 * lineWidth, 14.0);
}

double arrowDotRadius(double lineWidth) {
    return std::max(1.6 * lineWidth, 5.0);
}

QPainterPath arrowShaftPath(const ArrowAnnotation& arrow) {
    const auto& shaft = arrowPoints(arrow).shaft;
    QPainterPath path;
    path.moveTo(shaft[0]);
    path.cubicTo(shaft[1], shaft[2], shaft[3]);
    return path;
}

std::vector<QPainterPath> arrowCapPaths(const ArrowAnnotation& arrow) {
    const ArrowPoints p = arrowPoints(arrow);
    std::vector<QPainterPath> caps;
    for (int i = 0; i < p.headCount; ++i) {
        QPainterPath head;
        head.moveTo(p.heads[i][0]);
        head.lineTo(p.heads[i][1]);
        head.lineTo(p.heads[i][2]);
        head.closeSubpath();
        caps.push_back(head);
    }
    for (int i = 0; i < p.dotCount; ++i) {
        const double r = p.dotRadius;
        QPainterPath dot;
        dot.addEllipse(QRectF(p.dots[i].x() - r, p.dots[i].y() - r, 2 * r, 2 * r));
        caps.push_back(dot);
    }
    return caps;
}

QRectF bounds(const ArrowAnnotation& arrow) {
    const ArrowPoints p = arrowPoints(arrow);
    double left = p.shaft[0].x();
    double right = left;
    double top = p.shaft[0].y();
    double bottom = top;
    const auto include = [&](QPointF q) {
        left = std::min(left, q.x());
        right = std::max(right, q.x());
        top = std::min(top, q.y());
        bottom = std::max(bottom, q.y());
    };
    for (QPointF q : p.shaft) {
        include(q);
    }
    for (int i = 0; i < p.headCount; ++i) {
        for (QPointF q : p.heads[i]) {
            include(q);
        }
    }
    // A circle's control points span exactly its bounding square.
    for (int i = 0; i < p.dotCount; ++i) {
        include(p.dots[i] - QPointF(p.dotRadius, p.dotRadius));
        include(p.dots[i] + QPointF(p.dotRadius, p.dotRadius));
    }
    return {left, top, right - left, bottom - top};
}

} // namespace vellumix::geometry
