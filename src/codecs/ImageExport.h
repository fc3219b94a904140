#pragma once

#include "imaging/ExportFormats.h"
#include "model/AtomicFile.h"
#include "model/ImageCodec.h"
#include "model/Result.h"

#include <QByteArray>
#include <QImage>
#include <QString>

namespace vellumix {

/// Whether the format can be written here. HEIC needs libheif with an HEVC encoder; when it has
/// none, the first call says so in one log line and the save dialog leaves HEIC out.
bool canExport(ExportFormat format);

/// The picture encoded as a file of the format. The error's message is the text that follows
/// "Save failed: ": "encoding" when an encoder returns nothing (a null image among others);
/// "cannot create image/heic destination" and "image/heic finalize" (and the same with
/// image/webp) for the libheif and libwebp steps.
///
/// Any QImage format is accepted; 32-bit pictures are read in place. What each format keeps:
/// - PNG, TIFF, WebP: every pixel (lossless). PNG and WebP keep straight alpha; TIFF stores
///   premultiplied alpha (Qt's writer), exact for opaque and fully transparent pixels.
/// - JPEG (quality 85) and BMP have no alpha: a translucent picture is composited onto white
///   first, as a viewer shows it.
/// - HEIC: lossy quality 85 with full-resolution chroma (4:4:4) so that UI text stays crisp;
///   alpha is kept as an auxiliary image.
/// - GIF: at most 256 colours, one of them transparent when the picture has alpha (pixels at
///   alpha below 128; the rest become opaque). Pictures of up to 256 colours keep them
///   exactly; others get a median-cut palette and Floyd–Steinberg dithering.
/// WebP cannot hold more than 16383 pixels on a side; a larger picture fails as "cannot create
/// image/webp destination".
Result<QByteArray> encodeImage(const QImage& image, ExportFormat format);

/// Encodes and writes the file atomically: a failed write leaves whatever was on disk before.
/// The error's message is encodeImage's or the write error's description.
Status exportImage(const QImage& image, ExportFormat format, const QString& path);

/// The primary image of a HEIC (or other HEIF) file as RGB32, or straight ARGB32 when it has
/// alpha, turned and mirrored as the file says; null when it cannot be decoded or would take
/// more than `maxBytes` decoded. Qt has no HEIF reader; this one is libheif's.
QImage decodeHeic(const QByteArray& data, qint64 maxBytes = maxDecodedImageBytes);

} // namespace vellumix
