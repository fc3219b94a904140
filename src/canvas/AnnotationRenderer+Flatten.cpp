#include "AnnotationRenderer.h"
#include "model/AnnotationGeometry.h"

namespace vellumix::render {

namespace {

// Dots per metre of 72 dpi: one pixel per point, recorded in saved PNGs.
constexpr double pointsPerMetre = 72.0 / 0.0254;

QImage baseSheet(const QImage& image, int width, int height, bool transparentBase) {
    if (!transparentBase && image.width() == width && image.height() == height) {
        // Same size: a format conversion is a plain copy, far cheaper than a painted pass.
        return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    }
    QImage sheet(width, height, QImage::Format_ARGB32_Premultiplied);
    sheet.fill(Qt::transparent);
    if (!transparentBase) {
        QPainter painter(&sheet);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(QRectF(0, 0, width, height), image);
    }
    return sheet;
}

} // namespace

std::optional<QImage> renderFlattened(const QImage& image, std::span<const Annotation> annotations,
                                      const FlattenOptions& options) {
    const double w = options.outputSize.width();
    const double h = options.outputSize.height();
    if (!(w > 0) || !(h > 0) || image.width() <= 0 || image.height() <= 0) {
        return std::nullopt;
    }
    const int pixelWidth = static_cast<int>(w);
    const int pixelHeight = static_cast<int>(h);
    if (pixelWidth <= 0 || pixelHeight <= 0) {
        return std::nullopt;
    }
    QImage sheet = baseSheet(image, pixelWidth, pixelHeight, options.transparentBase);
    if (sheet.isNull()) {
        return std::nullopt; // allocation failed
    }
    sheet.setDevicePixelRatio(1);
    sheet.setDotsPerMeterX(qRound(pointsPerMetre * pixelWidth / w));
    sheet.setDotsPerMeterY(qRound(pointsPerMetre * pixelHeight / h));

    if (options.includeAnnotations && !annotations.empty()) {
        QPainter painter(&sheet);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing |
                               QPainter::SmoothPixmapTransform);
        const double scale = w / image.width();
        painter.scale(scale, scale);
        painter.translate(-geometry::canvasInset, -geometry::canvasInset);
        drawAnnotations(painter, annotations, options.only);
    }
    return sheet;
}

std::optional<QImage> renderComposite(const QImage& image,
                                      std::span<const Annotation> annotations) {
    return renderFlattened(image, annotations, {QSizeF(image.size()), false, true, std::nullopt});
}

} // namespace vellumix::render
