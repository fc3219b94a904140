#include "filters/ImageFilters+Support.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace vellumix::filters::opencv {

namespace {

using namespace support;

// Detection runs on a copy of at most this longer side: the edge thresholds suit that scale and the
// search stays cheap on 5K images; the edges are then refined at full size.
constexpr int kDetectLongSide = 1024;
constexpr double kMinDocumentShare = 0.2;
constexpr double kApproxEpsilon = 0.02;
// The outline's mean distance from its quad, as a share of the quad's perimeter (at least
// kMinOutlineSlack pixels): a page's outline hugs its quad within a pixel or two, while the
// union of overlapping windows is a staircase that the coarse approximation also squares off.
constexpr double kMaxOutlineDeviation = 0.0025;
constexpr double kMinOutlineSlack = 3.0;
constexpr int kMinSide = 8;
// How far inside the refined edges the corrected image starts: past an anti-aliased or slightly
// soft boundary, so no background rim shows.
constexpr double kInset = 1.5;
// A profile step across an edge must change the grey level by at least this much to count.
constexpr double kMinEdgeStep = 12.0;
// A refined edge may tilt at most this much from the detected one (radians, about 3°).
constexpr double kMaxRefineTilt = 0.05;
// A quad whose every edge runs within this many pixels of horizontal or vertical end to end is a
// window, panel or picture of a screenshot (or a page that is already straight): nothing to do.
constexpr double kAxisAlignedSlack = 1.5;

using Quad = std::array<cv::Point2d, 4>;

struct Line {
    cv::Point2d point;
    cv::Point2d direction; // unit length
};

double length(cv::Point2d v) {
    return std::hypot(v.x, v.y);
}

// tl, tr, br, bl: clockwise on screen (y down) from the corner nearest the top-left.
Quad orderCorners(const std::vector<cv::Point2d>& points) {
    cv::Point2d centre(0, 0);
    for (const cv::Point2d& p : points) {
        centre += p * 0.25;
    }
    Quad quad;
    std::copy_n(points.begin(), 4, quad.begin());
    std::sort(quad.begin(), quad.end(), [&](cv::Point2d a, cv::Point2d b) {
        return std::atan2(a.y - centre.y, a.x - centre.x) <
               std::atan2(b.y - centre.y, b.x - centre.x);
    });
    const auto topLeft = std::min_element(quad.begin(), quad.end(),
                                          [](auto a, auto b) { return a.x + a.y < b.x + b.y; });
    std::rotate(quad.begin(), topLeft, quad.end());
    return quad;
}

bool followsOutline(const std::vector<cv::Point>& contour, const std::vector<cv::Point>& quad) {
    double total = 0;
    for (const cv::Point& p : contour) {
        total += std::abs(cv::pointPolygonTest(quad, cv::Point2f(p), true));
    }
    const double allowed =
        std::max(kMinOutlineSlack, kMaxOutlineDeviation * cv::arcLength(quad, true));
    return total <= allowed * static_cast<double>(contour.size());
}

std::optional<Quad> detectQuad(const QImage& work) {
    const int longSide = std::max(work.width(), work.height());
    const double scale = longSide > kDetectLongSide ? kDetectLongSide / double(longSide) : 1.0;
    cv::Mat colour = readPixels(work);
    if (scale < 1) {
        cv::Mat small;
        cv::resize(colour, small,
                   cv::Size(std::max(1, cvRound(work.width() * scale)),
                            std::max(1, cvRound(work.height() * scale))),
                   0, 0, cv::INTER_AREA);
        colour = small;
    }
    cv::Matx14f weights(0, 0, 0, 0);
    weights(0, kRed) = 0.299f;
    weights(0, kGreen) = 0.587f;
    weights(0, kBlue) = 0.114f;
    cv::Mat grey;
    cv::transform(colour, grey, weights);
    cv::GaussianBlur(grey, grey, cv::Size(5, 5), 0);
    cv::Mat edges;
    cv::Canny(grey, edges, 50, 150);
    cv::dilate(edges, edges, cv::Mat());
    std::vector<std::vector<cv::Point>> contours;
    // Every boundary pixel, so that the outline check weighs the whole outline evenly.
    cv::findContours(edges, contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);

    const double minArea = kMinDocumentShare * grey.cols * grey.rows;
    std::vector<std::pair<double, size_t>> large;
    for (size_t i = 0; i < contours.size(); ++i) {
        const double area = cv::contourArea(contours[i]);
        if (area > minArea) {
            large.emplace_back(area, i);
        }
    }
    std::sort(large.begin(), large.end(), std::greater<>());
    for (const auto& [area, index] : large) {
        const std::vector<cv::Point>& contour = contours[index];
        std::vector<cv::Point> approx;
        cv::approxPolyDP(contour, approx, kApproxEpsilon * cv::arcLength(contour, true), true);
        if (approx.size() != 4 || !cv::isContourConvex(approx) ||
            !followsOutline(contour, approx)) {
            continue;
        }
        // Back to full-size pixel centres.
        std::vector<cv::Point2d> corners;
        const double sx = work.width() / double(grey.cols);
        const double sy = work.height() / double(grey.rows);
        for (const cv::Point& p : approx) {
            corners.emplace_back((p.x + 0.5) * sx - 0.5, (p.y + 0.5) * sy - 0.5);
        }
        return orderCorners(corners);
    }
    return std::nullopt;
}

// Grey level at a sub-pixel position of the full-size image, bilinear, clamped to the edges.
double greyAt(const QImage& work, double x, double y) {
    x = std::clamp(x, 0.0, work.width() - 1.0);
    y = std::clamp(y, 0.0, work.height() - 1.0);
    // The image is at least kMinSide pixels wide and high, so x0 + 1 and y0 + 1 are inside.
    const int x0 = std::min(static_cast<int>(x), work.width() - 2);
    const int y0 = std::min(static_cast<int>(y), work.height() - 2);
    const int x1 = x0 + 1;
    const int y1 = y0 + 1;
    const auto grey = [&](int px, int py) {
        const QRgb p = reinterpret_cast<const QRgb*>(work.constScanLine(py))[px];
        return 0.299 * qRed(p) + 0.587 * qGreen(p) + 0.114 * qBlue(p);
    };
    const double fx = x - x0;
    const double fy = y - y0;
    return (grey(x0, y0) * (1 - fx) + grey(x1, y0) * fx) * (1 - fy) +
           (grey(x0, y1) * (1 - fx) + grey(x1, y1) * fx) * fy;
}

// The edge from a to b located on the full-size image: along its normal, within `reach` pixels,
// the strongest grey step at each of several stations, and a robust line through them. The
// detected line when too few stations see a clear edge or the fit wanders off.
Line refineEdge(const QImage& work, cv::Point2d a, cv::Point2d b, double reach) {
    const double edgeLength = length(b - a);
    const Line detected{a, (b - a) * (1.0 / edgeLength)};
    const cv::Point2d normal(-detected.direction.y, detected.direction.x);
    const int stations = std::clamp(static_cast<int>(edgeLength / 8), 8, 64);
    constexpr double kStep = 0.5;
    const int steps = static_cast<int>(reach / kStep);
    std::vector<double> profile(static_cast<size_t>(2 * steps + 1));
    std::vector<cv::Point2f> found;
    for (int i = 0; i < stations; ++i) {
        // The middle 80 %: the corners are where two edges blur together.
        const cv::Point2d base = a + (b - a) * (0.1 + 0.8 * (i + 0.5) / stations);
        for (int k = -steps; k <= steps; ++k) {
            const cv::Point2d p = base + normal * (k * kStep);
            profile[static_cast<size_t>(k + steps)] = greyAt(work, p.x, p.y);
        }
        int best = 0;
        double bestStep = 0;
        for (int k = 1; k + 1 < static_cast<int>(profile.size()); ++k) {
            const double step = std::abs(profile[size_t(k + 1)] - profile[size_t(k - 1)]);
            if (step > bestStep) {
                bestStep = step;
                best = k;
            }
        }
        if (bestStep < kMinEdgeStep) {
            continue;
        }
        // Sub-sample position: the vertex of a parabola through the step and its neighbours.
        double offset = best;
        if (best > 1 && best + 2 < static_cast<int>(profile.size())) {
            const double left = std::abs(profile[size_t(best)] - profile[size_t(best - 2)]);
            const double right = std::abs(profile[size_t(best + 2)] - profile[size_t(best)]);
            const double curvature = left - 2 * bestStep + right;
            if (curvature < 0) {
                offset += 0.5 * (left - right) / curvature;
            }
        }
        const cv::Point2d p = base + normal * ((offset - steps) * kStep);
        found.emplace_back(static_cast<float>(p.x), static_cast<float>(p.y));
    }
    if (found.size() < static_cast<size_t>(stations / 2)) {
        return detected;
    }
    cv::Vec4f fit;
    cv::fitLine(found, fit, cv::DIST_HUBER, 0, 0.01, 0.01);
    Line refined{{fit[2], fit[3]}, {fit[0], fit[1]}};
    if (refined.direction.dot(detected.direction) < 0) {
        refined.direction = -refined.direction;
    }
    const double tilt = std::abs(detected.direction.cross(refined.direction));
    const double shift = std::abs(normal.dot(refined.point - a));
    if (tilt > kMaxRefineTilt || shift > reach + edgeLength * kMaxRefineTilt) {
        return detected;
    }
    return refined;
}

std::optional<cv::Point2d> intersect(const Line& l, const Line& m) {
    const double denominator = l.direction.cross(m.direction);
    if (std::abs(denominator) < 1e-9) {
        return std::nullopt;
    }
    const double t = (m.point - l.point).cross(m.direction) / denominator;
    return l.point + l.direction * t;
}

// The quad bounded by the four lines, each moved `inset` pixels towards `centre`.
std::optional<Quad> quadFromLines(std::array<Line, 4> lines, cv::Point2d centre, double inset) {
    for (Line& line : lines) {
        cv::Point2d inward(-line.direction.y, line.direction.x);
        if (inward.dot(centre - line.point) < 0) {
            inward = -inward;
        }
        line.point += inward * inset;
    }
    Quad quad;
    for (size_t i = 0; i < 4; ++i) {
        const std::optional<cv::Point2d> corner = intersect(lines[(i + 3) % 4], lines[i]);
        if (!corner) {
            return std::nullopt;
        }
        quad[i] = *corner;
    }
    return quad;
}

bool isAxisAligned(const Quad& quad) {
    for (size_t i = 0; i < 4; ++i) {
        const cv::Point2d edge = quad[(i + 1) % 4] - quad[i];
        if (std::min(std::abs(edge.x), std::abs(edge.y)) > kAxisAlignedSlack) {
            return false;
        }
    }
    return true;
}

bool isConvex(const Quad& quad) {
    std::vector<cv::Point2f> points;
    for (const cv::Point2d& p : quad) {
        points.emplace_back(static_cast<float>(p.x), static_cast<float>(p.y));
    }
    return cv::isContourConvex(points);
}

// The document's corners in OpenCV pixel coordinates (pixel centres on integers).
std::optional<Quad> outlineDocument(const QImage& work) {
    if (work.width() < kMinSide || work.height() < kMinSide) {
        return std::nullopt;
    }
    const std::optional<Quad> detected = detectQuad(work);
    if (!detected) {
        return std::nullopt;
    }
    const Quad& d = *detected;
    for (size_t i = 0; i < 4; ++i) {
        if (length(d[(i + 1) % 4] - d[i]) < kMinSide) {
            return std::nullopt;
        }
    }
    const cv::Point2d centre = (d[0] + d[1] + d[2] + d[3]) * 0.25;
    // The detected outline lies up to about two detection pixels off the true edge (the edge
    // band is dilated and traced on its outside).
    const int longSide = std::max(work.width(), work.height());
    const double detectPixel = std::max(1.0, longSide / double(kDetectLongSide));
    const double reach = 2.5 * detectPixel + 2;
    std::array<Line, 4> edges;
    for (size_t i = 0; i < 4; ++i) {
        edges[i] = refineEdge(work, d[i], d[(i + 1) % 4], reach);
    }
    if (const std::optional<Quad> refined = quadFromLines(edges, centre, kInset)) {
        bool near = isConvex(*refined);
        for (size_t i = 0; i < 4 && near; ++i) {
            near = length((*refined)[i] - d[i]) < 4 * reach;
        }
        if (near) {
            return refined;
        }
    }
    // Refinement failed: the detected outline, pulled in past its dilated rim.
    std::array<Line, 4> detectedEdges;
    for (size_t i = 0; i < 4; ++i) {
        const cv::Point2d along = d[(i + 1) % 4] - d[i];
        detectedEdges[i] = {d[i], along * (1.0 / length(along))};
    }
    return quadFromLines(detectedEdges, centre, 2 * detectPixel + kInset);
}

std::optional<Quad> locateDocument(const QImage& work) {
    std::optional<Quad> quad = outlineDocument(work);
    if (quad && isAxisAligned(*quad)) {
        return std::nullopt;
    }
    return quad;
}

} // namespace

