#pragma once

#include "model/Result.h"

#include <QByteArray>
#include <QImage>

namespace vellumix {

/// The entry points of the codecs module (libheif, libwebp): see ImageExportDetail.h.
struct CodecsModule {
    bool (*heicEncoderAvailable)();
    Result<QByteArray> (*encodeHeic)(const QImage& prepared);
    QImage (*decodeHeic)(const QByteArray& data, qint64 maxBytes);
    Result<QByteArray> (*encodeWebp)(const QImage& prepared);
};

} // namespace vellumix
