#include "codecs/FastPngEncoder.h"

#include "support/Pictures.h"

#include <QBuffer>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>

#include <gtest/gtest.h>
#include <random>
#include <zlib.h>

using namespace vellumix;

namespace {

QImage decode(const QByteArray& png) {
    QBuffer buffer;
    buffer.setData(png);
    return QImageReader(&buffer, "png").read();
}

QByteArray qtPng(const QImage& image) {
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter(&buffer, "png").write(image);
    return data;
}

// The IDAT data inflated as one zlib stream, or empty if it is not exactly one whole stream
// whose Adler-32 checks: the bands must join without a final block or a checksum between them.
QByteArray inflatedIdat(const QByteArray& png, qsizetype expected) {
    QByteArray idat;
    for (qsizetype at = 8; at + 12 <= png.size();) {
        const auto* p = reinterpret_cast<const uchar*>(png.constData() + at);
        const qsizetype length = (p[0] << 24) | (p[1] << 16) | (p[2] << 8) | p[3];
        if (png.mid(at + 4, 4) == "IDAT") {
            idat += png.mid(at + 8, length);
        }
        at += length + 12;
    }
    QByteArray raw(expected + 1, '\0'); // one spare byte shows data left over
    uLongf size = static_cast<uLongf>(raw.size());
    const int result = uncompress(reinterpret_cast<Bytef*>(raw.data()), &size,
                                  reinterpret_cast<const Bytef*>(idat.constData()),
                                  static_cast<uLong>(idat.size()));
    return result == Z_OK ? raw.left(static_cast<qsizetype>(size)) : QByteArray();
}

// Content for every row filter: flat runs, gradients (Sub, Up, Average), noise (Paeth, None),
// drawn text, and alpha that varies.
QImage mixed(int width, int height, QImage::Format format) {
    std::mt19937 rng(7);
    std::uniform_int_distribution<int> noise(0, 255);
    QImage image = vellumix::testing::generate(
        QSize(width, height),
        [&](int x, int y) {
            const int band = (y / 16) % 4;
            const int v = band == 0   ? 200
                          : band == 1 ? (x * 255) / width
                          : band == 2 ? noise(rng)
                                      : (x + y) & 255;
            return qRgba(v, 255 - v, (v * 3) & 255,
                         format == QImage::Format_RGB32 ? 255 : (x * 7 + y) & 255);
        },
        format);
    QPainter painter(&image);
    painter.setPen(Qt::black);
    painter.drawText(QRect(0, 0, width, height), Qt::TextWordWrap,
                     QStringLiteral("Lorem ipsum dolor sit amet 0123456789"));
    return image;
}

} // namespace

// Decoded pixels equal the originals for every shape and format, including pictures large
// enough to be deflated in several bands (wide ones, and narrow ones whose bands are shorter
// than the window the next band is primed with), and the bands form one valid zlib stream.
TEST(FastPngEncoder, RoundTripsPixelsExactly) {
    const struct {
        QImage image;
        bool alpha;
    } cases[] = {
        {mixed(67, 33, QImage::Format_RGB32), false},
        {mixed(67, 33, QImage::Format_ARGB32), true},
        {mixed(1, 300, QImage::Format_RGB32), false},
        {mixed(300, 1, QImage::Format_ARGB32), true},
        {mixed(333, 517, QImage::Format_RGB32), false},
        {mixed(333, 517, QImage::Format_ARGB32_Premultiplied), true},
        {mixed(40, 20, QImage::Format_RGB32).convertToFormat(QImage::Format_ARGB32_Premultiplied),
         false},
        {mixed(701, 1203, QImage::Format_RGB32), false},
        {mixed(2, 90001, QImage::Format_ARGB32), true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.image.width() << "x" << c.image.height());
        const auto png = encodePngFast(c.image);
        ASSERT_TRUE(png);
        const QImage decoded = decode(*png);
        EXPECT_EQ(decoded.hasAlphaChannel(), c.alpha); // opaque pictures are stored as RGB
        const QImage::Format plain = c.alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32;
        EXPECT_EQ(decoded.convertToFormat(plain), c.image.convertToFormat(plain));
        const qsizetype rowBytes = c.image.width() * (c.alpha ? 4 : 3) + 1;
        EXPECT_EQ(inflatedIdat(*png, rowBytes * c.image.height()).size(),
                  rowBytes * c.image.height());
    }
    QImage withDpi = mixed(8, 8, QImage::Format_RGB32);
    withDpi.setDotsPerMeterX(2835);
    withDpi.setDotsPerMeterY(2835);
    EXPECT_EQ(decode(*encodePngFast(withDpi)).dotsPerMeterX(), 2835);
    EXPECT_FALSE(encodePngFast(QImage()));
}

// Files are no larger than Qt's own writer makes of the same pixels.
TEST(FastPngEncoder, NoLargerThanQtsWriter) {
    for (const QImage& image :
         {mixed(800, 500, QImage::Format_RGB32), mixed(640, 480, QImage::Format_ARGB32)}) {
        EXPECT_LE(encodePngFast(image)->size(), qtPng(image).size()) << image.format();
    }
}
