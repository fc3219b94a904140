#pragma once

#include "AnnotationRenderer.h"
#include "CanvasSnapshot.h"
#include "model/AnnotationStyle.h"
#include "model/Listeners.h"
#include "model/PresetEntry.h"

#include <QFont>
#include <QImage>
#include <QUndoStack>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <variant>
#include <vector>

namespace vellumix {

class CanvasGesture;

/// A drag in the select tool. Each records where the pointer went down and the state before the
/// drag, so every drag event recomputes from the original.
struct MoveDrag {
    QPointF startMouse;
    int index;
    Annotation original;
};
struct ResizeDrag {
    ResizeHandle handle;
    QPointF startMouse;
    int index;
    Annotation original;
};
struct ArrowAdjustDrag {
    ArrowAnchor anchor;
    QPointF startMouse;
    int index;
    ArrowAnnotation original;
};
struct MoveMultipleDrag {
    QPointF startMouse;
    std::vector<std::pair<int, Annotation>> originals;
};
using SelectDragOp = std::variant<MoveDrag, ResizeDrag, ArrowAdjustDrag, MoveMultipleDrag>;

/// Style values a toolbar change sends for the selection; only the given ones apply.
struct StyleChange {
    std::optional<Color> strokeColor;
    std::optional<Color> fillColor;
    std::optional<double> lineWidth;
    std::optional<LineStyle> lineStyle;
    std::optional<double> cornerRadius;
    std::optional<double> opacity;
    std::optional<QString> fontFamily;
    std::optional<QString> fontStyle;
    std::optional<double> fontSize;
    std::optional<TextAlignment> alignment;
    std::optional<double> textPadding;
    std::optional<Color> fontColor;
};

/// One entry of the canvas's context menu, described without a toolkit.
struct CanvasMenuItem {
    enum class Action {
        none,
        requestSelectTool,
        bringToFront,
        bringForward,
        sendBackward,
        sendToBack,
        arrowStyle,
        applyArrowEndCap,
        toggleLock,
        saveStyleAsPreset,
        applyStylePreset,
        mergeIntoImage,
        addOverlay,
        renumberSteps,
        copyText
    };
    Action action = Action::none;
    QString title;
    /// Name of the item's icon in the app's icon set.
    QString icon;
    bool enabled = true;
    bool checked = false;
    bool separatorAfter = false;
    /// For end-cap items: the cap; for preset items: its index in the tool's list.
    int argument = -1;
    /// The item's label where its title is empty (end caps): tool tip and accessible name.
    QString toolTip;
    /// For preset items: the style its swatch pictures, drawn as `swatchTool` draws.
    std::optional<AnnotationStyle> swatchStyle;
    Tool swatchTool = Tool::rect;
    std::vector<CanvasMenuItem> submenu;

    static CanvasMenuItem make(Action action, QString title, QString icon, bool enabled = true) {
        CanvasMenuItem item;
        item.action = action;
        item.title = std::move(title);
        item.icon = std::move(icon);
        item.enabled = enabled;
        return item;
    }
};

/// What the live text editor needs to open over a text box.
struct TextEditSession {
    QRectF editorFrame;
    QString text;
    QFont font;
    QColor color;
    TextAlignment alignment = TextAlignment::left;
    bool selectAll = false;
};

/// The canvas's document and every rule of its interaction: the annotation list, the selection,
/// the gesture in progress, the current style and named undo. The canvas widget turns events
/// into these calls and paints what `snapshot()` describes; nothing here needs a window.
class CanvasDocument {
public:
    CanvasDocument();
    CanvasDocument(const CanvasDocument&) = delete;
    CanvasDocument& operator=(const CanvasDocument&) = delete;

    // --- Document -------------------------------------------------------------------------
    const QImage& image() const { return m_image; }
    void setImage(const QImage& image);
    /// Replaces image and list as one undo step named `actionName`; undoing restores
    /// `undoImage` (the image before, unless given) and the list before.
    void replaceImage(QImage image, AnnotationList list, const QString& actionName,
                      std::optional<QImage> undoImage = std::nullopt,
                      std::optional<AnnotationList> undoList = std::nullopt);
    /// Replaces image and list with no undo step (inside an image-edit session).
    void setImageAndAnnotations(QImage image, AnnotationList list);
    const AnnotationList& annotations() const { return m_annotations; }
    /// Replaces the list as one undo step named `actionName`.
    void replaceAnnotations(AnnotationList list, const QString& actionName);
    /// Registers one undo step for a change already made, restoring `previous`.
    void registerUndo(AnnotationList previous, const QString& actionName);
    /// Plain edits for callers that register undo themselves.
    void setAnnotationsWithoutUndo(AnnotationList list);
    QUndoStack& undoStack() { return m_undo; }

