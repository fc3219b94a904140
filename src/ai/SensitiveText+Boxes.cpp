#include "SensitiveText.h"

#include <algorithm>
#include <optional>

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

// The typical advance of one character in the line's words: their widths over their characters.
double typicalCharWidth(const OCRLine& line) {
    double width = 0;
    int characters = 0;
    for (const OCRTextBox& word : line.words) {
        width += word.rect.width();
        characters += word.length;
    }
    return characters > 0 ? width / characters : 0;
}

// Brackets, quotes and sentence marks glued to a span in its word are covered too: then the
// span's ends lie on the word's exact edges rather than on the recogniser's glyph boxes, which
// may stop short of the last letter.
void takeInGluedMarks(const OCRLine& line, int& start, int& end) {
    for (const OCRTextBox& word : line.words) {
        if (word.start < start && start < word.end()) {
            const QStringView before =
                QStringView(line.text).sliced(word.start, start - word.start);
            if (std::all_of(before.begin(), before.end(),
                            [](QChar c) { return QStringView(u"([{<\"'").contains(c); })) {
                start = word.start;
            }
        }
        if (word.start < end && end < word.end()) {
            const QStringView after = QStringView(line.text).sliced(end, word.end() - end);
            if (std::all_of(after.begin(), after.end(),
                            [](QChar c) { return QStringView(u".,;:!?)]}>\"'").contains(c); })) {
                end = word.end();
            }
        }
    }
}

// The box of a span from the engine's own boxes: every glyph (or, where its word's glyphs are
// unknown, every word) the span touches, out to a word's edge where the span reaches it. None
// when a character of the span other than a space lies in no word: the estimate must do then.
std::optional<QRectF> boxedSpanRect(const OCRLine& line, int start, int length) {
    if (line.words.empty()) {
        return std::nullopt;
    }
    int end = start + length;
    takeInGluedMarks(line, start, end);
    auto owner = line.words.begin();
    for (int i = std::max(0, start); i < end && i < line.text.size(); ++i) {
        while (owner != line.words.end() && owner->end() <= i) {
            ++owner;
        }
        const bool inWord = owner != line.words.end() && owner->start <= i;
        if (!inWord && !line.text.at(i).isSpace()) {
            return std::nullopt;
        }
    }
    QRectF box;
    // The words the span touches: their boxes hold all its ink, up and down.
    QRectF touched;
    // Whether the span begins or ends inside a word, where only glyph boxes tell.
    std::optional<bool> startsInWord;
    bool endsInWord = false;
    auto glyph = line.glyphs.begin();
    for (const OCRTextBox& word : line.words) {
        if (word.end() <= start || word.start >= end) {
            continue;
        }
        startsInWord = startsInWord.value_or(start > word.start);
        endsInWord = end < word.end();
        touched |= word.rect;
        while (glyph != line.glyphs.end() && glyph->end() <= word.start) {
            ++glyph;
        }
        const bool glyphsKnown = glyph != line.glyphs.end() && glyph->start == word.start;
        if (!glyphsKnown) {
            box |= word.rect;
        }
        // Word boxes hug the ink; a glyph box at a word's end may stop short of it.
        if (start <= word.start) {
            box |= QRectF(word.rect.topLeft(), QSizeF(0, word.rect.height()));
        }
        if (end >= word.end()) {
            box |= QRectF(word.rect.topRight(), QSizeF(0, word.rect.height()));
        }
        for (; glyphsKnown && glyph != line.glyphs.end() && glyph->start < word.end(); ++glyph) {
            if (glyph->end() > start && glyph->start < end) {
                box |= glyph->rect;
            }
        }
    }
    if (box.isEmpty()) {
        return std::nullopt;
    }
    // Glyph boxes from the recogniser may stop short of a letter's ink by a pixel or two: half a
    // character makes up for it where the span ends inside a word (at a word's edge, the word's
    // box is exact, and a margin would cover the neighbouring text). Up and down, the span takes
    // its words' full height; not the line's, which an unsure reading may stretch over two rows.
    const double margin = typicalCharWidth(line) / 2;
    return QRectF(
        QPointF(box.left() - (startsInWord.value_or(false) ? margin : 0),
                std::min(box.top(), touched.top())),
        QPointF(box.right() + (endsInWord ? margin : 0), std::max(box.bottom(), touched.bottom())));
}

