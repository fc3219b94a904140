#include "EditorModel.h"

#include "EditorValueTables.h"
#include "canvas/CanvasDocument.h"
#include "library/Settings.h"
#include "model/AnnotationGeometry.h"
#include "model/Fonts.h"

namespace vellumix {

EditorModel::Batch::Batch(EditorModel& model) : m_model(model) {
    ++m_model.m_batchDepth;
}

EditorModel::Batch::~Batch() {
    if (--m_model.m_batchDepth == 0) {
        m_model.publish();
    }
}

EditorModel::EditorModel(CanvasDocument& document, Settings& settings, StyleLibrary& styles,
                         const QImage& image, const std::optional<QRectF>& visibleFrame)
    : m_document(document)
    , m_settings(settings)
    , m_library(styles)
    , m_image(image)
    , m_geometry(editorLayout::openingGeometry(QSizeF(image.size()), visibleFrame))
    , m_magnification(m_geometry.fitScale) {
    Batch batch(*this);
    for (Tool tool : {Tool::rect, Tool::oval, Tool::arrow, Tool::draw, Tool::text, Tool::step}) {
        m_toolStyles[tool] = defaultToolStyle(tool);
    }
    if (m_settings.retainLastStylePerType()) {
        for (const auto& [tool, style] : m_library.loadStyles()) {
            if (isStyleCarrying(tool)) {
                m_toolStyles[tool] = style;
            }
        }
    }
    m_document.setImage(image);
    m_document.setShowsAnnotations(true);
    listenToDocument();
    // The window opens in the rect tool showing its style, whatever the setting.
    m_activeTool = Tool::rect;
    m_document.setActiveTool(Tool::rect);
    loadStyle(m_toolStyles.at(Tool::rect));
}

EditorModel::~EditorModel() {
    // The document may outlive the model (the canvas widget owns it).
    m_document.presetsForTool = nullptr;
}

void EditorModel::listenToDocument() {
    CanvasDocument& d = m_document;
    m_subscriptions.push_back(d.onSelectionChanged.subscribe(
        [this](const std::vector<Annotation>& selection) { selectionChanged(selection); }));
    m_subscriptions.push_back(d.onSelectionGeometryChanged.subscribe(
        [this](const std::optional<Annotation>& a) { selectionGeometryChanged(a); }));
    m_subscriptions.push_back(
        d.onSelectionMoveChanged.subscribe([this](std::optional<QPointF>) { Batch batch(*this); }));
    m_subscriptions.push_back(d.onInProgressGeometryChanged.subscribe(
        [this](std::optional<QRectF> rect) { inProgressGeometryChanged(rect); }));
    m_subscriptions.push_back(
        d.onAnnotationsChanged.subscribe([this](int count) { annotationsChanged(count); }));
    m_subscriptions.push_back(d.onImageChanged.subscribe([this](const QImage& image) {
        Batch batch(*this);
        m_image = image;
        if (onImageChanged) {
            onImageChanged(image);
        }
    }));
    m_subscriptions.push_back(d.onRequestTool.subscribe([this](Tool tool) { selectTool(tool); }));
    m_subscriptions.push_back(
        d.onCropRectChanged.subscribe([this](std::optional<QRectF>) { Batch batch(*this); }));
    m_subscriptions.push_back(d.onApplyStylePreset.subscribe(
        [this](const AnnotationStyle& style, Tool tool) { applyStylePreset(style, tool); }));
    m_subscriptions.push_back(d.onSaveStylePreset.subscribe(
        [this](const Annotation& annotation) { saveStylePreset(annotation); }));
    d.presetsForTool = [this](Tool tool) {
        const ToolPresets presets = m_library.loadPresets();
        const auto it = presets.find(tool);
        return it == presets.end() ? std::vector<PresetEntry>() : it->second;
    };
}

void EditorModel::publish() {
    const EditorControls now = controls();
    if (m_published && *m_published == now) {
        return;
    }
    m_published = now;
    if (onControlsChanged) {
        onControlsChanged(now);
    }
}

EditorControls EditorModel::controls() const {
    EditorControls c;
    c.activeTool = m_activeTool;
    const bool shown = m_showsAnnotations;
    c.toolButtonsEnabled = shown;
    c.toolButtonOpacity = shown ? 1.0 : 0.6;

    c.strokeColor = m_strokeColor;
    c.fillColor = m_fillColor;
    c.fontColor = m_fontColor;
    c.opacityIndex = nearestIndex(valueTables::opacity(), m_opacity);
    c.lineWidthIndex = nearestIndex(valueTables::lineWidth(), m_lineWidth);
    c.linePatternIndex = linePatternIndex(m_lineStyle);
    c.cornerRadiusIndex = nearestIndex(valueTables::cornerRadius(), m_cornerRadius);
    c.fontFamilyIndex = fontFamilyIndex(m_fontFamily);
    c.fontSizeIndex = nearestIndex(valueTables::fontSize(), m_fontSize);
    c.textPaddingIndex = nearestIndex(valueTables::textPadding(), m_textPadding);
    c.boldSegment =
        m_fontStyle == FontStyleNames::bold || m_fontStyle == FontStyleNames::boldItalic;
    c.italicSegment =
        m_fontStyle == FontStyleNames::italic || m_fontStyle == FontStyleNames::boldItalic;
    c.alignmentIndex = static_cast<int>(m_alignment);

    // Toolbar controls keep their place and grey out; text controls come and go.
    const StyleControlSet applies = applicableControls();
    const auto toolbar = [shown](bool on) { return ControlState{true, on && shown}; };
    const auto secondBar = [shown](bool on) { return ControlState{on, on && shown}; };
    c.strokeWell = toolbar(applies.strokeColor);
    c.fillWell = toolbar(applies.fillColor);
    c.opacityPopUp = toolbar(applies.opacity);
    c.lineWidthPopUp = toolbar(applies.lineWidth);
    c.linePatternPopUp = toolbar(applies.linePattern);
    c.cornerRadiusPopUp = toolbar(applies.cornerRadius);
    c.fontFamilyPopUp = secondBar(applies.text);
    c.fontStyleControl = secondBar(applies.text);
    c.fontSizePopUp = secondBar(applies.text || applies.fontSize);
    c.alignmentControl = secondBar(applies.text);
    c.textPaddingPopUp = secondBar(applies.text);
    c.fontColorWell = secondBar(applies.text);

    const bool editingImage = m_activeTool == Tool::editImage;
    c.editImageButton = ControlState{!editingImage, true};
    c.normalFooterVisible = !editingImage;
    c.imageEditFooterVisible = editingImage;
    c.aiInputVisible = !editingImage;
    const bool hasAnnotations = !m_document.annotations().empty();
    c.visibilityToggle = ControlState{!editingImage, hasAnnotations};
    c.showsAnnotations = shown;
    c.visibilityToggleTint = !hasAnnotations ? ToggleTint::quaternaryLabel
                             : shown         ? ToggleTint::label
                                             : ToggleTint::tertiaryLabel;
    fillReadouts(c);
    return c;
}

void EditorModel::setImage(const QImage& image) {
    Batch batch(*this);
    m_image = image;
    m_document.setImage(image);
}

void EditorModel::toggleAnnotationVisibility() {
    Batch batch(*this);
    m_showsAnnotations = !m_showsAnnotations;
    m_document.setShowsAnnotations(m_showsAnnotations);
}

void EditorModel::windowWillClose() {
    if (m_settings.retainLastStylePerType()) {
        m_library.saveStyles(m_toolStyles);
    }
}

// --- Canvas callbacks ------------------------------------------------------------------------

void EditorModel::selectionChanged(const std::vector<Annotation>& selection) {
    Batch batch(*this);
    m_selectionTools.clear();
    for (const Annotation& a : selection) {
        m_selectionTools.push_back(toolFor(a));
    }
    if (selection.empty()) {
        m_library.saveStyles(m_toolStyles);
        return;
    }
    if (selection.size() != 1) {
        return;
    }
    // The text tool also reports the box it opens for editing, so the controls show its style.
    const Tool tool = m_selectionTools.front();
    const bool loads =
        m_activeTool == Tool::select || (m_activeTool == Tool::text && tool == Tool::text);
    if (loads && isStyleCarrying(tool)) {
        const AnnotationStyle style = styleOf(selection.front(), m_toolStyles.at(tool));
        loadStyle(style);
        m_toolStyles[tool] = style;
    }
}

void EditorModel::selectionGeometryChanged(const std::optional<Annotation>& annotation) {
    Batch batch(*this);
    m_selectionRect = annotation ? std::optional(geometry::bounds(*annotation)) : std::nullopt;
}

void EditorModel::inProgressGeometryChanged(std::optional<QRectF> rect) {
    Batch batch(*this);
    m_inProgressRect = rect;
}

void EditorModel::annotationsChanged(int count) {
    Batch batch(*this);
    // With nothing left the toggle is disabled, so hidden annotations (and the disabled tools)
    // could never come back: show them again.
    if (count == 0 && !m_showsAnnotations) {
        m_showsAnnotations = true;
        m_document.setShowsAnnotations(true);
    }
}

void EditorModel::saveStylePreset(const Annotation& annotation) {
    const Tool tool = toolFor(annotation);
    const auto own = m_toolStyles.find(tool);
    const AnnotationStyle& base = own == m_toolStyles.end() ? defaultToolStyle(tool) : own->second;
    m_library.addPreset(styleOf(annotation, base), tool);
}

} // namespace vellumix
