#include "CanvasGesture.h"
#include "model/AnnotationGeometry.h"

#include <cmath>

namespace vellumix {

namespace {

constexpr double minimumShapeSide = 4;
constexpr double minimumArrowLength = 10;

bool shiftHeld(Qt::KeyboardModifiers m) {
    return m.testFlag(Qt::ShiftModifier);
}

} // namespace

void ShapeGesture::mouseDown(QPointF point, Qt::KeyboardModifiers, int) {
    m_drag = BoxDrag{point, std::nullopt};
}

void ShapeGesture::mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) {
    if (!m_drag) {
        return;
    }
    m_drag->rect = geometry::rectFromPoints(m_drag->start, point, shiftHeld(modifiers));
    showProgress(m_drag->rect);
}

void ShapeGesture::mouseUp(QPointF, Qt::KeyboardModifiers) {
    const std::optional<QRectF> rect = m_drag ? m_drag->rect : std::nullopt;
    m_drag.reset();
    if (!rect || rect->width() <= minimumShapeSide || rect->height() <= minimumShapeSide) {
        showProgress(std::nullopt);
        return;
    }
    // One gesture serves both tools; the one active at release decides.
    const bool oval = m_doc.activeTool() == Tool::oval;
    finishCreation(makeShape(oval ? ShapeAnnotation::Shape::oval : ShapeAnnotation::Shape::rect,
                             *rect, m_doc.style()),
                   oval ? QStringLiteral("Draw Oval") : QStringLiteral("Draw Rectangle"));
}

void ShapeGesture::describe(CanvasSnapshot& s) const {
    if (m_drag) {
        s.dragStart = m_drag->start;
        s.dragRect = m_drag->rect;
    }
}

void ArrowGesture::mouseDown(QPointF point, Qt::KeyboardModifiers, int) {
    m_drag = ArrowDrag{point, std::nullopt};
}

void ArrowGesture::mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) {
    if (!m_drag) {
        return;
    }
    const QPointF end = shiftHeld(modifiers) ? geometry::snapAngle(m_drag->start, point) : point;
    m_drag->previewEnd = end;
    showProgress(QRectF(m_drag->start, end).normalized());
}

void ArrowGesture::mouseUp(QPointF point, Qt::KeyboardModifiers modifiers) {
    const std::optional<ArrowDrag> drag = std::exchange(m_drag, std::nullopt);
    if (!drag) {
        showProgress(std::nullopt);
        return;
    }
    const QPointF start = drag->start;
    const QPointF end = shiftHeld(modifiers) ? geometry::snapAngle(start, point) : point;
    const QPointF d = end - start;
    if (std::hypot(d.x(), d.y()) <= minimumArrowLength) {
        showProgress(std::nullopt);
        return;
    }
    finishCreation(
        makeArrow(start, end, (start + end) / 2, m_doc.style(), m_doc.currentArrowEndCap),
        QStringLiteral("Draw Arrow"));
}

void ArrowGesture::describe(CanvasSnapshot& s) const {
    if (m_drag) {
        s.dragStart = m_drag->start;
        s.arrowPreviewEnd = m_drag->previewEnd;
    }
}

} // namespace vellumix
