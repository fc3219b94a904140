#include "EditedBitmap.h"
#include "ImageOperations.h"
#include "canvas/ImageBuffer.h"
#include "model/AnnotationGeometry.h"

#include <QPainter>

#include <cmath>
#include <limits>

namespace vellumix::imageops {

namespace {

// A crop dragged at a zoom other than 100% has fractional edges. Rounding each edge (rather
// than the origin and size) keeps the picture and the annotations on the same pixel grid.
std::optional<QRect> pixelCrop(const QRectF& crop) {
    const QRectF area = geometry::toImage(crop);
    const double left = std::round(area.left());
    const double top = std::round(area.top());
    const double right = std::round(area.right());
    const double bottom = std::round(area.bottom());
    constexpr double largest = std::numeric_limits<int>::max();
    if (!(right - left >= 1) || !(bottom - top >= 1) || std::abs(left) > largest ||
        std::abs(top) > largest || right - left > largest || bottom - top > largest) {
        return std::nullopt;
    }
    return QRect(static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left),
                 static_cast<int>(bottom - top));
}

} // namespace

std::optional<Edited> crop(const QImage& image, const AnnotationList& annotations,
                           const QRectF& crop, const Color& blank) {
    if (image.isNull() || !(crop.width() > 0) || !(crop.height() > 0)) {
        return std::nullopt;
    }
    const std::optional<QRect> area = pixelCrop(crop);
    if (!area) {
        return std::nullopt;
    }
    QImage cut = allocateImage(area->width(), area->height(), QImage::Format_ARGB32_Premultiplied);
    if (cut.isNull()) {
        return std::nullopt;
    }
    // The blank colour shows outside the image and under its transparent pixels. An opaque
    // image covering the whole crop hides it, and filling a large picture first costs a pass.
    if (image.hasAlphaChannel() || !image.rect().contains(*area)) {
        cut.fill(blank.toQColor());
    }
    {
        QPainter painter(&cut);
        painter.drawImage(-area->topLeft(), image);
    }
    cut = editedBitmap(std::move(cut), image.dotsPerMeterX(), image.dotsPerMeterY());

    AnnotationList moved;
    moved.reserve(annotations.size());
    for (const Annotation& annotation : annotations) {
        moved.push_back(geometry::offset(annotation, -area->left(), -area->top()));
    }
    return Edited{std::move(cut), std::move(moved)};
}

} // namespace vellumix::imageops
