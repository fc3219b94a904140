#include "AIContext.h"

#include "ai/ConsoleText.h"
#include "model/AnnotationGeometry.h"

#include <QTextBoundaryFinder>

#include <algorithm>
#include <cmath>

namespace vellumix {

namespace {

constexpr int relevantLineLimit = 12;
constexpr int annotationTextLimit = 40;

// Words of a query that say what to do rather than what to find.
const QStringList& stopWords() {
    static const QStringList words{
        "draw",      "place",  "make",   "add",      "circle", "box",       "outline", "label",
        "highlight", "around", "over",   "above",    "below",  "next",      "near",    "with",
        "and",       "the",    "this",   "that",     "these",  "those",     "for",     "from",
        "into",      "onto",   "string", "starting", "ending", "containing"};
    return words;
}

long long roundAway(double v) {
    return std::llround(v); // halves go away from zero
}

QString rectText(long long x, long long y, long long w, long long h) {
    return QStringLiteral("[%1,%2 %3×%4]").arg(x).arg(y).arg(w).arg(h);
}

QString rectText(const QRectF& r) {
    return rectText(roundAway(r.x()), roundAway(r.y()), roundAway(r.width()),
                    roundAway(r.height()));
}

QString imagePixelRect(const Annotation& a, const AIContext::Inputs& in) {
    const QRectF b = geometry::bounds(a);
    const double s = in.imageRect.width() > 0 && in.imageSize.width() > 0
                         ? in.imageRect.width() / in.imageSize.width()
                         : 1;
    if (!(s > 0)) {
        return rectText(0, 0, 0, 0);
    }
    const QPointF topLeft = geometry::toImage(b.topLeft()) / s;
    return rectText(roundAway(topLeft.x()), roundAway(topLeft.y()), roundAway(b.width() / s),
                    roundAway(b.height() / s));
}

QString kindWord(const Annotation& a) {
    if (const auto* shape = std::get_if<ShapeAnnotation>(&a)) {
        return rawValue(shape->shape);
    }
    return kindOf(a) == AnnotationKind::stroke ? QStringLiteral("draw") : rawValue(kindOf(a));
}

std::optional<QString> colorHex(const Annotation& a) {
    std::optional<Color> color;
    std::visit(
        [&color](const auto& v) {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, ShapeAnnotation>) {
                color = v.strokeColor;
            } else if constexpr (std::is_same_v<T, StrokeAnnotation> ||
                                 std::is_same_v<T, ArrowAnnotation> ||
                                 std::is_same_v<T, TextAnnotation>) {
                color = v.color;
            }
        },
        a);
    if (!color || color->alpha <= 0.01) {
        return std::nullopt;
    }
    const auto byte = [](double c) { return std::clamp<long long>(roundAway(c * 255), 0, 255); };
    return QStringLiteral("#%1%2%3")
        .arg(byte(color->red), 2, 16, QLatin1Char('0'))
        .arg(byte(color->green), 2, 16, QLatin1Char('0'))
        .arg(byte(color->blue), 2, 16, QLatin1Char('0'))
        .toUpper();
}

// The first n characters (user-perceived ones, never half a surrogate pair).
QString firstCharacters(const QString& text, int n) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    qsizetype end = 0;
    while (count < n) {
        const qsizetype next = finder.toNextBoundary();
        if (next == -1) {
            return text;
        }
        end = next;
        ++count;
    }
    return text.left(end);
}

std::optional<QString> annotationText(const Annotation& a) {
    const auto* text = std::get_if<TextAnnotation>(&a);
    if (!text) {
        return std::nullopt;
    }
    QString flat = text->text;
    flat.replace(QLatin1Char('\n'), QLatin1Char(' '));
    return firstCharacters(flat, annotationTextLimit);
}

QString quoted(const QString& s) {
    return QLatin1Char('"') + s + QLatin1Char('"');
}

QString sizeLine(const AIContext::Inputs& in) {
    return QStringLiteral("Image size: %1 × %2 px")
        .arg(in.imageSize.width())
        .arg(in.imageSize.height());
}

const AnnotationList& annotationsOf(const AIContext::Inputs& in) {
    static const AnnotationList none;
    return in.annotations ? *in.annotations : none;
}

} // namespace

AIContext AIContext::build(QueryRoute route, const Inputs& inputs) {
    switch (route) {
    case QueryRoute::question:
        return full(inputs);
    case QueryRoute::annotationEdit:
        return compact(inputs);
    case QueryRoute::imageEdit:
        break;
    }
    return oneLine(inputs);
}

AIContext AIContext::oneLine(const Inputs& in) {
    return {sizeLine(in)};
}