std::optional<std::array<QPointF, 4>> findDocument(const QImage& image) {
    if (image.isNull()) {
        return std::nullopt;
    }
    const std::optional<Quad> quad = locateDocument(workingImage(image));
    if (!quad) {
        return std::nullopt;
    }
    std::array<QPointF, 4> corners;
    for (size_t i = 0; i < 4; ++i) {
        corners[i] = QPointF((*quad)[i].x + 0.5, (*quad)[i].y + 0.5);
    }
    return corners;
}

std::optional<QImage> straightenDocument(const QImage& image) {
    if (image.isNull()) {
        return std::nullopt;
    }
    const QImage work = workingImage(image);
    const std::optional<Quad> found = locateDocument(work);
    if (!found) {
        return std::nullopt;
    }
    const auto& [tl, tr, br, bl] = *found;
    // Corners land on pixel centres, so n pixels span a length of n − 1.
    const int width = cvRound(std::max(length(tr - tl), length(br - bl))) + 1;
    const int height = cvRound(std::max(length(bl - tl), length(br - tr))) + 1;
    const cv::Point2f from[] = {tl, tr, br, bl};
    const cv::Point2f to[] = {{0, 0},
                              {float(width - 1), 0},
                              {float(width - 1), float(height - 1)},
                              {0, float(height - 1)}};
    QImage corrected = blankLike(work, QSize(width, height));
    cv::Mat flat = writePixels(corrected);
    cv::warpPerspective(readPixels(work), flat, cv::getPerspectiveTransform(from, to), flat.size(),
                        cv::INTER_CUBIC, cv::BORDER_REPLICATE);

    const int inputLong = std::max(work.width(), work.height());
    const int outputLong = std::max(width, height);
    if (outputLong <= inputLong) {
        return corrected;
    }
    const double ratio = inputLong / double(outputLong);
    QImage scaled = blankLike(
        work, QSize(std::max(1, cvRound(width * ratio)), std::max(1, cvRound(height * ratio))));
    cv::Mat dst = writePixels(scaled);
    cv::resize(flat, dst, dst.size(), 0, 0, ratio < 0.5 ? cv::INTER_AREA : cv::INTER_LANCZOS4);
    return scaled;
}

} // namespace vellumix::filters::opencv
