#include "ProjectBundle.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace vellumix::bundle {

namespace {

QImage premultiplied(const QImage& image) {
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

// A smooth (area-averaging) reduction to fit `side` × `side`; never enlarges.
QImage fitWithin(const QImage& image, int side) {
    if (image.width() <= side && image.height() <= side) {
        return image;
    }
    return image.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

} // namespace

QImage makeThumbnail(const QImage& composite) {
    if (composite.isNull()) {
        return {};
    }
    const double w = composite.width();
    const double h = composite.height();
    const double scale = std::min({thumbnailWidth / w, thumbnailHeight / h, 1.0});
    const QSize size(std::max(1, static_cast<int>(std::lround(w * scale))),
                     std::max(1, static_cast<int>(std::lround(h * scale))));
    // Reduce in two steps so the big image is averaged once, not sampled.
    const QImage reduced = fitWithin(composite, 512);
    return premultiplied(reduced.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

std::vector<QImage> makeIconRepresentations(const QImage& composite) {
    std::vector<QImage> representations;
    if (composite.isNull() || composite.width() <= 0 || composite.height() <= 0) {
        return representations;
    }
    const double w = composite.width();
    const double h = composite.height();
    // Each size is reduced from the next larger one: one expensive pass over the composite.
    QImage source = composite;
    std::vector<QImage> reductions;
    for (auto it = std::rbegin(iconSides); it != std::rend(iconSides); ++it) {
        source = fitWithin(source, *it);
        reductions.push_back(source);
    }
    std::reverse(reductions.begin(), reductions.end());

    for (size_t i = 0; i < std::size(iconSides); ++i) {
        const int side = iconSides[i];
        const double s = std::min(side / w, side / h);
        const QRectF target((side - w * s) / 2, (side - h * s) / 2, w * s, h * s);
        QImage icon(side, side, QImage::Format_ARGB32_Premultiplied);
        icon.fill(Qt::transparent);
        QPainter painter(&icon);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(target, reductions[i]);
        painter.end();
        representations.push_back(std::move(icon));
    }
    return representations;
}

} // namespace vellumix::bundle
