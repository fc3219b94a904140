#include "CanvasDocument.h"
#include "StepLayout.h"
#include "TextLayout.h"
#include "model/Fonts.h"
#include "model/Steps.h"

#include <cmath>

namespace vellumix {

QFont CanvasDocument::textFont(const QPaintDevice* device) const {
    return fontInCanvasUnits(resolveFont(m_style.fontFamily, m_style.fontStyle, 12),
                             m_style.fontSize, device);
}

void CanvasDocument::beginEditing(const QRectF& rect, const QString& text,
                                  std::optional<int> index) {
    const TextAnnotation* edited = nullptr;
    if (index && validIndex(*index)) {
        edited = std::get_if<TextAnnotation>(&m_annotations[static_cast<size_t>(*index)]);
    }
    if (edited) {
        // The toolbar shows the style of the box being edited.
        const TextAnnotation& a = *edited;
        m_style.fontFamily = a.fontFamily;
        m_style.fontStyle = a.fontStyle;
        m_style.fontSize = a.fontSize;
        m_style.alignment = a.alignment;
        m_style.fontColor = a.color;
        m_style.textPadding = a.padding;
        m_style.fillColor = a.backgroundColor;
        m_style.strokeColor = a.strokeColor;
        m_style.lineStyle = a.lineStyle;
        onSelectionChanged.notify({a});
    }
    const double padding = std::max(m_style.textPadding, 0.0);
    const QRectF frame = rect.adjusted(padding, padding, -padding, -padding);
    std::optional<AnnotationID> id;
    if (edited) {
        id = edited->id;
    } else {
        index.reset();
    }
    m_textEditing = TextEditing{rect, index, id, text, frame.height()};
    redisplay();
    onTextEditingStarted.notify();
}

std::optional<TextEditSession> CanvasDocument::session() const {
    if (!m_textEditing) {
        return std::nullopt;
    }
    const double padding = std::max(m_style.textPadding, 0.0);
    TextEditSession s;
    s.editorFrame = m_textEditing->outerRect.adjusted(padding, padding, -padding, -padding);
    s.editorFrame.setHeight(std::max(s.editorFrame.height(), m_textEditing->editorHeight));
    s.text = m_textEditing->text;
    s.font = textFont();
    s.color = m_style.fontColor.toQColor();
    s.alignment = m_style.alignment;
    s.selectAll = !m_textEditing->text.isEmpty();
    return s;
}

std::optional<double> CanvasDocument::textDidChange(const QString& text) {
    if (!m_textEditing) {
        return std::nullopt;
    }
    m_textEditing->text = text;
    const double padding = std::max(m_style.textPadding, 0.0);
    const double width = std::max(m_textEditing->outerRect.width() - 2 * padding, 1.0);
    const double used = TextBoxLayout::height(text, textFont(), width, m_style.alignment);
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
    const double padding = std::max(m_style.textPadding, 0.0);
    if (!cancel && !trimmed.isEmpty()) {
        const double width = std::max(editing.outerRect.width() - 2 * padding, 1.0);
        const double used =
            std::ceil(TextBoxLayout::height(editing.text, textFont(), width, m_style.alignment));
        const QRectF rect(editing.outerRect.x(), editing.outerRect.y(), editing.outerRect.width(),
                          used + 2 * padding);
        // Edited or new, the box is rebuilt from the current style: a new ID and no lock.
        TextAnnotation text = makeText(rect, editing.text, m_style);
        AnnotationList list = m_annotations;
        // A box whose annotation went away while it was edited (undo, delete) is added anew,
        // so the typed text is not lost.
        const bool existing = editing.index && validIndex(*editing.index);
        const auto* before =
            existing ? std::get_if<TextAnnotation>(&list[static_cast<size_t>(*editing.index)])
                     : nullptr;
        if (before && steps::stepNumber(*before)) {
            // A step keeps its look: the new text in the same circle, refitted around its centre.
            TextAnnotation step = *before;
            step.id = text.id;
            step.isLocked = false;
            step.text = editing.text;
            text = steps::refitStep(std::move(step));
        }
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
    onTextEditingEnded.notify();
    redisplay();
}

void CanvasDocument::escapeFromTextEditor() {
    if (!m_textEditing) {
        return;
    }
    const bool empty = m_textEditing->text.trimmed().isEmpty();
    commitTextEditing(empty);
    if (!empty) {
        onRequestTool.notify(Tool::select);
    }
}

void CanvasDocument::followEditedText() {
    if (!m_textEditing || !m_textEditing->id) {
        return;
    }
    const auto& index = m_textEditing->index;
    if (index && validIndex(*index) &&
        idOf(m_annotations[static_cast<size_t>(*index)]) == *m_textEditing->id) {
        return;
    }
    m_textEditing->index.reset();
    for (size_t i = 0; i < m_annotations.size(); ++i) {
        if (kindOf(m_annotations[i]) == AnnotationKind::text &&
            idOf(m_annotations[i]) == *m_textEditing->id) {
            m_textEditing->index = static_cast<int>(i);
            return;
        }
    }
}

} // namespace vellumix
