#include "CanvasGesture.h"
#include "model/AnnotationGeometry.h"

#include <algorithm>

namespace vellumix {

namespace {

constexpr double minimumBandSide = 4;

QString actionName(const SelectDragOp& op) {
    return std::visit(
        [](const auto& o) {
            using T = std::decay_t<decltype(o)>;
            if constexpr (std::is_same_v<T, MoveDrag>) {
                return QStringLiteral("Move Annotation");
            } else if constexpr (std::is_same_v<T, MoveMultipleDrag>) {
                return QStringLiteral("Move Annotations");
            } else if constexpr (std::is_same_v<T, ResizeDrag>) {
                return QStringLiteral("Resize Annotation");
            } else {
                return QStringLiteral("Adjust Arrow");
            }
        },
        op);
}

bool isMove(const SelectDragOp& op) {
    return std::holds_alternative<MoveDrag>(op) || std::holds_alternative<MoveMultipleDrag>(op);
}

} // namespace

// Shift-click adds or removes the annotation under the pointer; clicking the same stack again
// moves on to the next one in it.
void SelectGesture::shiftClick(const std::vector<int>& hits) {
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
    std::set<int> selection = selected();
    if (!selection.erase(target)) {
        selection.insert(target);
    }
    m_doc.setSelection(std::move(selection));
}

// A press on a multiple selection moves it all; on a single one's handle or arrow anchor, it
// reshapes it.
std::optional<SelectDragOp> SelectGesture::reshapeAt(QPointF point, const std::vector<int>& hits) {
    const std::set<int>& chosen = selected();
    const AnnotationList& list = annotations();
    if (chosen.size() >= 2) {
        const bool hitSelected =
            std::any_of(hits.begin(), hits.end(), [&](int i) { return chosen.count(i) > 0; });
        const auto bounds = selectionBounds();
        if (hitSelected ||
            (bounds && geometry::containsClosed(bounds->adjusted(-3, -3, 3, 3), point))) {
            MoveMultipleDrag drag{point, {}};
            for (int i : chosen) {
                if (validIndex(i)) {
                    drag.originals.emplace_back(i, list[static_cast<size_t>(i)]);
                }
            }
            return drag;
        }
    }
    if (chosen.size() != 1 || !validIndex(*chosen.begin())) {
        return std::nullopt;
    }
    const int index = *chosen.begin();
    const Annotation& annotation = list[static_cast<size_t>(index)];
    if (isLocked(annotation)) {
        return std::nullopt;
    }
    if (const auto* arrow = std::get_if<ArrowAnnotation>(&annotation)) {
        if (const auto anchor = geometry::arrowAnchorAt(*arrow, point, m_doc.zoom)) {
            return ArrowAdjustDrag{*anchor, point, index, *arrow};
        }
    } else if (const auto handle = geometry::annotationHandleAt(annotation, point, m_doc.zoom)) {
        return ResizeDrag{*handle, point, index, annotation};
    }
    return std::nullopt;
}

void SelectGesture::mouseDown(QPointF point, Qt::KeyboardModifiers modifiers, int clickCount) {
    m_state = Idle{};
    const bool shift = modifiers.testFlag(Qt::ShiftModifier);
    if (clickCount >= 2 && !shift) {
        selected().clear();
        selectionDidChange();
        if (const auto index = topmostTextAt(point)) {
            const auto& text = std::get<TextAnnotation>(annotations()[static_cast<size_t>(*index)]);
            m_doc.beginEditing(text.rect, text.text, index);
            return;
        }
    }
    const std::vector<int> hits = geometry::hitIndices(annotations(), point);
    if (shift) {
        shiftClick(hits);
        return;
    }
    m_shiftCycleTarget.reset();
    if (auto op = reshapeAt(point, hits)) {
        m_state = Reshape{std::move(*op), annotations()};
        redisplay();
        return;
    }
    if (hits.empty()) {
        selected().clear();
        selectionDidChange();
        m_state = Band{point, std::nullopt};
        redisplay();
        return;
    }
    int target = hits.front();
    if (selected().size() == 1) {
        const auto at = std::find(hits.begin(), hits.end(), *selected().begin());
        if (at != hits.end()) {
            // Clicking again on a stack cycles through it.
            target = hits[static_cast<size_t>((at - hits.begin() + 1) % hits.size())];
        }
    }
    m_doc.setSelection({target});
    m_state =
        Reshape{MoveDrag{point, target, annotations()[static_cast<size_t>(target)]}, annotations()};
}

void SelectGesture::mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) {
    if (auto* band = std::get_if<Band>(&m_state)) {
        band->rect = QRectF(band->start, point).normalized();
        redisplay();
        return;
    }
    auto* reshape = std::get_if<Reshape>(&m_state);
    if (!reshape) {
        return;
    }
    const bool shift = modifiers.testFlag(Qt::ShiftModifier);
    // Only the old and new places of what moved (with their chrome) need repainting.
    std::optional<QRectF> damage;
    const auto damaged = [this, &damage](const Annotation& a) {
        const double margin = 16 * m_doc.zoom + 14;
        QRectF r = kindOf(a) == AnnotationKind::text ? geometry::bounds(a).normalized()
                                                     : render::paintedExtent(a);
        r.adjust(-margin, -margin, margin, margin);
        damage = damage ? geometry::unite(*damage, r) : r;
    };
    const auto store = [&](int index, Annotation annotation) {
        if (validIndex(index) && !isLocked(annotations()[static_cast<size_t>(index)])) {
            damaged(annotations()[static_cast<size_t>(index)]);
            damaged(annotation);
            annotations()[static_cast<size_t>(index)] = std::move(annotation);
            reshape->changed = true;
        }
    };
    std::visit(
        [&](const auto& op) {
            using T = std::decay_t<decltype(op)>;
            QPointF delta = point - op.startMouse;
            if constexpr (std::is_same_v<T, MoveDrag>) {
                delta = shift ? geometry::dominantAxis(delta) : delta;
                store(op.index, geometry::offset(op.original, delta.x(), delta.y()));
            } else if constexpr (std::is_same_v<T, MoveMultipleDrag>) {
                delta = shift ? geometry::dominantAxis(delta) : delta;
                for (const auto& [index, original] : op.originals) {
                    store(index, geometry::offset(original, delta.x(), delta.y()));
                }
            } else if constexpr (std::is_same_v<T, ResizeDrag>) {
                store(op.index,
                      geometry::resized(op.original, op.handle, shift, delta.x(), delta.y()));
            } else {
                store(op.index, geometry::adjusted(op.original, op.anchor, delta.x(), delta.y()));
            }
        },
        reshape->op);
    if (!reshape->changed) {
        return;
    }
    updateCanvasSize();
    if (isMove(reshape->op)) {
        const auto bounds = selectionBounds();
        m_doc.onSelectionMoveChanged.notify(bounds ? std::optional(bounds->topLeft())
                                                   : std::nullopt);
    }
    reportSelectionGeometry();
    redisplay(damage);
}

