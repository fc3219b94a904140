#include "AnnotationGeometry.h"

#include <QTransform>

namespace vellumix::geometry {

bool transformPoints(Annotation& annotation, const QTransform& t) {
    if (auto* stroke = std::get_if<StrokeAnnotation>(&annotation)) {
        // Moving the points of a copy keeps the path's storage in one piece, several times
        // faster than building a mapped path.
        QPainterPath& path = stroke->path;
        for (int i = 0; i < path.elementCount(); ++i) {
            const QPainterPath::Element e = path.elementAt(i);
            const QPointF p = t.map(QPointF(e.x, e.y));
            path.setElementPositionAt(i, p.x(), p.y());
        }
        return true;
    }
    if (auto* arrow = std::get_if<ArrowAnnotation>(&annotation)) {
        arrow->start = t.map(arrow->start);
        arrow->end = t.map(arrow->end);
        arrow->controlPoint = t.map(arrow->controlPoint);
        return true;
    }
    return false;
}

AnnotationList mapAnnotations(const AnnotationList& annotations, const QRectF& from,
                              const QRectF& to) {
    // A degenerate source side would divide by zero; that axis keeps its scale.
    const double fx = from.width() != 0 ? to.width() / from.width() : 1;
    const double fy = from.height() != 0 ? to.height() / from.height() : 1;
    const QTransform t = QTransform::fromTranslate(-from.left(), -from.top()) *
                         QTransform::fromScale(fx, fy) *
                         QTransform::fromTranslate(to.left(), to.top());
    const auto mapRect = [&](const QRectF& r) {
        return QRectF(t.map(r.topLeft()), QSizeF(r.width() * fx, r.height() * fy));
    };

    AnnotationList mapped;
    mapped.reserve(annotations.size());
    for (const Annotation& annotation : annotations) {
        Annotation copy = annotation;
        if (!transformPoints(copy, t)) {
            std::visit(
                [&](auto& a) {
                    if constexpr (requires { a.rect; }) {
                        a.rect = mapRect(a.rect);
                    }
                },
                copy);
        }
        mapped.push_back(std::move(copy));
    }
    return mapped;
}

} // namespace vellumix::geometry
