#include "AnnotationRenderer.h"
#include "TextLayout.h"
#include "model/AnnotationGeometry.h"
#include "model/Fonts.h"

#include <limits>

namespace vellumix::render {

QList<qreal> dashPattern(LineStyle style, double width) {
    const double w = width;
    switch (style) {
    case LineStyle::dotted:
        return {0, 1.75 * w};
    case LineStyle::dashed:
        return {2.25 * w, 1.75 * w};
    case LineStyle::dashDot:
        return {2.25 * w, 1.75 * w, 0, 1.75 * w};
    case LineStyle::solid:
        break;
    }
    return {};
}

QPen strokePen(const Color& color, double width, LineStyle style) {
    QPen pen(color.toQColor(), width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    const QList<qreal> dashes = dashPattern(style, width);
    if (!dashes.isEmpty() && width > 0) {
        // Qt measures dashes in pen widths, and skips zero-length dashes where round caps
        // should leave a dot; a sliver of a dash keeps the dot.
        QList<qreal> relative;
        relative.reserve(dashes.size());
        for (qreal d : dashes) {
            relative.append(d > 0 ? d / width : 1e-3);
        }
        pen.setDashPattern(relative);
    }
    return pen;
}

QPainterPath boxPath(const QRectF& rect, double cornerRadius) {
    QPainterPath path;
    if (cornerRadius > 0) {
        path.addRoundedRect(rect, cornerRadius, cornerRadius);
    } else {
        path.addRect(rect);
    }
    return path;
}

namespace {

// Fill, then outline; clear colours and zero widths draw nothing.
void fillAndStroke(QPainter& painter, const QPainterPath& path, const Color& fill,
                   const Color& stroke, double lineWidth, LineStyle style) {
    if (fill.alpha > 0) {
        painter.fillPath(path, fill.toQColor());
    }
    if (lineWidth > 0 && stroke.alpha > 0) {
        painter.strokePath(path, strokePen(stroke, lineWidth, style));
    }
}

} // namespace

void drawShape(QPainter& painter, const ShapeAnnotation& shape) {
    QPainterPath path;
    if (shape.shape == ShapeAnnotation::Shape::oval) {
        path.addEllipse(shape.rect);
    } else {
        path = boxPath(shape.rect, shape.cornerRadius);
    }
    fillAndStroke(painter, path, shape.fillColor, shape.strokeColor, shape.lineWidth,
                  shape.lineStyle);
}

void drawStroke(QPainter& painter, const StrokeAnnotation& stroke) {
    if (stroke.lineWidth <= 0 || stroke.color.alpha <= 0) {
        return;
    }
    painter.strokePath(stroke.path, strokePen(stroke.color, stroke.lineWidth, stroke.lineStyle));
}

void drawArrow(QPainter& painter, const ArrowAnnotation& arrow) {
    if (arrow.color.alpha <= 0) {
        return;
    }
    const QColor color = arrow.color.toQColor();
    if (arrow.lineWidth > 0) {
        QPen pen(color, arrow.lineWidth, Qt::SolidLine, Qt::RoundCap, Qt::MiterJoin);
        painter.strokePath(geometry::arrowShaftPath(arrow), pen);
    }
    for (const QPainterPath& cap : geometry::arrowCapPaths(arrow)) {
        painter.fillPath(cap, color);
    }
}

void drawText(QPainter& painter, const TextAnnotation& text) {
    const QPainterPath box = boxPath(text.rect, text.cornerRadius);
    fillAndStroke(painter, box, text.backgroundColor, text.strokeColor, text.lineWidth,
                  text.lineStyle);
    if (text.text.isEmpty() || text.color.alpha <= 0) {
        return;
    }
    const QRectF layoutRect = text.padding > 0 ? text.rect.adjusted(text.padding, text.padding,
                                                                    -text.padding, -text.padding)
                                               : text.rect;
    const QFont font = fontInCanvasUnits(resolveFont(text.fontFamily, text.fontStyle, 12),
                                         text.fontSize, painter.device());
    TextBoxLayout::draw(painter, text.text, font, layoutRect, text.alignment,
                        text.color.toQColor());
}

void drawOverlay(QPainter& painter, const OverlayAnnotation& overlay) {
    if (overlay.image.isNull() || overlay.opacity <= 0) {
        return;
    }
    painter.save();
    painter.setOpacity(std::min(overlay.opacity, 1.0));
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(overlay.rect, overlay.image);
    painter.restore();
}

void drawAnnotation(QPainter& painter, const Annotation& annotation) {
    std::visit(
        [&painter](const auto& a) {
            using T = std::decay_t<decltype(a)>;
            if constexpr (std::is_same_v<T, ShapeAnnotation>) {
                drawShape(painter, a);
            } else if constexpr (std::is_same_v<T, StrokeAnnotation>) {
                drawStroke(painter, a);
            } else if constexpr (std::is_same_v<T, ArrowAnnotation>) {
                drawArrow(painter, a);
            } else if constexpr (std::is_same_v<T, TextAnnotation>) {
                drawText(painter, a);
            } else {
                drawOverlay(painter, a);
            }
        },
        annotation);
}

QRectF paintedExtent(const Annotation& annotation) {
    const QRectF box = geometry::bounds(annotation).normalized();
    return std::visit(
        [&box](const auto& a) -> QRectF {
            using T = std::decay_t<decltype(a)>;
            if constexpr (std::is_same_v<T, OverlayAnnotation>) {
                return box;
            } else if constexpr (std::is_same_v<T, TextAnnotation>) {
                const double m = a.lineWidth / 2 + 1;
                return box.adjusted(-m, -m, m, std::numeric_limits<double>::max() / 4);
            } else {
                // Half the line width beyond the path, plus miters and antialiasing.
                const double m = std::max(a.lineWidth, 0.0) * 2 + 2;
                return box.adjusted(-m, -m, m, m);
            }
        },
        annotation);
}

void drawAnnotations(QPainter& painter, std::span<const Annotation> annotations,
                     const std::optional<AnnotationIDSet>& only, std::optional<int> skipIndex,
                     const std::optional<QRectF>& area) {
    for (size_t i = 0; i < annotations.size(); ++i) {
        if (skipIndex && static_cast<size_t>(*skipIndex) == i) {
            continue;
        }
        if (only && !only->contains(idOf(annotations[i]))) {
            continue;
        }
        if (area && !paintedExtent(annotations[i]).intersects(*area)) {
            continue;
        }
        drawAnnotation(painter, annotations[i]);
    }
}

} // namespace vellumix::render
