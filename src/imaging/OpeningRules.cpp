#include "OpeningRules.h"

#include "bundle/ProjectBundle.h"
#include "model/ImageCodec.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QMimeData>
#include <QUrl>

#include <algorithm>

namespace vellumix {

namespace {

// A PDF reader accepts the "%PDF-" marker anywhere in the first kilobyte.
constexpr qint64 pdfHeaderWindow = 1024;

bool looksLikePdf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    return file.read(pdfHeaderWindow).contains("%PDF-");
}

// Clipboard images arrive as encoded bytes from other programs; the same size bound as for
// files applies before any pixel is decoded.
QImage decodeBounded(const QByteArray& bytes) {
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    if (!size.isValid() ||
        static_cast<qint64>(size.width()) * size.height() * 4 > maxDecodedImageBytes) {
        return {};
    }
    return reader.read();
}

QImage clipboardImage(const QMimeData& data) {
    if (data.hasImage()) {
        QImage image = qvariant_cast<QImage>(data.imageData());
        if (!image.isNull() &&
            static_cast<qint64>(image.width()) * image.height() * 4 <= maxDecodedImageBytes) {
            return image;
        }
    }
    for (const QString& format : data.formats()) {
        if (format.startsWith(QLatin1String("image/"))) {
            QImage image = decodeBounded(data.data(format));
            if (!image.isNull()) {
                return image;
            }
        }
    }
    return {};
}

} // namespace

InputFile classifyInput(const QString& path) {
    const QFileInfo info(path);
    InputFile input;
    input.path = info.absoluteFilePath();
    if (info.isDir()) {
        if (bundle::isBundle(input.path)) {
            input.kind = InputKind::bundle;
            input.sourceFormat = QStringLiteral("png");
        }
        return input;
    }
    if (!info.isFile() || info.size() == 0) {
        return input;
    }
    if (looksLikePdf(input.path)) {
        input.kind = InputKind::pdf;
        input.sourceFormat = QStringLiteral("pdf");
        return input;
    }
    QImageReader reader(input.path);
    reader.setDecideFormatFromContent(true);
    if (reader.canRead()) {
        input.kind = InputKind::image;
        input.sourceFormat = QString::fromLatin1(reader.format()).toLower();
    }
    return input;
}

QStringList readableImageExtensions() {
    // Format names as Qt's plugins register them; each is also the file extension.
    static const char* const offered[] = {"png", "jpg",  "jpeg", "heic", "heif",
                                          "tif", "tiff", "gif",  "bmp",  "webp"};
    const QList<QByteArray> supported = QImageReader::supportedImageFormats();
    QStringList extensions;
    for (const char* name : offered) {
        if (supported.contains(QByteArray(name))) {
            extensions.append(QString::fromLatin1(name));
        }
    }
    return extensions;
}

QStringList openPanelNameFilters() {
    QStringList images;
    for (const QString& extension : readableImageExtensions()) {
        images.append(QStringLiteral("*.") + extension);
    }
    const QString imagePatterns = images.join(QLatin1Char(' '));
    return {
        QStringLiteral("Images, PDF documents and projects (%1 *.pdf *.vellumix)")
            .arg(imagePatterns),
        QStringLiteral("Images (%1)").arg(imagePatterns),
        QStringLiteral("PDF documents (*.pdf)"),
        QStringLiteral("Vellumix projects (*.vellumix)"),
    };
}

int clampPageNumber(int requested, int pageCount) {
    if (pageCount < 1) {
        return 0;
    }
    return std::clamp(requested, 1, pageCount);
}

std::optional<ClipboardInput> clipboardInput(const QMimeData* data) {
    if (!data) {
        return std::nullopt;
    }
    ClipboardInput input;
    for (const QUrl& url : data->urls()) {
        if (!url.isLocalFile()) {
            continue;
        }
        const QString path = url.toLocalFile();
        if (!input.sourceFormat) {
            const QString suffix = QFileInfo(path).suffix().toLower();
            if (!suffix.isEmpty()) {
                input.sourceFormat = suffix;
            }
        }
        InputFile file = classifyInput(path);
        if (!input.file && file.kind != InputKind::none) {
            input.file = std::move(file);
        }
    }
    input.image = clipboardImage(*data);
    input.image.setDevicePixelRatio(1);
    if (!input.file && input.image.isNull()) {
        return std::nullopt;
    }
    return input;
}

} // namespace vellumix