AIContext AIContext::full(const Inputs& in) {
    QStringList lines{sizeLine(in)};
    if (in.analysis) {
        const VisionAnalysis& a = *in.analysis;
        if (!a.classifications.isEmpty()) {
            lines << QStringLiteral("Image content (Vision classifications): ") +
                         a.classifications.join(QStringLiteral(", "));
        }
        if (!a.salientRegions.empty()) {
            lines << QStringLiteral("Salient regions (Vision objectness, image-pixel coords):");
            for (const SalientRegion& r : a.salientRegions) {
                lines << QStringLiteral("  %1 confidence=%2")
                             .arg(rectText(r.rect))
                             .arg(double(r.confidence), 0, 'f', 2);
            }
        }
        if (!a.lines.empty()) {
            lines << QStringLiteral(
                "Text recognized in image (Vision OCR, image-pixel coords; size "
                "only when not regular):");
            for (const OCRLine& line : a.lines) {
                QString entry = QStringLiteral("  ") + rectText(line.rect) + QLatin1Char(' ') +
                                quoted(line.text);
                if (line.relativeSize != OCRLineSize::regular) {
                    entry += QStringLiteral(" (%1)").arg(rawValue(line.relativeSize));
                }
                lines << entry;
            }
        }
    }
    const AnnotationList& annotations = annotationsOf(in);
    lines << QStringLiteral("Annotations: %1").arg(annotations.size());
    for (const Annotation& a : annotations) {
        QStringList parts{QStringLiteral("  ") + imagePixelRect(a, in),
                          QStringLiteral("type=") + kindWord(a)};
        if (const auto hex = colorHex(a)) {
            parts << QStringLiteral("stroke=") + *hex;
        }
        if (const auto text = annotationText(a)) {
            parts << QStringLiteral("text=") + quoted(*text);
        }
        lines << parts.join(QLatin1Char(' '));
    }
    lines << QStringLiteral("Selected annotations: %1").arg(in.selectedCount);
    return {lines.join(QLatin1Char('\n'))};
}

AIContext AIContext::compact(const Inputs& in) {
    QStringList lines{sizeLine(in)};
    if (in.analysis) {
        const std::vector<OCRLine> relevant = relevantTextLines(in.analysis->lines, in.query);
        if (!relevant.empty()) {
            lines << QStringLiteral("Text recognized in image (image-pixel coords):");
            for (const OCRLine& line : relevant) {
                lines << QStringLiteral("  ") + rectText(line.rect) + QLatin1Char(' ') +
                             quoted(line.text);
            }
        }
    }
    const AnnotationList& annotations = annotationsOf(in);
    lines << QStringLiteral("Existing annotations: %1").arg(annotations.size());
    for (const Annotation& a : annotations) {
        QStringList parts{QStringLiteral("  ") + idOf(a).rawValue() + QLatin1Char(':'), kindWord(a),
                          imagePixelRect(a, in)};
        if (const auto hex = colorHex(a)) {
            parts << QStringLiteral("stroke=") + *hex;
        }
        if (const auto text = annotationText(a)) {
            parts << QStringLiteral("text=") + quoted(*text);
        }
        lines << parts.join(QLatin1Char(' '));
    }
    return {lines.join(QLatin1Char('\n'))};
}

QString AIContext::logLine(QueryRoute route, const AIContext& context, bool withText) {
    if (withText) {
        return console::appLine(QStringLiteral("AI context (%1):\n%2\n---"))
            .arg(rawValue(route), context.summary);
    }
    const qsizetype lines = context.summary.isEmpty() ? 0 : context.summary.count(u'\n') + 1;
    return console::appLine(QStringLiteral("AI context (%1): %2 %3, %4 %5"))
        .arg(rawValue(route))
        .arg(lines)
        .arg(lines == 1 ? QStringLiteral("line") : QStringLiteral("lines"))
        .arg(context.summary.size())
        .arg(context.summary.size() == 1 ? QStringLiteral("character")
                                         : QStringLiteral("characters"));
}

std::vector<OCRLine> relevantTextLines(const std::vector<OCRLine>& lines, const QString& query) {
    const auto firstLines = [&lines] {
        return std::vector<OCRLine>(
            lines.begin(), lines.begin() + std::min<size_t>(lines.size(), relevantLineLimit));
    };
    if (lines.size() <= static_cast<size_t>(relevantLineLimit)) {
        return lines;
    }
    QStringList keywords;
    QString word;
    const QString lower = query.toLower();
    for (qsizetype i = 0; i <= lower.size(); ++i) {
        const QChar c = i < lower.size() ? lower[i] : QChar(u' ');
        if (c.isLetterOrNumber() || c == u'-' || c == u'_') {
            word += c;
            continue;
        }
        if (word.size() >= 4 && !stopWords().contains(word)) {
            keywords << word;
        }
        word.clear();
    }
    if (keywords.isEmpty()) {
        return firstLines();
    }
    std::vector<std::pair<int, const OCRLine*>> scored;
    for (const OCRLine& line : lines) {
        const QString text = line.text.toLower();
        int score = 0;
        for (const QString& keyword : keywords) {
            score += text.contains(keyword) ? 1 : 0;
        }
        if (score > 0) {
            scored.emplace_back(score, &line);
        }
    }
    if (scored.empty()) {
        return firstLines();
    }
    std::stable_sort(scored.begin(), scored.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    std::vector<OCRLine> result;
    for (size_t i = 0; i < scored.size() && i < static_cast<size_t>(relevantLineLimit); ++i) {
        result.push_back(*scored[i].second);
    }
    return result;
}

} // namespace vellumix
