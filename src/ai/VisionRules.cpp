#include "VisionRules.h"

#include <QLocale>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vellumix::vision {

namespace {

double ramp(double value, double from, double to) {
    return std::clamp((value - from) / (to - from), 0.0, 1.0);
}

double centreY(const QRect& box) {
    return box.y() + box.height() / 2.0;
}

enum class Edge { none, top, bottom };

// Which of a band's inner edges (those shared with a neighbour) a line's box reaches.
Edge touchedEdge(const QRect& box, const TextBand& band, bool hasAbove, bool hasBelow) {
    if (hasAbove && box.y() <= band.top) {
        return Edge::top;
    }
    if (hasBelow && box.y() + box.height() >= band.bottom) {
        return Edge::bottom;
    }
    return Edge::none;
}

const FoundLine* overlapping(const std::vector<FoundLine>& lines, const QRect& box) {
    for (const FoundLine& line : lines) {
        if (line.box.intersects(box)) {
            return &line;
        }
    }
    return nullptr;
}

} // namespace

QRectF imageRectFromWorking(const QRect& workingBox, double scale, QSizeF imageSize) {
    const QRectF rect(workingBox.x() / scale, workingBox.y() / scale, workingBox.width() / scale,
                      workingBox.height() / scale);
    return rect.intersected(QRectF(QPointF(0, 0), imageSize));
}

std::vector<TextBand> layoutTextBands(const std::vector<int>& rowInk, int count, int overlap) {
    const int height = int(rowInk.size());
    if (height == 0) {
        return {};
    }
    overlap = std::max(0, overlap);
    if (overlap > 0) {
        count = std::min(count, std::max(1, height / (2 * overlap)));
    }
    count = std::clamp(count, 1, height);

    // The blank run around a row: [first, last] with no ink.
    auto blankRun = [&](int row) {
        int first = row;
        int last = row;
        while (first > 0 && rowInk[first - 1] == 0) {
            --first;
        }
        while (last + 1 < height && rowInk[last + 1] == 0) {
            ++last;
        }
        return std::pair(first, last);
    };

    struct Cut {
        int row = 0;
        int reachUp = 0;   // the band below starts this many rows above the cut
        int reachDown = 0; // the band above ends this many rows below it
    };
    std::vector<Cut> cuts{{0, 0, 0}};
    for (int k = 1; k < count; ++k) {
        const int ideal = int(std::lround(double(k) * height / count));
        const int reach = height / (4 * count);
        const int from = std::max(cuts.back().row + 1, ideal - reach);
        const int to = std::max(from, std::min(height - 1, ideal + reach));
        int best = std::clamp(ideal, from, to);
        int bestRun = 0;
        for (int row = from; row <= to; ++row) {
            int run = 0;
            int middle = row;
            if (rowInk[row] == 0) {
                const auto [first, last] = blankRun(row);
                run = last - first + 1;
                middle = std::clamp((first + last) / 2, from, to);
                row = std::max(row, std::min(last, to)); // the run is judged once
            }
            const bool emptier = rowInk[middle] < rowInk[best];
            const bool longer = rowInk[middle] == rowInk[best] && run > bestRun;
            const bool nearer = rowInk[middle] == rowInk[best] && run == bestRun &&
                                std::abs(middle - ideal) < std::abs(best - ideal);
            if (emptier || longer || nearer) {
                best = middle;
                bestRun = run;
            }
        }
        Cut cut{best, overlap, overlap};
        if (rowInk[best] == 0) {
            // Nothing crosses a blank row: each band reaches only into the blank run.
            const auto [first, last] = blankRun(best);
            cut.reachUp = std::min(overlap, best - first);
            cut.reachDown = std::min(overlap, last + 1 - best);
        }
        cuts.push_back(cut);
    }
    cuts.push_back({height, 0, 0});

    std::vector<TextBand> bands;
    for (int k = 0; k < count; ++k) {
        const Cut& top = cuts[k];
        const Cut& bottom = cuts[k + 1];
        bands.push_back({std::max(0, top.row - top.reachUp),
                         std::min(height, bottom.row + bottom.reachDown), top.row, bottom.row});
    }
    return bands;
}

