#include "StyleSwatch.h"

#include "AnnotationRenderer.h"
#include "TextLayout.h"
#include "model/Fonts.h"

#include <algorithm>
#include <cmath>

namespace vellumix::render {

namespace {

// Widths from 1 to 24 map onto 1 … a third of the swatch's height, monotonically.
double swatchLineWidth(double width, double height) {
    const double widest = std::max(1.0, height / 3);
    const double t = std::clamp(std::sqrt(std::max(width, 0.0) / 24.0), 0.0, 1.0);
    return width <= 0 ? 0 : 1 + (widest - 1) * t;
}

QPainterPath wave(const QRectF& box) {
    QPainterPath path(QPointF(box.left(), box.center().y()));
    const double quarter = box.width() / 4;
    for (int i = 0; i < 4; ++i) {
        const double x = box.left() + quarter * i;
        const double lift = (i % 2 == 0 ? -1 : 1) * box.height() / 2;
        path.quadTo(x + quarter / 2, box.center().y() + lift, x + quarter, box.center().y());
    }
    return path;
}

} // namespace

QImage styleSwatch(const AnnotationStyle& style, Tool tool, QSizeF size, qreal devicePixelRatio) {
    const qreal ratio = devicePixelRatio > 0 ? devicePixelRatio : 1;
    QImage image(QSize(std::max(1, int(std::ceil(size.width() * ratio))),
                       std::max(1, int(std::ceil(size.height() * ratio)))),
                 QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);

    AnnotationStyle s = style;
    s.lineWidth = swatchLineWidth(style.lineWidth, size.height());
    s.cornerRadius = std::min(style.cornerRadius, size.height() / 3);
    const double inset = std::max(1.0, s.lineWidth / 2 + 0.5);
    const QRectF box = QRectF(QPointF(0, 0), size).adjusted(inset, inset, -inset, -inset);

    switch (tool) {
    case Tool::oval:
        drawShape(painter, makeShape(ShapeAnnotation::Shape::oval, box, s));
        break;
    case Tool::arrow:
        drawArrow(painter, makeArrow({box.left(), box.bottom()}, {box.right(), box.top()},
                                     box.center(), s, ArrowEndCap::triangle));
        break;
    case Tool::draw: {
        QPainterPath path = wave(box);
        drawStroke(painter, makeStroke(path, s));
        break;
    }
    case Tool::text: {
        TextAnnotation text = makeText(box, QStringLiteral("Aa"), s);
        text.padding = 0;
        text.alignment = TextAlignment::center;
        // The sample keeps the family and style; its size fits the swatch.
        text.fontSize = box.height() * 0.8;
        drawText(painter, text);
        break;
    }
    default:
        drawShape(painter, makeShape(ShapeAnnotation::Shape::rect, box, s));
        break;
    }
    return image;
}

} // namespace vellumix::render
