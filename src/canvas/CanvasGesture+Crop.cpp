#include "CanvasGesture.h"
#include "CanvasGestureLayer.h"
#include "model/AnnotationGeometry.h"

namespace vellumix {

CanvasGestureLayer* CropGesture::activeLayer() const {
    return m_doc.gestureLayer && m_doc.gestureLayer->isActive() ? m_doc.gestureLayer : nullptr;
}

void CropGesture::mouseDown(QPointF point, Qt::KeyboardModifiers, int clickCount) {
    if (CanvasGestureLayer* layer = activeLayer()) {
        layer->mouseDown(point);
        return;
    }
    const QRectF image = m_doc.imageRect();
    if (clickCount >= 2 && geometry::containsClosed(image, point)) {
        m_doc.cropRect = image;
        m_doc.onCropRectChanged.notify(m_doc.cropRect);
        m_drag.reset();
        redisplay();
        return;
    }
    const auto& crop = m_doc.cropRect;
    const auto hit = crop ? geometry::cropHandleAt(*crop, point, m_doc.zoom) : std::nullopt;
    if (!hit) {
        m_doc.cropRect = QRectF(point, QSizeF(0, 0));
    }
    m_drag = Drag{hit.value_or(CropHandle::bottomRight), point};
}

void CropGesture::mouseDragged(QPointF point, Qt::KeyboardModifiers) {
    if (CanvasGestureLayer* layer = activeLayer()) {
        layer->mouseDragged(point);
        return;
    }
    if (!m_drag || !m_doc.cropRect) {
        return;
    }
    const QPointF delta = point - m_drag->last;
    const QRectF visible = m_doc.visibleRect;
    const QRectF limit = geometry::unite(QRectF(QPointF(0, 0), m_doc.canvasSize()),
                                         visible.isEmpty() ? QRectF() : visible);
    m_doc.cropRect =
        geometry::dragCropRect(*m_doc.cropRect, m_drag->handle, delta.x(), delta.y(), limit);
    m_drag->last = point;
    m_doc.onCropRectChanged.notify(m_doc.cropRect);
    redisplay();
}

void CropGesture::mouseUp(QPointF point, Qt::KeyboardModifiers) {
    if (CanvasGestureLayer* layer = activeLayer()) {
        layer->mouseUp(point);
    }
    m_drag.reset();
}

} // namespace vellumix
