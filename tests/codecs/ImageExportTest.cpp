#include "codecs/ImageExport.h"

#include "support/Pictures.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QPainter>
#include <QTemporaryDir>

#include <cmath>
#include <gtest/gtest.h>
#include <random>

using namespace vellumix;

namespace {

struct Decoded {
    QImage image;
    QByteArray format; // what Qt's reader recognised from the bytes
};

Decoded decode(const QByteArray& data) {
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    const QByteArray format = QImageReader::imageFormat(&buffer);
    return {QImageReader(&buffer).read(), format};
}

QImage encodeAndDecode(const QImage& image, ExportFormat format) {
    const Result<QByteArray> data = encodeImage(image, format);
    EXPECT_TRUE(data) << formatLabel(format).toStdString() << ": "
                      << data.error().message.toStdString();
    if (!data) {
        return {};
    }
    return format == ExportFormat::heic ? decodeHeic(*data) : decode(*data).image;
}

// Every channel of every pixel differs, alpha (when asked) running through all 256 values.
QImage manyColors(int width, int height, bool alpha) {
    return vellumix::testing::generate(
        QSize(width, height),
        [alpha](int x, int y) {
            return qRgba((x * 37 + y * 11) & 255, (x * 5 + y * 29) & 255, (x ^ y) & 255,
                         alpha ? (x * 13 + y * 7) % 256 : 255);
        },
        alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
}

// The kind of picture that gets exported: a wallpaper gradient, a window with a title bar, a
// sidebar, paragraphs of dark text and a blue button, and a red annotation frame, flattened
// by the canvas as premultiplied ARGB.
QImage screenshotLike(int width, int height) {
    QImage image = vellumix::testing::generate(
        QSize(width, height),
        [&](int x, int y) { return qRgb(90 + x * 60 / width, 110 + y * 50 / height, 160); },
        QImage::Format_ARGB32_Premultiplied);
    QPainter p(&image);
    const QRect window(40, 30, width - 80, height - 60);
    p.fillRect(window, QColor(250, 250, 250));
    p.fillRect(window.left(), window.top(), window.width(), 28, QColor(53, 53, 53));
    p.fillRect(window.left(), window.top() + 28, 150, window.height() - 28, QColor(232, 232, 236));
    p.setRenderHint(QPainter::Antialiasing);
    QFont font;
    font.setPixelSize(13);
    p.setFont(font);
    p.setPen(QColor(60, 60, 60));
    for (int item = 0; item < 8; ++item) {
        p.drawText(window.left() + 16, window.top() + 56 + item * 24,
                   QStringLiteral("Folder %1").arg(item));
    }
    p.setPen(QColor(30, 30, 30));
    const int left = window.left() + 170;
    for (int paragraph = 0; paragraph < 3; ++paragraph) {
        for (int line = 0; line < 4; ++line) {
            p.drawText(
                left, window.top() + 60 + paragraph * 90 + line * 18,
                QStringLiteral("Build 4021 finished in 12.7 s with 3 warnings (%1)").arg(line));
        }
    }
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(53, 132, 228));
    p.drawRoundedRect(QRectF(window.right() - 120, window.bottom() - 50, 96, 30), 6, 6);
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(QColor(224, 27, 36), 3));
    p.drawRect(QRectF(width * 0.55, height * 0.3, width * 0.3, height * 0.35));
    p.end();
    return image;
}

double psnr(const QImage& a, const QImage& b) {
    double squares = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            const double dr = qRed(p) - qRed(q), dg = qGreen(p) - qGreen(q),
                         db = qBlue(p) - qBlue(q);
            squares += dr * dr + dg * dg + db * db;
        }
    }
    const double mse = squares / (3.0 * a.width() * a.height());
    return mse == 0 ? INFINITY : 10 * std::log10(255.0 * 255.0 / mse);
}

QImage straight(const QImage& image) {
    return image.convertToFormat(QImage::Format_ARGB32);
}

