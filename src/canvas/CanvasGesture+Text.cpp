#include "CanvasGesture.h"
#include "model/AnnotationGeometry.h"

namespace vellumix {

namespace {

constexpr double minimumTextSide = 8;

} // namespace

void TextGesture::mouseDown(QPointF point, Qt::KeyboardModifiers, int) {
    if (const auto index = topmostTextAt(point)) {
        const auto& text = std::get<TextAnnotation>(annotations()[static_cast<size_t>(*index)]);
        m_doc.beginEditing(text.rect, text.text, index);
        return;
    }
    m_drag = BoxDrag{point, std::nullopt};
}

void TextGesture::mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) {
    if (!m_drag) {
        return;
    }
    m_drag->rect =
        geometry::rectFromPoints(m_drag->start, point, modifiers.testFlag(Qt::ShiftModifier));
    showProgress(m_drag->rect);
}

// The box opens for editing; the undo step comes when the edit is committed.
void TextGesture::mouseUp(QPointF, Qt::KeyboardModifiers) {
    const std::optional<QRectF> rect = m_drag ? m_drag->rect : std::nullopt;
    m_drag.reset();
    m_doc.onInProgressGeometryChanged.notify(std::nullopt);
    if (rect && rect->width() > minimumTextSide && rect->height() > minimumTextSide) {
        m_doc.beginEditing(*rect, QString(), std::nullopt);
    }
    redisplay();
}

void TextGesture::describe(CanvasSnapshot& s) const {
    if (m_drag) {
        s.textDragRect = m_drag->rect;
    }
}

} // namespace vellumix
