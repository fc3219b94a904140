#include "ImageCodec.h"

#include <QBuffer>
#include <QImageReader>
#include <QImageWriter>

namespace vellumix {

std::optional<QByteArray> encodePngWithQt(const QImage& image) {
    if (image.isNull()) {
        return std::nullopt;
    }
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "png");
    if (!writer.write(image) || data.isEmpty()) {
        return std::nullopt;
    }
    return data;
}

QImage readImageFile(const QString& path, qint64 maxBytes) {
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    // The header's size is checked before any pixel is decoded; 4 bytes a pixel after decoding.
    if (size.isValid() && static_cast<qint64>(size.width()) * size.height() * 4 > maxBytes) {
        return {};
    }
    QImageReader::setAllocationLimit(static_cast<int>(std::min<qint64>(maxBytes >> 20, 1 << 20)));
    QImage image = reader.read();
    if (image.isNull()) {
        return {};
    }
    // One pixel is one point throughout the app.
    image.setDevicePixelRatio(1);
    return image;
}

} // namespace vellumix
