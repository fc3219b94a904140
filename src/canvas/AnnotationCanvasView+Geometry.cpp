#include "AnnotationCanvasView.h"
#include "model/AnnotationGeometry.h"

#include <cmath>

namespace vellumix {

QPointF AnnotationCanvasView::toCanvas(QPointF widgetPoint) const {
    return widgetPoint / m_magnification;
}

QRectF AnnotationCanvasView::toWidget(const QRectF& canvasRect) const {
    return {canvasRect.topLeft() * m_magnification, canvasRect.size() * m_magnification};
}

QSize AnnotationCanvasView::sizeHint() const {
    const QSizeF size = m_document.canvasSize() * m_magnification;
    return {static_cast<int>(std::ceil(size.width())), static_cast<int>(std::ceil(size.height()))};
}

void AnnotationCanvasView::setMagnification(double magnification) {
    if (!(magnification > 0) || magnification == m_magnification) {
        return;
    }
    m_magnification = magnification;
    updateZoom();
    canvasSizeDidChange(m_document.canvasSize());
}

void AnnotationCanvasView::updateZoom() {
    m_document.zoom =
        geometry::zoomFactor(m_inScrollView ? std::optional(m_magnification) : std::nullopt);
}

void AnnotationCanvasView::canvasSizeDidChange(QSizeF) {
    const QSize size = sizeHint();
    setMinimumSize(size);
    resize(size.expandedTo(this->size()));
    updateGeometry();
    update();
}

void AnnotationCanvasView::scheduleRepaint(std::optional<QRectF> canvasArea) {
    // Tool changes arrive as repaints too; the cursor follows the tool.
    updateCursor();
    if (canvasArea) {
        update(toWidget(*canvasArea).toAlignedRect().adjusted(-2, -2, 2, 2));
    } else {
        update();
    }
}

} // namespace vellumix
