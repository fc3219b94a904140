#include "CanvasDocument.h"
#include "CanvasGestureLayer.h"
#include "model/AnnotationGeometry.h"

#include <cmath>

namespace vellumix {

namespace {

constexpr double minimumShapeSide = 4;
constexpr double minimumTextSide = 8;
constexpr double minimumArrowLength = 10;

bool shiftHeld(Qt::KeyboardModifiers m) {
    return m.testFlag(Qt::ShiftModifier);
}

QRectF spanned(QPointF a, QPointF b) {
    return QRectF(a, b).normalized();
}

} // namespace

void CanvasDocument::mouseDown(QPointF point, Qt::KeyboardModifiers modifiers, int clickCount) {
    if (!m_showsAnnotations) {
        return;
    }
    if (m_cursorPosOnImage) {
        m_cursorPosOnImage.reset();
        redisplay();
    }
    if (m_textEditing) {
        // The click only ends the edit; no tool acts on it, nor on its drag and release.
        commitTextEditing(false);
        m_pressConsumed = true;
        return;
    }
    m_pressConsumed = false;
    switch (m_activeTool) {
    case Tool::editImage:
        if (gestureLayer && gestureLayer->isActive()) {
            gestureLayer->mouseDown(point);
        } else {
            cropMouseDown(point, clickCount);
        }
        break;
    case Tool::select:
        selectMouseDown(point, modifiers, clickCount);
        break;
    case Tool::overlay:
        break;
    default:
        drawingMouseDown(point);
        break;
    }
}

void CanvasDocument::mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) {
    if (!m_showsAnnotations || m_textEditing || m_pressConsumed) {
        return;
    }
    switch (m_activeTool) {
    case Tool::editImage:
        if (gestureLayer && gestureLayer->isActive()) {
            gestureLayer->mouseDragged(point);
        } else {
            cropMouseDragged(point);
        }
        break;
    case Tool::select:
        selectMouseDragged(point, modifiers);
        break;
    case Tool::overlay:
        break;
    default:
        drawingMouseDragged(point, modifiers);
        break;
    }
}

void CanvasDocument::mouseUp(QPointF point, Qt::KeyboardModifiers modifiers) {
    if (!m_showsAnnotations) {
        return;
    }
    if (m_pressConsumed) {
        m_pressConsumed = false;
        return;
    }
    switch (m_activeTool) {
    case Tool::editImage:
        if (gestureLayer && gestureLayer->isActive()) {
            gestureLayer->mouseUp(point);
        }
        m_cropDragHandle.reset();
        m_cropDragStart.reset();
        break;
    case Tool::select:
        selectMouseUp();
        break;
    case Tool::overlay:
        break;
    default:
        drawingMouseUp(point, modifiers);
        break;
    }
}

void CanvasDocument::mouseMoved(QPointF point) {
    const std::optional<QPointF> before = m_cursorPosOnImage;
    if (m_activeTool == Tool::select && (m_selectDragOp || m_selectionDragStart)) {
        m_cursorPosOnImage.reset();
    } else if (geometry::containsClosed(imageRect(), point) && !m_image.isNull()) {
        m_cursorPosOnImage = point;
    } else {
        m_cursorPosOnImage.reset();
    }
    if (before != m_cursorPosOnImage && showCursorCoords) {
        redisplay();
    }
}

void CanvasDocument::mouseExited() {
    if (m_cursorPosOnImage) {
        m_cursorPosOnImage.reset();
        redisplay();
    }
}

// --- Crop ------------------------------------------------------------------------------------

void CanvasDocument::cropMouseDown(QPointF point, int clickCount) {
    if (clickCount >= 2 && geometry::containsClosed(imageRect(), point)) {
        cropRect = imageRect();
        if (onCropRectChanged) {
            onCropRectChanged(cropRect);
        }
        m_cropDragHandle.reset();
        m_cropDragStart.reset();
        redisplay();
        return;
    }
    const auto hit = cropRect ? geometry::cropHandleAt(*cropRect, point, zoom) : std::nullopt;
    if (!hit) {
        cropRect = QRectF(point, QSizeF(0, 0));
        m_cropDragHandle = CropHandle::bottomRight;
    } else {
        m_cropDragHandle = hit;
    }
    m_cropDragStart = point;
}

void CanvasDocument::cropMouseDragged(QPointF point) {
    if (!m_cropDragHandle || !m_cropDragStart || !cropRect) {
        return;
    }
    const QPointF delta = point - *m_cropDragStart;
    const QRectF limit = geometry::unite(QRectF(QPointF(0, 0), m_canvasSize),
                                         visibleRect.isEmpty() ? QRectF() : visibleRect);
    cropRect = geometry::dragCropRect(*cropRect, *m_cropDragHandle, delta.x(), delta.y(), limit);
    m_cropDragStart = point;
    if (onCropRectChanged) {
        onCropRectChanged(cropRect);
    }
    redisplay();
}

// --- Drawing tools -----------------------------------------------------------------------------

std::optional<int> CanvasDocument::topmostTextAt(QPointF point) const {
    for (int i : geometry::hitIndices(m_annotations, point)) {
        if (kindOf(m_annotations[static_cast<size_t>(i)]) == AnnotationKind::text) {
            return i;
        }
    }
    return std::nullopt;
}

