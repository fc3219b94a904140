#pragma once

#include "CanvasSnapshot.h"

#include <QFontMetricsF>
#include <QPainter>

#include <vector>

namespace vellumix::render {

/// A dashed outline that reads on any background: white dashes, then black ones in the gaps.
void drawMarchingAnts(QPainter& painter, const QPainterPath& path, double lineWidth);
/// A read-out in a rounded dark box below and to the right of `point`; sizes follow `zoom`.
/// Digits take equal widths, so the box does not jitter while the numbers change.
void drawLabel(QPainter& painter, QPointF point, const QString& text, double zoom);
/// The read-outs' font: the desktop font at medium weight, 11 units high at `zoom`.
QFont labelFont(double zoom, const QPaintDevice* device);
/// The advance of each character of a read-out: every digit as wide as the widest digit.
std::vector<double> labelAdvances(const QString& text, const QFontMetricsF& metrics);
/// The size of a read-out's text in the metrics' font, its digits at equal widths.
QSizeF labelTextSize(const QString& text, const QFontMetricsF& metrics);
/// Draws a read-out's text (in the painter's font and pen, which `metrics` measures) from
/// `topLeft`, each digit centred in its cell.
void drawLabelText(QPainter& painter, QPointF topLeft, const QString& text,
                   const QFontMetricsF& metrics);
/// A padlock in a filled circle, 24 units across, centred on `around` (not zoomed).
void drawLockBadge(QPainter& painter, const QRectF& around);
/// A white handle circle of diameter `diameter` with a coloured ring.
void drawHandle(QPainter& painter, QPointF centre, double diameter, const Color& ring, double zoom);

/// Outline with handles (or the lock badge) for one selected annotation.
void drawSelectionChrome(QPainter& painter, const Annotation& annotation, double zoom);
/// One outline around several selected annotations; no handles.
void drawGroupOutline(QPainter& painter, std::span<const Annotation> annotations,
                      const std::vector<int>& indices, double zoom);
/// Dims everything visible outside the crop rectangle and draws its outline and handles.
void drawCropOverlay(QPainter& painter, const QRectF& cropRect, const QRectF& visibleRect,
                     double zoom);

/// "W × H px" for the rubber band and "X, Y px" for the cursor (image pixels), truncated.
QString sizeLabelText(const QRectF& rect);
QString cursorLabelText(QPointF canvasPoint);

/// The whole canvas in its display order: image, annotations, previews, rubber band, crop
/// overlay, selection chrome, cursor label.
void drawCanvas(QPainter& painter, const CanvasSnapshot& canvas);

} // namespace vellumix::render
