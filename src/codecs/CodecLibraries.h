#pragma once

// The encoders built on libheif and libwebp, compiled into the codecs module; the rest of the
// program reaches them through ImageExportDetail.h, which loads the module on first use.

#include "model/Result.h"

#include <QByteArray>
#include <QImage>

namespace vellumix::codecs {

bool heicEncoderAvailable();
Result<QByteArray> encodeHeic(const QImage& prepared);
QImage decodeHeic(const QByteArray& data, qint64 maxBytes);
Result<QByteArray> encodeWebp(const QImage& prepared);

} // namespace vellumix::codecs