std::string rgba(QRgb p) {
    return QStringLiteral("(%1, %2, %3, %4)")
        .arg(qRed(p))
        .arg(qGreen(p))
        .arg(qBlue(p))
        .arg(qAlpha(p))
        .toStdString();
}

} // namespace

TEST(ImageExport, LosslessFormatsKeepEveryPixel) {
    const QImage pictures[] = {
        manyColors(1, 1, false),
        manyColors(67, 33, false),
        manyColors(67, 33, true),
        manyColors(31, 17, true).convertToFormat(QImage::Format_ARGB32_Premultiplied),
        manyColors(19, 23, false).convertToFormat(QImage::Format_RGB888),
        manyColors(19, 23, true).convertToFormat(QImage::Format_RGBA8888),
    };
    for (const QImage& picture : pictures) {
        SCOPED_TRACE(::testing::Message() << picture.width() << "x" << picture.height() << " format "
                                        << picture.format());
        // libwebp reads the caller's pixels in place; it must not write into them.
        const QImage untouched = picture.copy();
        EXPECT_EQ(straight(encodeAndDecode(picture, ExportFormat::png)), straight(picture));
        EXPECT_EQ(straight(encodeAndDecode(picture, ExportFormat::webp)), straight(picture));
        // Qt's TIFF writer stores premultiplied alpha: exact in that form.
        EXPECT_EQ(encodeAndDecode(picture, ExportFormat::tiff)
                      .convertToFormat(QImage::Format_ARGB32_Premultiplied),
                  picture.convertToFormat(QImage::Format_ARGB32_Premultiplied));
        if (!picture.hasAlphaChannel()) {
            EXPECT_EQ(straight(encodeAndDecode(picture, ExportFormat::bmp)), straight(picture));
        }
        EXPECT_EQ(picture, untouched);
    }
}

TEST(ImageExport, OpaqueCanvasPicturesAreWrittenAsRgbWithTheirResolution) {
    // The canvas flattens into premultiplied ARGB even when nothing is transparent.
    QImage picture = manyColors(40, 20, false).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    picture.setDotsPerMeterX(5669); // 144 dpi
    picture.setDotsPerMeterY(5669);
    const QImage png = encodeAndDecode(picture, ExportFormat::png);
    EXPECT_FALSE(png.hasAlphaChannel());
    EXPECT_EQ(png.dotsPerMeterX(), 5669);
    EXPECT_EQ(png.convertToFormat(QImage::Format_RGB32),
              picture.convertToFormat(QImage::Format_RGB32));
    EXPECT_FALSE(encodeAndDecode(picture, ExportFormat::tiff).hasAlphaChannel());
    EXPECT_FALSE(decodeHeic(*encodeImage(picture, ExportFormat::heic)).hasAlphaChannel());
}

TEST(ImageExport, FormatsWithoutAlphaShowThePictureOnWhite) {
    // Four flat quarters, so that JPEG's blocks inside each are flat too.
    QImage picture(64, 64, QImage::Format_ARGB32);
    picture.fill(Qt::transparent);
    QPainter p(&picture);
    p.setCompositionMode(QPainter::CompositionMode_Source);
    p.fillRect(0, 0, 32, 32, QColor(10, 20, 30, 0));   // invisible: white
    p.fillRect(32, 0, 32, 32, QColor(255, 0, 0, 128)); // half red: (255, 127, 127)
    p.fillRect(0, 32, 32, 32, QColor(0, 0, 255, 64));  // quarter blue: (191, 191, 255)
    p.fillRect(32, 32, 32, 32, QColor(40, 80, 120));   // opaque: itself
    p.end();
    const QRgb expected[] = {qRgb(255, 255, 255), qRgb(255, 127, 127), qRgb(191, 191, 255),
                             qRgb(40, 80, 120)};
    const QPoint centres[] = {{16, 16}, {48, 16}, {16, 48}, {48, 48}};

    for (const QImage& source :
         {picture, picture.convertToFormat(QImage::Format_ARGB32_Premultiplied)}) {
        const QImage bmp = encodeAndDecode(source, ExportFormat::bmp);
        const QImage jpeg = encodeAndDecode(source, ExportFormat::jpeg);
        EXPECT_FALSE(bmp.hasAlphaChannel());
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(rgba(bmp.pixel(centres[i])), rgba(expected[i])) << "quarter " << i;
            const QRgb j = jpeg.pixel(centres[i]);
            EXPECT_NEAR(qRed(j), qRed(expected[i]), 3) << "quarter " << i;
            EXPECT_NEAR(qGreen(j), qGreen(expected[i]), 3) << "quarter " << i;
            EXPECT_NEAR(qBlue(j), qBlue(expected[i]), 3) << "quarter " << i;
        }
    }
}

