#include "vision/VisionAnalyzer+Detail.h"

#include <QFile>
#include <QStringList>

#include <array>
#include <mutex>
#include <opencv2/imgproc.hpp>
#include <opencv2/objdetect.hpp>
#include <stdexcept>

namespace vellumix::vision::detail {

namespace {

// Neighbouring pixels this close in every channel are one flat fill.
constexpr int kFlatTolerance = 3;
constexpr double kSaturated = 0.35;
constexpr double kNotDark = 0.3;
// Straight runs of edge pixels at least 1/16 of the picture's side are lines: borders, rules,
// axes, box outlines. Glyph edges are far shorter.
constexpr int kLineFraction = 16;

// Each scale a fifth larger than the last: half the scales of the customary 1.1, and faces still
// collect a dozen neighbours or more.
constexpr double kCascadeStep = 1.2;

// Debian's opencv-data installs the cascades here (older releases used the second folder).
const std::array<const char*, 2> kCascadeFolders{"/usr/share/opencv4/haarcascades",
                                                 "/usr/share/opencv/haarcascades"};

struct Cascades {
    cv::CascadeClassifier face;
    cv::CascadeClassifier upperBody;
    bool loaded = false;
    // A CascadeClassifier keeps scratch data of its own: one detection at a time.
    std::mutex mutex;
};

Cascades& cascades() {
    static Cascades shared;
    return shared;
}

bool loadCascade(cv::CascadeClassifier& cascade, const char* file) {
    for (const char* folder : kCascadeFolders) {
        const QString path = QString::fromLatin1(folder) + QLatin1Char('/') + QLatin1String(file);
        if (QFile::exists(path) && cascade.load(path.toStdString())) {
            return true;
        }
    }
    return false;
}

// The share of `edges`' pixels that lie on horizontal or vertical runs of at least `length`.
double straightRunShare(const cv::Mat& edges, int edgeCount) {
    if (edgeCount == 0) {
        return 0;
    }
    const int across = std::max(3, edges.cols / kLineFraction);
    const int down = std::max(3, edges.rows / kLineFraction);
    cv::Mat horizontal, vertical;
    cv::morphologyEx(edges, horizontal, cv::MORPH_OPEN,
                     cv::getStructuringElement(cv::MORPH_RECT, cv::Size(across, 1)));
    cv::morphologyEx(edges, vertical, cv::MORPH_OPEN,
                     cv::getStructuringElement(cv::MORPH_RECT, cv::Size(1, down)));
    cv::Mat lines;
    cv::bitwise_or(horizontal, vertical, lines);
    return double(cv::countNonZero(lines)) / edgeCount;
}

} // namespace

PictureMeasures measureColoursAndEdges(const cv::Mat& small) {
    PictureMeasures measures;
    const int total = small.rows * small.cols;
    if (total == 0) {
        return measures;
    }
    cv::Mat hsv;
    cv::cvtColor(small, hsv, cv::COLOR_RGB2HSV);
    std::vector<int> histogram(1 << 15, 0);
    long long flat = 0, saturated = 0, saturatedFlat = 0;
    for (int y = 0; y < small.rows; ++y) {
        const auto* row = small.ptr<cv::Vec3b>(y);
        const auto* hsvRow = hsv.ptr<cv::Vec3b>(y);
        for (int x = 0; x < small.cols; ++x) {
            const cv::Vec3b p = row[x];
            ++histogram[(p[0] >> 3) << 10 | (p[1] >> 3) << 5 | p[2] >> 3];
            const bool isSaturated =
                hsvRow[x][1] >= kSaturated * 255 && hsvRow[x][2] >= kNotDark * 255;
            saturated += isSaturated;
            if (x + 1 < small.cols) {
                const cv::Vec3b q = row[x + 1];
                const bool isFlat = std::abs(p[0] - q[0]) <= kFlatTolerance &&
                                    std::abs(p[1] - q[1]) <= kFlatTolerance &&
                                    std::abs(p[2] - q[2]) <= kFlatTolerance;
                flat += isFlat;
                saturatedFlat += isFlat && isSaturated;
            }
        }
    }
    const long long pairs = std::max(1, small.rows * (small.cols - 1));
    measures.flatShare = double(flat) / pairs;
    measures.saturatedFlatShare = double(saturatedFlat) / pairs;
    measures.saturatedShare = double(saturated) / total;
    measures.backgroundShare =
        double(*std::max_element(histogram.begin(), histogram.end())) / total;

    cv::Mat grey, edges;
    cv::cvtColor(small, grey, cv::COLOR_RGB2GRAY);
    cv::Canny(grey, edges, 50, 150);
    const int edgeCount = cv::countNonZero(edges);
    measures.edgeDensity = double(edgeCount) / total;
    measures.axisLineShare = straightRunShare(edges, edgeCount);
    return measures;
}

bool loadCascades() {
    Cascades& shared = cascades();
    std::lock_guard lock(shared.mutex);
    if (!shared.loaded) {
        shared.loaded = loadCascade(shared.face, "haarcascade_frontalface_alt2.xml") &&
                        loadCascade(shared.upperBody, "haarcascade_upperbody.xml");
    }
    return shared.loaded;
}

void detectPeople(const cv::Mat& grey, PictureMeasures& measures) {
    if (!loadCascades()) {
        throw std::runtime_error("Haar cascades not found");
    }
    // Nothing as large as the smallest face a cascade looks for (24 pixels) on half the picture.
    if (grey.cols < 48 || grey.rows < 48) {
        return;
    }
    cv::Mat faces;
    cv::equalizeHist(grey, faces);
    // Upper bodies are large: half the resolution finds them at a quarter of the cost.
    cv::Mat bodies;
    cv::resize(faces, bodies, cv::Size(), 0.5, 0.5, cv::INTER_AREA);
    Cascades& shared = cascades();
    std::lock_guard lock(shared.mutex);
    auto detect = [](cv::CascadeClassifier& cascade, const cv::Mat& picture, cv::Size minimum,
                     int& count, double& confidence) {
        std::vector<cv::Rect> found;
        std::vector<int> neighbours;
        cascade.detectMultiScale(picture, found, neighbours, kCascadeStep, 3, 0, minimum);
        count = int(found.size());
        confidence = 0;
        for (int n : neighbours) {
            confidence = std::max(confidence, cascadeConfidence(n));
        }
    };
    detect(shared.face, faces, cv::Size(24, 24), measures.faces, measures.faceConfidence);
    detect(shared.upperBody, bodies, cv::Size(24, 24), measures.bodies, measures.bodyConfidence);
}

} // namespace vellumix::vision::detail
