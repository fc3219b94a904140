#pragma once
// Picture builders for the pixel tests.

#include <QImage>

namespace vellumix::testing {

inline QImage filled(QSize size, QRgb colour, QImage::Format format = QImage::Format_RGB32) {
    QImage image(size, format);
    image.fill(colour);
    return image;
}

inline QImage filled(int w, int h, QRgb colour, QImage::Format format = QImage::Format_RGB32) {
    return filled(QSize(w, h), colour, format);
}

// Every pixel from colourAt(x, y).
template <typename ColourAt>
QImage generate(QSize size, ColourAt colourAt, QImage::Format format = QImage::Format_RGB32) {
    QImage image(size, format);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            image.setPixel(x, y, colourAt(x, y));
        }
    }
    return image;
}

} // namespace vellumix::testing