std::vector<FoundLine> mergeBandLines(const std::vector<TextBand>& bands,
                                      const std::vector<std::vector<FoundLine>>& found) {
    std::vector<FoundLine> merged;
    const int count = int(std::min(bands.size(), found.size()));
    for (int i = 0; i < count; ++i) {
        const TextBand& band = bands[i];
        for (const FoundLine& line : found[i]) {
            const double centre = centreY(line.box);
            const bool owned = centre >= band.ownTop && centre < band.ownBottom;
            const Edge edge = touchedEdge(line.box, band, i > 0, i + 1 < count);
            if (edge == Edge::none) {
                if (owned) {
                    merged.push_back(line);
                }
                continue;
            }
            const int j = edge == Edge::top ? i - 1 : i + 1;
            const FoundLine* other = overlapping(found[j], line.box);
            if (!other) {
                if (owned) {
                    merged.push_back(line);
                }
                continue;
            }
            // The neighbour read it whole: that copy is the one to keep.
            if (touchedEdge(other->box, bands[j], j > 0, j + 1 < count) == Edge::none) {
                continue;
            }
            // Cut in both bands (taller than the overlap): keep the larger piece, once.
            const int mine = line.box.height();
            const int theirs = other->box.height();
            if (mine > theirs || (mine == theirs && i < j)) {
                merged.push_back(line);
            }
        }
    }
    return merged;
}

void sortIntoReadingOrder(std::vector<OCRLine>& lines) {
    std::vector<OCRLine> rest = std::move(lines);
    std::stable_sort(rest.begin(), rest.end(), [](const OCRLine& a, const OCRLine& b) {
        return a.rect.top() < b.rect.top() ||
               (a.rect.top() == b.rect.top() && a.rect.left() < b.rect.left());
    });
    lines.clear();
    while (!rest.empty()) {
        const QRectF anchor = rest.front().rect;
        auto inRow = [&](const OCRLine& line) {
            const double centre = line.rect.center().y();
            return centre >= anchor.top() && centre <= anchor.bottom();
        };
        std::vector<OCRLine> row;
        std::vector<OCRLine> later;
        row.push_back(std::move(rest.front()));
        for (auto it = rest.begin() + 1; it != rest.end(); ++it) {
            (inRow(*it) ? row : later).push_back(std::move(*it));
        }
        std::stable_sort(row.begin(), row.end(), [](const OCRLine& a, const OCRLine& b) {
            return a.rect.left() < b.rect.left();
        });
        std::move(row.begin(), row.end(), std::back_inserter(lines));
        rest = std::move(later);
    }
}

QString cleanLineText(const QString& text) {
    if (std::none_of(text.begin(), text.end(), [](QChar c) { return c.isLetterOrNumber(); })) {
        return {};
    }
    QStringList words = text.trimmed().split(QLatin1Char(' '));
    for (qsizetype i = 0; i + 1 < words.size(); ++i) {
        const QString& next = words[i + 1];
        if (words[i] == QLatin1String("|") && !next.isEmpty() && next.front().isLower()) {
            words[i] = QStringLiteral("I");
        }
    }
    return words.join(QLatin1Char(' '));
}

void placeTextBoxes(OCRLine& line, const std::vector<FoundWord>& words, double scale,
                    QSizeF imageSize) {
    line.words.clear();
    line.glyphs.clear();
    qsizetype from = 0;
    for (const FoundWord& word : words) {
        const qsizetype at = word.text.isEmpty() ? -1 : line.text.indexOf(word.text, from);
        if (at < 0) {
            continue;
        }
        from = at + word.text.size();
        line.words.push_back(
            {int(at), int(word.text.size()), imageRectFromWorking(word.box, scale, imageSize)});
        QString spelled;
        for (const auto& glyph : word.glyphs) {
            spelled += glyph.first;
        }
        if (spelled != word.text) {
            continue;
        }
        qsizetype position = at;
        for (const auto& [text, box] : word.glyphs) {
            line.glyphs.push_back(
                {int(position), int(text.size()), imageRectFromWorking(box, scale, imageSize)});
            position += text.size();
        }
    }
}

QString tesseractLanguageCode(const QString& localeName) {
    // "de_DE.UTF-8", "fr_CA@euro" and "pt-BR" all name a language and a territory.
    QString name = localeName.section(QLatin1Char('.'), 0, 0).section(QLatin1Char('@'), 0, 0);
    name.replace(QLatin1Char('-'), QLatin1Char('_'));
    const QLocale locale(name);
    if (locale.language() == QLocale::C || locale.language() == QLocale::AnyLanguage) {
        return {};
    }
    // QLocale falls back to the C locale for names it does not know; the language must match.
    const QString given = name.section(QLatin1Char('_'), 0, 0).toLower();
    const QString code = QLocale::languageToCode(locale.language(), QLocale::ISO639Part2T);
    if (given != QLocale::languageToCode(locale.language(), QLocale::ISO639Part1) &&
        given != code) {
        return {};
    }
    if (code == QLatin1String("zho")) {
        return locale.script() == QLocale::TraditionalHanScript ? QStringLiteral("chi_tra")
                                                                : QStringLiteral("chi_sim");
    }
    if (code == QLatin1String("nob") || code == QLatin1String("nno")) {
        return QStringLiteral("nor"); // Tesseract has one Norwegian model
    }
    return code;
}

