#include "ImageCodec.h"

#include <QBuffer>
#include <QImageReader>
#include <QImageWriter>

#include <string_view>

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

QByteArray imageFormatBySignature(QByteArrayView head) {
    using namespace std::string_view_literals;
    static constexpr struct {
        std::string_view signature;
        qsizetype at;
        const char* format;
    } signatures[] = {
        {"\x89PNG\r\n\x1a\n"sv, 0, "png"},
        {"\xff\xd8\xff"sv, 0, "jpeg"},
        {"GIF8"sv, 0, "gif"},
        {"BM"sv, 0, "bmp"},
        {"II*\0"sv, 0, "tiff"},
        {"MM\0*"sv, 0, "tiff"},
        {"WEBP"sv, 8, "webp"},
    };
    for (const auto& [signature, at, format] : signatures) {
        const QByteArrayView bytes(signature.data(), qsizetype(signature.size()));
        if (head.size() >= at + bytes.size() && head.sliced(at, bytes.size()) == bytes) {
            return format;
        }
    }
    return {};
}

void nameFormatFromSignature(QImageReader& reader) {
    QIODevice* device = reader.device();
    if (!device || (!device->isOpen() && !device->open(QIODevice::ReadOnly))) {
        return;
    }
    const QByteArray format = imageFormatBySignature(device->peek(12));
    if (!format.isEmpty()) {
        reader.setFormat(format);
        reader.setDecideFormatFromContent(false);
        reader.setAutoDetectImageFormat(false);
    }
}

QImage readImageFile(const QString& path, qint64 maxBytes) {
    QImageReader reader(path);
    nameFormatFromSignature(reader);
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
