#pragma once

#include "Annotation.h"

namespace vellumix {

/// The style the toolbar edits for one drawing tool and that presets store.
struct AnnotationStyle {
    Color strokeColor = SystemColors::red;
    Color fillColor = Color::clear();
    double lineWidth = 2;
    double cornerRadius = 0;
    double opacity = 1;
    LineStyle lineStyle = LineStyle::solid;
    QString fontFamily = QStringLiteral("System");
    QString fontStyle = QStringLiteral("Regular");
    double fontSize = 16;
    TextAlignment alignment = TextAlignment::left;
    double textPadding = 6;
    Color fontColor = SystemColors::red;

    /// The single default every tool and the canvas start with.
    static const AnnotationStyle& defaultStyle();

    friend bool operator==(const AnnotationStyle&, const AnnotationStyle&) = default;
};

// Building annotations from a style: each kind takes only the style fields that apply to it.
ShapeAnnotation makeShape(ShapeAnnotation::Shape shape, const QRectF& rect,
                          const AnnotationStyle& style);
StrokeAnnotation makeStroke(const QPainterPath& path, const AnnotationStyle& style);
ArrowAnnotation makeArrow(QPointF start, QPointF end, QPointF controlPoint,
                          const AnnotationStyle& style, ArrowEndCap endCap);
TextAnnotation makeText(const QRectF& rect, const QString& text, const AnnotationStyle& style);

/// The alpha of the first non-clear colour of the kind (1 when all are clear or for overlays).
double effectiveOpacity(const Annotation& annotation);

/// Whether the annotation already carries `style`; line style is not compared and overlays
/// never match.
bool matchesStyle(const Annotation& annotation, const AnnotationStyle& style);

} // namespace vellumix
