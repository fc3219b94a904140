#include "CanvasDocument.h"

#include "model/AnnotationGeometry.h"

#include <QUndoCommand>

namespace vellumix {

namespace {

// One undo step: the whole list before and after, under a fixed name.
class ListChange final : public QUndoCommand {
public:
    ListChange(std::function<void(AnnotationList)> assign, AnnotationList before,
               AnnotationList after, const QString& name, bool alreadyApplied)
        : QUndoCommand(name)
        , m_assign(std::move(assign))
        , m_before(std::move(before))
        , m_after(std::move(after))
        , m_skipFirstRedo(alreadyApplied) {}

    void undo() override { m_assign(m_before); }
    void redo() override {
        if (m_skipFirstRedo) {
            m_skipFirstRedo = false;
            return;
        }
        m_assign(m_after);
    }

private:
    std::function<void(AnnotationList)> m_assign;
    AnnotationList m_before;
    AnnotationList m_after;
    bool m_skipFirstRedo;
};

// One undo step of an image operation: the image and the list before and after.
class ImageChange final : public QUndoCommand {
public:
    using Assign = std::function<void(QImage, AnnotationList)>;
    struct State {
        QImage image;
        AnnotationList list;
    };
    ImageChange(Assign assign, State before, State after, const QString& name)
        : QUndoCommand(name)
        , m_assign(std::move(assign))
        , m_before(std::move(before))
        , m_after(std::move(after)) {}

