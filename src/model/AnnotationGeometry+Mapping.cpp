#include "AnnotationGeometry.h"

#include <QTransform>

namespace vellumix::geometry {

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
        std::visit(
            [&](auto& a) {
                using T = std::decay_t<decltype(a)>;
                if constexpr (std::is_same_v<T, StrokeAnnotation>) {
                    // Moving the points of a copy keeps the path's storage in one piece,
                    // several times faster than building a mapped path.
                    for (int i = 0; i < a.path.elementCount(); ++i) {
                        const QPainterPath::Element e = a.path.elementAt(i);
                        const QPointF p = t.map(QPointF(e.x, e.y));
                        a.path.setElementPositionAt(i, p.x(), p.y());
                    }
                } else if constexpr (std::is_same_v<T, ArrowAnnotation>) {
                    a.start = t.map(a.start);
                    a.end = t.map(a.end);
                    a.controlPoint = t.map(a.controlPoint);
                } else {
                    a.rect = mapRect(a.rect);
                }
            },
            copy);
        mapped.push_back(std::move(copy));
    }
    return mapped;
}

} // namespace vellumix::geometry