    bool showsAnnotations() const { return m_showsAnnotations; }
    void setShowsAnnotations(bool shows);
    Tool activeTool() const { return m_activeTool; }
    void setActiveTool(Tool tool);
    /// The canvas size for the image and annotations (grows right and down only).
    QSizeF canvasSize() const { return m_canvasSize; }
    QRectF imageRect() const;

    // --- Style for new annotations ----------------------------------------------------------
    /// What new annotations get; while a text box is edited, the style of that box too.
    const AnnotationStyle& style() const { return m_style; }
    /// Every setter re-applies the style to an open text editor, so a change shows at once.
    void setStyle(const AnnotationStyle& style);
    void setStrokeColor(const Color& color);
    void setFillColor(const Color& color);
    void setLineWidth(double width);
    void setCornerRadius(double radius);
    void setLineStyle(LineStyle lineStyle);
    void setFontFamily(const QString& family);
    void setFontStyle(const QString& fontStyle);
    void setFontSize(double size);
    void setAlignment(TextAlignment alignment);
    void setTextPadding(double padding);
    void setFontColor(const Color& color);
    ArrowEndCap currentArrowEndCap = ArrowEndCap::triangle;

    // --- Selection --------------------------------------------------------------------------
    const std::set<int>& selectedIndices() const { return m_selected; }
    void setSelection(std::set<int> indices);
    const std::set<int>& lastSelectedIndices() const { return m_lastSelected; }
    std::vector<Annotation> selectedAnnotations() const;
    void selectAll();

    // --- Input (canvas coordinates) --------------------------------------------------------
    void mouseDown(QPointF point, Qt::KeyboardModifiers modifiers, int clickCount);
    void mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers);
    void mouseUp(QPointF point, Qt::KeyboardModifiers modifiers);
    void mouseMoved(QPointF point);
    void mouseExited();
    /// True when the key was handled.
    bool keyPress(int key, Qt::KeyboardModifiers modifiers, const QString& text);
    /// The context menu for a right click; selects the clicked annotation first if needed.
    std::vector<CanvasMenuItem> contextMenu(QPointF point);
    void triggerMenuItem(const CanvasMenuItem& item);
    bool isDragging() const;

    // --- Selection commands -----------------------------------------------------------------
    void bringToFront();
    void bringForward();
    void sendBackward();
    void sendToBack();
    bool canBringForward() const;
    bool canSendBackward() const;
    void applyArrowEndCap(ArrowEndCap cap);
    void toggleLock();
    void restyleSelection(const StyleChange& change);
    void addOverlay(const QImage& overlay, std::optional<QPointF> point);
    void copySelection();
    void paste();
    void deleteSelection();
    void nudge(double dx, double dy);

    // --- Numbered steps (CanvasDocument+Steps) ------------------------------------------------
    /// Adds the next step centred on `centre`, in the current colour and font size ("Add Step").
    void placeStep(QPointF centre);
    /// Numbers the steps 1…n as one "Renumber Steps" step; nothing when they already are.
    void renumberSteps();

    // --- Text editing ------------------------------------------------------------------------
    bool isEditingText() const { return m_textEditing.has_value(); }
    /// Opens the editor over a box; the widget shows `session()`.
    void beginEditing(const QRectF& rect, const QString& text, std::optional<int> index);
    std::optional<TextEditSession> session() const;
    /// The editor's text changed; returns the editor's new frame height when the box grew.
    std::optional<double> textDidChange(const QString& text);
    /// Closes the editor; with `cancel` nothing is stored. The stored text is the last one
    /// reported through textDidChange.
    void commitTextEditing(bool cancel);
    /// Escape from the editor: commit unless empty, then back to the select tool.
    void escapeFromTextEditor();
    /// The resolved font of the current text style, sized for `device`.
    QFont textFont(const QPaintDevice* device = nullptr) const;

    // --- Output ------------------------------------------------------------------------------
    /// The document rendered into a bitmap for export, copy and merge: an open text edit is
    /// committed first and the selection is hidden for the duration, so no chrome can leak.
    std::optional<QImage> flatten(const render::FlattenOptions& options);

    // --- Display -------------------------------------------------------------------------------
    /// Everything one paint pass reads.
    CanvasSnapshot snapshot() const;
    double zoom = 1;
    QRectF visibleRect;
    bool showCursorCoords = false;
    std::optional<QRectF> cropRect;
    /// While active, the image-edit tool's gestures go to this layer instead of the crop.
    CanvasGestureLayer* gestureLayer = nullptr;
    std::optional<QPointF> cursorPosOnImage() const { return m_cursorPosOnImage; }
    /// Whether drawing tools want the crosshair now (a drag is under way).
    bool wantsCrosshair() const;

