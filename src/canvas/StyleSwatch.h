#pragma once

#include "model/AnnotationStyle.h"

#include <QColor>
#include <QImage>
#include <QPainter>

namespace vellumix::render {

/// Where the parts of a style preview sit, in points from the preview's left edge. The preset
/// rows draw the preview at their own left edge; the context menu's icons are the same picture
/// cut to its height.
namespace swatchLayout {
inline constexpr double lineStart = 10;
inline constexpr double lineEnd = 26;
inline constexpr double thinnestLine = 1;
inline constexpr double thickestLine = 6;
inline constexpr double circleLeft = 32;
inline constexpr double circleSide = 13;
inline constexpr double letterLeft = 49;
inline constexpr double letterSize = 15;
/// Just past the circle's outline, and past the letter for the text tool.
inline constexpr double width = 47;
inline constexpr double textWidth = 62;
/// The context menu's icons are as high as the circle plus its outline.
inline constexpr double iconHeight = 14;
} // namespace swatchLayout

/// Draws the preview of a style with its vertical middle at `centerY` and x measured from 0 in
/// the painter's coordinates: a line in the stroke colour (width clamped to 1…6), a circle
/// filled with the fill colour and, for the text tool only, a bold "A" in the font colour, each
/// at the style's opacity. A clear stroke or fill shows as a dashed placeholder in `secondary`,
/// which also rims the circle. Shared by the preset menu's rows and the canvas's context menu.
void drawStyleSwatch(QPainter& painter, const AnnotationStyle& style, Tool tool, double centerY,
                     const QColor& secondary);

/// The size of the standalone preview: just wide enough for its parts, `height` high.
QSizeF styleSwatchSize(Tool tool, double height = swatchLayout::iconHeight);

/// The preview alone on a transparent image of `styleSwatchSize(tool, height)` points at the
/// given pixel ratio. The letter shrinks only if it would not fit the height.
QImage styleSwatch(const AnnotationStyle& style, Tool tool, const QColor& secondary,
                   qreal devicePixelRatio = 1, double height = swatchLayout::iconHeight);

} // namespace vellumix::render
