#include "CanvasChrome.h"

#include "AnnotationRenderer.h"
#include "TextLayout.h"
#include "model/AnnotationGeometry.h"

#include <QFontDatabase>
#include <QFontMetricsF>

#include <cmath>

namespace vellumix::render {

namespace {

constexpr double lockBadgeSide = 24;
// The light second colour of the lock badge.
constexpr Color lockBadgeLight = Color::rgb(0.8, 0.9, 1.0, 0.8);

QPen dashedPen(const QColor& color, double width, double dash, double phase) {
    QPen pen(color, width, Qt::CustomDashLine, Qt::FlatCap, Qt::MiterJoin);
    // Qt measures dashes and their offset in pen widths.
    pen.setDashPattern({dash / width, dash / width});
    pen.setDashOffset(phase / width);
    return pen;
}

QPainterPath rectPath(const QRectF& rect) {
    QPainterPath path;
    path.addRect(rect);
    return path;
}

} // namespace

void drawMarchingAnts(QPainter& painter, const QPainterPath& path, double lineWidth) {
    if (lineWidth <= 0) {
        return;
    }
    painter.strokePath(path, dashedPen(Qt::white, lineWidth, 4, 0));
    painter.strokePath(path, dashedPen(QColor::fromRgbF(0, 0, 0, 0.6f), lineWidth, 4, 4));
}

QFont labelFont(double zoom, const QPaintDevice* device) {
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setWeight(QFont::Medium);
    return fontInCanvasUnits(font, 11 * zoom, device);
}

std::vector<double> labelAdvances(const QString& text, const QFontMetricsF& metrics) {
    // Tabular figures by layout: Qt 6.4 cannot ask the font for them, and many desktop fonts
    // draw proportional digits by default.
    double digit = 0;
    for (char c = '0'; c <= '9'; ++c) {
        digit = std::max(digit, metrics.horizontalAdvance(QLatin1Char(c)));
    }
    std::vector<double> advances;
    advances.reserve(size_t(text.size()));
    for (QChar c : text) {
        advances.push_back(c.isDigit() ? digit : metrics.horizontalAdvance(c));
    }
    return advances;
}

QSizeF labelTextSize(const QString& text, const QFontMetricsF& metrics) {
    double width = 0;
    for (double advance : labelAdvances(text, metrics)) {
        width += advance;
    }
    return {width, metrics.height()};
}

void drawLabelText(QPainter& painter, QPointF topLeft, const QString& text,
                   const QFontMetricsF& metrics) {
    const std::vector<double> advances = labelAdvances(text, metrics);
    QPointF pen = topLeft + QPointF(0, metrics.ascent());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const double advance = advances[size_t(i)];
        const QString glyph(text[i]);
        const double offset =
            text[i].isDigit() ? (advance - metrics.horizontalAdvance(glyph)) / 2 : 0;
        painter.drawText(pen + QPointF(offset, 0), glyph);
        pen.rx() += advance;
    }
}

void drawLabel(QPainter& painter, QPointF point, const QString& text, double zoom) {
    const QFont font = labelFont(zoom, painter.device());
    const QFontMetricsF metrics(font, painter.device());
    const QSizeF textSize = labelTextSize(text, metrics);
    const QRectF box(point.x() + 14 * zoom, point.y() + 14 * zoom, textSize.width() + 10 * zoom,
                     textSize.height() + 10 * zoom);
    painter.save();
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgbF(0, 0, 0, 0.65f));
    painter.drawRoundedRect(box, 4 * zoom, 4 * zoom);
    painter.setFont(font);
    painter.setPen(Qt::white);
    drawLabelText(painter, box.topLeft() + QPointF(5 * zoom, 5 * zoom), text, metrics);
    painter.restore();
}

