#include "ExportFormats.h"

#include <QLocale>

namespace vellumix {

namespace {

struct FormatRow {
    const char* label;
    const char* mime;
    // Further names a source may be reported under: reader format names and MIME aliases that
    // describe the same kind of file.
    const char* aliases;
    const char* extensions;
};

const FormatRow& row(ExportFormat format) {
    static const FormatRow rows[] = {
        {"PNG", "image/png", "image/x-png apng", "png"},
        {"JPEG", "image/jpeg", "image/jpg image/pjpeg", "jpg jpeg jpe"},
        {"HEIC", "image/heic", "image/heif image/heic-sequence image/heif-sequence", "heic heif"},
        {"TIFF", "image/tiff", "image/tif image/x-tiff", "tif tiff"},
        {"GIF", "image/gif", "", "gif"},
        {"BMP", "image/bmp", "image/x-bmp image/x-ms-bmp", "bmp dib"},
        {"WebP", "image/webp", "image/x-webp", "webp"},
    };
    return rows[static_cast<int>(format)];
}

QStringList words(const char* text) {
    return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

} // namespace

QString formatLabel(ExportFormat format) {
    return QString::fromLatin1(row(format).label);
}

QString mimeType(ExportFormat format) {
    return QString::fromLatin1(row(format).mime);
}

QStringList fileExtensions(ExportFormat format) {
    return words(row(format).extensions);
}

std::optional<ExportFormat> formatForExtension(const QString& extension) {
    const QString lower = extension.toLower();
    for (ExportFormat format : allExportFormats) {
        if (fileExtensions(format).contains(lower)) {
            return format;
        }
    }
    return std::nullopt;
}

ExportFormat formatForPath(const QString& path) {
    const QString name = path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot <= 0) {
        return ExportFormat::png;
    }
    return formatForExtension(name.mid(dot + 1)).value_or(ExportFormat::png);
}

ExportFormat preselectedFormat(const std::optional<QString>& sourceFormat) {
    if (!sourceFormat) {
        return ExportFormat::png;
    }
    const QString name = sourceFormat->trimmed().toLower();
    for (ExportFormat format : allExportFormats) {
        if (name == QLatin1String(row(format).mime) || words(row(format).aliases).contains(name) ||
            fileExtensions(format).contains(name)) {
            return format;
        }
    }
    return ExportFormat::png;
}

QString suggestedBaseName(const QDateTime& now) {
    // C locale: the digits stay ASCII whatever the user's language.
    return QStringLiteral("Vellumix-") +
           QLocale::c().toString(now.toLocalTime(), QStringLiteral("yyyy-MM-dd-HHmmss"));
}

QString nameFilter(ExportFormat format) {
    QStringList patterns;
    for (const QString& extension : fileExtensions(format)) {
        patterns << QStringLiteral("*.") + extension;
    }
    return formatLabel(format) + QStringLiteral(" (") + patterns.join(QLatin1Char(' ')) +
           QLatin1Char(')');
}

} // namespace vellumix
