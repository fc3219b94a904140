#include "SensitiveText.h"

#include <algorithm>

namespace vellumix {

namespace {

// Typical advance widths in a proportional sans-serif face, in ems: thin punctuation and
// narrow letters, wide ones, capitals and digits. Only the ratios matter; they let a span's box
// follow where proportional UI text really puts it, where counting characters drifts by several
// glyphs over a line ("Signed in as " is narrow, an address with "m" and "@" wide).
double glyphWeight(QChar c) {
    if (QStringView(u"ijl.,:;!|'I").contains(c)) {
        return 0.28;
    }
    if (QStringView(u" ftr()[]/-").contains(c)) {
        return 0.36;
    }
    if (QStringView(u"mwMW@%").contains(c)) {
        return 0.92;
    }
    if (c.isDigit()) {
        return 0.64;
    }
    return c.isUpper() ? 0.70 : 0.58;
}

} // namespace

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
    // Two estimates of where the span lies: by character count (right for monospaced text,
    // terminals and code) and by typical glyph widths (close for proportional UI text). The box
    // covers both, plus one average character on each side for what either misjudges. Line
    // boxes already bound the glyphs vertically, so the span takes the line's full height.
    double before = 0;
    double inside = 0;
    double total = 0;
    for (qsizetype i = 0; i < count; ++i) {
        const double weight = glyphWeight(line.text[i]);
        (i < first ? before : i < end ? inside : total) += weight;
    }
    total += before + inside;
    const double width = rect.width();
    const double charWidth = width / double(count);
    const double proportionalLeft = double(first) * charWidth;
    const double proportionalRight = double(end) * charWidth;
    const double glyphLeft = width * before / total;
    const double glyphRight = width * (before + inside) / total;
    const double left =
        std::max(rect.left(), rect.left() + std::min(proportionalLeft, glyphLeft) - charWidth);
    const double right =
        std::min(rect.right(), rect.left() + std::max(proportionalRight, glyphRight) + charWidth);
    return QRectF(QPointF(left, rect.top()), QPointF(std::max(left, right), rect.bottom()));
}

QRectF redactionAreaFor(const QRectF& matchRect, QSize imageSize) {
    const QRectF box = matchRect.normalized();
    const double grow = box.height() / 4;
    return box.adjusted(-2, -grow, 2, grow) & QRectF(QPointF(0, 0), QSizeF(imageSize));
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
