#include "StyleSwatch.h"

#include <QFontDatabase>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <limits>

namespace vellumix::render {

namespace {

using namespace swatchLayout;

QColor atOpacity(const Color& color, double opacity) {
    return color.withAlpha(std::clamp(opacity, 0.0, 1.0)).toQColor();
}

// Qt measures dashes in pen widths; the preview's dashes are given in points.
QPen dashedPen(const QColor& color, double width, double dash, double gap, Qt::PenCapStyle cap) {
    QPen pen(color, width, Qt::CustomDashLine, cap);
    pen.setDashPattern({dash / width, gap / width});
    return pen;
}

// Puts the line's top edge on a device pixel so that whole-pixel widths stay crisp at any ratio.
double crispCenter(const QPainter& painter, double centerY, double width) {
    const QTransform t = painter.deviceTransform();
    if (t.type() > QTransform::TxScale || t.m22() <= 0) {
        return centerY;
    }
    const double top = std::round((centerY - width / 2) * t.m22() + t.dy());
    return (top - t.dy()) / t.m22() + width / 2;
}

void drawLine(QPainter& painter, const AnnotationStyle& style, double centerY,
              const QColor& secondary) {
    if (style.strokeColor.isClear()) {
        painter.setPen(dashedPen(secondary, 1.5, 3, 3, Qt::RoundCap));
        painter.drawLine(QLineF(lineStart, centerY, lineEnd, centerY));
        return;
    }
    const double width = std::clamp(style.lineWidth, thinnestLine, thickestLine);
    const double y = crispCenter(painter, centerY, width);
    painter.setPen(
        QPen(atOpacity(style.strokeColor, style.opacity), width, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QLineF(lineStart, y, lineEnd, y));
}

void drawCircle(QPainter& painter, const AnnotationStyle& style, double centerY,
                const QColor& secondary) {
    const QRectF circle(circleLeft, centerY - circleSide / 2, circleSide, circleSide);
    if (style.fillColor.isClear()) {
        painter.setPen(dashedPen(secondary, 1.5, 2, 2, Qt::FlatCap));
        painter.setBrush(Qt::NoBrush);
    } else {
        QColor rim = secondary;
        rim.setAlphaF(0.3f);
        painter.setPen(QPen(rim, 0.5));
        painter.setBrush(atOpacity(style.fillColor, style.opacity));
    }
    painter.drawEllipse(circle);
}

// The letter is drawn as an outline so that it can be centred on its own ink, not on the
// font's line box, and shrunk to a small icon without a second font size.
void drawLetter(QPainter& painter, const AnnotationStyle& style, double centerY, QSizeF room) {
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setWeight(QFont::Bold);
    font.setPixelSize(int(letterSize));
    QPainterPath letter;
    letter.addText(0, 0, font, QStringLiteral("A"));
    const QRectF ink = letter.boundingRect();
    if (ink.isEmpty()) {
        return;
    }
    const double scale =
        std::min({1.0, room.height() / ink.height(), room.width() / std::max(ink.right(), 1.0)});
    QTransform place;
    place.translate(letterLeft, centerY - ink.center().y() * scale);
    place.scale(scale, scale);
    painter.setPen(Qt::NoPen);
    painter.setBrush(atOpacity(style.fontColor, style.opacity));
    painter.drawPath(place.map(letter));
}

void drawSwatch(QPainter& painter, const AnnotationStyle& style, Tool tool, double centerY,
                const QColor& secondary, QSizeF letterRoom) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    drawLine(painter, style, centerY, secondary);
    drawCircle(painter, style, centerY, secondary);
    // A clear colour is never drawn; withAlpha would turn it black.
    if (tool == Tool::text && !style.fontColor.isClear()) {
        drawLetter(painter, style, centerY, letterRoom);
    }
    painter.restore();
}

} // namespace

void drawStyleSwatch(QPainter& painter, const AnnotationStyle& style, Tool tool, double centerY,
                     const QColor& secondary) {
    const double unlimited = std::numeric_limits<double>::max();
    drawSwatch(painter, style, tool, centerY, secondary, {unlimited, unlimited});
}

QSizeF styleSwatchSize(Tool tool, double height) {
    return {tool == Tool::text ? textWidth : width, height};
}

QImage styleSwatch(const AnnotationStyle& style, Tool tool, const QColor& secondary,
                   qreal devicePixelRatio, double height) {
    const qreal ratio = devicePixelRatio > 0 ? devicePixelRatio : 1;
    const QSizeF size = styleSwatchSize(tool, height);
    QImage image(QSize(std::max(1, int(std::ceil(size.width() * ratio))),
                       std::max(1, int(std::ceil(size.height() * ratio)))),
                 QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    // Half a point of air on the right of the letter.
    drawSwatch(painter, style, tool, height / 2, secondary,
               {height, size.width() - letterLeft - 0.5});
    return image;
}

} // namespace vellumix::render
