#include "AnnotationCanvasView.h"

#include <QKeyEvent>
#include <QMouseEvent>

namespace vellumix {

void AnnotationCanvasView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        if (event->button() == Qt::RightButton) {
            m_document.mouseExited(); // hides the coordinate label
        }
        QWidget::mousePressEvent(event);
        return;
    }
    if (onMousePress) {
        onMousePress();
    }
    setFocus(Qt::MouseFocusReason);
    m_mouseDown = true;
    m_document.mouseDown(toCanvas(event->position()), event->modifiers(), 1);
    updateCursor();
}

void AnnotationCanvasView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        return;
    }
    m_mouseDown = true;
    m_document.mouseDown(toCanvas(event->position()), event->modifiers(), 2);
    updateCursor();
}

void AnnotationCanvasView::mouseMoveEvent(QMouseEvent* event) {
    const QPointF point = toCanvas(event->position());
    if (m_mouseDown && event->buttons().testFlag(Qt::LeftButton)) {
        m_document.mouseDragged(point, event->modifiers());
    } else {
        m_document.mouseMoved(point);
    }
}

void AnnotationCanvasView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !m_mouseDown) {
        return;
    }
    m_mouseDown = false;
    m_document.mouseUp(toCanvas(event->position()), event->modifiers());
    if (!m_document.isEditingText()) {
        setFocus(Qt::OtherFocusReason);
    }
    updateCursor();
}

void AnnotationCanvasView::leaveEvent(QEvent* event) {
    m_document.mouseExited();
    QWidget::leaveEvent(event);
}

void AnnotationCanvasView::keyPressEvent(QKeyEvent* event) {
    if (!m_document.keyPress(event->key(), event->modifiers(), event->text())) {
        QWidget::keyPressEvent(event);
    }
}

void AnnotationCanvasView::updateCursor() {
    // A step lands where the click is: the crosshair shows that point.
    if (m_document.wantsCrosshair() || m_document.activeTool() == Tool::step) {
        setCursor(Qt::CrossCursor);
    } else if (m_document.activeTool() == Tool::text) {
        setCursor(Qt::IBeamCursor);
    } else {
        setCursor(Qt::ArrowCursor);
    }
}

} // namespace vellumix
