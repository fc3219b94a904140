#pragma once

#include "AnnotationID.h"
#include "Color.h"
#include "Enums.h"

#include <QImage>
#include <QPainterPath>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <optional>
#include <variant>
#include <vector>

namespace vellumix {

/// A rectangle or an ellipse inscribed in `rect`.
struct ShapeAnnotation {
    enum class Shape { rect, oval };

    AnnotationID id = AnnotationID::generate();
    Shape shape = Shape::rect;
    QRectF rect;
    Color strokeColor;
    Color fillColor = Color::clear();
    double lineWidth = 2;
    double cornerRadius = 0;
    LineStyle lineStyle = LineStyle::solid;
    bool isLocked = false;
};

/// A free-hand pen stroke: a move-to followed by straight line-to segments.
struct StrokeAnnotation {
    AnnotationID id = AnnotationID::generate();
    QPainterPath path;
    Color color;
    double lineWidth = 2;
    LineStyle lineStyle = LineStyle::solid;
    bool isLocked = false;
};

/// A curved arrow: a quadratic shaft from `start` to `end` bent towards `controlPoint`.
struct ArrowAnnotation {
    AnnotationID id = AnnotationID::generate();
    QPointF start;
    QPointF end;
    QPointF controlPoint;
    Color color;
    double lineWidth = 2;
    ArrowEndCap endCap = ArrowEndCap::triangle;
    bool isLocked = false;
};

/// A text box with its own font, colours and border.
struct TextAnnotation {
    AnnotationID id = AnnotationID::generate();
    QRectF rect;
    QString text;
    QString fontFamily = QStringLiteral("System");
    QString fontStyle = QStringLiteral("Regular");
    double fontSize = 16;
    TextAlignment alignment = TextAlignment::left;
    Color color;
    double padding = 6;
    Color backgroundColor = Color::clear();
    Color strokeColor = Color::clear();
    double lineWidth = 2;
    double cornerRadius = 0;
    LineStyle lineStyle = LineStyle::solid;
    bool isLocked = false;
};

/// An image drawn over the base image, scaled to fill `rect`.
struct OverlayAnnotation {
    AnnotationID id = AnnotationID::generate();
    QRectF rect;
    QImage image;
    double opacity = 1;
    std::optional<QString> overlayRef;
    bool isLocked = false;
};

/// One annotation; the alternatives are in the fixed kind order shape, stroke, arrow, text,
/// overlay. A value: edits build a modified copy.
using Annotation = std::variant<ShapeAnnotation, StrokeAnnotation, ArrowAnnotation, TextAnnotation,
                                OverlayAnnotation>;
using AnnotationList = std::vector<Annotation>;

enum class AnnotationKind { shape, stroke, arrow, text, overlay };

template <> struct EnumNames<AnnotationKind> {
    static constexpr std::array<QStringView, 5> names{u"shape", u"stroke", u"arrow", u"text",
                                                      u"overlay"};
};
template <> struct EnumNames<ShapeAnnotation::Shape> {
    static constexpr std::array<QStringView, 2> names{u"rect", u"oval"};
};

inline std::optional<ShapeAnnotation::Shape> parseShape(QStringView raw) {
    return parseEnum<ShapeAnnotation::Shape>(raw);
}

AnnotationKind kindOf(const Annotation& annotation);
const AnnotationID& idOf(const Annotation& annotation);
bool isLocked(const Annotation& annotation);
Annotation withLocked(Annotation annotation, bool locked);
Annotation withID(Annotation annotation, AnnotationID id);

/// The tool that draws annotations of this kind (shapes by their shape).
Tool toolFor(const Annotation& annotation);

} // namespace vellumix
