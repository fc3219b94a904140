#include "ImageOperations.h"

#include <algorithm>

namespace vellumix::imageops {

std::optional<Edited> merge(const QImage& image, const AnnotationList& annotations,
                            const AnnotationIDSet& ids) {
    const auto chosen = [&ids](const Annotation& a) { return ids.contains(idOf(a)); };
    if (image.isNull() || std::none_of(annotations.begin(), annotations.end(), chosen)) {
        return std::nullopt;
    }
    std::optional<QImage> flattened = render::renderFlattened(
        image, annotations, render::FlattenOptions(QSizeF(image.size()), false, true, ids));
    if (!flattened) {
        return std::nullopt;
    }
    // Flattening records one pixel per point; the merged picture keeps the source's resolution.
    flattened->setDotsPerMeterX(image.dotsPerMeterX());
    flattened->setDotsPerMeterY(image.dotsPerMeterY());

    AnnotationList kept;
    kept.reserve(annotations.size());
    std::copy_if(annotations.begin(), annotations.end(), std::back_inserter(kept),
                 [&](const Annotation& a) { return !chosen(a); });
    return Edited{std::move(*flattened), std::move(kept)};
}

QString mergeActionName(int count) {
    if (count == 1) {
        return QStringLiteral("Merge Annotation into Image");
    }
    return QStringLiteral("Merge %1 Annotations into Image").arg(count);
}

} // namespace vellumix::imageops
