#include "AnnotationRenderer.h"
#include "CanvasChrome.h"
#include "CanvasGestureLayer.h"
#include "model/AnnotationGeometry.h"
#include "model/AnnotationStyle.h"

namespace vellumix::render {

namespace {

void drawShapePreview(QPainter& painter, const CanvasSnapshot& c) {
    ShapeAnnotation preview;
    preview.shape =
        c.activeTool == Tool::oval ? ShapeAnnotation::Shape::oval : ShapeAnnotation::Shape::rect;
    preview.rect = *c.dragRect;
    preview.strokeColor = c.strokeColor;
    preview.fillColor = c.fillColor;
    preview.lineWidth = c.lineWidth;
    preview.cornerRadius = c.cornerRadius;
    preview.lineStyle = c.lineStyle;
    drawShape(painter, preview);
}

void strokeWithCanvasStyle(QPainter& painter, const CanvasSnapshot& c, const QPainterPath& path) {
    if (c.lineWidth > 0 && c.strokeColor.alpha > 0) {
        painter.strokePath(path, strokePen(c.strokeColor, c.lineWidth, c.lineStyle));
    }
}

void drawTextFrame(QPainter& painter, const CanvasSnapshot& c, const QRectF& rect) {
    const QPainterPath box = boxPath(rect, c.cornerRadius);
    if (c.fillColor.alpha > 0) {
        painter.fillPath(box, c.fillColor.toQColor());
    }
    if (c.strokeColor.alpha > 0) {
        strokeWithCanvasStyle(painter, c, box);
    }
    drawMarchingAnts(painter, boxPath(rect.adjusted(-3, -3, 3, 3), c.cornerRadius), 1);
}

void drawRubberBand(QPainter& painter, const CanvasSnapshot& c) {
    const QRectF band = *c.selectionDragRect;
    painter.fillRect(band, SystemColors::blue.withAlpha(0.15).toQColor());
    QPainterPath outline;
    outline.addRect(band);
    drawMarchingAnts(painter, outline, 1);
    if (c.showCursorCoords) {
        drawLabel(painter, band.bottomRight(), sizeLabelText(band), c.zoom);
    }
}

void drawSelection(QPainter& painter, const CanvasSnapshot& c) {
    if (c.selectedIndices.size() == 1) {
        const int index = c.selectedIndices.front();
        if (index >= 0 && static_cast<size_t>(index) < c.annotations.size()) {
            drawSelectionChrome(painter, c.annotations[static_cast<size_t>(index)], c.zoom);
        }
    } else if (c.selectedIndices.size() >= 2) {
        drawGroupOutline(painter, c.annotations, c.selectedIndices, c.zoom);
    }
}

} // namespace

void drawCanvas(QPainter& painter, const CanvasSnapshot& c) {
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing |
                           QPainter::SmoothPixmapTransform);
    painter.drawImage(geometry::imageOrigin(), c.image);
    if (!c.showsAnnotations) {
        return;
    }
    drawAnnotations(painter, c.annotations, std::nullopt, c.editingTextIndex, c.dirtyArea);

    if (c.dragRect && (c.activeTool == Tool::rect || c.activeTool == Tool::oval)) {
        drawShapePreview(painter, c);
    }
    if (c.activePath) {
        strokeWithCanvasStyle(painter, c, *c.activePath);
    }
    if (c.activeTool == Tool::arrow && c.dragStart && c.arrowPreviewEnd) {
        const QPointF middle = (*c.dragStart + *c.arrowPreviewEnd) / 2;
        AnnotationStyle style;
        style.strokeColor = c.strokeColor;
        style.lineWidth = c.lineWidth;
        drawArrow(painter,
                  makeArrow(*c.dragStart, *c.arrowPreviewEnd, middle, style, c.currentArrowEndCap));
    }
    if (c.shiftAnchorPoint && c.shiftPreviewPoint) {
        QPainterPath segment(*c.shiftAnchorPoint);
        segment.lineTo(geometry::snapAngle(*c.shiftAnchorPoint, *c.shiftPreviewPoint));
        strokeWithCanvasStyle(painter, c, segment);
    }
    const std::optional<QRectF> textFrame =
        c.activeTextOuterRect ? c.activeTextOuterRect
                              : (c.activeTool == Tool::text ? c.textDragRect : std::nullopt);
    if (textFrame) {
        drawTextFrame(painter, c, *textFrame);
    }
    if (c.activeTool == Tool::select && c.selectionDragRect) {
        drawRubberBand(painter, c);
    }
    if (c.activeTool == Tool::editImage && c.cropRect) {
        drawCropOverlay(painter, *c.cropRect, c.visibleRect, c.zoom);
    }
    if (c.activeTool == Tool::editImage && c.gestureLayer && c.gestureLayer->isActive()) {
        c.gestureLayer->paint(painter, c);
    }
    if (c.activeTool == Tool::select) {
        drawSelection(painter, c);
    }
    const bool selectGestureActive =
        c.activeTool == Tool::select && (c.selectionDragInProgress || c.selectionDragRect);
    if (c.showCursorCoords && c.cursorPosOnImage && !selectGestureActive) {
        drawLabel(painter, *c.cursorPosOnImage, cursorLabelText(*c.cursorPosOnImage), c.zoom);
    }
}

} // namespace vellumix::render
