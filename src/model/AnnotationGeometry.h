#pragma once

#include "Annotation.h"

#include <QPainterPath>
#include <QRectF>
#include <QSizeF>
#include <QTransform>

#include <optional>
#include <vector>

namespace vellumix {

/// Pure geometry over annotations in canvas coordinates (y down, the image at `imageOrigin()`).
namespace geometry {

/// The image's top-left corner on the canvas, and the margin kept around it.
inline constexpr double canvasInset = 20;
/// Side of a selection handle in screen units.
inline constexpr double handleSize = 10;
/// How far outside its bounds an annotation still takes a click.
inline constexpr double hitTolerance = 8;
/// No side of a resized rectangle goes below this.
inline constexpr double minimumSide = 4;
/// Largest zoom factor, so handles stay usable when zoomed far out.
inline constexpr double maximumZoomFactor = 6;

// --- Image and canvas ----------------------------------------------------------------------------
// Image pixel (x, y) is canvas point (x + canvasInset, y + canvasInset); nothing else is converted.

/// Where the image's top-left corner lies on the canvas.
inline constexpr QPointF imageOrigin() {
    return {canvasInset, canvasInset};
}
inline constexpr QPointF toCanvas(QPointF imagePoint) {
    return imagePoint + imageOrigin();
}
inline QRectF toCanvas(const QRectF& imageRect) {
    return imageRect.translated(imageOrigin());
}
inline constexpr QPointF toImage(QPointF canvasPoint) {
    return canvasPoint - imageOrigin();
}
inline QRectF toImage(const QRectF& canvasRect) {
    return canvasRect.translated(-imageOrigin());
}
/// Where the whole image lies on the canvas.
inline QRectF imageOnCanvas(QSizeF imageSize) {
    return {imageOrigin(), imageSize};
}
/// The canvas: the image with the margin on every side.
inline QRectF canvasAround(QSizeF imageSize) {
    return {0, 0, imageSize.width() + 2 * canvasInset, imageSize.height() + 2 * canvasInset};
}

// --- Bounds ------------------------------------------------------------------------------------

/// The rectangle used for hit-testing and canvas growth; line widths are never added.
QRectF bounds(const Annotation& annotation);
QRectF bounds(const ArrowAnnotation& arrow);

/// The smallest rectangle holding both, degenerate (zero-size) rectangles included.
QRectF unite(const QRectF& a, const QRectF& b);

/// Closed containment: points on the edges are inside. Works for zero-size rectangles too.
bool containsClosed(const QRectF& rect, QPointF point);
/// Closed overlap: rectangles that only touch meet. Works for zero-size rectangles too.
bool intersectsClosed(const QRectF& a, const QRectF& b);

// --- Arrow paths -------------------------------------------------------------------------------

/// Length of a triangle head: max(5·w, 14).
double arrowHeadLength(double lineWidth);
/// Radius of a dot cap: max(1.6·w, 5).
double arrowDotRadius(double lineWidth);
/// The shaft: one cubic from start to end (each shortened by the head length under a triangle).
QPainterPath arrowShaftPath(const ArrowAnnotation& arrow);
/// Closed head triangles or dot circles, end first.
std::vector<QPainterPath> arrowCapPaths(const ArrowAnnotation& arrow);

// --- Hit-testing and handles -------------------------------------------------------------------

/// Converts a scroll view's magnification into canvas units per screen unit: min(1/m, 6).
/// No magnification (no scroll view) gives 1.
double zoomFactor(std::optional<double> magnification);

/// Indices of every annotation whose bounds, grown by the tolerance, contain the point;
/// topmost (last in the list) first.
std::vector<int> hitIndices(const AnnotationList& annotations, QPointF point);

QPointF handlePoint(ResizeHandle handle, const QRectF& rect);
/// The interior's point is the rectangle's centre.
QPointF handlePoint(CropHandle handle, const QRectF& rect);

/// The resize handle of a non-arrow annotation under the point (arrows have anchors instead).
std::optional<ResizeHandle> annotationHandleAt(const Annotation& annotation, QPointF point,
                                               double zoom);
std::optional<ArrowAnchor> arrowAnchorAt(const ArrowAnnotation& arrow, QPointF point, double zoom);
std::optional<CropHandle> cropHandleAt(const QRectF& cropRect, QPointF point, double zoom);

// --- Resize, move, adjust ----------------------------------------------------------------------

/// Resizes a rectangle by a handle dragged by (dx, dy) from where the drag began.
QRectF resizeRect(ResizeHandle handle, bool keepAspect, const QRectF& rect, double dx, double dy);
/// The annotation resized to the handle's new bounds; arrows come back unchanged.
Annotation resized(const Annotation& annotation, ResizeHandle handle, bool keepAspect, double dx,
                   double dy);
Annotation offset(const Annotation& annotation, double dx, double dy);
/// The arrow as at drag start with only the named point moved by the delta.
ArrowAnnotation adjusted(const ArrowAnnotation& arrow, ArrowAnchor anchor, double dx, double dy);

// --- Shift constraints -------------------------------------------------------------------------

/// The normalised rectangle spanned by two points; with `square`, the largest square towards
/// the drag direction whose side is the shorter extent.
QRectF rectFromPoints(QPointF start, QPointF end, bool square);
/// The point at the same distance from the anchor with its angle rounded to a multiple of 45°.
QPointF snapAngle(QPointF anchor, QPointF point);
/// Keeps only the larger component of a move (horizontal on ties).
QPointF dominantAxis(QPointF delta);

// --- Crop --------------------------------------------------------------------------------------

/// One incremental step of a crop drag, kept inside `limit`.
QRectF dragCropRect(const QRectF& cropRect, CropHandle handle, double dx, double dy,
                    const QRectF& limit);

// --- Mapping and canvas growth -----------------------------------------------------------------

/// Moves the points of a stroke or an arrow through `t` and returns true; other kinds, which
/// are placed by a rectangle, are left for the caller and give false.
bool transformPoints(Annotation& annotation, const QTransform& t);

/// Maps every annotation from one rectangle onto another (points scale; line widths, font
/// sizes, padding and radii do not).
AnnotationList mapAnnotations(const AnnotationList& annotations, const QRectF& from,
                              const QRectF& to);

/// The canvas size for an image and its annotations: the image plus its margin, grown to hold
/// every annotation with a 20-unit margin, never to the left or upward. Whole units.
QSizeF canvasSize(QSizeF imageSize, const AnnotationList& annotations);
/// The canvas frame changes only when a side differs by more than half a unit.
bool canvasSizeChanged(QSizeF current, QSizeF proposed);

} // namespace geometry
} // namespace vellumix
