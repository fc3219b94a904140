#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

#include <optional>

class QMimeData;

namespace vellumix {

/// What a path holds, judged by its content: a file's name never decides, except that a
/// project bundle is a ".vellumix" folder.
enum class InputKind { none, image, pdf, bundle };

/// A classified input: its kind and the format recorded for saving ("pdf" for a PDF, "heic"
/// for a HEIC or HEIF picture, the image reader's format name such as "png" or "jpeg" for
/// another image, "png" for a bundle, whose picture is a PNG).
struct InputFile {
    InputKind kind = InputKind::none;
    QString path;
    QString sourceFormat;
};

/// A file to open with the PDF page to show (counted from 1; ignored for other kinds).
struct OpenRequest {
    QString path;
    int page = 1;
};

/// Looks at the first bytes of a file (or the contents of a bundle folder). Missing,
/// empty, unreadable and unknown files are `none`. An image is recognised from its header
/// alone; whether it decodes (and within the size bound) is the reader's decision.
InputFile classifyInput(const QString& path);

/// Whether a file starting with `head` is a HEIF picture (HEIC among them): an ISO media file
/// whose "ftyp" box names a HEIF image brand. Qt has no reader for these; the platform layer
/// decodes them with libheif.
bool looksLikeHeif(const QByteArray& head);

/// How many leading bytes looksLikeHeif needs to see.
inline constexpr qint64 heifHeaderWindow = 64;

/// Extensions of the image types the open panel offers (PNG, JPEG, HEIC, TIFF, GIF, BMP,
/// WebP): HEIC and HEIF always (libheif reads them), the others as far as an installed Qt
/// image plugin can read them.
QStringList readableImageExtensions();

/// The open panel's name filters: everything that opens first, then images, PDF documents
/// and projects on their own.
QStringList openPanelNameFilters();

/// The page to show for a requested page number: 1 below the first page, the last page past
/// the end. 0 for a document without pages.
int clampPageNumber(int requested, int pageCount);

/// What the clipboard offers to open: a file (the first copied file URL whose file
/// classifies as openable) and an image held on the clipboard itself; either may be absent.
struct ClipboardInput {
    std::optional<InputFile> file;
    QImage image;
    /// For the held image: the extension of the first copied local file URL, when one came along.
    std::optional<QString> sourceFormat;
};

/// Opening prefers `file` (it keeps its own format and may be a PDF or bundle) and falls back
/// to `image` when the file does not decode. None for an empty clipboard or one holding
/// neither; a held image is refused beyond the 1 GiB decoding bound.
std::optional<ClipboardInput> clipboardInput(const QMimeData* data);

} // namespace vellumix
