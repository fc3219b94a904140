#include "EditorModel.h"
#include "EditorValueTables.h"
#include "canvas/CanvasDocument.h"
#include "model/Fonts.h"

namespace vellumix {

namespace {

// A change of one attribute, the others left as they are.
template <class T> StyleChange only(std::optional<T> StyleChange::*field, const T& value) {
    StyleChange change;
    change.*field = value;
    return change;
}

} // namespace

AnnotationStyle styleOf(const Annotation& annotation, const AnnotationStyle& base) {
    AnnotationStyle s = base;
    std::visit(
        [&s](const auto& a) {
            using T = std::decay_t<decltype(a)>;
            if constexpr (std::is_same_v<T, ShapeAnnotation>) {
                s.strokeColor = a.strokeColor.opaque();
                s.fillColor = a.fillColor.opaque();
                s.lineWidth = a.lineWidth;
                s.cornerRadius = a.cornerRadius;
                s.lineStyle = a.lineStyle;
            } else if constexpr (std::is_same_v<T, StrokeAnnotation>) {
                s.strokeColor = a.color.opaque();
                s.lineWidth = a.lineWidth;
                s.lineStyle = a.lineStyle;
            } else if constexpr (std::is_same_v<T, ArrowAnnotation>) {
                s.strokeColor = a.color.opaque();
                s.lineWidth = a.lineWidth;
            } else if constexpr (std::is_same_v<T, TextAnnotation>) {
                s.fontFamily = a.fontFamily;
                s.fontStyle = a.fontStyle;
                s.fontSize = a.fontSize;
                s.alignment = a.alignment;
                s.fontColor = a.color.opaque();
                s.textPadding = a.padding;
                s.fillColor = a.backgroundColor.opaque();
                s.strokeColor = a.strokeColor.opaque();
                s.lineWidth = a.lineWidth;
                s.cornerRadius = a.cornerRadius;
                s.lineStyle = a.lineStyle;
            }
        },
        annotation);
    // An overlay's opacity is its own, not a style's.
    if (kindOf(annotation) != AnnotationKind::overlay) {
        s.opacity = effectiveOpacity(annotation);
    }
    return s;
}

QString fontStyleName(bool bold, bool italic) {
    if (bold && italic) {
        return FontStyleNames::boldItalic;
    }
    if (bold) {
        return FontStyleNames::bold;
    }
    if (italic) {
        return FontStyleNames::italic;
    }
    return FontStyleNames::regular;
}

AnnotationStyle EditorModel::currentStyle() const {
    AnnotationStyle s;
    s.strokeColor = m_strokeColor;
    s.fillColor = m_fillColor;
    s.lineWidth = m_lineWidth;
    s.cornerRadius = m_cornerRadius;
    s.opacity = m_opacity;
    s.lineStyle = m_lineStyle;
    s.fontFamily = m_fontFamily;
    s.fontStyle = m_fontStyle;
    s.fontSize = m_fontSize;
    s.alignment = m_alignment;
    s.textPadding = m_textPadding;
    s.fontColor = m_fontColor;
    return s;
}

Color EditorModel::canvasColor(const Color& color) const {
    // Opacity travels in the alpha of every colour the canvas draws with; clear stays clear.
    return color.isClear() ? Color::clear() : color.withAlpha(m_opacity);
}

void EditorModel::pushStyleToCanvas() {
    AnnotationStyle s = currentStyle();
    s.strokeColor = canvasColor(m_strokeColor);
    s.fillColor = canvasColor(m_fillColor);
    s.fontColor = canvasColor(m_fontColor);
    m_document.setStyle(s);
}

void EditorModel::loadStyle(const AnnotationStyle& style) {
    Batch batch(*this);
    m_strokeColor = style.strokeColor.opaque();
    m_fillColor = style.fillColor.opaque();
    m_fontColor = style.fontColor.opaque();
    m_opacity = style.opacity;
    m_lineWidth = style.lineWidth;
    m_cornerRadius = style.cornerRadius;
    m_lineStyle = style.lineStyle;
    m_fontFamily = style.fontFamily;
    m_fontStyle = style.fontStyle;
    m_fontSize = style.fontSize;
    m_alignment = style.alignment;
    m_textPadding = style.textPadding;
    pushStyleToCanvas();
}

void EditorModel::commitChange(const StyleChange& change) {
    m_document.restyleSelection(change);
    saveCurrentStyle();
}

void EditorModel::saveCurrentStyle() {
    if (const auto tool = styleTarget()) {
        m_toolStyles[*tool] = currentStyle();
    }
}

// --- Colours ---------------------------------------------------------------------------------

void EditorModel::strokeColorChanged(const Color& color) {
    Batch batch(*this);
    m_strokeColor = color.opaque();
    m_document.setStrokeColor(canvasColor(m_strokeColor));
    commitChange(only(&StyleChange::strokeColor, canvasColor(m_strokeColor)));
}

void EditorModel::fillColorChanged(const Color& color) {
    Batch batch(*this);
    m_fillColor = color.opaque();
    m_document.setFillColor(canvasColor(m_fillColor));
    commitChange(only(&StyleChange::fillColor, canvasColor(m_fillColor)));
}

void EditorModel::clearStrokeColor() {
    strokeColorChanged(Color::clear());
}

void EditorModel::clearFillColor() {
    fillColorChanged(Color::clear());
}

void EditorModel::fontColorChanged(const Color& color) {
    Batch batch(*this);
    m_fontColor = color.opaque();
    m_document.setFontColor(canvasColor(m_fontColor));
    commitChange(only(&StyleChange::fontColor, canvasColor(m_fontColor)));
}

// --- Pop-ups and segments --------------------------------------------------------------------

void EditorModel::opacityChanged(int index) {
    const auto value = valueTables::opacity().valueAt(index);
    if (!value) {
        return;
    }
    Batch batch(*this);
    m_opacity = *value;
    m_document.setStrokeColor(canvasColor(m_strokeColor));
    m_document.setFillColor(canvasColor(m_fillColor));
    m_document.setFontColor(canvasColor(m_fontColor));
    commitChange(only(&StyleChange::opacity, m_opacity));
}

void EditorModel::lineWidthChanged(int index) {
    const auto value = valueTables::lineWidth().valueAt(index);
    if (!value) {
        return;
    }
    Batch batch(*this);
    m_lineWidth = *value;
    m_document.setLineWidth(m_lineWidth);
    commitChange(only(&StyleChange::lineWidth, m_lineWidth));
}

void EditorModel::lineStyleChanged(int index) {
    const auto value = valueTables::linePattern().valueAt(index);
    if (!value) {
        return;
    }
    Batch batch(*this);
    m_lineStyle = *value;
    m_document.setLineStyle(m_lineStyle);
    commitChange(only(&StyleChange::lineStyle, m_lineStyle));
}

void EditorModel::cornerRadiusChanged(int index) {
    const auto value = valueTables::cornerRadius().valueAt(index);
    if (!value) {
        return;
    }
    Batch batch(*this);
    m_cornerRadius = *value;
    m_document.setCornerRadius(m_cornerRadius);
    commitChange(only(&StyleChange::cornerRadius, m_cornerRadius));
}

void EditorModel::fontFamilyChanged(int index) {
    const auto value = valueTables::fontFamily().valueAt(index);
    if (!value) {
        return;
    }
    Batch batch(*this);
    m_fontFamily = *value;
    m_document.setFontFamily(m_fontFamily);
    commitChange(only(&StyleChange::fontFamily, m_fontFamily));
}

void EditorModel::fontSizeChanged(int index) {
    const auto value = valueTables::fontSize().valueAt(index);
    if (!value) {
        return;
    }
    Batch batch(*this);
    m_fontSize = *value;
    m_document.setFontSize(m_fontSize);
    commitChange(only(&StyleChange::fontSize, m_fontSize));
}

void EditorModel::textPaddingChanged(int index) {
    const auto value = valueTables::textPadding().valueAt(index);
    if (!value) {
        return;
    }
    Batch batch(*this);
    m_textPadding = *value;
    m_document.setTextPadding(m_textPadding);
    commitChange(only(&StyleChange::textPadding, m_textPadding));
}

void EditorModel::alignmentChanged(int index) {
    if (index < 0 || static_cast<size_t>(index) >= caseCount<TextAlignment>()) {
        return;
    }
    Batch batch(*this);
    m_alignment = static_cast<TextAlignment>(index);
    m_document.setAlignment(m_alignment);
    commitChange(only(&StyleChange::alignment, m_alignment));
}

void EditorModel::fontStyleChanged(bool bold, bool italic) {
    Batch batch(*this);
    m_fontStyle = fontStyleName(bold, italic);
    m_document.setFontStyle(m_fontStyle);
    commitChange(only(&StyleChange::fontStyle, m_fontStyle));
}

// --- Presets ---------------------------------------------------------------------------------

void EditorModel::applyStylePreset(const AnnotationStyle& style, Tool tool) {
    Batch batch(*this);
    // Presets do not store a line pattern, so none is applied.
    StyleChange change;
    change.strokeColor = style.strokeColor.opaque();
    change.fillColor = style.fillColor.opaque();
    change.lineWidth = style.lineWidth;
    change.cornerRadius = style.cornerRadius;
    change.opacity = style.opacity;
    if (tool == Tool::text) {
        change.fontFamily = style.fontFamily;
        change.fontStyle = style.fontStyle;
        change.fontSize = style.fontSize;
        change.alignment = style.alignment;
        change.textPadding = style.textPadding;
        change.fontColor = style.fontColor.opaque();
    }
    m_document.restyleSelection(change);
    if (!isStyleCarrying(tool)) {
        return;
    }
    AnnotationStyle entry = style;
    entry.lineStyle = m_toolStyles.at(tool).lineStyle;
    m_toolStyles[tool] = entry;
    if (styleTarget() == tool) {
        loadStyle(entry);
    }
}

} // namespace vellumix
