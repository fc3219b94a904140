#include "vision/VisionAnalyzer+Detail.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

namespace vellumix::vision::detail {

namespace {

// The spectral residual is computed on a thumbnail this wide (Hou & Zhang 2007): at that scale
// the residual picks out objects rather than texture.
constexpr int kResidualWidth = 64;
constexpr double kSmoothingSigma = 2.5;
// Regions smaller than this share of the picture are specks, not objects.
constexpr double kMinimumAreaShare = 0.005;

// The saliency map of `grey` (8-bit) at the thumbnail's size, normalised to 0…1.
cv::Mat spectralResidual(const cv::Mat& grey) {
    const int width = std::min(kResidualWidth, grey.cols);
    const int height = std::max(1, int(std::lround(double(grey.rows) * width / grey.cols)));
    cv::Mat thumbnail;
    cv::resize(grey, thumbnail, cv::Size(width, height), 0, 0, cv::INTER_AREA);
    thumbnail.convertTo(thumbnail, CV_32F, 1.0 / 255);

    cv::Mat planes[] = {thumbnail, cv::Mat::zeros(thumbnail.size(), CV_32F)};
    cv::Mat spectrum;
    cv::merge(planes, 2, spectrum);
    cv::dft(spectrum, spectrum);
    cv::split(spectrum, planes);
    cv::Mat magnitude, phase;
    cv::cartToPolar(planes[0], planes[1], magnitude, phase);
    cv::log(magnitude + 1e-8, magnitude);
    cv::Mat averaged;
    cv::blur(magnitude, averaged, cv::Size(3, 3), cv::Point(-1, -1), cv::BORDER_REPLICATE);
    cv::Mat residual;
    cv::exp(magnitude - averaged, residual);
    cv::polarToCart(residual, phase, planes[0], planes[1]);
    cv::merge(planes, 2, spectrum);
    cv::idft(spectrum, spectrum, cv::DFT_SCALE);
    cv::split(spectrum, planes);
    cv::Mat saliency;
    cv::magnitude(planes[0], planes[1], saliency);
    cv::multiply(saliency, saliency, saliency);
    cv::GaussianBlur(saliency, saliency, cv::Size(0, 0), kSmoothingSigma);
    cv::normalize(saliency, saliency, 0, 1, cv::NORM_MINMAX);
    return saliency;
}

} // namespace

std::vector<SalientRegion> findSalientRegions(const cv::Mat& small, cv::Size imageSize) {
    if (small.empty()) {
        return {};
    }
    cv::Mat grey;
    cv::cvtColor(small, grey, cv::COLOR_RGB2GRAY);
    cv::Mat map;
    cv::resize(spectralResidual(grey), map, small.size(), 0, 0, cv::INTER_LINEAR);

    cv::Mat mask;
    map.convertTo(mask, CV_8U, 255);
    cv::threshold(mask, mask, 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU);
    const int close = std::max(3, std::max(small.cols, small.rows) / 40);
    cv::morphologyEx(mask, mask, cv::MORPH_CLOSE,
                     cv::getStructuringElement(cv::MORPH_ELLIPSE, cv::Size(close, close)));
    std::vector<std::vector<cv::Point>> contours;
    cv::findContours(mask, contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_SIMPLE);

    const double scale = double(small.cols) / imageSize.width;
    const QSizeF size(imageSize.width, imageSize.height);
    const double minimumArea = kMinimumAreaShare * small.cols * small.rows;
    std::vector<SalientRegion> regions;
    for (const auto& contour : contours) {
        const cv::Rect box = cv::boundingRect(contour);
        if (box.area() < minimumArea) {
            continue;
        }
        SalientRegion region;
        region.rect = imageRectFromWorking(QRect(box.x, box.y, box.width, box.height), scale, size);
        region.confidence = float(cv::mean(map(box))[0]);
        regions.push_back(region);
    }
    std::stable_sort(
        regions.begin(), regions.end(),
        [](const SalientRegion& a, const SalientRegion& b) { return a.confidence > b.confidence; });
    return regions;
}

} // namespace vellumix::vision::detail
