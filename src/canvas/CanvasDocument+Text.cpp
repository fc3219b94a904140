#include "CanvasDocument.h"
#include "TextLayout.h"
#include "model/Fonts.h"

#include <cmath>

namespace vellumix {

QFont CanvasDocument::textFont(const QPaintDevice* device) const {
    return fontInCanvasUnits(resolveFont(style.fontFamily, style.fontStyle, 12), style.fontSize,
                             device);
}

void CanvasDocument::beginEditing(const QRectF& rect, const QString& text,
                                  std::optional<int> index) {
    if (index && validIndex(*index)) {
        // The toolbar shows the style of the box being edited.
        const auto& a = std::get<TextAnnotation>(m_annotations[static_cast<size_t>(*index)]);
        style.fontFamily = a.fontFamily;
        style.fontStyle = a.fontStyle;
        style.fontSize = a.fontSize;
        style.alignment = a.alignment;
        style.fontColor = a.color;
        style.textPadding = a.padding;
        style.fillColor = a.backgroundColor;
        style.strokeColor = a.strokeColor;
        style.lineStyle = a.lineStyle;
        if (onSelectionChanged) {
            onSelectionChanged({a});
        }
    }
    const double padding = std::max(style.textPadding, 0.0);
    const QRectF frame = rect.adjusted(padding, padding, -padding, -padding);
    m_textEditing = TextEditing{rect, index, text, frame.height()};
    redisplay();
    if (onTextEditingStarted) {
        onTextEditingStarted();
    }
}

std::optional<TextEditSession> CanvasDocument::session() const {
    if (!m_textEditing) {
        return std::nullopt;
    }
    const double padding = std::max(style.textPadding, 0.0);
    TextEditSession s;
    s.editorFrame = m_textEditing->outerRect.adjusted(padding, padding, -padding, -padding);
    s.editorFrame.setHeight(std::max(s.editorFrame.height(), m_textEditing->editorHeight));
    s.text = m_textEditing->text;
    s.font = textFont();
    s.color = style.fontColor.toQColor();
    s.alignment = style.alignment;
    s.selectAll = !m_textEditing->text.isEmpty();
    return s;
}

std::optional<double> CanvasDocument::textDidChange(const QString& text) {
    if (!m_textEditing) {
        return std::nullopt;
    }
    m_textEditing->text = text;
    const double padding = std::max(style.textPadding, 0.0);
    const double width = std::max(m_textEditing->outerRect.width() - 2 * padding, 1.0);
    const double used = TextBoxLayout::height(text, textFont(), width, style.alignment);
    const double wanted = std::ceil(used) + 4;
    if (wanted <= m_textEditing->editorHeight) {
        return std::nullopt; // never shrinks while typing
    }
    m_textEditing->editorHeight = wanted;
    m_textEditing->outerRect.setHeight(wanted + 2 * padding);
    redisplay();
    return wanted;
}

void CanvasDocument::commitTextEditing(bool cancel) {
    if (!m_textEditing || m_isCommittingText) {
        return;
    }
    m_isCommittingText = true;
    const TextEditing editing = *m_textEditing;
    m_textEditing.reset();
    const QString trimmed = editing.text.trimmed();
    const double padding = std::max(style.textPadding, 0.0);
    if (!cancel && !trimmed.isEmpty()) {
        const double width = std::max(editing.outerRect.width() - 2 * padding, 1.0);
        const double used =
            std::ceil(TextBoxLayout::height(editing.text, textFont(), width, style.alignment));
        const QRectF rect(editing.outerRect.x(), editing.outerRect.y(), editing.outerRect.width(),
                          used + 2 * padding);
        // Edited or new, the box is rebuilt from the current style: a new ID and no lock.
        TextAnnotation text = makeText(rect, editing.text, style);
        AnnotationList list = m_annotations;
        const bool existing = editing.index && validIndex(*editing.index);
        if (existing) {
            list[static_cast<size_t>(*editing.index)] = text;
            m_lastSelected = {*editing.index};
        } else {
            list.push_back(text);
            m_lastSelected = {static_cast<int>(list.size()) - 1};
        }
        replaceAnnotations(std::move(list),
                           existing ? QStringLiteral("Edit Text") : QStringLiteral("Add Text"));
    }
    m_isCommittingText = false;
    if (onTextEditingEnded) {
        onTextEditingEnded();
    }
    redisplay();
}

void CanvasDocument::escapeFromTextEditor() {
    if (!m_textEditing) {
        return;
    }
    const bool empty = m_textEditing->text.trimmed().isEmpty();
    commitTextEditing(empty);
    if (!empty && onRequestTool) {
        onRequestTool(Tool::select);
    }
}

void CanvasDocument::styleDidChange() {
    if (m_textEditing && onTextEditingStyleChanged) {
        onTextEditingStyleChanged();
    }
    redisplay();
}

} // namespace vellumix
