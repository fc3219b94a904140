#include "ImageExport.h"

#include "FastPngEncoder.h"
#include "ImageExportDetail.h"
#include "ai/ConsoleText.h"

#include <QBuffer>
#include <QImageWriter>

#include <atomic>
namespace vellumix {

namespace {

using namespace exportDetail;

std::optional<QByteArray> writeWithQt(const QImage& image, const char* format, int quality = -1,
                                      int compression = -1) {
    if (image.isNull()) {
        return std::nullopt;
    }
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    writer.setCompression(compression);
    if (!writer.write(image)) {
        return std::nullopt;
    }
    buffer.close();
    return data;
}

Result<QByteArray> orEncodingError(std::optional<QByteArray> data) {
    if (!data || data->isEmpty()) {
        return Error{QStringLiteral("encoding")};
    }
    return std::move(*data);
}

// libjpeg's 0…100 scale; the 0.85 compression factor of the save dialog.
constexpr int jpegQuality = 85;
// Qt's TIFF writer: 1 is LZW (0 is none).
constexpr int tiffLzw = 1;

} // namespace

bool canExport(ExportFormat format) {
    if (format != ExportFormat::heic) {
        return true;
    }
    static const bool heic = [] {
        const bool available = heicEncoderAvailable();
        if (!available) {
            console::say(QStringLiteral("HEIC export is unavailable: libheif has no HEVC encoder"));
        }
        return available;
    }();
    return heic;
}

Result<QByteArray> encodeImage(const QImage& image, ExportFormat format) {
    if (image.isNull()) {
        return Error{QStringLiteral("encoding")};
    }
    const QImage prepared = prepareImage(image);
    if (prepared.isNull()) {
        return Error{QStringLiteral("encoding")};
    }
    switch (format) {
    case ExportFormat::png:
        return orEncodingError(encodePngFast(prepared));
    case ExportFormat::jpeg:
        return orEncodingError(encodeJpeg(onWhite(prepared), jpegQuality));
    case ExportFormat::heic:
        if (!canExport(ExportFormat::heic)) {
            return Error{QStringLiteral("cannot create image/heic destination")};
        }
        return encodeHeic(prepared);
    case ExportFormat::tiff:
        // Qt's TIFF writer stores premultiplied alpha, and premultiplies straight pixels its
        // own way, off by one from QImage's conversion now and then; hand it premultiplied
        // pixels so the file reads back as exactly what QImage makes of the picture.
        return orEncodingError(
            writeWithQt(prepared.format() == QImage::Format_ARGB32
                            ? prepared.convertToFormat(QImage::Format_ARGB32_Premultiplied)
                            : prepared,
                        "tiff", -1, tiffLzw));
    case ExportFormat::gif:
        return orEncodingError(encodeGif(prepared));
    case ExportFormat::bmp:
        return orEncodingError(writeWithQt(onWhite(prepared), "bmp"));
    case ExportFormat::webp:
        return encodeWebp(prepared);
    }
    return Error{QStringLiteral("encoding")};
}

Status exportImage(const QImage& image, ExportFormat format, const QString& path) {
    Result<QByteArray> data = encodeImage(image, format);
    if (!data) {
        return data.error();
    }
    return writeFileAtomically(path, *data);
}

} // namespace vellumix
