#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

namespace vellumix {

/// The export formats in the order the save dialog lists them.
enum class ExportFormat { png, jpeg, heic, tiff, gif, bmp, webp };

/// Every format, in dialog order.
inline constexpr ExportFormat allExportFormats[] = {
    ExportFormat::png, ExportFormat::jpeg, ExportFormat::heic, ExportFormat::tiff,
    ExportFormat::gif, ExportFormat::bmp,  ExportFormat::webp};

/// "PNG", "JPEG", "HEIC", "TIFF", "GIF", "BMP", "WebP".
QString formatLabel(ExportFormat format);
/// "image/png", "image/jpeg", "image/heic", "image/tiff", "image/gif", "image/bmp", "image/webp".
QString mimeType(ExportFormat format);
/// The fixed extension table (there is no type registry), lower case, without dots: png; jpg jpeg
/// jpe; heic heif; tif tiff; gif; bmp dib; webp. The first is the one appended to a bare name.
QStringList fileExtensions(ExportFormat format);
/// The format whose table holds `extension` (case-insensitive, no dot); none for anything else.
std::optional<ExportFormat> formatForExtension(const QString& extension);
/// The format a chosen path is written in: its extension's, else PNG. A name's leading dot
/// (".jpg") starts no extension.
ExportFormat formatForPath(const QString& path);
/// The save dialog's preselection: the first format (table order) the source format conforms
/// to, else PNG. `sourceFormat` is what QImageReader::imageFormat() reports ("png", "jpeg",
/// "jpg", "tiff", "gif", "bmp", "webp", "heic", "heif", …) or a MIME type; none for a capture,
/// a pasted image or a PDF page.
ExportFormat preselectedFormat(const std::optional<QString>& sourceFormat);
/// "Vellumix-yyyy-MM-dd-HHmmss" in local time (C locale digits).
QString suggestedBaseName(const QDateTime& now);
/// The name filter the file dialog shows for a format, e.g. "PNG (*.png)",
/// "JPEG (*.jpg *.jpeg *.jpe)".
QString nameFilter(ExportFormat format);

} // namespace vellumix
