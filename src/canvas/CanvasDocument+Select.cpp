#include "CanvasDocument.h"
#include "model/AnnotationGeometry.h"

#include <algorithm>

namespace vellumix {

namespace {

// The nearest unselected annotation past the selection's top (`up`) or bottom whose bounds meet
// `bounds`: the one a step forward or backward passes.
std::optional<int> overlappingNeighbour(const AnnotationList& list, const std::set<int>& selection,
                                        const QRectF& bounds, bool up) {
    const int step = up ? 1 : -1;
    for (int j = (up ? *selection.rbegin() : *selection.begin()) + step;
         j >= 0 && j < static_cast<int>(list.size()); j += step) {
        if (!selection.count(j) &&
            geometry::intersectsClosed(geometry::bounds(list[static_cast<size_t>(j)]), bounds)) {
            return j;
        }
    }
    return std::nullopt;
}

} // namespace

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