    // --- Change notifications (any number of listeners; see Listeners) ---------------------
    Listeners<const std::vector<Annotation>&> onSelectionChanged;
    Listeners<const std::optional<Annotation>&> onSelectionGeometryChanged;
    Listeners<std::optional<QPointF>> onSelectionMoveChanged;
    Listeners<std::optional<QRectF>> onInProgressGeometryChanged;
    Listeners<int> onAnnotationsChanged;
    /// The image changed: set, replaced by an operation, or by undo and redo of one.
    Listeners<const QImage&> onImageChanged;
    Listeners<Tool> onRequestTool;
    Listeners<std::optional<QRectF>> onCropRectChanged;
    Listeners<> onEditImageCancelled;
    Listeners<const Annotation&> onSaveStylePreset;
    Listeners<const AnnotationStyle&, Tool> onApplyStylePreset;
    Listeners<std::optional<QPointF>> onRequestAddOverlay;
    Listeners<const AnnotationIDSet&> onMergeIntoImage;
    /// "Copy Text" from the context menu; the item is offered only while someone listens.
    Listeners<> onCopyText;
    /// The widget's hooks: repaint (a canvas rectangle, or all), size, editor open/close.
    Listeners<std::optional<QRectF>> onNeedsDisplay;
    Listeners<QSizeF> onCanvasSizeChanged;
    Listeners<> onTextEditingStarted;
    Listeners<> onTextEditingEnded;
    /// The text style changed while a box is being edited: the editor takes the new style.
    Listeners<> onTextEditingStyleChanged;

    // --- Services: questions with one answerer each, so plain functions (optional) ----------
    /// The system clipboard's image.
    std::function<QImage()> clipboardImage;
    /// The saved presets of a tool.
    std::function<std::vector<PresetEntry>(Tool)> presetsForTool;

private:
    // Gestures work on the list, the selection and the undo steps from inside.
    friend class CanvasGesture;

    struct TextEditing {
        QRectF outerRect;
        /// The box being edited, followed by identity: commands that reorder or replace the
        /// list while the editor is open (menus, undo, the assistant) move it.
        std::optional<int> index;
        std::optional<AnnotationID> id;
        QString text;
        double editorHeight = 0;
    };

    template <class T> void setStyleField(T AnnotationStyle::*field, const T& value);
    void followEditedText();

    void assignAnnotations(AnnotationList list);
    void assignImage(QImage image, AnnotationList list);
    void selectionDidChange();
    void reportSelectionGeometry();
    void redisplay(std::optional<QRectF> area = std::nullopt);
    void updateCanvasSize();
    void finishCreation(Annotation annotation, const QString& actionName);
    bool validIndex(int index) const;
    std::optional<QRectF> selectionBounds() const;

    bool escapePressed();
    bool commandKeyPressed(int key, bool shift);
    bool selectionKeyPressed(int key, bool ctrl, bool shift);
    void makeGestures();
    CanvasGesture* activeGesture() const;
    void describeGestures(CanvasSnapshot& snapshot) const;
    std::optional<int> topmostTextAt(QPointF point) const;
    void moveSelectionInOrder(bool up, bool toEnd);
    /// The items about the whole picture that end every context menu (steps, text).
    void appendPictureItems(std::vector<CanvasMenuItem>& menu) const;

    QImage m_image;
    AnnotationList m_annotations;
    AnnotationStyle m_style;
    QUndoStack m_undo;
    bool m_showsAnnotations = true;
    Tool m_activeTool = Tool::select;
    QSizeF m_canvasSize;

    std::set<int> m_selected;
    std::set<int> m_lastSelected;
    // The gesture of each tool (rect and oval share one), holding the state of a press under
    // way; the overlay tool has none.
    std::map<Tool, std::shared_ptr<CanvasGesture>> m_gestures;

    std::optional<QPointF> m_cursorPosOnImage;
    std::optional<QPointF> m_pendingOverlayInsertPoint;
    AnnotationList m_copiedAnnotations;
    std::optional<TextEditing> m_textEditing;
    bool m_isCommittingText = false;
    // A press that ended a text edit is consumed, with the drags and the release that follow.
    bool m_pressConsumed = false;
    // The context menu's presets, by item argument.
    std::vector<PresetEntry> m_menuPresets;
};

} // namespace vellumix
