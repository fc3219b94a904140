#include "CanvasDocument.h"

namespace vellumix {

void CanvasDocument::setStyle(const AnnotationStyle& style) {
    if (style == m_style) {
        return;
    }
    m_style = style;
    // The open editor shows the box in the current style, frame inset included.
    if (m_textEditing) {
        onTextEditingStyleChanged.notify();
    }
    redisplay();
}

template <class T> void CanvasDocument::setStyleField(T AnnotationStyle::*field, const T& value) {
    AnnotationStyle next = m_style;
    next.*field = value;
    setStyle(next);
}

void CanvasDocument::setStrokeColor(const Color& color) {
    setStyleField(&AnnotationStyle::strokeColor, color);
}
void CanvasDocument::setFillColor(const Color& color) {
    setStyleField(&AnnotationStyle::fillColor, color);
}
void CanvasDocument::setLineWidth(double width) {
    setStyleField(&AnnotationStyle::lineWidth, width);
}
void CanvasDocument::setCornerRadius(double radius) {
    setStyleField(&AnnotationStyle::cornerRadius, radius);
}
void CanvasDocument::setLineStyle(LineStyle lineStyle) {
    setStyleField(&AnnotationStyle::lineStyle, lineStyle);
}
void CanvasDocument::setFontFamily(const QString& family) {
    setStyleField(&AnnotationStyle::fontFamily, family);
}
void CanvasDocument::setFontStyle(const QString& fontStyle) {
    setStyleField(&AnnotationStyle::fontStyle, fontStyle);
}
void CanvasDocument::setFontSize(double size) {
    setStyleField(&AnnotationStyle::fontSize, size);
}
void CanvasDocument::setAlignment(TextAlignment alignment) {
    setStyleField(&AnnotationStyle::alignment, alignment);
}
void CanvasDocument::setTextPadding(double padding) {
    setStyleField(&AnnotationStyle::textPadding, padding);
}
void CanvasDocument::setFontColor(const Color& color) {
    setStyleField(&AnnotationStyle::fontColor, color);
}

std::optional<QImage> CanvasDocument::flatten(const render::FlattenOptions& options) {
    commitTextEditing(false);
    // No chrome can reach the output: the selection is hidden while the bitmap is drawn.
    const std::set<int> selection = m_selected;
    m_selected.clear();
    auto image = render::renderFlattened(m_image, m_annotations, options);
    m_selected = selection;
    std::erase_if(m_selected, [this](int i) { return !validIndex(i); });
    redisplay();
    return image;
}

} // namespace vellumix
