#pragma once

#include "model/Annotation.h"

#include <QImage>
#include <QPainterPath>
#include <QRectF>

#include <optional>
#include <span>
#include <vector>

namespace vellumix {

class CanvasGestureLayer;

/// Everything one display pass of the canvas reads, gathered by the canvas before it paints.
/// The annotation span points into the canvas's own list and is valid for that pass only.
struct CanvasSnapshot {
    QImage image;
    std::span<const Annotation> annotations;
    bool showsAnnotations = true;
    Tool activeTool = Tool::select;

    // The canvas's current style, used by the previews.
    Color strokeColor;
    Color fillColor = Color::clear();
    double lineWidth = 2;
    double cornerRadius = 0;
    LineStyle lineStyle = LineStyle::solid;
    ArrowEndCap currentArrowEndCap = ArrowEndCap::triangle;

    // Gestures in progress.
    std::optional<QPointF> dragStart;
    std::optional<QRectF> dragRect;
    std::optional<QPainterPath> activePath;
    std::optional<QPointF> arrowPreviewEnd;
    std::optional<QPointF> shiftAnchorPoint;
    std::optional<QPointF> shiftPreviewPoint;
    std::optional<QRectF> textDragRect;
    std::optional<QRectF> activeTextOuterRect;
    std::optional<int> editingTextIndex;

    std::vector<int> selectedIndices;
    std::optional<QRectF> selectionDragRect;
    /// A move, resize or anchor drag of the selection is under way.
    bool selectionDragInProgress = false;

    std::optional<QRectF> cropRect;
    /// The image-edit session's own marks (redaction), drawn over the crop's dimming.
    const CanvasGestureLayer* gestureLayer = nullptr;
    std::optional<QPointF> cursorPosOnImage;
    bool showCursorCoords = false;

    /// Canvas units per screen unit (see geometry::zoomFactor).
    double zoom = 1;
    /// The scroll view's visible rectangle, or the canvas bounds without a scroll view.
    QRectF visibleRect;
    /// The part of the canvas being repainted; annotations that cannot reach it are skipped.
    std::optional<QRectF> dirtyArea;
};

} // namespace vellumix
