#include "CanvasDocument.h"
#include "CanvasGesture.h"
#include "model/AnnotationGeometry.h"

#include <algorithm>

namespace vellumix {

void CanvasDocument::makeGestures() {
    auto shapes = std::make_shared<ShapeGesture>(*this);
    m_gestures = {{Tool::select, std::make_shared<SelectGesture>(*this)},
                  {Tool::rect, shapes},
                  {Tool::oval, shapes},
                  {Tool::arrow, std::make_shared<ArrowGesture>(*this)},
                  {Tool::draw, std::make_shared<PenGesture>(*this)},
                  {Tool::text, std::make_shared<TextGesture>(*this)},
                  {Tool::step, std::make_shared<StepGesture>(*this)},
                  {Tool::editImage, std::make_shared<CropGesture>(*this)}};
}

// The overlay tool has no gesture: its image comes from the toolbar.
CanvasGesture* CanvasDocument::activeGesture() const {
    const auto it = m_gestures.find(m_activeTool);
    return it == m_gestures.end() ? nullptr : it->second.get();
}

void CanvasDocument::mouseDown(QPointF point, Qt::KeyboardModifiers modifiers, int clickCount) {
    if (!m_showsAnnotations) {
        return;
    }
    if (m_cursorPosOnImage) {
        m_cursorPosOnImage.reset();
        redisplay();
    }
    if (m_textEditing) {
        // The click only ends the edit; no tool acts on it, nor on its drag and release.
        commitTextEditing(false);
        m_pressConsumed = true;
        return;
    }
    m_pressConsumed = false;
    if (CanvasGesture* gesture = activeGesture()) {
        gesture->mouseDown(point, modifiers, clickCount);
    }
}

void CanvasDocument::mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) {
    if (!m_showsAnnotations || m_textEditing || m_pressConsumed) {
        return;
    }
    if (CanvasGesture* gesture = activeGesture()) {
        gesture->mouseDragged(point, modifiers);
    }
}

void CanvasDocument::mouseUp(QPointF point, Qt::KeyboardModifiers modifiers) {
    if (!m_showsAnnotations) {
        return;
    }
    if (m_pressConsumed) {
        m_pressConsumed = false;
        return;
    }
    if (CanvasGesture* gesture = activeGesture()) {
        gesture->mouseUp(point, modifiers);
    }
}

void CanvasDocument::mouseMoved(QPointF point) {
    const std::optional<QPointF> before = m_cursorPosOnImage;
    const CanvasGesture* gesture = activeGesture();
    if (m_activeTool == Tool::select && gesture && gesture->isDragging()) {
        m_cursorPosOnImage.reset();
    } else if (geometry::containsClosed(imageRect(), point) && !m_image.isNull()) {
        m_cursorPosOnImage = point;
    } else {
        m_cursorPosOnImage.reset();
    }
    if (before != m_cursorPosOnImage && showCursorCoords) {
        redisplay();
    }
}

void CanvasDocument::mouseExited() {
    if (m_cursorPosOnImage) {
        m_cursorPosOnImage.reset();
        redisplay();
    }
}

void CanvasDocument::describeGestures(CanvasSnapshot& snapshot) const {
    for (const auto& [tool, gesture] : m_gestures) {
        gesture->describe(snapshot);
    }
}

bool CanvasDocument::isDragging() const {
    return std::any_of(m_gestures.begin(), m_gestures.end(),
                       [](const auto& entry) { return entry.second->isDragging(); });
}

bool CanvasDocument::wantsCrosshair() const {
    return std::any_of(m_gestures.begin(), m_gestures.end(),
                       [](const auto& entry) { return entry.second->wantsCrosshair(); });
}

std::optional<int> CanvasDocument::topmostTextAt(QPointF point) const {
    for (int i : geometry::hitIndices(m_annotations, point)) {
        if (kindOf(m_annotations[static_cast<size_t>(i)]) == AnnotationKind::text) {
            return i;
        }
    }
    return std::nullopt;
}

void CanvasDocument::finishCreation(Annotation annotation, const QString& actionName) {
    AnnotationList previous = m_annotations;
    AnnotationList list = m_annotations;
    list.push_back(std::move(annotation));
    assignAnnotations(std::move(list));
    m_lastSelected = {static_cast<int>(m_annotations.size()) - 1};
    registerUndo(std::move(previous), actionName);
    onInProgressGeometryChanged.notify(std::nullopt);
    redisplay();
}

} // namespace vellumix
