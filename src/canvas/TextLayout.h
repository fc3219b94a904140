#pragma once

#include "model/Enums.h"

#include <QFont>
#include <QPainter>
#include <QRectF>
#include <QString>

namespace vellumix {

/// The Qt alignment flag for a text alignment.
Qt::Alignment qtAlignment(TextAlignment alignment);

/// A font whose size is given in canvas units (one point per unit, as in the stored model),
/// converted for the paint device it will be measured or drawn on.
QFont fontInCanvasUnits(QFont font, double size, const QPaintDevice* device);

/// Text laid out from the top-left of a box, wrapping at its width (at word boundaries, or
/// anywhere for words longer than a line), lines spaced with the font's leading.
struct TextBoxLayout {
    /// Height of the laid-out text at `width`.
    static double height(const QString& text, const QFont& font, double width,
                         TextAlignment alignment, const QPaintDevice* device = nullptr);
    /// Width of the widest line when not wrapped.
    static double naturalWidth(const QString& text, const QFont& font,
                               const QPaintDevice* device = nullptr);
    static void draw(QPainter& painter, const QString& text, const QFont& font, const QRectF& box,
                     TextAlignment alignment, const QColor& color);
};

} // namespace vellumix
