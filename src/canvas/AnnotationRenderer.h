#pragma once

#include "model/Annotation.h"

#include <QImage>
#include <QPainter>
#include <QPen>
#include <QSet>

#include <optional>
#include <span>

namespace vellumix {

using AnnotationIDSet = QSet<AnnotationID>;

/// Drawing of annotations and flattening into bitmaps. Everything draws immediately from the
/// values it is given; nothing is cached between calls.
namespace render {

/// Dash lengths (dash, gap, …) in canvas units for a line style at width w; empty for solid.
QList<qreal> dashPattern(LineStyle style, double width);
/// A pen of `width` with round caps and joins and the dash of `style`.
QPen strokePen(const Color& color, double width, LineStyle style);
/// The outline of a shape or text box: rounded when the radius is above 0.
QPainterPath boxPath(const QRectF& rect, double cornerRadius);

void drawShape(QPainter& painter, const ShapeAnnotation& shape);
void drawStroke(QPainter& painter, const StrokeAnnotation& stroke);
void drawArrow(QPainter& painter, const ArrowAnnotation& arrow);
void drawText(QPainter& painter, const TextAnnotation& text);
void drawOverlay(QPainter& painter, const OverlayAnnotation& overlay);
void drawAnnotation(QPainter& painter, const Annotation& annotation);

/// Draws the annotations in list order; with `only`, just those IDs. The index being edited as
/// text is skipped (the live editor shows it). With `area` (canvas coordinates), annotations
/// that cannot reach it are not drawn at all.
void drawAnnotations(QPainter& painter, std::span<const Annotation> annotations,
                     const std::optional<AnnotationIDSet>& only = std::nullopt,
                     std::optional<int> skipIndex = std::nullopt,
                     const std::optional<QRectF>& area = std::nullopt);

/// The rectangle an annotation's paint stays within: its bounds plus what strokes and caps add.
/// Text may spill below its box, so a text box reaches down without limit.
QRectF paintedExtent(const Annotation& annotation);

/// Options of a flattened rendering.
struct FlattenOptions {
    FlattenOptions() = default;
    FlattenOptions(QSizeF size, bool transparent = false, bool annotations = true,
                   std::optional<AnnotationIDSet> onlyIDs = std::nullopt)
        : outputSize(size)
        , transparentBase(transparent)
        , includeAnnotations(annotations)
        , only(std::move(onlyIDs)) {}

    QSizeF outputSize;
    bool transparentBase = false;
    bool includeAnnotations = true;
    std::optional<AnnotationIDSet> only;
};

/// The image (or a transparent sheet) at the output size with the annotations drawn over it,
/// their canvas inset removed and scaled with the image. Nothing for an empty size or image.
std::optional<QImage> renderFlattened(const QImage& image, std::span<const Annotation> annotations,
                                      const FlattenOptions& options);

/// The image with every annotation at the image's own size (thumbnails, icons, export).
std::optional<QImage> renderComposite(const QImage& image, std::span<const Annotation> annotations);

} // namespace render
} // namespace vellumix
