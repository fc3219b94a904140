#include "AnnotationCanvasView.h"
#include "CanvasChrome.h"

#include <QPaintEvent>
#include <QPainter>

namespace vellumix {

void AnnotationCanvasView::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.fillRect(event->rect(), palette().color(QPalette::Window).darker(104));
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
