#include "EditorModel.h"
#include "canvas/CanvasDocument.h"
#include "library/Settings.h"

namespace vellumix {

bool isStyleCarrying(Tool tool) {
    return isDrawingTool(tool);
}

AnnotationStyle defaultToolStyle(Tool tool) {
    AnnotationStyle style = AnnotationStyle::defaultStyle();
    if (tool == Tool::text) {
        style.strokeColor = Color::clear();
    }
    return style;
}

void EditorModel::selectTool(Tool tool) {
    Batch batch(*this);
    const Tool previous = m_activeTool;
    if (tool == Tool::editImage && previous != Tool::editImage) {
        beginImageEditSession();
    } else if (previous == Tool::editImage && tool != Tool::editImage) {
        endImageEditSession();
    }
    m_activeTool = tool;
    m_document.setActiveTool(tool);

    if (!isStyleCarrying(tool) || m_document.isEditingText()) {
        return;
    }
    // Without retained styles the controls keep their values, so the style carries over.
    if (m_settings.retainLastStylePerType()) {
        const auto own = m_toolStyles.find(tool);
        loadStyle(own == m_toolStyles.end() ? defaultToolStyle(tool) : own->second);
    }
}

void EditorModel::beginImageEditSession() {
    m_editImageEntrySnapshot = m_image;
    m_editImageEntryAnnotations = m_document.annotations();
    m_editImageSessionMutated = false;
    m_document.cropRect = m_document.imageRect();
}

void EditorModel::endImageEditSession() {
    m_editImageEntrySnapshot.reset();
    m_editImageEntryAnnotations.reset();
    m_editImageSessionMutated = false;
    m_document.cropRect.reset();
}

std::optional<Tool> EditorModel::styleTarget() const {
    if (isStyleCarrying(m_activeTool)) {
        return m_activeTool;
    }
    if (m_selectionTools.size() == 1 && isStyleCarrying(m_selectionTools.front())) {
        return m_selectionTools.front();
    }
    return std::nullopt;
}

StyleControlSet EditorModel::applicableControls() const {
    if (m_activeTool != Tool::select) {
        return styleControlsFor(m_activeTool);
    }
    if (m_selectionTools.empty()) {
        return styleControlsFor(Tool::select);
    }
    StyleControlSet set;
    for (Tool tool : m_selectionTools) {
        set |= styleControlsFor(tool);
    }
    return set;
}

} // namespace vellumix