TEST(ImageExport, LossyFormatsKeepScreenshotsClose) {
    const QImage shot = screenshotLike(640, 400);
    const QImage jpeg = encodeAndDecode(shot, ExportFormat::jpeg);
    const QImage heic = encodeAndDecode(shot, ExportFormat::heic);
    ASSERT_EQ(jpeg.size(), shot.size());
    ASSERT_EQ(heic.size(), shot.size());
    EXPECT_GE(psnr(heic, shot), 38.0);
    // Full colour resolution keeps small coloured text: 4:2:0 gave 37.1 dB on this picture.
    EXPECT_GE(psnr(jpeg, shot), 38.0);
}

TEST(ImageExport, HeicKeepsAlphaAndOddSizes) {
    // Odd in both directions: left of x = 50 transparent, right of it opaque blue.
    QImage picture(101, 57, QImage::Format_ARGB32);
    picture.fill(Qt::transparent);
    QPainter(&picture).fillRect(50, 0, 51, 57, QColor(20, 60, 200));
    const QImage back = encodeAndDecode(picture, ExportFormat::heic);
    ASSERT_EQ(back.size(), QSize(101, 57));
    ASSERT_TRUE(back.hasAlphaChannel());
    EXPECT_LE(qAlpha(back.pixel(10, 20)), 8);
    const QRgb blue = back.pixel(80, 30);
    EXPECT_GE(qAlpha(blue), 247);
    EXPECT_NEAR(qRed(blue), 20, 6);
    EXPECT_NEAR(qGreen(blue), 60, 6);
    EXPECT_NEAR(qBlue(blue), 200, 6);

    QImage dot(1, 1, QImage::Format_RGB32);
    dot.fill(qRgb(200, 150, 100));
    const QImage one = encodeAndDecode(dot, ExportFormat::heic);
    ASSERT_EQ(one.size(), QSize(1, 1));
    EXPECT_NEAR(qRed(one.pixel(0, 0)), 200, 6);
    EXPECT_NEAR(qGreen(one.pixel(0, 0)), 150, 6);
    EXPECT_NEAR(qBlue(one.pixel(0, 0)), 100, 6);
}

TEST(ImageExport, GifKeepsPicturesOfFewColoursExactly) {
    // Five colours and transparency, over an odd size.
    const QRgb colors[] = {qRgb(255, 255, 255), qRgb(224, 27, 36), qRgb(0, 0, 0),
                           qRgb(53, 132, 228), qRgb(246, 211, 45)};
    const QImage picture = vellumix::testing::generate(
        QSize(97, 61),
        [&](int x, int y) {
            return (x + y) % 7 == 6 ? qRgba(9, 9, 9, 0) : colors[(x / 3 + y) % 5];
        },
        QImage::Format_ARGB32);
    const Result<QByteArray> data = encodeImage(picture, ExportFormat::gif);
    ASSERT_TRUE(data);
    const Decoded gif = decode(*data);
    EXPECT_EQ(gif.format, "gif");
    ASSERT_EQ(gif.image.size(), picture.size());
    // Transparent pixels compare as transparent black.
    EXPECT_EQ(straight(gif.image).convertToFormat(QImage::Format_ARGB32_Premultiplied),
              picture.convertToFormat(QImage::Format_ARGB32_Premultiplied));

    // Alpha below 128 is transparent, from 128 opaque in its own colour.
    QImage edge(2, 1, QImage::Format_ARGB32);
    edge.setPixel(0, 0, qRgba(100, 150, 200, 127));
    edge.setPixel(1, 0, qRgba(100, 150, 200, 128));
    const QImage edgeBack = straight(encodeAndDecode(edge, ExportFormat::gif));
    EXPECT_EQ(qAlpha(edgeBack.pixel(0, 0)), 0);
    EXPECT_EQ(rgba(edgeBack.pixel(1, 0)), rgba(qRgb(100, 150, 200)));

    QImage dot(1, 1, QImage::Format_RGB32);
    dot.fill(qRgb(1, 2, 3));
    EXPECT_EQ(rgba(encodeAndDecode(dot, ExportFormat::gif).pixel(0, 0)), rgba(qRgb(1, 2, 3)));
}

