#pragma once

#include "model/ImageCodec.h"

#include <QImage>
#include <QString>

namespace vellumix {

/// Reads an image file the way the app opens one: a HEIC or HEIF picture (recognised by its
/// content) through libheif in the codecs module, anything else through Qt's readers. Null on
/// any failure, and for a picture whose decoded size would exceed `maxBytes`. One pixel is one
/// point in the result.
QImage importImageFile(const QString& path, qint64 maxBytes = maxDecodedImageBytes);

} // namespace vellumix