void CanvasDocument::drawingMouseDown(QPointF point) {
    switch (m_activeTool) {
    case Tool::rect:
    case Tool::oval:
    case Tool::arrow:
        m_dragStart = point;
        break;
    case Tool::draw:
        m_activePath = QPainterPath(point);
        m_lastBrushPoint = point;
        break;
    case Tool::text:
        if (const auto index = topmostTextAt(point)) {
            const auto& text = std::get<TextAnnotation>(m_annotations[static_cast<size_t>(*index)]);
            beginEditing(text.rect, text.text, index);
            return;
        }
        m_textDragStart = point;
        break;
    case Tool::step:
        placeStep(point);
        break;
    default:
        break;
    }
}

void CanvasDocument::drawingMouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) {
    const bool shift = shiftHeld(modifiers);
    std::optional<QRectF> progress;
    switch (m_activeTool) {
    case Tool::rect:
    case Tool::oval:
        if (!m_dragStart) {
            return;
        }
        m_dragRect = geometry::rectFromPoints(*m_dragStart, point, shift);
        progress = m_dragRect;
        break;
    case Tool::arrow:
        if (!m_dragStart) {
            return;
        }
        m_arrowPreviewEnd = shift ? geometry::snapAngle(*m_dragStart, point) : point;
        progress = spanned(*m_dragStart, *m_arrowPreviewEnd);
        break;
    case Tool::text:
        if (!m_textDragStart) {
            return;
        }
        m_textDragRect = geometry::rectFromPoints(*m_textDragStart, point, shift);
        progress = m_textDragRect;
        break;
    case Tool::draw:
        if (!m_activePath || !m_lastBrushPoint) {
            return;
        }
        if (shift) {
            if (!m_shiftAnchorPoint) {
                m_shiftAnchorPoint = m_lastBrushPoint;
            }
            m_shiftPreviewPoint = point;
        } else {
            if (m_shiftAnchorPoint) {
                const QPointF end =
                    geometry::snapAngle(*m_shiftAnchorPoint, m_shiftPreviewPoint.value_or(point));
                m_activePath->lineTo(end);
                m_lastBrushPoint = end;
                m_shiftAnchorPoint.reset();
                m_shiftPreviewPoint.reset();
            }
            m_activePath->lineTo(point);
            m_lastBrushPoint = point;
        }
        progress = m_activePath->controlPointRect();
        break;
    default:
        return;
    }
    if (onInProgressGeometryChanged) {
        onInProgressGeometryChanged(progress);
    }
    redisplay();
}

void CanvasDocument::drawingMouseUp(QPointF point, Qt::KeyboardModifiers modifiers) {
    switch (m_activeTool) {
    case Tool::rect:
    case Tool::oval:
        if (m_dragRect && m_dragRect->width() > minimumShapeSide &&
            m_dragRect->height() > minimumShapeSide) {
            const bool oval = m_activeTool == Tool::oval;
            finishCreation(
                makeShape(oval ? ShapeAnnotation::Shape::oval : ShapeAnnotation::Shape::rect,
                          *m_dragRect, m_style),
                oval ? QStringLiteral("Draw Oval") : QStringLiteral("Draw Rectangle"));
            return;
        }
        break;
    case Tool::arrow:
        if (m_dragStart) {
            const QPointF end =
                shiftHeld(modifiers) ? geometry::snapAngle(*m_dragStart, point) : point;
            const QPointF d = end - *m_dragStart;
            if (std::hypot(d.x(), d.y()) > minimumArrowLength) {
                finishCreation(makeArrow(*m_dragStart, end, (*m_dragStart + end) / 2, m_style,
                                         currentArrowEndCap),
                               QStringLiteral("Draw Arrow"));
                return;
            }
        }
        break;
    case Tool::draw:
        if (m_activePath) {
            if (m_shiftAnchorPoint) {
                m_activePath->lineTo(
                    geometry::snapAngle(*m_shiftAnchorPoint, m_shiftPreviewPoint.value_or(point)));
            }
            if (m_activePath->elementCount() > 1) {
                finishCreation(makeStroke(*m_activePath, m_style), QStringLiteral("Draw Stroke"));
                return;
            }
        }
        break;
    case Tool::text: {
        const std::optional<QRectF> rect = m_textDragRect;
        m_textDragStart.reset();
        m_textDragRect.reset();
        if (onInProgressGeometryChanged) {
            onInProgressGeometryChanged(std::nullopt);
        }
        if (rect && rect->width() > minimumTextSide && rect->height() > minimumTextSide) {
            beginEditing(*rect, QString(), std::nullopt);
        }
        redisplay();
        return;
    }
    default:
        break;
    }
    resetDrawingState();
}

void CanvasDocument::finishCreation(Annotation annotation, const QString& actionName) {
    AnnotationList previous = m_annotations;
    AnnotationList list = m_annotations;
    list.push_back(std::move(annotation));
    assignAnnotations(std::move(list));
    m_lastSelected = {static_cast<int>(m_annotations.size()) - 1};
    registerUndo(std::move(previous), actionName);
    resetDrawingState();
}

void CanvasDocument::resetDrawingState() {
    m_dragStart.reset();
    m_dragRect.reset();
    m_activePath.reset();
    m_lastBrushPoint.reset();
    m_shiftAnchorPoint.reset();
    m_shiftPreviewPoint.reset();
    m_arrowPreviewEnd.reset();
    m_textDragStart.reset();
    m_textDragRect.reset();
    if (onInProgressGeometryChanged) {
        onInProgressGeometryChanged(std::nullopt);
    }
    redisplay();
}

} // namespace vellumix
