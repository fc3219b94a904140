#include "AnnotationRenderer.h"
#include "ImageBuffer.h"
#include "model/AnnotationGeometry.h"
#include "model/Parallel.h"

namespace vellumix::render {

namespace {

// Dots per metre of 72 dpi: one pixel per point, recorded in saved PNGs.
constexpr double pointsPerMetre = 72.0 / 0.0254;
// Pictures with fewer rows are drawn in one pass.
constexpr int minimumBandRows = 256;

struct Sheet {
    QImage image;
    QTransform canvasToSheet;
};

// Draws rows [top, bottom) of the sheet: the base, then every annotation that reaches them.
// Bands share the sheet's memory and never touch each other's rows.
void drawBand(const Sheet& sheet, uchar* bits, int top, int bottom, const QImage& base,
              std::span<const Annotation> annotations, const FlattenOptions& options) {
    const QImage& full = sheet.image;
    QImage band(bits + static_cast<qsizetype>(top) * full.bytesPerLine(), full.width(),
                bottom - top, full.bytesPerLine(), full.format());
    band.setDotsPerMeterX(full.dotsPerMeterX());
    band.setDotsPerMeterY(full.dotsPerMeterY());
    QPainter painter(&band);
    painter.translate(0, -top);
    if (!options.transparentBase) {
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(QRectF(0, 0, full.width(), full.height()), base);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    }
    if (options.includeAnnotations && !annotations.empty()) {
        painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing |
                               QPainter::SmoothPixmapTransform);
        painter.setTransform(sheet.canvasToSheet, true);
        const QRectF rows(0, top, full.width(), bottom - top);
        drawAnnotations(painter, annotations, options.only, std::nullopt,
                        sheet.canvasToSheet.inverted().mapRect(rows));
    }
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
    Sheet sheet{allocateImage(pixelWidth, pixelHeight, QImage::Format_ARGB32_Premultiplied), {}};
    if (sheet.image.isNull()) {
        return std::nullopt; // allocation failed
    }
    sheet.image.setDotsPerMeterX(qRound(pointsPerMetre * pixelWidth / w));
    sheet.image.setDotsPerMeterY(qRound(pointsPerMetre * pixelHeight / h));
    const double scale = w / image.width();
    sheet.canvasToSheet = QTransform::fromScale(scale, scale);
    const QPointF origin = geometry::imageOrigin();
    sheet.canvasToSheet.translate(-origin.x(), -origin.y());

    // Every core draws: the rows are split into bands, one per core.
    uchar* bits = sheet.image.bits();
    const int bands = parallelPieces(pixelHeight, minimumBandRows);
    const auto bandTop = [&](int band) {
        return static_cast<int>(static_cast<long long>(pixelHeight) * band / bands);
    };
    runInParallel(bands, [&](int band) {
        drawBand(sheet, bits, bandTop(band), bandTop(band + 1), image, annotations, options);
    });
    return sheet.image;
}

std::optional<QImage> renderComposite(const QImage& image,
                                      std::span<const Annotation> annotations) {
    return renderFlattened(image, annotations, {QSizeF(image.size()), false, true, std::nullopt});
}

} // namespace vellumix::render
