#include "FastPngEncoder.h"

#include <csetjmp>
#include <png.h>
#include <vector>

namespace vellumix {

namespace {

void appendToByteArray(png_structp png, png_bytep data, png_size_t length) {
    auto* out = static_cast<QByteArray*>(png_get_io_ptr(png));
    out->append(reinterpret_cast<const char*>(data), static_cast<qsizetype>(length));
}

void noFlush(png_structp) {}

bool isOpaque(const QImage& image) {
    if (!image.hasAlphaChannel()) {
        return true;
    }
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < argb.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(argb.constScanLine(y));
        for (int x = 0; x < argb.width(); ++x) {
            if (qAlpha(line[x]) != 255) {
                return false;
            }
        }
    }
    return true;
}

// Kept free of C++ objects with destructors: libpng reports errors by longjmp.
bool writePng(QByteArray* out, const QImage& pixels, bool hasAlpha, int dotsPerMetreX,
              int dotsPerMetreY, png_bytepp rows) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    if (!png) {
        return false;
    }
    png_infop info = png_create_info_struct(png);
    if (!info) {
        png_destroy_write_struct(&png, nullptr);
        return false;
    }
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_set_write_fn(png, out, appendToByteArray, noFlush);
    png_set_compression_level(png, 1);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_UP);
    png_set_IHDR(png, info, static_cast<png_uint_32>(pixels.width()),
                 static_cast<png_uint_32>(pixels.height()), 8,
                 hasAlpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
    if (dotsPerMetreX > 0 && dotsPerMetreY > 0) {
        png_set_pHYs(png, info, static_cast<png_uint_32>(dotsPerMetreX),
                     static_cast<png_uint_32>(dotsPerMetreY), PNG_RESOLUTION_METER);
    }
    png_write_info(png, info);
    png_write_image(png, rows);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

} // namespace

std::optional<QByteArray> encodePngFast(const QImage& image) {
    if (image.isNull() || image.width() <= 0 || image.height() <= 0) {
        return std::nullopt;
    }
    const bool hasAlpha = !isOpaque(image);
    const QImage pixels =
        image.convertToFormat(hasAlpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888);
    if (pixels.isNull()) {
        return std::nullopt;
    }
    std::vector<png_bytep> rows(static_cast<size_t>(pixels.height()));
    for (int y = 0; y < pixels.height(); ++y) {
        rows[static_cast<size_t>(y)] = const_cast<png_bytep>(pixels.constScanLine(y));
    }
    QByteArray out;
    out.reserve(static_cast<qsizetype>(pixels.sizeInBytes() / 4));
    if (!writePng(&out, pixels, hasAlpha, image.dotsPerMeterX(), image.dotsPerMeterY(),
                  rows.data()) ||
        out.isEmpty()) {
        return std::nullopt;
    }
    return out;
}

} // namespace vellumix
