#include "AnnotationStyle.h"

#include <cmath>
#include <initializer_list>

namespace vellumix {

namespace {

double firstVisibleAlpha(std::initializer_list<Color> colors) {
    for (const Color& c : colors) {
        if (c.alpha > 0) {
            return c.alpha;
        }
    }
    return 1;
}

} // namespace

const AnnotationStyle& AnnotationStyle::defaultStyle() {
    static const AnnotationStyle style;
    return style;
}

ShapeAnnotation makeShape(ShapeAnnotation::Shape shape, const QRectF& rect,
                          const AnnotationStyle& style) {
    ShapeAnnotation a;
    a.shape = shape;
    a.rect = rect;
    a.strokeColor = style.strokeColor;
    a.fillColor = style.fillColor;
    a.lineWidth = style.lineWidth;
    a.cornerRadius = style.cornerRadius;
    a.lineStyle = style.lineStyle;
    return a;
}

StrokeAnnotation makeStroke(const QPainterPath& path, const AnnotationStyle& style) {
    StrokeAnnotation a;
    a.path = path;
    a.color = style.strokeColor;
    a.lineWidth = style.lineWidth;
    a.lineStyle = style.lineStyle;
    return a;
}

ArrowAnnotation makeArrow(QPointF start, QPointF end, QPointF controlPoint,
                          const AnnotationStyle& style, ArrowEndCap endCap) {
    ArrowAnnotation a;
    a.start = start;
    a.end = end;
    a.controlPoint = controlPoint;
    a.color = style.strokeColor;
    a.lineWidth = style.lineWidth;
    a.endCap = endCap;
    return a;
}

TextAnnotation makeText(const QRectF& rect, const QString& text, const AnnotationStyle& style) {
    TextAnnotation a;
    a.rect = rect;
    a.text = text;
    a.fontFamily = style.fontFamily;
    a.fontStyle = style.fontStyle;
    a.fontSize = style.fontSize;
    a.alignment = style.alignment;
    a.color = style.fontColor;
    a.padding = style.textPadding;
    a.backgroundColor = style.fillColor;
    a.strokeColor = style.strokeColor;
    a.lineWidth = style.lineWidth;
    a.cornerRadius = style.cornerRadius;
    a.lineStyle = style.lineStyle;
    return a;
}

double effectiveOpacity(const Annotation& annotation) {
    switch (kindOf(annotation)) {
    case AnnotationKind::shape: {
        const auto& a = std::get<ShapeAnnotation>(annotation);
        return firstVisibleAlpha({a.strokeColor, a.fillColor});
    }
    case AnnotationKind::stroke:
        return firstVisibleAlpha({std::get<StrokeAnnotation>(annotation).color});
    case AnnotationKind::arrow:
        return firstVisibleAlpha({std::get<ArrowAnnotation>(annotation).color});
    case AnnotationKind::text: {
        const auto& a = std::get<TextAnnotation>(annotation);
        return firstVisibleAlpha({a.color, a.strokeColor, a.backgroundColor});
    }
    case AnnotationKind::overlay:
        break;
    }
    return 1;
}

bool matchesStyle(const Annotation& annotation, const AnnotationStyle& style) {
    if (std::abs(effectiveOpacity(annotation) - style.opacity) > 0.01) {
        return false;
    }
    switch (kindOf(annotation)) {
    case AnnotationKind::shape: {
        const auto& a = std::get<ShapeAnnotation>(annotation);
        return a.strokeColor.opaque() == style.strokeColor &&
               a.fillColor.opaque() == style.fillColor && a.lineWidth == style.lineWidth &&
               a.cornerRadius == style.cornerRadius;
    }
    case AnnotationKind::stroke: {
        const auto& a = std::get<StrokeAnnotation>(annotation);
        return a.color.opaque() == style.strokeColor && a.lineWidth == style.lineWidth;
    }
    case AnnotationKind::arrow: {
        const auto& a = std::get<ArrowAnnotation>(annotation);
        return a.color.opaque() == style.strokeColor && a.lineWidth == style.lineWidth;
    }
    case AnnotationKind::text: {
        const auto& a = std::get<TextAnnotation>(annotation);
        return a.color.opaque() == style.fontColor &&
               a.backgroundColor.opaque() == style.fillColor &&
               a.strokeColor.opaque() == style.strokeColor && a.lineWidth == style.lineWidth &&
               a.cornerRadius == style.cornerRadius && a.fontFamily == style.fontFamily &&
               a.fontStyle == style.fontStyle && a.fontSize == style.fontSize &&
               a.padding == style.textPadding && a.alignment == style.alignment;
    }
    case AnnotationKind::overlay:
        return false;
    }
    return false;
}

} // namespace vellumix
