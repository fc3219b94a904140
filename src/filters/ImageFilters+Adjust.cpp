#include "filters/ImageFilters+Support.h"

#include <QColorSpace>

#include <algorithm>
#include <cmath>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

namespace vellumix::filters::support {

QImage workingImage(const QImage& image) {
    const QImage::Format format =
        image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32;
    return image.format() == format ? image : image.convertToFormat(format);
}

QImage blankLike(const QImage& work, QSize size) {
    QImage out(size, work.format());
    out.setDotsPerMeterX(work.dotsPerMeterX());
    out.setDotsPerMeterY(work.dotsPerMeterY());
    if (work.colorSpace().isValid()) {
        out.setColorSpace(work.colorSpace());
    }
    return out;
}

bool hasTranslucency(const QImage& work) {
    if (work.format() != QImage::Format_ARGB32) {
        return false;
    }
    for (int y = 0; y < work.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(work.constScanLine(y));
        QRgb all = 0xff000000u;
        for (int x = 0; x < work.width(); ++x) {
            all &= line[x]; // branch-free: the row is opaque when every alpha byte is 0xff
        }
        if (qAlpha(all) != 255) {
            return true;
        }
    }
    return false;
}

void copyAlpha(const QImage& from, QImage& to) {
    const cv::Mat src = readPixels(from);
    cv::Mat dst = writePixels(to);
    const int pair[] = {kAlpha, kAlpha};
    cv::mixChannels(&src, 1, &dst, 1, pair, 1);
}

namespace {

// Below σ = 5 the kernel (at most 31 taps) is short enough to run at full size.
constexpr double kShrinkFromSigma = 5.0;
// Larger blurs run on a copy shrunk by max(2, ⌊σ/4⌋): the remaining σ' ≥ 2.4 pixels is smooth
// enough for bilinear enlarging (measured on text and a hard checkerboard: 0.2 levels off the
// full-size blur on average, at most 3 away from the outermost pixels).
constexpr double kShrunkSigma = 4.0;

void gaussian(const cv::Mat& src, cv::Mat& dst, double sigma) {
    const int f = std::max(2, static_cast<int>(sigma / kShrunkSigma));
    if (sigma < kShrinkFromSigma || std::min(src.cols, src.rows) < 4 * f) {
        cv::GaussianBlur(src, dst, cv::Size(0, 0), sigma, sigma, cv::BORDER_REPLICATE);
        return;
    }
    const cv::Size small(std::max(1, cvRound(src.cols / double(f))),
                         std::max(1, cvRound(src.rows / double(f))));
    // The actual factors differ from f by the rounding of the shrunk size.
    const double fx = src.cols / double(small.width);
    const double fy = src.rows / double(small.height);
    cv::Mat shrunk;
    cv::resize(src, shrunk, small, 0, 0, cv::INTER_AREA);
    // INTER_AREA (a box of width f) and INTER_LINEAR (a tent of half-width f) add f²/12 + f²/6.
    const double sx = std::sqrt(std::max(sigma * sigma - fx * fx / 4, 0.25)) / fx;
    const double sy = std::sqrt(std::max(sigma * sigma - fy * fy / 4, 0.25)) / fy;
    cv::GaussianBlur(shrunk, shrunk, cv::Size(0, 0), sx, sy, cv::BORDER_REPLICATE);
    cv::resize(shrunk, dst, src.size(), 0, 0, cv::INTER_LINEAR);
}

} // namespace

QImage gaussianColour(const QImage& work, double sigma, bool translucent) {
    QImage out = blankLike(work, work.size());
    if (!translucent) {
        cv::Mat dst = writePixels(out);
        gaussian(readPixels(work), dst, sigma);
        return out;
    }
    // Premultiplied colour blurred together with alpha, divided by the blurred alpha: the mean
    // colour of the visible neighbours.
    const QImage premultiplied = work.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    out.reinterpretAsFormat(QImage::Format_ARGB32_Premultiplied);
    cv::Mat dst = writePixels(out);
    gaussian(readPixels(premultiplied), dst, sigma);
    out.convertTo(QImage::Format_ARGB32);
    return out;
}

} // namespace vellumix::filters::support

namespace vellumix::filters::opencv {

namespace {

using namespace support;

constexpr double kSharpenRadius = 2.5;
constexpr double kSharpenIntensity = 1.8;
constexpr double kContrastPerStrength = 0.7;
constexpr double kBrightnessPerStrength = 0.4;
constexpr double kBlurRadiusPerStrength = 20.0;

std::optional<QImage> unsharpMask(const QImage& image, double radius, double intensity) {
    if (intensity == 0) {
        return image;
    }
    const QImage work = workingImage(image);
    const bool translucent = hasTranslucency(work);
    // The blur becomes the result in place: one 5K buffer fewer to fault in.
    QImage out = gaussianColour(work, radius, translucent);
    const cv::Mat src = readPixels(work);
    cv::Mat dst = writePixels(out);
    // Alpha: 255 + k·(255 − 255) stays 255 on opaque images; translucent ones get theirs back.
    cv::parallel_for_(cv::Range(0, src.rows), [&](const cv::Range& rows) {
        cv::Mat band = dst.rowRange(rows.start, rows.end);
        cv::addWeighted(src.rowRange(rows.start, rows.end), 1 + intensity, band, -intensity, 0,
                        band);
    });
    if (translucent) {
        copyAlpha(work, out);
    }
    return out;
}

std::optional<QImage> colorControls(const QImage& image, double contrast, double brightness) {
    if (contrast == 1 && brightness == 0) {
        return image;
    }
    const QImage work = workingImage(image);
    cv::Mat table(1, 256, CV_8UC4);
    for (int v = 0; v < 256; ++v) {
        const double mapped = ((v / 255.0 - 0.5) * contrast + 0.5 + brightness) * 255.0;
        const auto colour = static_cast<uchar>(std::lround(std::clamp(mapped, 0.0, 255.0)));
        cv::Vec4b& entry = table.at<cv::Vec4b>(0, v);
        entry[kRed] = entry[kGreen] = entry[kBlue] = colour;
        entry[kAlpha] = static_cast<uchar>(v);
    }
    QImage out = blankLike(work, work.size());
    cv::Mat dst = writePixels(out);
    cv::LUT(readPixels(work), table, dst);
    return out;
}

std::optional<QImage> gaussianBlur(const QImage& image, double radius) {
    if (radius == 0) {
        return image;
    }
    const QImage work = workingImage(image);
    const bool translucent = hasTranslucency(work);
    QImage out = gaussianColour(work, radius, translucent);
    if (translucent) {
        copyAlpha(work, out);
    }
    return out;
}

} // namespace

std::optional<QImage> applyFilter(const QImage& image, const QString& kind, double strength) {
    const QString name = kind.toLower();
    // NaN counts as no strength.
    const double s = strength >= 0 ? std::min(strength, 1.0) : 0.0;
    if (image.isNull()) {
        return std::nullopt;
    }
    if (name == QLatin1String("sharpen")) {
        return unsharpMask(image, kSharpenRadius, kSharpenIntensity * s);
    }
    if (name == QLatin1String("contrast")) {
        return colorControls(image, 1 + kContrastPerStrength * s, 0);
    }
    if (name == QLatin1String("brightness")) {
        return colorControls(image, 1, kBrightnessPerStrength * s);
    }
    if (name == QLatin1String("blur")) {
        return gaussianBlur(image, kBlurRadiusPerStrength * s);
    }
    return std::nullopt;
}

} // namespace vellumix::filters::opencv
