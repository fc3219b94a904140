#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

#include <functional>
#include <optional>

namespace vellumix {

/// Encodes an image as PNG; no value when it cannot. The platform layer supplies a faster
/// encoder than Qt's; both record the image's pixel-to-point ratio.
using PngEncoder = std::function<std::optional<QByteArray>(const QImage&)>;

/// Qt's own PNG writer.
std::optional<QByteArray> encodePngWithQt(const QImage& image);

/// Reads an image file, refusing images whose decoded size would exceed `maxBytes`.
/// Null on any failure.
QImage readImageFile(const QString& path, qint64 maxBytes = 1024LL * 1024 * 1024);

/// The largest image the app will decode (one gibibyte of pixels).
inline constexpr qint64 maxDecodedImageBytes = 1024LL * 1024 * 1024;

} // namespace vellumix
