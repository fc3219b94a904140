#include "CanvasDocument.h"
#include "StepLayout.h"
#include "model/Steps.h"

namespace vellumix {

void CanvasDocument::placeStep(QPointF centre) {
    finishCreation(steps::makeStep(steps::nextStepNumber(m_annotations), centre, m_style),
                   QStringLiteral("Add Step"));
}

void CanvasDocument::renumberSteps() {
    const auto changes = steps::renumbering(m_annotations);
    if (changes.empty()) {
        return;
    }
    AnnotationList list = m_annotations;
    for (const auto& [index, number] : changes) {
        auto& step = std::get<TextAnnotation>(list[static_cast<size_t>(index)]);
        step.text = QString::number(number);
        // One digit fewer or more: the circle follows, around the same centre.
        step = steps::refitStep(std::move(step));
    }
    replaceAnnotations(std::move(list), QStringLiteral("Renumber Steps"));
}

void CanvasDocument::appendPictureItems(std::vector<CanvasMenuItem>& menu) const {
    using Action = CanvasMenuItem::Action;
    const bool withSteps = steps::hasSteps(m_annotations);
    if ((withSteps || !onCopyText.empty()) && !menu.empty()) {
        menu.back().separatorAfter = true;
    }
    if (withSteps) {
        menu.push_back(CanvasMenuItem::make(Action::renumberSteps, QStringLiteral("Renumber Steps"),
                                            QStringLiteral("renumber"),
                                            !steps::renumbering(m_annotations).empty()));
    }
    if (!onCopyText.empty()) {
        menu.push_back(CanvasMenuItem::make(Action::copyText, QStringLiteral("Copy Text"),
                                            QStringLiteral("copy-text")));
    }
}

} // namespace vellumix
