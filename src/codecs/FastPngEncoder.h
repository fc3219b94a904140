#pragma once

#include <QByteArray>
#include <QImage>

#include <optional>

namespace vellumix {

/// PNG at zlib level 6 with a filter chosen per row, deflated in parallel bands: no larger than
/// Qt's default writer makes and faster by the number of cores, lossless and readable everywhere.
/// Opaque images are written as RGB; the image's dots per metre go into the pHYs chunk.
std::optional<QByteArray> encodePngFast(const QImage& image);

} // namespace vellumix