// The box of a span from its place in the line's text alone.
QRectF estimatedSpanRect(const OCRLine& line, int start, int length) {
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

} // namespace

QRectF sensitiveSpanRect(const OCRLine& line, int start, int length) {
    if (const std::optional<QRectF> boxed = boxedSpanRect(line, start, length)) {
        return *boxed;
    }
    return estimatedSpanRect(line, start, length);
}

QRectF redactionAreaFor(const QRectF& matchRect, QSize imageSize,
                        const std::vector<QRectF>& lines) {
    const QRectF box = matchRect.normalized();
    const double grow = box.height() / 4;
    QRectF area = box.adjusted(-2, -grow, 2, grow);
    for (const QRectF& line : lines) {
        const QRectF other = line.normalized();
        if (other.right() <= area.left() || other.left() >= area.right()) {
            continue;
        }
        // Lines set tightly may overlap the box a little: they are above or below it by their
        // middles, and the box itself stays whole.
        if (other.center().y() > box.bottom()) {
            area.setBottom(std::min(area.bottom(), std::max(box.bottom(), other.top())));
        } else if (other.center().y() < box.top()) {
            area.setTop(std::max(area.top(), std::min(box.top(), other.bottom())));
        }
    }
    return area & QRectF(QPointF(0, 0), QSizeF(imageSize));
}

const OCRLine& analysisLine(const VisionAnalysis& analysis, int index) {
    const auto count = int(analysis.lines.size());
    return index < count ? analysis.lines[std::size_t(index)]
                         : analysis.doubtfulLines[std::size_t(index - count)];
}

namespace {

// The line beside a form's label: the nearest one starting to its right whose middle lies within
// the label's height, at most 30 label heights away; -1 for none.
int valueBeside(const VisionAnalysis& analysis, int labelIndex, int count) {
    const QRectF label = analysisLine(analysis, labelIndex).rect.normalized();
    int nearest = -1;
    double nearestGap = 30 * label.height();
    for (int i = 0; i < count; ++i) {
        const QRectF value = analysisLine(analysis, i).rect.normalized();
        const double gap = value.left() - label.right();
        const double middle = value.center().y();
        if (i != labelIndex && gap > -label.height() / 2 && gap < nearestGap &&
            middle >= label.top() && middle <= label.bottom()) {
            nearest = i;
            nearestGap = gap;
        }
    }
    return nearest;
}

// The values beside credential labels ("Password:" and its field), unless found already.
void addLabelledValues(const VisionAnalysis& analysis, int count,
                       std::vector<SensitiveMatch>& matches) {
    for (int i = 0; i < count; ++i) {
        if (!isCredentialLabel(analysisLine(analysis, i).text)) {
            continue;
        }
        const int index = valueBeside(analysis, i, count);
        if (index < 0 || !isCredentialValue(analysisLine(analysis, index).text)) {
            continue;
        }
        const bool known =
            std::any_of(matches.begin(), matches.end(),
                        [&](const SensitiveMatch& m) { return m.lineIndex == index; });
        if (!known) {
            const OCRLine& value = analysisLine(analysis, index);
            const int length = int(value.text.size());
            matches.push_back(
                {SensitiveKind::secret, index, 0, length, sensitiveSpanRect(value, 0, length)});
        }
    }
}

} // namespace

std::vector<SensitiveMatch> findSensitiveText(const VisionAnalysis& analysis,
                                              SensitiveKinds kinds) {
    std::vector<SensitiveMatch> matches;
    const int count = int(analysis.lines.size() + analysis.doubtfulLines.size());
    for (int index = 0; index < count; ++index) {
        const OCRLine& line = analysisLine(analysis, index);
        // Merged spans give merged boxes: a span's box grows with the span, so the box of a
        // merged span is the union of its parts' boxes.
        for (const SensitiveSpan& span : findSensitiveSpans(line.text, kinds)) {
            matches.push_back({span.kind, index, span.start, span.length,
                               sensitiveSpanRect(line, span.start, span.length)});
        }
    }
    if (kinds.testFlag(SensitiveKind::secret)) {
        addLabelledValues(analysis, count, matches);
    }
    return matches;
}

} // namespace vellumix
