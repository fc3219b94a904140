#include "AnnotationGeometry.h"

#include <algorithm>
#include <cmath>

namespace vellumix::geometry {

namespace {

QRectF squareAround(QPointF centre, double side) {
    return {centre.x() - side / 2, centre.y() - side / 2, side, side};
}

bool within(QPointF a, QPointF b, double radius) {
    return std::hypot(a.x() - b.x(), a.y() - b.y()) <= radius;
}

} // namespace

double zoomFactor(std::optional<double> magnification) {
    if (!magnification) {
        return 1;
    }
    if (*magnification <= 0 || !std::isfinite(*magnification)) {
        return maximumZoomFactor;
    }
    return std::min(1 / *magnification, maximumZoomFactor);
}

std::vector<int> hitIndices(const AnnotationList& annotations, QPointF point) {
    std::vector<int> hits;
    for (int i = static_cast<int>(annotations.size()) - 1; i >= 0; --i) {
        const QRectF grown =
            bounds(annotations[static_cast<size_t>(i)])
                .normalized()
                .adjusted(-hitTolerance, -hitTolerance, hitTolerance, hitTolerance);
        if (containsClosed(grown, point)) {
            hits.push_back(i);
        }
    }
    return hits;
}

QPointF handlePoint(ResizeHandle handle, const QRectF& rect) {
    const QRectF r = rect.normalized();
    const QPointF c = r.center();
    switch (handle) {
    case ResizeHandle::topLeft:
        return r.topLeft();
    case ResizeHandle::topCenter:
        return {c.x(), r.top()};
    case ResizeHandle::topRight:
        return {r.right(), r.top()};
    case ResizeHandle::centerLeft:
        return {r.left(), c.y()};
    case ResizeHandle::centerRight:
        return {r.right(), c.y()};
    case ResizeHandle::bottomLeft:
        return {r.left(), r.bottom()};
    case ResizeHandle::bottomCenter:
        return {c.x(), r.bottom()};
    case ResizeHandle::bottomRight:
        return r.bottomRight();
    }
    return c;
}

QPointF handlePoint(CropHandle handle, const QRectF& rect) {
    if (const auto resize = toResizeHandle(handle)) {
        return handlePoint(*resize, rect);
    }
    return rect.normalized().center();
}

std::optional<ResizeHandle> annotationHandleAt(const Annotation& annotation, QPointF point,
                                               double zoom) {
    if (kindOf(annotation) == AnnotationKind::arrow) {
        return std::nullopt;
    }
    const QRectF box = bounds(annotation);
    const double side = handleSize * zoom;
    for (ResizeHandle handle : allCases<ResizeHandle>()) {
        if (containsClosed(squareAround(handlePoint(handle, box), side), point)) {
            return handle;
        }
    }
    return std::nullopt;
}

std::optional<ArrowAnchor> arrowAnchorAt(const ArrowAnnotation& arrow, QPointF point, double zoom) {
    const double radius = handleSize * zoom / 2;
    if (within(point, arrow.start, radius)) {
        return ArrowAnchor::start;
    }
    if (within(point, arrow.end, radius)) {
        return ArrowAnchor::end;
    }
    if (within(point, arrow.controlPoint, radius)) {
        return ArrowAnchor::control;
    }
    return std::nullopt;
}

std::optional<CropHandle> cropHandleAt(const QRectF& cropRect, QPointF point, double zoom) {
    // The crop handles take a little more than their drawn size.
    const double side = handleSize * zoom + 2 * 4 * zoom;
    for (ResizeHandle handle : allCases<ResizeHandle>()) {
        if (containsClosed(squareAround(handlePoint(handle, cropRect), side), point)) {
            return toCropHandle(handle);
        }
    }
    if (containsClosed(cropRect, point)) {
        return CropHandle::interior;
    }
    return std::nullopt;
}

} // namespace vellumix::geometry
