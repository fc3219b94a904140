#include "CanvasGesture.h"
#include "model/AnnotationGeometry.h"

namespace vellumix {

void PenGesture::mouseDown(QPointF point, Qt::KeyboardModifiers, int) {
    m_stroke = Stroke{QPainterPath(point), point, std::nullopt};
}

void PenGesture::mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) {
    if (!m_stroke) {
        return;
    }
    Stroke& s = *m_stroke;
    if (modifiers.testFlag(Qt::ShiftModifier)) {
        if (!s.straight) {
            s.straight = StraightSegment{s.lastPoint, std::nullopt};
        }
        s.straight->preview = point;
    } else {
        if (s.straight) {
            // Shift let go: the straight piece is drawn where it was last shown.
            const QPointF end =
                geometry::snapAngle(s.straight->anchor, s.straight->preview.value_or(point));
            s.path.lineTo(end);
            s.lastPoint = end;
            s.straight.reset();
        }
        s.path.lineTo(point);
        s.lastPoint = point;
    }
    showProgress(s.path.controlPointRect());
}

void PenGesture::mouseUp(QPointF point, Qt::KeyboardModifiers) {
    std::optional<Stroke> stroke = std::exchange(m_stroke, std::nullopt);
    if (stroke && stroke->straight) {
        stroke->path.lineTo(geometry::snapAngle(stroke->straight->anchor,
                                                stroke->straight->preview.value_or(point)));
    }
    if (!stroke || stroke->path.elementCount() <= 1) {
        showProgress(std::nullopt);
        return;
    }
    finishCreation(makeStroke(stroke->path, m_doc.style()), QStringLiteral("Draw Stroke"));
}

void PenGesture::describe(CanvasSnapshot& s) const {
    if (m_stroke) {
        s.activePath = m_stroke->path;
        if (m_stroke->straight) {
            s.shiftAnchorPoint = m_stroke->straight->anchor;
            s.shiftPreviewPoint = m_stroke->straight->preview;
        }
    }
}

} // namespace vellumix
