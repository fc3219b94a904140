#include "EditedBitmap.h"
#include "ImageOperations.h"
#include "model/AnnotationGeometry.h"

#include <QTransform>

#include <functional>

namespace vellumix::imageops {

namespace {

// The canvas transform of a clockwise quarter turn: image point (x, y) goes to (H − y, x), so
// canvas point p goes to (H + 2·inset − p.y, p.x).
QTransform quarterTurn(QSize oldImageSize) {
    return QTransform(0, 1, -1, 0, geometry::canvasAround(oldImageSize).height(), 0);
}

QTransform mirror(QSize imageSize, Qt::Orientation axis) {
    const QRectF canvas = geometry::canvasAround(imageSize);
    if (axis == Qt::Horizontal) {
        return QTransform(-1, 0, 0, 1, canvas.width(), 0);
    }
    return QTransform(1, 0, 0, -1, 0, canvas.height());
}

QImage mirrored(const QImage& image, Qt::Orientation axis) {
    return image.mirrored(axis == Qt::Horizontal, axis == Qt::Vertical);
}

// Carries annotations through a right-angle turn or a mirror of the canvas. `turnPicture` does
// the same to an overlay's own pixels, so it never ends up stretched across a swapped rectangle.
AnnotationList transformAnnotations(const AnnotationList& annotations, const QTransform& t,
                                    const std::function<QImage(const QImage&)>& turnPicture) {
    AnnotationList result;
    result.reserve(annotations.size());
    for (const Annotation& annotation : annotations) {
        Annotation copy = annotation;
        if (!geometry::transformPoints(copy, t)) {
            std::visit(
                [&](auto& a) {
                    using T = std::decay_t<decltype(a)>;
                    if constexpr (std::is_same_v<T, TextAnnotation>) {
                        // Text cannot turn or mirror and stay readable: the box keeps its size
                        // and only its centre follows the picture.
                        a.rect.moveCenter(t.map(a.rect.center()));
                    } else if constexpr (std::is_same_v<T, OverlayAnnotation>) {
                        a.rect = t.mapRect(a.rect);
                        a.image = turnPicture(a.image);
                    } else if constexpr (std::is_same_v<T, ShapeAnnotation>) {
                        a.rect = t.mapRect(a.rect);
                    }
                },
                copy);
        }
        result.push_back(std::move(copy));
    }
    return result;
}

} // namespace

std::optional<Edited> rotateRight(const QImage& image, const AnnotationList& annotations) {
    if (image.isNull()) {
        return std::nullopt;
    }
    // An exact quarter turn goes through Qt's tiled pixel rotation, not the painter.
    const QTransform turn = QTransform().rotate(90);
    const auto turnPicture = [&turn](const QImage& picture) { return picture.transformed(turn); };
    QImage turned = image.transformed(turn);
    if (turned.isNull()) {
        return std::nullopt;
    }
    // Pixels that were columns are now rows.
    turned = editedBitmap(std::move(turned), image.dotsPerMeterY(), image.dotsPerMeterX());
    return Edited{std::move(turned),
                  transformAnnotations(annotations, quarterTurn(image.size()), turnPicture)};
}

std::optional<Edited> flip(const QImage& image, const AnnotationList& annotations,
                           Qt::Orientation axis) {
    if (image.isNull()) {
        return std::nullopt;
    }
    QImage flipped = mirrored(image, axis);
    if (flipped.isNull()) {
        return std::nullopt;
    }
    flipped = editedBitmap(std::move(flipped), image.dotsPerMeterX(), image.dotsPerMeterY());
    const auto turnPicture = [axis](const QImage& picture) { return mirrored(picture, axis); };
    return Edited{std::move(flipped),
                  transformAnnotations(annotations, mirror(image.size(), axis), turnPicture)};
}

QRectF rotateCropRight(const QRectF& crop, QSize oldImageSize) {
    return quarterTurn(oldImageSize).mapRect(crop);
}

QRectF flipCrop(const QRectF& crop, QSize imageSize, Qt::Orientation axis) {
    return mirror(imageSize, axis).mapRect(crop);
}

} // namespace vellumix::imageops