    void undo() override { m_assign(m_before.image, m_before.list); }
    void redo() override { m_assign(m_after.image, m_after.list); }

private:
    Assign m_assign;
    State m_before;
    State m_after;
};

} // namespace

CanvasDocument::CanvasDocument() {
    makeGestures();
    updateCanvasSize();
}

void CanvasDocument::setImage(const QImage& image) {
    m_image = image;
    updateCanvasSize();
    redisplay();
    onImageChanged.notify(m_image);
}

void CanvasDocument::assignImage(QImage image, AnnotationList list) {
    m_image = std::move(image);
    // Assigning the list grows the canvas and redisplays, for the new image as well.
    assignAnnotations(std::move(list));
    onImageChanged.notify(m_image);
}

void CanvasDocument::replaceImage(QImage image, AnnotationList list, const QString& actionName,
                                  std::optional<QImage> undoImage,
                                  std::optional<AnnotationList> undoList) {
    commitTextEditing(false);
    auto assign = [this](QImage i, AnnotationList l) { assignImage(std::move(i), std::move(l)); };
    ImageChange::State before{undoImage ? std::move(*undoImage) : m_image,
                              undoList ? std::move(*undoList) : m_annotations};
    m_undo.push(new ImageChange(assign, std::move(before), {std::move(image), std::move(list)},
                                actionName));
}

void CanvasDocument::setImageAndAnnotations(QImage image, AnnotationList list) {
    commitTextEditing(false);
    assignImage(std::move(image), std::move(list));
}

QRectF CanvasDocument::imageRect() const {
    return geometry::imageOnCanvas(m_image.size());
}

void CanvasDocument::assignAnnotations(AnnotationList list) {
    const size_t oldCount = m_annotations.size();
    m_annotations = std::move(list);
    followEditedText();
    // Indices that fell out of range are dropped from the selection.
    std::erase_if(m_selected, [this](int i) { return !validIndex(i); });
    updateCanvasSize();
    if (oldCount != m_annotations.size()) {
        onAnnotationsChanged.notify(static_cast<int>(m_annotations.size()));
    }
    redisplay();
}

void CanvasDocument::replaceAnnotations(AnnotationList list, const QString& actionName) {
    auto assign = [this](AnnotationList l) { assignAnnotations(std::move(l)); };
    m_undo.push(new ListChange(assign, m_annotations, std::move(list), actionName, false));
}

void CanvasDocument::registerUndo(AnnotationList previous, const QString& actionName) {
    auto assign = [this](AnnotationList l) { assignAnnotations(std::move(l)); };
    m_undo.push(new ListChange(assign, std::move(previous), m_annotations, actionName, true));
}

void CanvasDocument::setAnnotationsWithoutUndo(AnnotationList list) {
    assignAnnotations(std::move(list));
}

void CanvasDocument::setShowsAnnotations(bool shows) {
    m_showsAnnotations = shows;
    redisplay();
}

void CanvasDocument::setActiveTool(Tool tool) {
    m_activeTool = tool;
    redisplay();
}

void CanvasDocument::updateCanvasSize() {
    const QSizeF size = geometry::canvasSize(QSizeF(m_image.size()), m_annotations);
    if (m_canvasSize.isEmpty() || geometry::canvasSizeChanged(m_canvasSize, size)) {
        m_canvasSize = size;
        onCanvasSizeChanged.notify(size);
    }
}

void CanvasDocument::redisplay(std::optional<QRectF> area) {
    onNeedsDisplay.notify(area);
}

bool CanvasDocument::validIndex(int index) const {
    return index >= 0 && static_cast<size_t>(index) < m_annotations.size();
}

void CanvasDocument::setSelection(std::set<int> indices) {
    m_selected = std::move(indices);
    selectionDidChange();
    redisplay();
}

void CanvasDocument::selectionDidChange() {
    if (!m_selected.empty()) {
        m_lastSelected = m_selected;
    }
    const std::vector<Annotation> selected = selectedAnnotations();
    if (selected.size() == 1) {
        if (const auto* arrow = std::get_if<ArrowAnnotation>(&selected.front())) {
            currentArrowEndCap = arrow->endCap;
        }
    }
    onSelectionChanged.notify(selected);
    reportSelectionGeometry();
}

void CanvasDocument::reportSelectionGeometry() {
    if (onSelectionGeometryChanged.empty()) {
        return;
    }
    const auto selected = selectedAnnotations();
    onSelectionGeometryChanged.notify(selected.size() == 1 ? std::optional(selected.front())
                                                           : std::nullopt);
}

std::vector<Annotation> CanvasDocument::selectedAnnotations() const {
    std::vector<Annotation> list;
    for (int i : m_selected) {
        if (validIndex(i)) {
            list.push_back(m_annotations[static_cast<size_t>(i)]);
        }
    }
    return list;
}

void CanvasDocument::selectAll() {
    if (m_annotations.empty()) {
        return;
    }
    if (m_activeTool != Tool::select) {
        onRequestTool.notify(Tool::select);
    }
    std::set<int> all;
    for (int i = 0; i < static_cast<int>(m_annotations.size()); ++i) {
        all.insert(i);
    }
    setSelection(std::move(all));
}

std::optional<QRectF> CanvasDocument::selectionBounds() const {
    std::optional<QRectF> united;
    for (int i : m_selected) {
        if (validIndex(i)) {
            const QRectF b = geometry::bounds(m_annotations[static_cast<size_t>(i)]);
            united = united ? geometry::unite(*united, b) : b;
        }
    }
    return united;
}

CanvasSnapshot CanvasDocument::snapshot() const {
    CanvasSnapshot s;
    s.image = m_image;
    s.annotations = m_annotations;
    s.showsAnnotations = m_showsAnnotations;
    s.activeTool = m_activeTool;
    s.strokeColor = m_style.strokeColor;
    s.fillColor = m_style.fillColor;
    s.lineWidth = m_style.lineWidth;
    s.cornerRadius = m_style.cornerRadius;
    s.lineStyle = m_style.lineStyle;
    s.currentArrowEndCap = currentArrowEndCap;
    describeGestures(s);
    if (m_textEditing) {
        s.activeTextOuterRect = m_textEditing->outerRect;
        s.editingTextIndex = m_textEditing->index;
    }
    s.selectedIndices.assign(m_selected.begin(), m_selected.end());
    s.cropRect = cropRect;
    s.gestureLayer = gestureLayer;
    s.cursorPosOnImage = m_cursorPosOnImage;
    s.showCursorCoords = showCursorCoords;
    s.zoom = zoom;
    s.visibleRect = visibleRect.isEmpty() ? QRectF(QPointF(0, 0), m_canvasSize) : visibleRect;
    return s;
}

} // namespace vellumix
