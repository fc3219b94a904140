#include "CenteringClipView.h"

#include "canvas/AnnotationCanvasView.h"

#include <QNativeGestureEvent>
#include <QScrollBar>
#include <QWheelEvent>

namespace vellumix {

namespace {

// One notch of a wheel, in eighths of a degree.
constexpr int notch = 120;

} // namespace

CenteringClipView::CenteringClipView(AnnotationCanvasView* canvas, QWidget* parent)
    : QScrollArea(parent), m_canvas(canvas) {
    setAlignment(Qt::AlignCenter);
    setWidgetResizable(false);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    viewport()->setAutoFillBackground(false);
    canvas->setInScrollView(true);
    setWidget(canvas);
}

double CenteringClipView::magnification() const {
    return m_canvas->magnification();
}

QRectF CenteringClipView::visibleCanvasRect() const {
    const QRect inCanvas = QRect(m_canvas->mapFrom(viewport(), QPoint(0, 0)), viewport()->size())
                               .intersected(m_canvas->rect());
    const double m = m_canvas->magnification();
    return {QPointF(inCanvas.topLeft()) / m, QSizeF(inCanvas.size()) / m};
}

void CenteringClipView::setMagnification(double magnification, std::optional<QPointF> anchor) {
    const QPointF at =
        anchor.value_or(QPointF(viewport()->width() / 2.0, viewport()->height() / 2.0));
    // The document point under the anchor before the change...
    const QPointF canvasPoint =
        QPointF(m_canvas->mapFrom(viewport(), at.toPoint())) / m_canvas->magnification();
    m_canvas->setMagnification(magnification);
    m_canvas->resize(m_canvas->sizeHint());
    // ...stays under it after: the scroll bars move by what the point moved.
    const QPointF moved = canvasPoint * m_canvas->magnification();
    horizontalScrollBar()->setValue(qRound(moved.x() - at.x()));
    verticalScrollBar()->setValue(qRound(moved.y() - at.y()));
}

void CenteringClipView::wheelEvent(QWheelEvent* event) {
    if (!event->modifiers().testFlag(Qt::ControlModifier)) {
        QScrollArea::wheelEvent(event);
        return;
    }
    // High-resolution wheels and touchpads send fractions of a notch; they add up to steps.
    m_wheelRemainder += event->angleDelta().y();
    const int steps = m_wheelRemainder / notch;
    m_wheelRemainder -= steps * notch;
    if (steps != 0 && onZoomSteps) {
        onZoomSteps(steps, event->position()); // the viewport's coordinates
    }
    event->accept();
}

bool CenteringClipView::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::NativeGesture) {
        auto* gesture = static_cast<QNativeGestureEvent*>(event);
        if (gesture->gestureType() == Qt::ZoomNativeGesture) {
            if (onMagnify) {
                onMagnify(1 + gesture->value(), gesture->position());
            }
            return true;
        }
        if (gesture->gestureType() == Qt::EndNativeGesture) {
            if (onMagnifyEnded) {
                onMagnifyEnded();
            }
            return true;
        }
    }
    return QScrollArea::viewportEvent(event);
}

} // namespace vellumix