QString tesseractLanguages(const QStringList& installed, const QStringList& uiLanguages) {
    constexpr int kMaxLanguages = 3; // each model adds its own recognition pass
    QStringList chosen;
    auto add = [&](const QString& code) {
        if (!code.isEmpty() && installed.contains(code) && !chosen.contains(code) &&
            chosen.size() < kMaxLanguages) {
            chosen << code;
        }
    };
    for (const QString& language : uiLanguages) {
        add(tesseractLanguageCode(language));
    }
    // Interface text is English often enough to read it whatever the desktop's language.
    add(QStringLiteral("eng"));
    if (chosen.isEmpty()) {
        QStringList usable = installed;
        usable.removeAll(QStringLiteral("osd"));
        usable.removeAll(QStringLiteral("equ"));
        usable.sort();
        if (!usable.isEmpty()) {
            chosen << usable.front();
        }
    }
    return chosen.join(QLatin1Char('+'));
}

std::vector<Classification> classify(const PictureMeasures& m) {
    const double drawn = std::max(ramp(m.flatShare, 0.35, 0.7), ramp(m.backgroundShare, 0.2, 0.5));
    const double pageLike = ramp(m.meanLineWidth, 0.35, 0.6) * ramp(m.backgroundShare, 0.55, 0.75);
    const double chart = drawn * ramp(m.saturatedFlatShare, 0.05, 0.15) *
                         ramp(m.axisLineShare, 0.2, 0.5) * (1 - ramp(m.textCoverage, 0.2, 0.35));
    const double diagram = drawn * ramp(m.axisLineShare, 0.2, 0.5) *
                           ramp(m.edgeDensity, 0.01, 0.03) * ramp(m.backgroundShare, 0.75, 0.85) *
                           ramp(m.textLines, 1, 3) * (1 - ramp(m.textCoverage, 0.05, 0.15)) *
                           (1 - ramp(m.saturatedFlatShare, 0.08, 0.2));
    const double face = m.faces > 0 ? m.faceConfidence : 0;
    std::vector<Classification> labels{
        {QStringLiteral("screenshot"),
         drawn * ramp(m.textLines, 4, 16) * (1 - pageLike) * (1 - std::max(chart, diagram))},
        {QStringLiteral("document"),
         drawn * ramp(m.textCoverage, 0.08, 0.2) * ramp(m.meanLineWidth, 0.3, 0.5) *
             ramp(m.backgroundShare, 0.55, 0.75) * (1 - ramp(m.saturatedShare, 0.1, 0.3))},
        {QStringLiteral("text"), ramp(m.textCoverage, 0, 0.1) * ramp(m.textLines, 0, 3)},
        {QStringLiteral("photo"), (1 - drawn) * (1 - ramp(m.textCoverage, 0.1, 0.3))},
        {QStringLiteral("chart"), chart},
        {QStringLiteral("diagram"), diagram},
        {QStringLiteral("face"), face},
        {QStringLiteral("person"), std::max(0.9 * face, m.bodies > 0 ? m.bodyConfidence : 0)},
    };
    std::stable_sort(labels.begin(), labels.end(),
                     [](const Classification& a, const Classification& b) {
                         return a.confidence > b.confidence;
                     });
    return labels;
}

double cascadeConfidence(int neighbours) {
    return ramp(neighbours, 4, 24);
}

QStringList keepClassifications(const std::vector<Classification>& labels) {
    QStringList kept;
    for (const Classification& label : labels) {
        if (kept.size() == maximumClassifications) {
            break;
        }
        if (label.confidence >= minimumConfidence) {
            kept << label.identifier;
        }
    }
    return kept;
}

std::vector<SalientRegion> keepSalientRegions(const std::vector<SalientRegion>& regions) {
    std::vector<SalientRegion> kept;
    std::copy_if(
        regions.begin(), regions.end(), std::back_inserter(kept),
        [](const SalientRegion& region) { return region.confidence >= minimumConfidence; });
    return kept;
}

} // namespace vellumix::vision
