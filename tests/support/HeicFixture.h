#pragma once

// A real HEIC file, made at test time by the app's own encoder (libheif with x265, through the
// codecs module), so no binary fixture is kept that could not be made again.

#include "codecs/ImageExport.h"

#include <QFile>
#include <QImage>
#include <QString>

namespace test_support {

/// 64 × 48 pixels: the left half red, the right half blue.
inline QImage heicPicture() {
    QImage picture(64, 48, QImage::Format_RGB32);
    picture.fill(Qt::red);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 32; x < picture.width(); ++x) {
            picture.setPixel(x, y, qRgb(0, 0, 255));
        }
    }
    return picture;
}

/// Writes heicPicture() as a HEIC file; false when it cannot be encoded or written.
inline bool writeHeicPicture(const QString& path) {
    const auto data = vellumix::encodeImage(heicPicture(), vellumix::ExportFormat::heic);
    QFile file(path);
    return data && file.open(QIODevice::WriteOnly) && file.write(*data) == data->size();
}

/// Whether `image` is heicPicture() as a lossy decoder gives it back: its size, red on the left
/// and blue on the right, away from the edge between them.
inline bool looksLikeHeicPicture(const QImage& image) {
    const auto near = [](QRgb pixel, QRgb expected) {
        return qAbs(qRed(pixel) - qRed(expected)) < 16 &&
               qAbs(qGreen(pixel) - qGreen(expected)) < 16 &&
               qAbs(qBlue(pixel) - qBlue(expected)) < 16;
    };
    return image.size() == QSize(64, 48) && near(image.pixel(8, 24), qRgb(255, 0, 0)) &&
           near(image.pixel(56, 24), qRgb(0, 0, 255));
}

} // namespace test_support