TEST(ImageExport, GifCodesSurviveTableRestartsAtEveryPaletteSize) {
    // Random pixels fill the 4096-code table again and again; palettes of 2, 3, 16 and 256
    // colours give the smallest and the largest code widths.
    std::mt19937 random(7);
    for (int colorCount : {2, 3, 16, 256}) {
        SCOPED_TRACE(colorCount);
        std::uniform_int_distribution<int> pick(0, colorCount - 1);
        const QImage picture = vellumix::testing::generate(QSize(331, 241), [&](int, int) {
            const int i = pick(random);
            return qRgb(i, 255 - i, (i * 7) & 255);
        });
        EXPECT_EQ(encodeAndDecode(picture, ExportFormat::gif).convertToFormat(QImage::Format_RGB32),
                  picture);
    }
    // One colour: ever longer runs, ever longer strings.
    QImage flat(1000, 700, QImage::Format_RGB32);
    flat.fill(qRgb(5, 6, 7));
    EXPECT_EQ(encodeAndDecode(flat, ExportFormat::gif).convertToFormat(QImage::Format_RGB32), flat);
}

TEST(ImageExport, GifDithersAGradientOfManyColoursWithinBounds) {
    // 16,384 colours: red across, green down, blue against red.
    const QImage gradient = vellumix::testing::generate(
        QSize(256, 64), [](int x, int y) { return qRgb(x, y * 4, 255 - x); });
    const QImage back = encodeAndDecode(gradient, ExportFormat::gif);
    ASSERT_EQ(back.size(), gradient.size());
    QSet<QRgb> used;
    int worstPixel = 0;
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 256; ++x) {
            const QRgb a = gradient.pixel(x, y), b = back.pixel(x, y);
            used.insert(b);
            worstPixel = std::max({worstPixel, std::abs(qRed(a) - qRed(b)),
                                   std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b))});
        }
    }
    EXPECT_LE(used.size(), 256);
    EXPECT_LE(worstPixel, 24);
    // Dithering keeps the local mean: over 8 × 8 blocks the error nearly vanishes, except at
    // the ends of the red and blue ramps, which lie a few levels outside the palette (its
    // colours are the means of their boxes).
    double worstBlock = 0;
    double worstEndBlock = 0;
    for (int by = 0; by < 64; by += 8) {
        for (int bx = 0; bx < 256; bx += 8) {
            double d[3] = {0, 0, 0};
            for (int y = by; y < by + 8; ++y) {
                for (int x = bx; x < bx + 8; ++x) {
                    const QRgb a = gradient.pixel(x, y), b = back.pixel(x, y);
                    d[0] += qRed(b) - qRed(a);
                    d[1] += qGreen(b) - qGreen(a);
                    d[2] += qBlue(b) - qBlue(a);
                }
            }
            double& worst = bx == 0 || bx == 248 ? worstEndBlock : worstBlock;
            for (double sum : d) {
                worst = std::max(worst, std::abs(sum) / 64);
            }
        }
    }
    EXPECT_LE(worstBlock, 1.5);
    EXPECT_LE(worstEndBlock, 5.0);
}

