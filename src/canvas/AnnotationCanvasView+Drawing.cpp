#include "AnnotationCanvasView.h"
#include "CanvasChrome.h"
#include "model/AnnotationGeometry.h"

#include <QPaintEvent>
#include <QPainter>

#include <cmath>

namespace vellumix {

void AnnotationCanvasView::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.fillRect(event->rect(), palette().color(QPalette::Window).darker(104));
    // Painting goes straight to the device pixels. At fractional scale factors the widget can
    // start between two of them; the image is moved onto whole device pixels so that at 1:1 it
    // is copied pixel for pixel instead of resampled half a pixel off.
    const QPointF imageOrigin =
        painter.deviceTransform().map(geometry::imageOrigin() * m_magnification);
    const QPointF offGrid(std::round(imageOrigin.x()) - imageOrigin.x(),
                          std::round(imageOrigin.y()) - imageOrigin.y());
    painter.translate(offGrid / devicePixelRatioF());
    painter.scale(m_magnification, m_magnification);
    updateZoom();
    const QRectF visible(visibleRegion().boundingRect());
    m_document.visibleRect =
        QRectF(visible.topLeft() / m_magnification, visible.size() / m_magnification);
    CanvasSnapshot snapshot = m_document.snapshot();
    // Only what reaches the damaged region is drawn.
    const QRectF dirty = QRectF(event->rect());
    snapshot.dirtyArea = QRectF(dirty.topLeft() / m_magnification, dirty.size() / m_magnification)
                             .adjusted(-1, -1, 1, 1);
    painter.setClipRect(*snapshot.dirtyArea);
    render::drawCanvas(painter, snapshot);
}

} // namespace vellumix