void drawLockBadge(QPainter& painter, const QRectF& around) {
    const QPointF c = around.center();
    const QColor blue = SystemColors::blue.toQColor();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(lockBadgeLight.toQColor());
    painter.drawEllipse(c, lockBadgeSide / 2, lockBadgeSide / 2);

    // The padlock: a rounded body with a keyhole and an arched shackle.
    const QRectF body(c.x() - 5.5, c.y() - 1, 11, 8);
    QPainterPath lock;
    lock.addRoundedRect(body, 1.8, 1.8);
    QPainterPath keyhole;
    keyhole.addEllipse(QPointF(c.x(), c.y() + 2.6), 1.3, 1.3);
    painter.setBrush(blue);
    painter.drawPath(lock.subtracted(keyhole));

    QPainterPath shackle;
    shackle.moveTo(c.x() - 3.4, c.y() - 1);
    shackle.lineTo(c.x() - 3.4, c.y() - 3.6);
    shackle.arcTo(QRectF(c.x() - 3.4, c.y() - 7, 6.8, 6.8), 180, -180);
    shackle.lineTo(c.x() + 3.4, c.y() - 1);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(blue, 1.9, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin));
    painter.drawPath(shackle);
    painter.restore();
}

void drawHandle(QPainter& painter, QPointF centre, double diameter, const Color& ring,
                double zoom) {
    painter.save();
    painter.setBrush(Qt::white);
    painter.setPen(QPen(ring.toQColor(), 1.5 * zoom));
    painter.drawEllipse(centre, diameter / 2, diameter / 2);
    painter.restore();
}

void drawSelectionChrome(QPainter& painter, const Annotation& annotation, double zoom) {
    const double side = geometry::handleSize * zoom;
    if (const auto* arrow = std::get_if<ArrowAnnotation>(&annotation)) {
        QPainterPath polyline(arrow->start);
        polyline.lineTo(arrow->controlPoint);
        polyline.lineTo(arrow->end);
        drawMarchingAnts(painter, polyline, zoom);
        if (arrow->isLocked) {
            drawLockBadge(painter, geometry::arrowShaftPath(*arrow).controlPointRect());
            return;
        }
        drawHandle(painter, arrow->start, side, SystemColors::blue, zoom);
        drawHandle(painter, arrow->end, side, SystemColors::blue, zoom);
        drawHandle(painter, arrow->controlPoint, side, SystemColors::orange, zoom);
        return;
    }
    const QRectF box = geometry::bounds(annotation);
    drawMarchingAnts(painter, rectPath(box.adjusted(-3 * zoom, -3 * zoom, 3 * zoom, 3 * zoom)),
                     zoom);
    if (isLocked(annotation)) {
        drawLockBadge(painter, box);
        return;
    }
    for (ResizeHandle handle : allCases<ResizeHandle>()) {
        drawHandle(painter, geometry::handlePoint(handle, box), side, SystemColors::blue, zoom);
    }
}

void drawGroupOutline(QPainter& painter, std::span<const Annotation> annotations,
                      const std::vector<int>& indices, double zoom) {
    std::optional<QRectF> united;
    for (int i : indices) {
        if (i < 0 || static_cast<size_t>(i) >= annotations.size()) {
            continue;
        }
        const QRectF b = geometry::bounds(annotations[static_cast<size_t>(i)]);
        united = united ? geometry::unite(*united, b) : b;
    }
    if (!united) {
        return;
    }
    const double grow = 3 * zoom;
    drawMarchingAnts(painter, rectPath(united->adjusted(-grow, -grow, grow, grow)), 2 * zoom);
}

void drawCropOverlay(QPainter& painter, const QRectF& cropRect, const QRectF& visibleRect,
                     double zoom) {
    QPainterPath dimmed;
    dimmed.setFillRule(Qt::OddEvenFill);
    dimmed.addRect(visibleRect);
    dimmed.addRect(cropRect);
    painter.fillPath(dimmed, QColor::fromRgbF(0, 0, 0, 0.5f));
    painter.strokePath(rectPath(cropRect), QPen(Qt::white, zoom));
    for (ResizeHandle handle : allCases<ResizeHandle>()) {
        drawHandle(painter, geometry::handlePoint(handle, cropRect), geometry::handleSize * zoom,
                   SystemColors::blue, zoom);
    }
}

QString sizeLabelText(const QRectF& rect) {
    return QStringLiteral("%1 × %2 px")
        .arg(static_cast<long long>(std::trunc(rect.width())))
        .arg(static_cast<long long>(std::trunc(rect.height())));
}

QString cursorLabelText(QPointF canvasPoint) {
    const QPointF pixel = geometry::toImage(canvasPoint);
    return QStringLiteral("%1, %2 px")
        .arg(static_cast<long long>(std::trunc(pixel.x())))
        .arg(static_cast<long long>(std::trunc(pixel.y())));
}

} // namespace vellumix::render