TEST(ImageExport, TheWidestPicturesEncode) {
    QImage wide(16384, 3, QImage::Format_ARGB32_Premultiplied);
    wide.fill(qRgb(30, 60, 90));
    for (ExportFormat format : {ExportFormat::png, ExportFormat::jpeg, ExportFormat::heic,
                                ExportFormat::tiff, ExportFormat::gif, ExportFormat::bmp}) {
        EXPECT_EQ(encodeAndDecode(wide, format).size(), wide.size())
            << formatLabel(format).toStdString();
    }
    // WebP's header has no room for more than 16383 pixels on a side.
    const Result<QByteArray> webp = encodeImage(wide, ExportFormat::webp);
    ASSERT_FALSE(webp);
    EXPECT_EQ(webp.error().message, "cannot create image/webp destination");
    EXPECT_EQ(encodeAndDecode(wide.copy(0, 0, 16383, 3), ExportFormat::webp).size(),
              QSize(16383, 3));
}

TEST(ImageExport, ANullPictureFailsAsEncoding) {
    for (ExportFormat format : allExportFormats) {
        const Result<QByteArray> data = encodeImage(QImage(), format);
        ASSERT_FALSE(data) << formatLabel(format).toStdString();
        EXPECT_EQ(data.error().message, "encoding");
    }
}

TEST(ImageExport, ExportWritesTheChosenFormat) {
    QTemporaryDir dir;
    const QImage shot = screenshotLike(120, 80);
    const std::pair<ExportFormat, QByteArray> readerNames[] = {
        {ExportFormat::png, "png"}, {ExportFormat::jpeg, "jpeg"}, {ExportFormat::tiff, "tiff"},
        {ExportFormat::gif, "gif"}, {ExportFormat::bmp, "bmp"},   {ExportFormat::webp, "webp"}};
    for (const auto& [format, readerName] : readerNames) {
        EXPECT_TRUE(canExport(format));
        const QString path = dir.filePath("shot." + fileExtensions(format).first());
        ASSERT_TRUE(exportImage(shot, format, path));
        EXPECT_EQ(QImageReader::imageFormat(path), readerName);
        EXPECT_EQ(QImage(path).size(), shot.size());
    }
    EXPECT_TRUE(canExport(ExportFormat::heic));
    const QString heicPath = dir.filePath("shot.heic");
    ASSERT_TRUE(exportImage(shot, ExportFormat::heic, heicPath));
    QFile heic(heicPath);
    ASSERT_TRUE(heic.open(QIODevice::ReadOnly));
    EXPECT_EQ(decodeHeic(heic.readAll()).size(), shot.size());
}

TEST(ImageExport, FailuresLeaveWhatWasOnDisk) {
    QTemporaryDir dir;
    const QString path = dir.filePath("keep.png");
    ASSERT_TRUE(exportImage(manyColors(8, 8, false), ExportFormat::png, path));
    const QImage before(path);

    const Status notEncoded = exportImage(QImage(), ExportFormat::png, path);
    ASSERT_FALSE(notEncoded);
    EXPECT_EQ(notEncoded.error().message, "encoding");
    const Status tooWide =
        exportImage(QImage(16384, 1, QImage::Format_RGB32), ExportFormat::webp, path);
    ASSERT_FALSE(tooWide);
    EXPECT_EQ(QImage(path), before);

    // A folder that cannot hold files: the write error's own words.
    QFile plainFile(dir.filePath("notAFolder"));
    ASSERT_TRUE(plainFile.open(QIODevice::WriteOnly));
    plainFile.close();
    const QString impossible = dir.filePath("notAFolder/shot.png");
    const Status notWritten = exportImage(manyColors(8, 8, false), ExportFormat::png, impossible);
    ASSERT_FALSE(notWritten);
    EXPECT_EQ(notWritten.error().message, impossible + ": Not a directory");
}
