#pragma once

#include <QImage>

namespace vellumix::imageops {

/// Brings an operation's result to the form every edited image has: 8 bits per sample with
/// premultiplied alpha, device pixel ratio 1, the given dots per metre. Converts in place where
/// Qt can (any 32-bit format), so a freshly made picture is not copied again.
inline QImage editedBitmap(QImage image, int dotsPerMeterX, int dotsPerMeterY) {
    image.convertTo(QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(1);
    image.setDotsPerMeterX(dotsPerMeterX);
    image.setDotsPerMeterY(dotsPerMeterY);
    return image;
}

} // namespace vellumix::imageops
