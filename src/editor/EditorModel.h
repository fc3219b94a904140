#pragma once

#include "EditorControls.h"
#include "EditorLayout.h"
#include "library/StyleLibrary.h"
#include "model/AnnotationStyle.h"
#include "model/Listeners.h"

#include <QImage>

#include <functional>
#include <optional>
#include <vector>

namespace vellumix {

class CanvasDocument;
class Settings;
struct StyleChange;

/// The six tools that carry a style of their own: rect, oval, arrow, draw, text and step.
bool isStyleCarrying(Tool tool);

/// The style an annotation carries, for the toolbar: colours opaque, the opacity from the
/// colours' alpha, and the fields its kind does not have taken from `base`.
AnnotationStyle styleOf(const Annotation& annotation, const AnnotationStyle& base);

/// The style a tool starts with: the shared default, except that text boxes start without a
/// border (a red frame around every new label is rarely wanted).
AnnotationStyle defaultToolStyle(Tool tool);

/// "Bold Italic", "Bold", "Italic" or "Regular" from the two font style segments.
QString fontStyleName(bool bold, bool italic);

/// Zoom steps snap to powers of 1.25: the next power above or below the magnification.
double zoomInStep(double magnification);
double zoomOutStep(double magnification);

/// Every rule of one editor window, without widgets: the active tool, the current style and the
/// style of each drawing tool, the style controls, zoom, the read-outs and annotation
/// visibility. The window turns widget signals into calls here and shows `controls()` whenever
/// `onControlsChanged` reports; it decides nothing itself.
/// It answers the document's `presetsForTool` while it lives.
class EditorModel {
public:
    /// Puts `image` on the canvas, fills the tool styles (the remembered ones when
    /// "retainLastStylePerType" is on), opens at the fit scale for `visibleFrame` (the
    /// screen's available geometry in logical pixels; none without a screen) and starts in the
    /// rect tool with its style loaded.
    EditorModel(CanvasDocument& document, Settings& settings, StyleLibrary& styles,
                const QImage& image, const std::optional<QRectF>& visibleFrame);
    ~EditorModel();
    EditorModel(const EditorModel&) = delete;
    EditorModel& operator=(const EditorModel&) = delete;

    /// The image changed (an operation, or undo and redo of one); the window keeps its bundle
    /// in step. The model has taken the new image and refreshed the read-outs by then.
    std::function<void(const QImage&)> onImageChanged;
    /// Called with the new controls after every change that alters them.
    std::function<void(const EditorControls&)> onControlsChanged;
    EditorControls controls() const;

    /// The opening fit scale, content size and magnification limits.
    const editorLayout::OpeningGeometry& openingGeometry() const { return m_geometry; }

    // --- Image ----------------------------------------------------------------------------
    const QImage& image() const { return m_image; }
    /// Replaces the window's and the canvas's image (image operations).
    void setImage(const QImage& image);

    // --- Tools (EditorModel+Tools) ----------------------------------------------------------
    Tool activeTool() const { return m_activeTool; }
    /// A tool button, a tool key on the canvas, or "Edit image…".
    void selectTool(Tool tool);
    const ToolStyles& toolStyles() const { return m_toolStyles; }
    /// The image as it was when the current image-edit session began.
    const std::optional<QImage>& editImageEntrySnapshot() const { return m_editImageEntrySnapshot; }
    /// The annotations as they were when the session began (rotating and flipping move them).
    const std::optional<AnnotationList>& editImageEntryAnnotations() const {
        return m_editImageEntryAnnotations;
    }
    bool editImageSessionMutated() const { return m_editImageSessionMutated; }
    void setEditImageSessionMutated(bool mutated) { m_editImageSessionMutated = mutated; }

    // --- Style controls (EditorModel+Styles) ------------------------------------------------
    /// The style the controls show; colours opaque, the opacity separate.
    AnnotationStyle currentStyle() const;
    /// Shows a style in the controls and makes it the canvas's current style.
    void loadStyle(const AnnotationStyle& style);

