#pragma once

#include "model/EnumNames.h"

#include <QRectF>
#include <QString>
#include <QStringList>

#include <vector>

namespace vellumix {

/// A recognised line's height relative to the image's typical line.
enum class OCRLineSize { small, regular, large, xlarge };
template <> struct EnumNames<OCRLineSize> {
    static constexpr std::array<QStringView, 4> names{u"small", u"regular", u"large", u"xlarge"};
};

/// One recognised text line, in image pixels (top-left origin).
struct OCRLine {
    QString text;
    QRectF rect;
    OCRLineSize relativeSize = OCRLineSize::regular;
};

/// An object-like region, in image pixels, with the analyser's confidence (0…1).
struct SalientRegion {
    QRectF rect;
    float confidence = 0;
};

/// What image analysis found in a picture.
struct VisionAnalysis {
    QStringList classifications;
    std::vector<OCRLine> lines;
    std::vector<SalientRegion> salientRegions;
};

/// The rectangles of the recognised lines, in order.
std::vector<QRectF> lineRects(const VisionAnalysis& analysis);

/// Sizes each line against the median line height (all regular with fewer than 4 lines).
void assignLineSizes(std::vector<OCRLine>& lines);

} // namespace vellumix
