#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

#include <functional>
#include <optional>

class QImageReader;

namespace vellumix {

/// Encodes an image as PNG; no value when it cannot. The platform layer supplies a faster
/// encoder than Qt's; both record the image's pixel-to-point ratio.
using PngEncoder = std::function<std::optional<QByteArray>(const QImage&)>;

/// Qt's own PNG writer.
std::optional<QByteArray> encodePngWithQt(const QImage& image);

/// The Qt format name of a PNG, JPEG, GIF, BMP, TIFF or WebP file starting with `head` (at
/// least 12 bytes); empty for anything else.
QByteArray imageFormatBySignature(QByteArrayView head);

/// Sets `reader` up for the file it reads: when the first bytes name a common format, that
/// format, with no probing. Qt otherwise asks every image plugin whether it reads the format,
/// which loads them all, with their libraries, for the rest of the process's life (over 1 MB
/// of a tray process that lives all day); a PNG then needs no plugin at all.
void nameFormatFromSignature(QImageReader& reader);

/// Reads an image file, refusing images whose decoded size would exceed `maxBytes`.
/// Null on any failure.
QImage readImageFile(const QString& path, qint64 maxBytes = 1024LL * 1024 * 1024);

/// The largest image the app will decode (one gibibyte of pixels).
inline constexpr qint64 maxDecodedImageBytes = 1024LL * 1024 * 1024;

} // namespace vellumix
