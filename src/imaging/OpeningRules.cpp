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

QByteArray fileHead(const QString& path, qint64 length) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(length) : QByteArray();
}

quint32 bigEndian32(const QByteArray& bytes, qsizetype at) {
    quint32 value = 0;
    for (qsizetype i = at; i < at + 4; ++i) {
        value = (value << 8) | static_cast<quint8>(bytes[i]);
    }
    return value;
}

// HEVC-coded images and sequences, and the generic HEIF image and sequence brands (a HEIF file
// coded otherwise still names one of the last two).
bool isHeifBrand(QByteArrayView brand) {
    static constexpr const char* brands[] = {"heic", "heix", "heim", "heis", "hevc",
                                             "hevx", "hevm", "hevs", "mif1", "msf1"};
    return std::ranges::any_of(brands, [&](const char* b) { return brand == QByteArrayView(b); });
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

bool looksLikeHeif(const QByteArray& head) {
    // The "ftyp" box comes first: size, type, major brand, minor version, compatible brands.
    if (head.size() < 16 || head.mid(4, 4) != "ftyp") {
        return false;
    }
    const QByteArrayView bytes(head);
    if (isHeifBrand(bytes.sliced(8, 4))) {
        return true;
    }
    const qsizetype boxEnd = std::min<qsizetype>(bigEndian32(head, 0), head.size());
    for (qsizetype at = 16; at + 4 <= boxEnd; at += 4) {
        if (isHeifBrand(bytes.sliced(at, 4))) {
            return true;
        }
    }
    return false;
}

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
    const QByteArray head = fileHead(input.path, std::max(pdfHeaderWindow, heifHeaderWindow));
    if (head.contains("%PDF-")) {
        input.kind = InputKind::pdf;
        input.sourceFormat = QStringLiteral("pdf");
        return input;
    }
    if (looksLikeHeif(head)) {
        input.kind = InputKind::image;
        input.sourceFormat = QStringLiteral("heic");
        return input;
    }
    QImageReader reader(input.path);
    reader.setDecideFormatFromContent(true);
    nameFormatFromSignature(reader);
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
        const bool heif = qstrcmp(name, "heic") == 0 || qstrcmp(name, "heif") == 0;
        if (heif || supported.contains(QByteArray(name))) {
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
    const QString projects = QStringLiteral("*.") + bundle::extension;
    return {
        QStringLiteral("Images, PDF documents and projects (%1 *.pdf %2)")
            .arg(imagePatterns, projects),
        QStringLiteral("Images (%1)").arg(imagePatterns),
        QStringLiteral("PDF documents (*.pdf)"),
        QStringLiteral("Vellumix projects (%1)").arg(projects),
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
