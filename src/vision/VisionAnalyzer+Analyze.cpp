#include "ai/ConsoleText.h"
#include "vision/VisionAnalyzer+Detail.h"

#include <QPainter>

#include <exception>
#include <opencv2/imgproc.hpp>

namespace vellumix::vision::detail {

namespace {

// Labels and saliency need the picture's broad strokes only.
constexpr int kMeasureSide = 512;
// Faces of 24 pixels and more are looked for at this size: down to a 27th of the picture's side.
constexpr int kFaceSide = 640;

// The image as 8-bit RGB; translucent pictures are seen on white, as the editor shows them.
QImage rgbImage(const QImage& image) {
    if (!image.hasAlphaChannel()) {
        return image.convertToFormat(QImage::Format_RGB888);
    }
    QImage rgb(image.size(), QImage::Format_RGB888);
    rgb.fill(Qt::white);
    QPainter painter(&rgb);
    painter.drawImage(0, 0, image);
    return rgb;
}

cv::Mat shrunk(const cv::Mat& picture, int side) {
    const double scale = double(side) / std::max(picture.cols, picture.rows);
    if (scale >= 1) {
        return picture;
    }
    cv::Mat small;
    cv::resize(picture, small, cv::Size(), scale, scale, cv::INTER_AREA);
    return small;
}

bool isCancelled(const std::atomic<bool>* cancelled) {
    return cancelled && cancelled->load();
}

void addTextMeasures(const std::vector<OCRLine>& lines, QSizeF imageSize,
                     PictureMeasures& measures) {
    double area = 0;
    double width = 0;
    for (const OCRLine& line : lines) {
        area += line.rect.width() * line.rect.height();
        width += line.rect.width();
    }
    measures.textLines = int(lines.size());
    measures.textCoverage = std::min(1.0, area / (imageSize.width() * imageSize.height()));
    measures.meanLineWidth = lines.empty() ? 0 : width / lines.size() / imageSize.width();
}

} // namespace

VisionAnalysis analyzeImage(const QImage& image, const std::atomic<bool>* cancelled) {
    if (image.isNull() || isCancelled(cancelled)) {
        return {};
    }
    try {
        const QImage rgb = rgbImage(image);
        const cv::Mat pixels(rgb.height(), rgb.width(), CV_8UC3, const_cast<uchar*>(rgb.bits()),
                             size_t(rgb.bytesPerLine()));
        // The engines read the text while this thread measures the rest.
        TextRecognition text(pixels, cancelled);

        const cv::Mat small = shrunk(pixels, kMeasureSide);
        PictureMeasures measures = measureColoursAndEdges(small);
        if (isCancelled(cancelled)) {
            return {}; // once the engines are done with the flag
        }
        cv::Mat faceGrey;
        cv::cvtColor(shrunk(pixels, kFaceSide), faceGrey, cv::COLOR_RGB2GRAY);
        detectPeople(faceGrey, measures);
        const std::vector<SalientRegion> regions = findSalientRegions(small, pixels.size());

        std::optional<RecognisedText> read = text.finish();
        if (!read || isCancelled(cancelled)) {
            return {};
        }
        const QSizeF imageSize(image.size());
        addTextMeasures(read->lines, imageSize, measures);

        VisionAnalysis analysis;
        analysis.classifications = keepClassifications(classify(measures));
        analysis.lines = std::move(read->lines);
        analysis.doubtfulLines = std::move(read->doubtful);
        analysis.salientRegions = keepSalientRegions(regions);
        return analysis;
    } catch (const std::exception& error) {
        console::say(QStringLiteral("Image analysis failed: ") + QString::fromUtf8(error.what()));
    }
    return {};
}

void prepareEngines() {
    startTextEngines();
    loadCascades();
}

} // namespace vellumix::vision::detail
