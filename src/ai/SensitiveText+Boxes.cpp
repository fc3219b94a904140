#include "SensitiveText.h"

#include <algorithm>

namespace vellumix {

QRectF sensitiveSpanRect(const OCRLine& line, int start, int length) {
    const QRectF rect = line.rect.normalized();
    const qsizetype count = line.text.size();
    if (count == 0) {
        return rect;
    }
    const qsizetype first = std::clamp<qsizetype>(start, 0, count);
    const qsizetype end = std::clamp<qsizetype>(qsizetype(start) + length, first, count);
    if (end - first >= 0.8 * count) {
        return rect;
    }
    // Proportional positions err by a fraction of a character in monospaced text and by more in
    // proportional fonts (narrow and wide glyphs); one average character on each side covers
    // that, and no span is ever narrower than two characters. Line boxes already bound the
    // glyphs vertically, so the span takes the line's full height.
    const double charWidth = rect.width() / double(count);
    const double left = std::max(rect.left(), rect.left() + double(first - 1) * charWidth);
    const double right = std::min(rect.right(), rect.left() + double(end + 1) * charWidth);
    return QRectF(QPointF(left, rect.top()), QPointF(std::max(left, right), rect.bottom()));
}

std::vector<SensitiveMatch> findSensitiveText(const VisionAnalysis& analysis,
                                              SensitiveKinds kinds) {
    std::vector<SensitiveMatch> matches;
    for (std::size_t index = 0; index < analysis.lines.size(); ++index) {
        const OCRLine& line = analysis.lines[index];
        // Merged spans give merged boxes: a span's box grows with the span, so the box of a
        // merged span is the union of its parts' boxes.
        for (const SensitiveSpan& span : findSensitiveSpans(line.text, kinds)) {
            matches.push_back({span.kind, int(index), span.start, span.length,
                               sensitiveSpanRect(line, span.start, span.length)});
        }
    }
    return matches;
}

} // namespace vellumix
