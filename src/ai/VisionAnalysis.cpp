#include "VisionAnalysis.h"

#include <algorithm>

namespace vellumix {

std::vector<QRectF> lineRects(const VisionAnalysis& analysis) {
    std::vector<QRectF> rects;
    rects.reserve(analysis.lines.size());
    for (const OCRLine& line : analysis.lines) {
        rects.push_back(line.rect);
    }
    return rects;
}

void assignLineSizes(std::vector<OCRLine>& lines) {
    for (OCRLine& line : lines) {
        line.relativeSize = OCRLineSize::regular;
    }
    if (lines.size() < 4) {
        return;
    }
    std::vector<double> heights;
    for (const OCRLine& line : lines) {
        heights.push_back(line.rect.height());
    }
    std::sort(heights.begin(), heights.end());
    const double median = heights[heights.size() / 2]; // the upper median for even counts
    if (!(median > 0)) {
        return;
    }
    for (OCRLine& line : lines) {
        const double r = line.rect.height() / median;
        line.relativeSize = r < 0.7   ? OCRLineSize::small
                            : r < 1.5 ? OCRLineSize::regular
                            : r < 2.5 ? OCRLineSize::large
                                      : OCRLineSize::xlarge;
    }
}

} // namespace vellumix
