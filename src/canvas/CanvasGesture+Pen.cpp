#include "CanvasGesture.h"
#include "model/AnnotationGeometry.h"

namespace vellumix {

void PenGesture::mouseDown(QPointF point, Qt::KeyboardModifiers, int) {
    m_drag = StrokeDrag{QPainterPath(point), point, std::nullopt};
}

void PenGesture::mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) {
    if (!m_drag) {
        return;
    }
    StrokeDrag& s = *m_drag;
    if (modifiers.testFlag(Qt::ShiftModifier)) {
        if (!s.straight) {
            s.straight = StrokeDrag::Straight{s.lastPoint, std::nullopt};
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
    std::optional<StrokeDrag> stroke = std::exchange(m_drag, std::nullopt);
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
    if (m_drag) {
        s.activePath = m_drag->path;
        if (m_drag->straight) {
            s.shiftAnchorPoint = m_drag->straight->anchor;
            s.shiftPreviewPoint = m_drag->straight->preview;
        }
    }
}

} // namespace vellumix
