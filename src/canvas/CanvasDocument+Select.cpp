#include "CanvasDocument.h"
#include "model/AnnotationGeometry.h"

#include <algorithm>

namespace vellumix {

namespace {

constexpr double minimumBandSide = 4;

bool intersectsClosed(const QRectF& a, const QRectF& b) {
    const QRectF x = a.normalized();
    const QRectF y = b.normalized();
    return x.left() <= y.right() && y.left() <= x.right() && x.top() <= y.bottom() &&
           y.top() <= x.bottom();
}

// The nearest unselected annotation past the selection's top (`up`) or bottom whose bounds meet
// `bounds`: the one a step forward or backward passes.
std::optional<int> overlappingNeighbour(const AnnotationList& list, const std::set<int>& selection,
                                        const QRectF& bounds, bool up) {
    const int step = up ? 1 : -1;
    for (int j = (up ? *selection.rbegin() : *selection.begin()) + step;
         j >= 0 && j < static_cast<int>(list.size()); j += step) {
        if (!selection.count(j) &&
            intersectsClosed(geometry::bounds(list[static_cast<size_t>(j)]), bounds)) {
            return j;
        }
    }
    return std::nullopt;
}

} // namespace

// Shift-click adds or removes the annotation under the pointer; clicking the same stack again
// moves on to the next one in it.
void CanvasDocument::shiftClick(const std::vector<int>& hits) {
    if (hits.empty()) {
        return;
    }
    int target = hits.front();
    if (m_shiftCycleTarget) {
        const auto at = std::find(hits.begin(), hits.end(), *m_shiftCycleTarget);
        if (at != hits.end()) {
            target = hits[static_cast<size_t>((at - hits.begin() + 1) % hits.size())];
        }
    }
    m_shiftCycleTarget = target;
    std::set<int> selection = m_selected;
    if (!selection.erase(target)) {
        selection.insert(target);
    }
    setSelection(std::move(selection));
}

// A press on a multiple selection moves it all; on a single one's handle or arrow anchor, it
// reshapes it.
bool CanvasDocument::beginSelectionDrag(QPointF point, const std::vector<int>& hits) {
    if (m_selected.size() >= 2) {
        const bool hitSelected = std::any_of(hits.begin(), hits.end(),
                                             [this](int i) { return m_selected.count(i) > 0; });
        const auto bounds = selectionBounds();
        if (hitSelected ||
            (bounds && geometry::containsClosed(bounds->adjusted(-3, -3, 3, 3), point))) {
            MoveMultipleDrag drag{point, {}};
            for (int i : m_selected) {
                if (validIndex(i)) {
                    drag.originals.emplace_back(i, m_annotations[static_cast<size_t>(i)]);
                }
            }
            m_selectDragOp = std::move(drag);
            redisplay();
            return true;
        }
    }
    if (m_selected.size() == 1 && validIndex(*m_selected.begin())) {
        const int index = *m_selected.begin();
        const Annotation& selected = m_annotations[static_cast<size_t>(index)];
        if (!isLocked(selected)) {
            if (const auto* arrow = std::get_if<ArrowAnnotation>(&selected)) {
                if (const auto anchor = geometry::arrowAnchorAt(*arrow, point, zoom)) {
                    m_selectDragOp = ArrowAdjustDrag{*anchor, point, index, *arrow};
                    redisplay();
                    return true;
                }
            } else if (const auto handle = geometry::annotationHandleAt(selected, point, zoom)) {
                m_selectDragOp = ResizeDrag{*handle, point, index, selected};
                redisplay();
                return true;
            }
        }
    }
    return false;
}

void CanvasDocument::selectMouseDown(QPointF point, Qt::KeyboardModifiers modifiers,
                                     int clickCount) {
    m_hasDraggedAnnotation = false;
    const bool shift = modifiers.testFlag(Qt::ShiftModifier);
    if (clickCount >= 2 && !shift) {
        m_selected.clear();
        m_selectDragOp.reset();
        selectionDidChange();
        if (const auto index = topmostTextAt(point)) {
            const auto& text = std::get<TextAnnotation>(m_annotations[static_cast<size_t>(*index)]);
            beginEditing(text.rect, text.text, index);
            return;
        }
    }
    const std::vector<int> hits = geometry::hitIndices(m_annotations, point);
    if (shift) {
        shiftClick(hits);
        return;
    }
    m_shiftCycleTarget.reset();
    m_listBeforeDrag = m_annotations;
    if (beginSelectionDrag(point, hits)) {
        return;
    }
    if (hits.empty()) {
        m_selected.clear();
        selectionDidChange();
        m_selectionDragStart = point;
        redisplay();
        return;
    }
    int target = hits.front();
    if (m_selected.size() == 1) {
        const auto at = std::find(hits.begin(), hits.end(), *m_selected.begin());
        if (at != hits.end()) {
            // Clicking again on a stack cycles through it.
            target = hits[static_cast<size_t>((at - hits.begin() + 1) % hits.size())];
        }
    }
    setSelection({target});
    m_selectDragOp = MoveDrag{point, target, m_annotations[static_cast<size_t>(target)]};
}

void CanvasDocument::selectMouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) {
    if (m_selectionDragStart) {
        m_selectionDragRect = QRectF(*m_selectionDragStart, point).normalized();
        redisplay();
        return;
    }
    if (!m_selectDragOp) {
        return;
    }
    const bool shift = modifiers.testFlag(Qt::ShiftModifier);
    // Only the old and new places of what moved (with their chrome) need repainting.
    std::optional<QRectF> damage;
    const auto damaged = [this, &damage](const Annotation& a) {
        const double margin = 16 * zoom + 14;
        QRectF r = kindOf(a) == AnnotationKind::text ? geometry::bounds(a).normalized()
                                                     : render::paintedExtent(a);
        r.adjust(-margin, -margin, margin, margin);
        damage = damage ? geometry::unite(*damage, r) : r;
    };
    const auto store = [this, &damaged](int index, Annotation annotation) {
        if (validIndex(index) && !isLocked(m_annotations[static_cast<size_t>(index)])) {
            damaged(m_annotations[static_cast<size_t>(index)]);
            damaged(annotation);
            m_annotations[static_cast<size_t>(index)] = std::move(annotation);
            m_hasDraggedAnnotation = true;
        }
    };
    bool moving = false;
    std::visit(
        [&](const auto& op) {
            using T = std::decay_t<decltype(op)>;
            QPointF delta = point - op.startMouse;
            if constexpr (std::is_same_v<T, MoveDrag>) {
                delta = shift ? geometry::dominantAxis(delta) : delta;
                store(op.index, geometry::offset(op.original, delta.x(), delta.y()));
                moving = true;
            } else if constexpr (std::is_same_v<T, MoveMultipleDrag>) {
                delta = shift ? geometry::dominantAxis(delta) : delta;
                for (const auto& [index, original] : op.originals) {
                    store(index, geometry::offset(original, delta.x(), delta.y()));
                }
                moving = true;
            } else if constexpr (std::is_same_v<T, ResizeDrag>) {
                store(op.index,
                      geometry::resized(op.original, op.handle, shift, delta.x(), delta.y()));
            } else {
                store(op.index, geometry::adjusted(op.original, op.anchor, delta.x(), delta.y()));
            }
        },
        *m_selectDragOp);
    if (!m_hasDraggedAnnotation) {
        return;
    }
    updateCanvasSize();
    const auto bounds = selectionBounds();
    if (moving && onSelectionMoveChanged) {
        onSelectionMoveChanged(bounds ? std::optional(bounds->topLeft()) : std::nullopt);
    }
    reportSelectionGeometry();
    redisplay(damage);
}

