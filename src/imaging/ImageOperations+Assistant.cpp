#include "ImageOperations.h"

namespace vellumix::imageops {

QString assistantFilterActionName(const QString& kind) {
    const QString name = kind.toLower();
    return QStringLiteral("Apply %1 (AI)").arg(name.left(1).toUpper() + name.mid(1));
}

std::optional<Edited> assistantImage(const QImage& image, const AnnotationList& annotations,
                                     QSize oldSize) {
    if (image.isNull()) {
        return std::nullopt;
    }
    QImage normalized = image;
    normalized.setDevicePixelRatio(1);
    return Edited{std::move(normalized), mapToNewImage(annotations, oldSize, image.size())};
}

} // namespace vellumix::imageops
