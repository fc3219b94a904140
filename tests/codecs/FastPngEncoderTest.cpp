#include "codecs/FastPngEncoder.h"

#include <QBuffer>
#include <QImageReader>

#include <gtest/gtest.h>

using namespace vellumix;

namespace {
QImage decode(const QByteArray& png) {
    QBuffer buffer;
    buffer.setData(png);
    return QImageReader(&buffer, "png").read();
}
} // namespace

TEST(FastPngEncoder, RoundTripsPixelsExactlyWithAndWithoutAlpha) {
    QImage opaque(67, 33, QImage::Format_RGB32);
    QImage translucent(67, 33, QImage::Format_ARGB32);
    for (int y = 0; y < 33; ++y) {
        for (int x = 0; x < 67; ++x) {
            opaque.setPixel(x, y, qRgb(x * 3, y * 7, (x ^ y) & 255));
            translucent.setPixel(x, y, qRgba(x * 3, y * 7, 9, (x * y) & 255));
        }
    }
    opaque.setDotsPerMeterX(2835);
    opaque.setDotsPerMeterY(2835);

    const QImage a = decode(*encodePngFast(opaque));
    EXPECT_FALSE(a.hasAlphaChannel()); // opaque pictures are stored as RGB
    EXPECT_EQ(a.convertToFormat(QImage::Format_RGB32), opaque);
    EXPECT_EQ(a.dotsPerMeterX(), 2835);

    const QImage b = decode(*encodePngFast(translucent));
    EXPECT_EQ(b.convertToFormat(QImage::Format_ARGB32), translucent);
}

TEST(FastPngEncoder, NullImagesAreNotEncoded) {
    EXPECT_FALSE(encodePngFast(QImage()));
}