void CanvasDocument::selectMouseUp() {
    if (m_selectionDragRect && (m_selectionDragRect->width() > minimumBandSide ||
                                m_selectionDragRect->height() > minimumBandSide)) {
        std::set<int> inside;
        for (int i = 0; i < static_cast<int>(m_annotations.size()); ++i) {
            if (intersectsClosed(geometry::bounds(m_annotations[static_cast<size_t>(i)]),
                                 *m_selectionDragRect)) {
                inside.insert(i);
            }
        }
        m_selected = std::move(inside);
        selectionDidChange();
    }
    bool wasMove = false;
    if (m_selectDragOp && m_hasDraggedAnnotation) {
        QString name;
        std::visit(
            [&](const auto& op) {
                using T = std::decay_t<decltype(op)>;
                if constexpr (std::is_same_v<T, MoveDrag>) {
                    name = QStringLiteral("Move Annotation");
                    wasMove = true;
                } else if constexpr (std::is_same_v<T, MoveMultipleDrag>) {
                    name = QStringLiteral("Move Annotations");
                    wasMove = true;
                } else if constexpr (std::is_same_v<T, ResizeDrag>) {
                    name = QStringLiteral("Resize Annotation");
                } else {
                    name = QStringLiteral("Adjust Arrow");
                }
            },
            *m_selectDragOp);
        registerUndo(std::move(m_listBeforeDrag), name);
    }
    m_listBeforeDrag.clear();
    m_selectDragOp.reset();
    m_selectionDragStart.reset();
    m_selectionDragRect.reset();
    m_hasDraggedAnnotation = false;
    if (wasMove && onSelectionMoveChanged) {
        onSelectionMoveChanged(std::nullopt);
    }
    reportSelectionGeometry();
    redisplay();
}

// --- Z-order ---------------------------------------------------------------------------------

bool CanvasDocument::canBringForward() const {
    const auto bounds = selectionBounds();
    return bounds && overlappingNeighbour(m_annotations, m_selected, *bounds, true);
}

