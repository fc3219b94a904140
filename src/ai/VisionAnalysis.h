#pragma once

#include "model/EnumNames.h"

#include <QRectF>
#include <QString>
#include <QStringList>

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <vector>

namespace vellumix {

/// A recognised line's height relative to the image's typical line.
enum class OCRLineSize { small, regular, large, xlarge };
template <> struct EnumNames<OCRLineSize> {
    static constexpr std::array<QStringView, 4> names{u"small", u"regular", u"large", u"xlarge"};
};

/// A piece of a recognised line as the engine boxed it (a word, or one glyph of it): the
/// characters [start, start + length) of the line's text, in UTF-16 code units, and their box in
/// image pixels.
struct OCRTextBox {
    int start = 0;
    int length = 0;
    QRectF rect;

    int end() const { return start + length; }
    bool operator==(const OCRTextBox&) const = default;
};

/// One recognised text line, in image pixels (top-left origin).
struct OCRLine {
    QString text;
    QRectF rect;
    OCRLineSize relativeSize = OCRLineSize::regular;
    /// The engine's own boxes of the line's words and of their glyphs, in text order; empty
    /// when the engine gave none (an analysis read from JSON, or text the engine boxed as a
    /// whole). Spaces between words have no box.
    std::vector<OCRTextBox> words = {};
    std::vector<OCRTextBox> glyphs = {};
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
    /// Lines the engine was unsure of, in reading order: mostly noise read off bars, icons and
    /// photos, but also the lines holding keys and tokens, which are no words and so score low.
    /// Only the search for sensitive text looks at them.
    std::vector<OCRLine> doubtfulLines = {};
};

/// The rectangles of the recognised lines, in order.
std::vector<QRectF> lineRects(const VisionAnalysis& analysis);

/// An analysis as JSON, in the order of its fields: classifications, lines (text, rect
/// [x, y, width, height], relative size, words with text and rect), salient regions (rect,
/// confidence), doubtful lines. What `vellumix-bundle analyze` prints.
nlohmann::ordered_json analysisToJson(const VisionAnalysis& analysis);
/// An analysis as `analysisToJson` writes it, read back as far as a request's context needs it
/// (classifications, lines with text, rect and relative size, salient regions); none when it is
/// no such object. Missing lists are empty; an unknown line size is regular.
std::optional<VisionAnalysis> analysisFromJson(const nlohmann::json& o);

/// Sizes each line against the median line height (all regular with fewer than 4 lines).
void assignLineSizes(std::vector<OCRLine>& lines);

} // namespace vellumix
