#include "StepLayout.h"

#include "TextLayout.h"
#include "model/Fonts.h"

#include <algorithm>
#include <cmath>

namespace vellumix::steps {

namespace {

// The circle is twice the font size across; a number keeps at least a fifth of the size clear
// on each side before the circle grows.
constexpr double sidePerPoint = 2;
constexpr double minimumMarginPerPoint = 0.2;
// Room so that a line measured here does not wrap on a device that measures a little wider.
constexpr double widthSlack = 1;

} // namespace

Color stepColor(const AnnotationStyle& style) {
    if (!style.fillColor.isClear()) {
        return style.fillColor;
    }
    if (!style.strokeColor.isClear()) {
        return style.strokeColor;
    }
    return SystemColors::red.withAlpha(std::clamp(style.opacity, 0.0, 1.0));
}

TextAnnotation refitStep(TextAnnotation step) {
    const double size = std::isfinite(step.fontSize) && step.fontSize > 0 ? step.fontSize : 16;
    const QFont font =
        fontInCanvasUnits(resolveFont(step.fontFamily, step.fontStyle, 12), size, nullptr);
    const double lineHeight =
        TextBoxLayout::height(step.text, font, 1e6, TextAlignment::center, nullptr);
    const double lineWidth = TextBoxLayout::naturalWidth(step.text, font, nullptr) + widthSlack;
    // The text box is square too: as tall as the line, as wide as the number needs.
    const double inner = std::max(lineHeight, lineWidth);
    const double side =
        std::ceil(std::max(sidePerPoint * size, inner + 2 * minimumMarginPerPoint * size));
    const QPointF centre = step.rect.center();
    step.rect = QRectF(centre.x() - side / 2, centre.y() - side / 2, side, side);
    step.padding = (side - inner) / 2;
    step.cornerRadius = side / 2;
    step.alignment = TextAlignment::center;
    return step;
}

TextAnnotation makeStep(int number, QPointF centre, const AnnotationStyle& style) {
    const Color fill = stepColor(style);
    TextAnnotation step;
    step.rect = QRectF(centre, QSizeF(0, 0));
    step.text = QString::number(number);
    step.fontFamily = systemFontFamily;
    step.fontStyle = FontStyleNames::bold;
    step.fontSize = style.fontSize;
    step.color = Color::white().withAlpha(fill.alpha);
    step.backgroundColor = fill;
    step.strokeColor = Color::clear();
    step.lineWidth = 0;
    step.lineStyle = LineStyle::solid;
    return refitStep(std::move(step));
}

} // namespace vellumix::steps
