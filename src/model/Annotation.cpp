#include "Annotation.h"

namespace vellumix {

AnnotationKind kindOf(const Annotation& annotation) {
    return static_cast<AnnotationKind>(annotation.index());
}

const AnnotationID& idOf(const Annotation& annotation) {
    return std::visit([](const auto& a) -> const AnnotationID& { return a.id; }, annotation);
}

bool isLocked(const Annotation& annotation) {
    return std::visit([](const auto& a) { return a.isLocked; }, annotation);
}

Annotation withLocked(Annotation annotation, bool locked) {
    std::visit([locked](auto& a) { a.isLocked = locked; }, annotation);
    return annotation;
}

Annotation withID(Annotation annotation, AnnotationID id) {
    std::visit([&id](auto& a) { a.id = id; }, annotation);
    return annotation;
}

Tool toolFor(const Annotation& annotation) {
    switch (kindOf(annotation)) {
    case AnnotationKind::shape:
        return std::get<ShapeAnnotation>(annotation).shape == ShapeAnnotation::Shape::oval
                   ? Tool::oval
                   : Tool::rect;
    case AnnotationKind::stroke:
        return Tool::draw;
    case AnnotationKind::arrow:
        return Tool::arrow;
    case AnnotationKind::text:
        return Tool::text;
    case AnnotationKind::overlay:
        return Tool::overlay;
    }
    return Tool::select;
}

} // namespace vellumix
