#include "CanvasDocument.h"
#include "StepLayout.h"
#include "TextLayout.h"
#include "model/AnnotationGeometry.h"
#include "model/Fonts.h"
#include "model/OverlayRef.h"
#include "model/Steps.h"

#include <QLocale>

#include <cmath>

namespace vellumix {

namespace {

// A new colour replaces an annotation's colour while keeping its opacity: clear makes it clear
// (old RGB, alpha 0), a clear colour takes the new one whole, otherwise new RGB with old alpha.
Color replaced(const Color& old, const Color& next) {
    if (next.isClear()) {
        return old.withAlpha(0);
    }
    if (old.isClear()) {
        return next;
    }
    return old.converted(next, old.alpha);
}

void applyColor(Color& target, const std::optional<Color>& next) {
    if (next) {
        target = replaced(target, *next);
    }
}

void applyOpacity(Color& target, const std::optional<double>& opacity) {
    if (opacity && !target.isClear()) {
        target = target.withAlpha(*opacity);
    }
}

template <class T> void applyIf(T& target, const std::optional<T>& value) {
    if (value) {
        target = *value;
    }
}

Annotation restyled(Annotation annotation, const StyleChange& c) {
    std::visit(
        [&c](auto& a) {
            using T = std::decay_t<decltype(a)>;
            if constexpr (std::is_same_v<T, ShapeAnnotation>) {
                applyColor(a.strokeColor, c.strokeColor);
                applyColor(a.fillColor, c.fillColor);
                applyIf(a.lineWidth, c.lineWidth);
                applyIf(a.cornerRadius, c.cornerRadius);
                applyIf(a.lineStyle, c.lineStyle);
                applyOpacity(a.strokeColor, c.opacity);
                applyOpacity(a.fillColor, c.opacity);
            } else if constexpr (std::is_same_v<T, StrokeAnnotation>) {
                applyColor(a.color, c.strokeColor);
                applyIf(a.lineWidth, c.lineWidth);
                applyIf(a.lineStyle, c.lineStyle);
                applyOpacity(a.color, c.opacity);
            } else if constexpr (std::is_same_v<T, ArrowAnnotation>) {
                applyColor(a.color, c.strokeColor);
                applyIf(a.lineWidth, c.lineWidth);
                applyOpacity(a.color, c.opacity);
            } else if constexpr (std::is_same_v<T, TextAnnotation>) {
                const bool step = steps::stepNumber(a).has_value();
                if (c.fontColor) {
                    a.color = a.color.converted(*c.fontColor, a.color.alpha);
                }
                applyColor(a.backgroundColor, c.fillColor);
                applyColor(a.strokeColor, c.strokeColor);
                applyIf(a.lineWidth, c.lineWidth);
                applyIf(a.cornerRadius, c.cornerRadius);
                applyIf(a.lineStyle, c.lineStyle);
                applyIf(a.fontFamily, c.fontFamily);
                applyIf(a.fontStyle, c.fontStyle);
                applyIf(a.fontSize, c.fontSize);
                applyIf(a.alignment, c.alignment);
                applyIf(a.padding, c.textPadding);
                applyOpacity(a.color, c.opacity);
                applyOpacity(a.strokeColor, c.opacity);
                applyOpacity(a.backgroundColor, c.opacity);
                const bool layoutChanged =
                    c.fontFamily || c.fontStyle || c.fontSize || c.alignment || c.textPadding;
                if (layoutChanged && step) {
                    // A step stays a circle around its centre.
                    a = steps::refitStep(std::move(a));
                } else if (layoutChanged) {
                    // Refit the height to the text; width and origin stay.
                    const QFont font = fontInCanvasUnits(resolveFont(a.fontFamily, a.fontStyle, 12),
                                                         a.fontSize, nullptr);
                    const double width = std::max(a.rect.width() - 2 * a.padding, 1.0);
                    const double height =
                        TextBoxLayout::height(a.text, font, width, a.alignment, nullptr);
                    a.rect.setHeight(std::ceil(height) + 2 * a.padding);
                }
            }
        },
        annotation);
    return annotation;
}

QString plural(const QString& base, size_t count) {
    return count > 1 ? base + QLatin1Char('s') : base;
}

// Bring to front, forward, backward and to back, each enabled where the stack allows it.
void appendOrderItems(std::vector<CanvasMenuItem>& menu, bool forward, bool backward) {
    using Action = CanvasMenuItem::Action;
    menu.push_back(CanvasMenuItem::make(Action::bringToFront, QStringLiteral("Bring to front"),
                                        QStringLiteral("bring-to-front"), forward));
    menu.push_back(CanvasMenuItem::make(Action::bringForward, QStringLiteral("Bring forward"),
                                        QStringLiteral("bring-forward"), forward));
    menu.push_back(CanvasMenuItem::make(Action::sendBackward, QStringLiteral("Send backward"),
                                        QStringLiteral("send-backward"), backward));
    CanvasMenuItem toBack = CanvasMenuItem::make(Action::sendToBack, QStringLiteral("Send to back"),
                                                 QStringLiteral("send-to-back"), backward);
    toBack.separatorAfter = true;
    menu.push_back(toBack);
}

// One icon a cap; the current one checked and disabled.
CanvasMenuItem arrowStyleItem(ArrowEndCap current) {
    using Action = CanvasMenuItem::Action;
    static const QString labels[] = {
        QStringLiteral("Triangle"), QStringLiteral("Triangle (both ends)"), QStringLiteral("Dot"),
        QStringLiteral("Dot (both ends)"), QStringLiteral("Line (no caps)")};
    CanvasMenuItem arrowStyle = CanvasMenuItem::make(
        Action::arrowStyle, QStringLiteral("Arrow style"), QStringLiteral("arrow-style"));
    for (ArrowEndCap cap : allCases<ArrowEndCap>()) {
        CanvasMenuItem item =
            CanvasMenuItem::make(Action::applyArrowEndCap, QString(), rawValue(cap));
        item.argument = static_cast<int>(cap);
        item.toolTip = labels[static_cast<int>(cap)];
        item.checked = cap == current;
        item.enabled = cap != current;
        arrowStyle.submenu.push_back(item);
    }
    arrowStyle.separatorAfter = true;
    return arrowStyle;
}

// The presets saved for the selected annotation's tool, by date; the one it already wears is
// disabled.
CanvasMenuItem applyPresetItem(const std::vector<PresetEntry>& presets,
                               const Annotation& selected) {
    using Action = CanvasMenuItem::Action;
    CanvasMenuItem apply = CanvasMenuItem::make(Action::none, QStringLiteral("Apply style preset"),
                                                QStringLiteral("palette"));
    for (size_t i = 0; i < presets.size(); ++i) {
        const PresetEntry& preset = presets[i];
        CanvasMenuItem item = CanvasMenuItem::make(
            Action::applyStylePreset,
            QLocale::c().toString(preset.savedAt.toLocalTime(), QStringLiteral("M/d, h:mm AP")),
            QString());
        item.argument = static_cast<int>(i);
        item.enabled = !matchesStyle(selected, preset.style);
        item.swatchStyle = preset.style;
        item.swatchTool = toolFor(selected);
        apply.submenu.push_back(item);
    }
    return apply;
}

} // namespace

void CanvasDocument::restyleSelection(const StyleChange& change) {
    AnnotationList list = m_annotations;
    size_t count = 0;
    for (int i : m_selected) {
        if (validIndex(i)) {
            list[static_cast<size_t>(i)] = restyled(list[static_cast<size_t>(i)], change);
            ++count;
        }
    }
    if (count == 0) {
        return;
    }
    replaceAnnotations(std::move(list), plural(QStringLiteral("Restyle Annotation"), count));
}

void CanvasDocument::addOverlay(const QImage& overlay, std::optional<QPointF> point) {
    const double w = overlay.width();
    const double h = overlay.height();
    if (w <= 0 || h <= 0 || m_image.width() <= 0 || m_image.height() <= 0) {
        return;
    }
    const double scale = std::min({1.0, m_image.width() / 2.0 / w, m_image.height() / 2.0 / h});
    const QRectF image = imageRect();
    const QPointF origin =
        point ? *point
              : QPointF(image.center().x() - w * scale / 2, image.center().y() - h * scale / 2);
    OverlayAnnotation annotation;
    annotation.rect = QRectF(origin, QSizeF(w * scale, h * scale));
    annotation.image = overlay;
    annotation.opacity = 1;
    annotation.overlayRef = newOverlayRef();
    AnnotationList list = m_annotations;
    list.push_back(std::move(annotation));
    replaceAnnotations(std::move(list), QStringLiteral("Paste Overlay"));
}

void CanvasDocument::copySelection() {
    m_copiedAnnotations = selectedAnnotations();
}

void CanvasDocument::paste() {
    if (m_copiedAnnotations.empty()) {
        return;
    }
    AnnotationList list = m_annotations;
    std::set<int> pasted;
    for (const Annotation& copy : m_copiedAnnotations) {
        // Twenty units right and twenty up from the original.
        list.push_back(withID(geometry::offset(copy, 20, -20), AnnotationID::generate()));
        pasted.insert(static_cast<int>(list.size()) - 1);
    }
    replaceAnnotations(std::move(list),
                       plural(QStringLiteral("Paste Annotation"), m_copiedAnnotations.size()));
    setSelection(std::move(pasted));
}

void CanvasDocument::deleteSelection() {
    std::vector<int> doomed;
    for (int i : m_selected) {
        if (validIndex(i)) {
            doomed.push_back(i);
        }
    }
    if (doomed.empty()) {
        return;
    }
    AnnotationList list = m_annotations;
    for (auto it = doomed.rbegin(); it != doomed.rend(); ++it) {
        list.erase(list.begin() + *it);
    }
    replaceAnnotations(std::move(list), plural(QStringLiteral("Delete Annotation"), doomed.size()));
    setSelection({});
}

void CanvasDocument::nudge(double dx, double dy) {
    AnnotationList list = m_annotations;
    bool moved = false;
    for (int i : m_selected) {
        if (validIndex(i) && !isLocked(list[static_cast<size_t>(i)])) {
            list[static_cast<size_t>(i)] = geometry::offset(list[static_cast<size_t>(i)], dx, dy);
            moved = true;
        }
    }
    if (!moved) {
        return;
    }
    replaceAnnotations(std::move(list), QStringLiteral("Nudge"));
    reportSelectionGeometry();
}

// --- Context menu ------------------------------------------------------------------------------

std::vector<CanvasMenuItem> CanvasDocument::contextMenu(QPointF point) {
    using Action = CanvasMenuItem::Action;
    m_cursorPosOnImage.reset();
    const std::vector<int> hits = geometry::hitIndices(m_annotations, point);
    if (hits.empty()) {
        const auto bounds = selectionBounds();
        if (!(m_selected.size() >= 2 && bounds && geometry::containsClosed(*bounds, point))) {
            m_pendingOverlayInsertPoint = point;
            std::vector<CanvasMenuItem> menu{
                CanvasMenuItem::make(Action::addOverlay, QStringLiteral("Add image overlay…"),
                                     QStringLiteral("photo-add"))};
            appendPictureItems(menu);
            return menu;
        }
    } else if (std::none_of(hits.begin(), hits.end(),
                            [this](int i) { return m_selected.count(i) > 0; })) {
        setSelection({hits.front()});
    }

    std::vector<CanvasMenuItem> menu;
    if (m_activeTool != Tool::select) {
        CanvasMenuItem select = CanvasMenuItem::make(
            Action::requestSelectTool, QStringLiteral("Select"), QStringLiteral("select"));
        select.separatorAfter = true;
        menu.push_back(select);
    }
    appendOrderItems(menu, canBringForward(), canSendBackward());

    const std::vector<Annotation> selected = selectedAnnotations();
    if (selected.size() == 1 && kindOf(selected.front()) == AnnotationKind::arrow) {
        menu.push_back(arrowStyleItem(std::get<ArrowAnnotation>(selected.front()).endCap));
    }

    const bool anyUnlocked = std::any_of(selected.begin(), selected.end(),
                                         [](const Annotation& a) { return !isLocked(a); });
    CanvasMenuItem lock = CanvasMenuItem::make(
        Action::toggleLock, anyUnlocked ? QStringLiteral("Lock") : QStringLiteral("Unlock"),
        anyUnlocked ? QStringLiteral("lock") : QStringLiteral("unlock"));
    lock.separatorAfter = true;
    menu.push_back(lock);

    menu.push_back(CanvasMenuItem::make(Action::saveStyleAsPreset,
                                        QStringLiteral("Save style preset"),
                                        QStringLiteral("bookmark"), selected.size() == 1));
    m_menuPresets.clear();
    if (selected.size() == 1 && presetsForTool) {
        m_menuPresets = presetsForTool(toolFor(selected.front()));
        if (!m_menuPresets.empty()) {
            menu.push_back(applyPresetItem(m_menuPresets, selected.front()));
        }
    }
    menu.back().separatorAfter = true;
    menu.push_back(CanvasMenuItem::make(Action::mergeIntoImage, QStringLiteral("Merge into image"),
                                        QStringLiteral("merge"), !selected.empty()));
    appendPictureItems(menu);
    redisplay();
    return menu;
}

void CanvasDocument::triggerMenuItem(const CanvasMenuItem& item) {
    using Action = CanvasMenuItem::Action;
    if (!item.enabled) {
        return;
    }
    switch (item.action) {
    case Action::requestSelectTool:
        onRequestTool.notify(Tool::select);
        break;
    case Action::bringToFront:
        bringToFront();
        break;
    case Action::bringForward:
        bringForward();
        break;
    case Action::sendBackward:
        sendBackward();
        break;
    case Action::sendToBack:
        sendToBack();
        break;
    case Action::applyArrowEndCap:
        if (item.argument >= 0 && item.argument < static_cast<int>(caseCount<ArrowEndCap>())) {
            applyArrowEndCap(static_cast<ArrowEndCap>(item.argument));
        }
        break;
    case Action::toggleLock:
        toggleLock();
        break;
    case Action::saveStyleAsPreset: {
        const auto selected = selectedAnnotations();
        if (selected.size() == 1) {
            onSaveStylePreset.notify(selected.front());
        }
        break;
    }
    case Action::applyStylePreset: {
        const auto selected = selectedAnnotations();
        if (item.argument >= 0 && static_cast<size_t>(item.argument) < m_menuPresets.size() &&
            selected.size() == 1) {
            onApplyStylePreset.notify(m_menuPresets[static_cast<size_t>(item.argument)].style,
                                      toolFor(selected.front()));
        }
        break;
    }
    case Action::mergeIntoImage: {
        AnnotationIDSet ids;
        for (const Annotation& a : selectedAnnotations()) {
            ids.insert(idOf(a));
        }
        onMergeIntoImage.notify(ids);
        break;
    }
    case Action::addOverlay:
        onRequestAddOverlay.notify(m_pendingOverlayInsertPoint);
        break;
    case Action::renumberSteps:
        renumberSteps();
        break;
    case Action::copyText:
        onCopyText.notify();
        break;
    case Action::arrowStyle:
    case Action::none:
        break;
    }
}

} // namespace vellumix
