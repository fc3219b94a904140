#pragma once

#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QSize>
#include <QSizeF>
#include <QString>

namespace vellumix::capture {

/// A drag must be wider and taller than this (logical units) to count as a selection; anything
/// smaller is taken as a click and cancels the capture.
inline constexpr double minimumSelectionExtent = 4.0;

/// The rectangle spanned by two drag points in any direction, clipped to `bounds` (the drag may
/// leave the screen while the button is held).
QRectF selectionFromDrag(QPointF start, QPointF end, const QRectF& bounds);

/// True when either side is at most `minimumSelectionExtent`: the capture cancels.
bool isSelectionTooSmall(const QRectF& selection);

/// The grab's pixels under a logical selection.
///
/// `logicalSelection` and `screenGeometry` are in desktop coordinates (device-independent units,
/// as QScreen::geometry()); the grab covers exactly that screen at `devicePixelRatio`. Each edge
/// is mapped to device pixels relative to the screen's top-left, then the top-left is floored
/// and the bottom-right ceiled, so every device pixel the selection touches (even partly, at
/// fractional ratios) is included. The result is clipped to the grab, `grabSize`; it is empty
/// when the selection lies outside the screen.
QRect deviceCropRect(const QRectF& logicalSelection, const QRect& screenGeometry,
                     double devicePixelRatio, QSize grabSize);

/// "W × H px": the size of the image the selection yields.
QString sizeLabelText(QSize pixelSize);

/// Space between the label's box and its text on every side, and the box's corner radius.
inline constexpr double sizeLabelPadding = 5.0;
inline constexpr double sizeLabelCornerRadius = 4.0;

/// The size label's box for text of `textSize`: the text plus the padding on each side, centred
/// horizontally below the cursor (14 units down), then pulled back so that it keeps 4 units from
/// every edge of `bounds`. If `bounds` is too small to allow that, the top-left margin wins.
QRectF sizeLabelBox(QPointF cursor, QSizeF textSize, const QRectF& bounds);

} // namespace vellumix::capture
