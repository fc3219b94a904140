#include "EditedBitmap.h"
#include "ImageOperations.h"
#include "model/AnnotationGeometry.h"

namespace vellumix::imageops {

namespace {

QRectF imageRect(QSize size) {
    return geometry::imageOnCanvas(size);
}

} // namespace

std::optional<Edited> resize(const QImage& image, const AnnotationList& annotations, QSize size) {
    if (image.isNull() || size.width() < 1 || size.height() < 1) {
        return std::nullopt;
    }
    // Qt's smooth scaling averages every source pixel when shrinking, where a painter's bilinear
    // filter would skip rows and alias.
    QImage scaled = image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    if (scaled.isNull()) {
        return std::nullopt;
    }
    scaled = editedBitmap(std::move(scaled), image.dotsPerMeterX(), image.dotsPerMeterY());
    return Edited{std::move(scaled), mapToNewImage(annotations, image.size(), size)};
}

QRectF resizeCrop(const QRectF& crop, QSize oldSize, QSize newSize) {
    // The same mapping the annotations get, degenerate sides included.
    const double fx = oldSize.width() != 0 ? double(newSize.width()) / oldSize.width() : 1;
    const double fy = oldSize.height() != 0 ? double(newSize.height()) / oldSize.height() : 1;
    const QPointF topLeft = geometry::toImage(crop.topLeft());
    return geometry::toCanvas(
        QRectF(fx * topLeft.x(), fy * topLeft.y(), crop.width() * fx, crop.height() * fy));
}

AnnotationList mapToNewImage(const AnnotationList& annotations, QSize oldSize, QSize newSize) {
    if (oldSize == newSize) {
        return annotations;
    }
    return geometry::mapAnnotations(annotations, imageRect(oldSize), imageRect(newSize));
}

} // namespace vellumix::imageops
