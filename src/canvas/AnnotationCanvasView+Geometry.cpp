#include "AnnotationCanvasView.h"
#include "model/AnnotationGeometry.h"

#include <algorithm>
#include <cmath>

namespace vellumix {

QPointF AnnotationCanvasView::toCanvas(QPointF widgetPoint) const {
    return widgetPoint / m_magnification;
}

QRectF AnnotationCanvasView::toWidget(const QRectF& canvasRect) const {
    return {canvasRect.topLeft() * m_magnification, canvasRect.size() * m_magnification};
}

QSize AnnotationCanvasView::sizeHint() const {
    // Annotations pushed absurdly far out (a model's answer, a hand-edited file) must not ask
    // for a widget larger than any window system allows.
    constexpr double largestSide = 1 << 20;
    const QSizeF size = m_document.canvasSize() * m_magnification;
    return {static_cast<int>(std::ceil(std::clamp(size.width(), 0.0, largestSide))),
            static_cast<int>(std::ceil(std::clamp(size.height(), 0.0, largestSide)))};
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