void SelectGesture::selectInBand(const QRectF& band) {
    std::set<int> inside;
    const AnnotationList& list = annotations();
    for (int i = 0; i < static_cast<int>(list.size()); ++i) {
        if (geometry::intersectsClosed(geometry::bounds(list[static_cast<size_t>(i)]), band)) {
            inside.insert(i);
        }
    }
    selected() = std::move(inside);
    selectionDidChange();
}

void SelectGesture::mouseUp(QPointF, Qt::KeyboardModifiers) {
    const auto state = std::exchange(m_state, Idle{});
    if (const auto* band = std::get_if<Band>(&state)) {
        if (band->rect &&
            (band->rect->width() > minimumBandSide || band->rect->height() > minimumBandSide)) {
            selectInBand(*band->rect);
        }
    }
    bool wasMove = false;
    if (const auto* reshape = std::get_if<Reshape>(&state); reshape && reshape->changed) {
        wasMove = isMove(reshape->op);
        m_doc.registerUndo(reshape->before, actionName(reshape->op));
    }
    if (wasMove) {
        m_doc.onSelectionMoveChanged.notify(std::nullopt);
    }
    reportSelectionGeometry();
    redisplay();
}

void SelectGesture::describe(CanvasSnapshot& s) const {
    if (const auto* band = std::get_if<Band>(&m_state)) {
        s.selectionDragRect = band->rect;
    }
    s.selectionDragInProgress = std::holds_alternative<Reshape>(m_state);
}

} // namespace vellumix
