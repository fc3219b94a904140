#include "AnnotationGeometry.h"

#include <algorithm>
#include <cmath>

namespace vellumix::geometry {

QRectF unite(const QRectF& a, const QRectF& b) {
    const QRectF na = a.normalized();
    const QRectF nb = b.normalized();
    const double left = std::min(na.left(), nb.left());
    const double top = std::min(na.top(), nb.top());
    const double right = std::max(na.right(), nb.right());
    const double bottom = std::max(na.bottom(), nb.bottom());
    return {left, top, right - left, bottom - top};
}

bool containsClosed(const QRectF& rect, QPointF point) {
    const QRectF r = rect.normalized();
    return point.x() >= r.left() && point.x() <= r.right() && point.y() >= r.top() &&
           point.y() <= r.bottom();
}

bool intersectsClosed(const QRectF& a, const QRectF& b) {
    const QRectF x = a.normalized();
    const QRectF y = b.normalized();
    return x.left() <= y.right() && y.left() <= x.right() && x.top() <= y.bottom() &&
           y.top() <= x.bottom();
}

QRectF bounds(const Annotation& annotation) {
    switch (kindOf(annotation)) {
    case AnnotationKind::shape:
        return std::get<ShapeAnnotation>(annotation).rect;
    case AnnotationKind::stroke:
        return std::get<StrokeAnnotation>(annotation).path.controlPointRect();
    case AnnotationKind::arrow:
        return bounds(std::get<ArrowAnnotation>(annotation));
    case AnnotationKind::text:
        return std::get<TextAnnotation>(annotation).rect;
    case AnnotationKind::overlay:
        return std::get<OverlayAnnotation>(annotation).rect;
    }
    return {};
}

QSizeF canvasSize(QSizeF imageSize, const AnnotationList& annotations) {
    QRectF area = canvasAround(imageSize);
    for (const Annotation& annotation : annotations) {
        const QRectF b = bounds(annotation).normalized();
        area = unite(area, b.adjusted(-canvasInset, -canvasInset, canvasInset, canvasInset));
    }
    // Only the far edges count: annotations dragged to negative coordinates do not grow the
    // canvas to the left or upward.
    return {std::ceil(std::max(0.0, area.right())), std::ceil(std::max(0.0, area.bottom()))};
}

bool canvasSizeChanged(QSizeF current, QSizeF proposed) {
    return std::abs(current.width() - proposed.width()) > 0.5 ||
           std::abs(current.height() - proposed.height()) > 0.5;
}

} // namespace vellumix::geometry
