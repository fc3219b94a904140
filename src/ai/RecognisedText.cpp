#include "RecognisedText.h"

namespace vellumix {

namespace {

// Closed intervals on both axes, so that a flat selection (a horizontal arrow) still meets
// the line it lies on.
bool meets(const QRectF& a, const QRectF& b) {
    const QRectF p = a.normalized();
    const QRectF q = b.normalized();
    return p.left() <= q.right() && q.left() <= p.right() && p.top() <= q.bottom() &&
           q.top() <= p.bottom();
}

} // namespace

CopiedText copiedText(const VisionAnalysis& analysis, const std::optional<QRectF>& area) {
    QStringList taken;
    for (const OCRLine& line : analysis.lines) {
        if (line.text.trimmed().isEmpty() || (area && !meets(line.rect, *area))) {
            continue;
        }
        taken << line.text;
    }
    return {taken.join(u'\n'), static_cast<int>(taken.size())};
}

QString copyTextStatus(int lineCount) {
    if (lineCount <= 0) {
        return QStringLiteral("No text found");
    }
    return lineCount == 1 ? QStringLiteral("Copied 1 line")
                          : QStringLiteral("Copied %1 lines").arg(lineCount);
}

} // namespace vellumix
