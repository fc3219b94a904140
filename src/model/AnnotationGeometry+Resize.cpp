#include "AnnotationGeometry.h"

#include <QTransform>

#include <algorithm>
#include <cmath>

namespace vellumix::geometry {

namespace {

bool isLeft(ResizeHandle h) {
    return h == ResizeHandle::topLeft || h == ResizeHandle::centerLeft ||
           h == ResizeHandle::bottomLeft;
}

bool isRight(ResizeHandle h) {
    return h == ResizeHandle::topRight || h == ResizeHandle::centerRight ||
           h == ResizeHandle::bottomRight;
}

bool isTop(ResizeHandle h) {
    return h == ResizeHandle::topLeft || h == ResizeHandle::topCenter ||
           h == ResizeHandle::topRight;
}

bool isBottom(ResizeHandle h) {
    return h == ResizeHandle::bottomLeft || h == ResizeHandle::bottomCenter ||
           h == ResizeHandle::bottomRight;
}

QRectF freeResize(ResizeHandle h, const QRectF& r, double dx, double dy) {
    double x = r.x();
    double y = r.y();
    double w = r.width();
    double height = r.height();
    // The origin follows the delta even while the size is held at the minimum.
    if (isLeft(h)) {
        x += dx;
        w = std::max(r.width() - dx, minimumSide);
    } else if (isRight(h)) {
        w = std::max(r.width() + dx, minimumSide);
    }
    if (isTop(h)) {
        y += dy;
        height = std::max(r.height() - dy, minimumSide);
    } else if (isBottom(h)) {
        height = std::max(r.height() + dy, minimumSide);
    }
    return {x, y, w, height};
}

QRectF aspectResize(ResizeHandle h, const QRectF& r, double dx, double dy) {
    const double gx = isLeft(h) ? -dx : isRight(h) ? dx : 0;
    const double gy = isTop(h) ? -dy : isBottom(h) ? dy : 0;
    const double fx = (r.width() + gx) / std::max(r.width(), 1.0);
    const double fy = (r.height() + gy) / std::max(r.height(), 1.0);
    const double f = std::abs(fy - 1) <= std::abs(fx - 1) ? fx : fy;
    const double w = std::max(r.width() * f, minimumSide);
    const double height = std::max(r.height() * f, minimumSide);

    double x = r.left();
    if (isLeft(h)) {
        x = r.right() - w;
    } else if (!isRight(h)) {
        x = r.center().x() - w / 2;
    }
    double y = r.top();
    if (isTop(h)) {
        y = r.bottom() - height;
    } else if (!isBottom(h)) {
        y = r.center().y() - height / 2;
    }
    return {x, y, w, height};
}

QPainterPath scaledPath(const QPainterPath& path, const QRectF& from, const QRectF& to) {
    const QTransform t =
        QTransform::fromTranslate(-from.left(), -from.top()) *
        QTransform::fromScale(to.width() / from.width(), to.height() / from.height()) *
        QTransform::fromTranslate(to.left(), to.top());
    return t.map(path);
}

} // namespace

QRectF resizeRect(ResizeHandle handle, bool keepAspect, const QRectF& rect, double dx, double dy) {
    return keepAspect ? aspectResize(handle, rect, dx, dy) : freeResize(handle, rect, dx, dy);
}

Annotation resized(const Annotation& annotation, ResizeHandle handle, bool keepAspect, double dx,
                   double dy) {
    if (kindOf(annotation) == AnnotationKind::arrow) {
        return annotation;
    }
    const QRectF old = bounds(annotation);
    const QRectF next = resizeRect(handle, keepAspect, old, dx, dy);
    Annotation result = annotation;
    std::visit(
        [&](auto& a) {
            using T = std::decay_t<decltype(a)>;
            if constexpr (std::is_same_v<T, StrokeAnnotation>) {
                if (old.width() > 0 && old.height() > 0 && next.width() > 0 && next.height() > 0) {
                    a.path = scaledPath(a.path, old, next);
                }
            } else if constexpr (!std::is_same_v<T, ArrowAnnotation>) {
                a.rect = next;
            }
        },
        result);
    return result;
}

Annotation offset(const Annotation& annotation, double dx, double dy) {
    Annotation result = annotation;
    const QPointF delta(dx, dy);
    std::visit(
        [&](auto& a) {
            using T = std::decay_t<decltype(a)>;
            if constexpr (std::is_same_v<T, StrokeAnnotation>) {
                a.path = a.path.translated(delta);
            } else if constexpr (std::is_same_v<T, ArrowAnnotation>) {
                a.start += delta;
                a.end += delta;
                a.controlPoint += delta;
            } else {
                a.rect.translate(delta);
            }
        },
        result);
    return result;
}

ArrowAnnotation adjusted(const ArrowAnnotation& arrow, ArrowAnchor anchor, double dx, double dy) {
    ArrowAnnotation result = arrow;
    const QPointF delta(dx, dy);
    switch (anchor) {
    case ArrowAnchor::start:
        result.start += delta;
        break;
    case ArrowAnchor::end:
        result.end += delta;
        break;
    case ArrowAnchor::control:
        result.controlPoint += delta;
        break;
    }
    return result;
}

} // namespace vellumix::geometry