bool CanvasDocument::canSendBackward() const {
    const auto bounds = selectionBounds();
    return bounds && overlappingNeighbour(m_annotations, m_selected, *bounds, false);
}

void CanvasDocument::moveSelectionInOrder(bool up, bool toEnd) {
    std::erase_if(m_selected, [this](int i) { return !validIndex(i); });
    if (m_selected.empty()) {
        return;
    }
    AnnotationList list = m_annotations;
    std::set<int> selection = m_selected;
    const int count = static_cast<int>(list.size());
    if (toEnd) {
        AnnotationList chosen;
        AnnotationList rest;
        for (int i = 0; i < count; ++i) {
            (selection.count(i) ? chosen : rest).push_back(list[static_cast<size_t>(i)]);
        }
        list = up ? rest : chosen;
        list.insert(list.end(), (up ? chosen : rest).begin(), (up ? chosen : rest).end());
        selection.clear();
        const int first = up ? count - static_cast<int>(chosen.size()) : 0;
        for (int i = 0; i < static_cast<int>(chosen.size()); ++i) {
            selection.insert(first + i);
        }
    } else {
        const std::optional<int> target =
            overlappingNeighbour(list, selection, *selectionBounds(), up);
        if (!target) {
            return;
        }
        // Step the selected annotations past the target one place at a time, keeping their
        // relative order. The member nearest the target moves first, so the one behind it can
        // take the slot just vacated and a contiguous block stays together.
        std::vector<char> selectedAt(static_cast<size_t>(count), 0);
        for (int i : selection) {
            selectedAt[static_cast<size_t>(i)] = 1;
        }
        int targetIndex = *target;
        const auto passed = [&] {
            return up ? *selection.rbegin() > targetIndex : *selection.begin() < targetIndex;
        };
        while (!passed()) {
            std::vector<int> order(selection.begin(), selection.end());
            if (up) {
                std::reverse(order.begin(), order.end());
            }
            std::set<int> next;
            for (int i : order) {
                const int j = up ? i + 1 : i - 1;
                if (j >= 0 && j < count && !selectedAt[static_cast<size_t>(j)]) {
                    std::swap(list[static_cast<size_t>(i)], list[static_cast<size_t>(j)]);
                    std::swap(selectedAt[static_cast<size_t>(i)],
                              selectedAt[static_cast<size_t>(j)]);
                    if (j == targetIndex) {
                        targetIndex = i;
                    }
                    next.insert(j);
                } else {
                    next.insert(i);
                }
            }
            selection = std::move(next);
        }
    }
    const QString name =
        up ? (toEnd ? QStringLiteral("Bring to Front") : QStringLiteral("Bring Forward"))
           : (toEnd ? QStringLiteral("Send to Back") : QStringLiteral("Send Backward"));
    replaceAnnotations(std::move(list), name);
    setSelection(std::move(selection));
}

void CanvasDocument::bringToFront() {
    if (canBringForward()) {
        moveSelectionInOrder(true, true);
    }
}

void CanvasDocument::bringForward() {
    moveSelectionInOrder(true, false);
}

void CanvasDocument::sendBackward() {
    moveSelectionInOrder(false, false);
}

void CanvasDocument::sendToBack() {
    if (canSendBackward()) {
        moveSelectionInOrder(false, true);
    }
}

// --- Lock, end cap, restyle --------------------------------------------------------------------

void CanvasDocument::toggleLock() {
    std::vector<int> targets;
    for (int i : m_selected) {
        if (validIndex(i)) {
            targets.push_back(i);
        }
    }
    if (targets.empty()) {
        return;
    }
    const bool lock = std::any_of(targets.begin(), targets.end(), [this](int i) {
        return !isLocked(m_annotations[static_cast<size_t>(i)]);
    });
    AnnotationList list = m_annotations;
    for (int i : targets) {
        list[static_cast<size_t>(i)] = withLocked(list[static_cast<size_t>(i)], lock);
    }
    const bool several = targets.size() > 1;
    const QString name = QStringLiteral("%1 Annotation%2")
                             .arg(lock ? QStringLiteral("Lock") : QStringLiteral("Unlock"),
                                  several ? QStringLiteral("s") : QString());
    replaceAnnotations(std::move(list), name);
}

void CanvasDocument::applyArrowEndCap(ArrowEndCap cap) {
    if (m_selected.size() != 1 || !validIndex(*m_selected.begin())) {
        return;
    }
    const int index = *m_selected.begin();
    const auto* arrow = std::get_if<ArrowAnnotation>(&m_annotations[static_cast<size_t>(index)]);
    if (!arrow) {
        return;
    }
    ArrowAnnotation changed = *arrow;
    changed.endCap = cap;
    currentArrowEndCap = cap;
    AnnotationList list = m_annotations;
    list[static_cast<size_t>(index)] = changed;
    replaceAnnotations(std::move(list), QStringLiteral("Change Arrow Style"));
}

} // namespace vellumix
