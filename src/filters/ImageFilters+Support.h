#pragma once

// Shared by the OpenCV implementation of the image filters (built into the imaging module):
// the working pixel format, its OpenCV view, and the operations behind ImageFilters.h.

#include <QImage>
#include <QPointF>
#include <QString>

#include <array>
#include <opencv2/core.hpp>
#include <optional>

namespace vellumix::filters::support {

// Byte positions of the channels of Format_RGB32 / Format_ARGB32 (one native-endian 0xAARRGGBB
// word per pixel) as OpenCV sees them.
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
inline constexpr int kBlue = 0, kGreen = 1, kRed = 2, kAlpha = 3;
#else
inline constexpr int kAlpha = 0, kRed = 1, kGreen = 2, kBlue = 3;
#endif

/// The image in the format the operations work on: Format_RGB32 without an alpha channel, straight
/// Format_ARGB32 with one. Shares the pixels when the image is already in that format.
QImage workingImage(const QImage& image);

/// A new image of `size` in the format of `work`, with its resolution and colour space; the
/// pixels are not initialised.
QImage blankLike(const QImage& work, QSize size);

/// The pixels as a 4-channel 8-bit matrix, without copying; the image must outlive it.
/// Reading never detaches a shared image; writing detaches first.
inline cv::Mat readPixels(const QImage& image) {
    return cv::Mat(image.height(), image.width(), CV_8UC4, const_cast<uchar*>(image.constBits()),
                   static_cast<size_t>(image.bytesPerLine()));
}
inline cv::Mat writePixels(QImage& image) {
    return cv::Mat(image.height(), image.width(), CV_8UC4, image.bits(),
                   static_cast<size_t>(image.bytesPerLine()));
}

/// True when a pixel of the working image is not fully opaque.
bool hasTranslucency(const QImage& work);

/// Copies the alpha channel of `from` into `to` (same size).
void copyAlpha(const QImage& from, QImage& to);

/// A Gaussian blur of `work` with standard deviation `sigma` (pixels), the edges clamped. On a
/// translucent image the colour is averaged weighted by alpha; the alpha of the result is then
/// meaningless and left to the caller.
QImage gaussianColour(const QImage& work, double sigma, bool translucent);

} // namespace vellumix::filters::support

namespace vellumix::filters::opencv {

// What ImageFilters.h promises, done with OpenCV.
std::optional<QImage> applyFilter(const QImage& image, const QString& kind, double strength);
std::optional<QImage> autoEnhance(const QImage& image);
std::optional<QImage> straightenDocument(const QImage& image);
std::optional<std::array<QPointF, 4>> findDocument(const QImage& image);

} // namespace vellumix::filters::opencv