    void strokeColorChanged(const Color& color);
    void fillColorChanged(const Color& color);
    void clearStrokeColor();
    void clearFillColor();
    void fontColorChanged(const Color& color);
    /// Pop-up changes take the selected index; an index outside the table is ignored.
    void opacityChanged(int index);
    void lineWidthChanged(int index);
    void lineStyleChanged(int index);
    void cornerRadiusChanged(int index);
    void fontFamilyChanged(int index);
    void fontSizeChanged(int index);
    void textPaddingChanged(int index);
    void alignmentChanged(int index);
    /// The states of the "Bold" and "Italic" segments.
    void fontStyleChanged(bool bold, bool italic);

    /// A preset chosen from a tool's preset menu or the canvas's context menu: the selection
    /// takes its shape attributes (for the text tool its text attributes too) as one change, it
    /// becomes the tool's style (line pattern kept, presets have none), and the controls show
    /// it when they are editing that tool's style.
    void applyStylePreset(const AnnotationStyle& style, Tool tool);

    // --- Zoom (EditorModel+Zoom) ------------------------------------------------------------
    double magnification() const { return m_magnification; }
    /// Each returns the new magnification, which the window applies centred on the middle of
    /// the visible part of the document.
    double zoomIn();
    double zoomOut();
    /// A magnification gesture ended at `magnification`.
    void magnificationDidEnd(double magnification);

    // --- Annotation visibility ------------------------------------------------------------
    bool showsAnnotations() const { return m_showsAnnotations; }
    void toggleAnnotationVisibility();

    /// The window is closing: the tool styles are remembered when the setting asks for it.
    void windowWillClose();

private:
    /// Collects changes; the outermost one reports the controls once, if they changed.
    class Batch {
    public:
        explicit Batch(EditorModel& model);
        ~Batch();
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

    private:
        EditorModel& m_model;
    };

    void listenToDocument();
    void publish();

    // Canvas callbacks.
    void selectionChanged(const std::vector<Annotation>& selection);
    void selectionGeometryChanged(const std::optional<Annotation>& annotation);
    void inProgressGeometryChanged(std::optional<QRectF> rect);
    void annotationsChanged(int count);
    void saveStylePreset(const Annotation& annotation);

    // +Tools
    /// The tool whose style the controls edit now: the active tool when it carries a style,
    /// else the tool of the single selected annotation when that one does.
    std::optional<Tool> styleTarget() const;
    StyleControlSet applicableControls() const;
    void beginImageEditSession();
    void endImageEditSession();

    // +Styles
    Color canvasColor(const Color& color) const;
    void pushStyleToCanvas();
    /// Restyles the selection and saves the current style for its tool.
    void commitChange(const StyleChange& change);
    void saveCurrentStyle();

    // +Readouts
    void fillReadouts(EditorControls& controls) const;
    double canvasScale() const;

    CanvasDocument& m_document;
    Settings& m_settings;
    StyleLibrary& m_library;
    QImage m_image;
    editorLayout::OpeningGeometry m_geometry;

    Tool m_activeTool = Tool::rect;
    bool m_showsAnnotations = true;
    bool m_hasAnnotations = false;
    std::optional<QImage> m_editImageEntrySnapshot;
    std::optional<AnnotationList> m_editImageEntryAnnotations;
    bool m_editImageSessionMutated = false;
    ToolStyles m_toolStyles;

    // The controls' values.
    Color m_strokeColor;
    Color m_fillColor;
    Color m_fontColor;
    double m_opacity = 1;
    double m_lineWidth = 2;
    double m_cornerRadius = 0;
    LineStyle m_lineStyle = LineStyle::solid;
    QString m_fontFamily;
    QString m_fontStyle;
    double m_fontSize = 16;
    TextAlignment m_alignment = TextAlignment::left;
    double m_textPadding = 6;

    double m_magnification = 1;
    /// The tools of the annotations the canvas last reported as selected.
    std::vector<Tool> m_selectionTools;
    std::optional<QRectF> m_selectionRect;
    std::optional<QRectF> m_inProgressRect;

    int m_batchDepth = 0;
    std::optional<EditorControls> m_published;
    // Last, so the model stops listening before any of its state goes.
    std::vector<Subscription> m_subscriptions;
};

} // namespace vellumix
