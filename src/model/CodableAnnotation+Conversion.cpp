#include "AnnotationStyle.h"
#include "CodableAnnotation.h"
#include "Parallel.h"

#include <cmath>

namespace vellumix {

using nlohmann::json;

namespace {

// Stored geometry beyond this magnitude cannot come from the editor; such records are treated
// as unusable rather than handed to the painter. Kept deliberately although the format itself
// sets no bound: coordinates near the double range overflow Qt's path and raster arithmetic.
constexpr double maxMagnitude = 1e7;

std::optional<NumberList> storedColorIfVisible(const Color& c) {
    if (c.alpha > 0) {
        return NumberList{roundUnit(c.red), roundUnit(c.green), roundUnit(c.blue)};
    }
    return std::nullopt;
}

NumberList storedRect(const QRectF& r) {
    return {roundLength(r.x()), roundLength(r.y()), roundLength(r.width()),
            roundLength(r.height())};
}

StoredPoint storedPoint(QPointF p) {
    return {roundLength(p.x()), roundLength(p.y()), 2};
}

std::optional<double> positive(double value) {
    if (value > 0) {
        return roundLength(value);
    }
    return std::nullopt;
}

std::vector<StoredPoint> strokePoints(const QPainterPath& path) {
    std::vector<StoredPoint> points;
    const int count = path.elementCount();
    for (int i = 0; i < count; ++i) {
        const QPainterPath::Element e = path.elementAt(i);
        if (e.isMoveTo() || e.isLineTo()) {
            points.push_back(storedPoint(e));
        } else if (e.isCurveTo()) {
            // A curve contributes its end point, the last of its two data elements.
            i += 2;
            if (i < count) {
                points.push_back(storedPoint(path.elementAt(i)));
            }
        }
    }
    return points;
}

std::string utf8(const QString& s) {
    return s.toStdString();
}

// --- reading --------------------------------------------------------------------------------

bool usable(double v) {
    return std::isfinite(v) && std::abs(v) <= maxMagnitude;
}

std::optional<QRectF> rectOf(const std::optional<NumberList>& list) {
    if (!list || list->count != 4) {
        return std::nullopt;
    }
    const auto& v = list->values;
    if (!usable(v[0]) || !usable(v[1]) || !usable(v[2]) || !usable(v[3])) {
        return std::nullopt;
    }
    return QRectF(v[0], v[1], v[2], v[3]);
}

Color colorOf(const std::optional<NumberList>& list, double alpha, const Color& fallback) {
    if (!list) {
        return fallback;
    }
    if (list->count == 3) {
        const auto& v = list->values;
        return Color::rgb(v[0], v[1], v[2], alpha);
    }
    return SystemColors::red.withAlpha(alpha);
}

LineStyle lineStyleOf(const std::optional<std::string>& raw) {
    if (!raw) {
        return LineStyle::solid;
    }
    return parseLineStyle(QString::fromStdString(*raw)).value_or(LineStyle::solid);
}

TextAlignment alignmentOf(long long raw) {
    // Files carry 0 = left, 1 = center, 2 = right; anything else reads as left.
    switch (raw) {
    case 1:
        return TextAlignment::center;
    case 2:
        return TextAlignment::right;
    default:
        return TextAlignment::left;
    }
}

std::optional<QPointF> pointOf(const StoredPoint& p) {
    if (p.count != 2 || !usable(p.x) || !usable(p.y)) {
        return std::nullopt;
    }
    return QPointF(p.x, p.y);
}

std::optional<Annotation> shapeFrom(const CodableAnnotation& c) {
    const auto rect = rectOf(c.rect);
    if (!c.shape || !rect) {
        return std::nullopt;
    }
    ShapeAnnotation a;
    a.shape = *c.shape == "oval" ? ShapeAnnotation::Shape::oval : ShapeAnnotation::Shape::rect;
    a.rect = *rect;
    a.strokeColor = colorOf(c.color, c.opacity, Color::clear());
    a.fillColor = colorOf(c.fillColor, c.opacity, Color::clear());
    a.lineWidth = c.lineWidth;
    a.cornerRadius = c.cornerRadius.value_or(0);
    a.lineStyle = lineStyleOf(c.lineStyle);
    return a;
}

std::optional<Annotation> strokeFrom(const CodableAnnotation& c) {
    if (!c.points || c.points->empty()) {
        return std::nullopt;
    }
    const StoredPoint& first = c.points->front();
    // Without two numbers the first point has no position; the stroke cannot start.
    if (first.count < 2 || !usable(first.x) || !usable(first.y)) {
        return std::nullopt;
    }
    StrokeAnnotation a;
    a.path.reserve(static_cast<int>(c.points->size()));
    a.path.moveTo(first.x, first.y);
    for (size_t i = 1; i < c.points->size(); ++i) {
        if (const auto p = pointOf((*c.points)[i])) {
            a.path.lineTo(*p);
        }
    }
    a.color = colorOf(c.color, c.opacity, Color::clear());
    a.lineWidth = c.lineWidth;
    a.lineStyle = lineStyleOf(c.lineStyle);
    return a;
}

std::optional<Annotation> arrowFrom(const CodableAnnotation& c) {
    if (!c.points || c.points->size() != 3) {
        return std::nullopt;
    }
    const auto start = pointOf((*c.points)[0]);
    const auto end = pointOf((*c.points)[1]);
    const auto control = pointOf((*c.points)[2]);
    if (!start || !end || !control) {
        return std::nullopt;
    }
    ArrowAnnotation a;
    a.start = *start;
    a.end = *end;
    a.controlPoint = *control;
    a.color = colorOf(c.color, c.opacity, Color::clear());
    a.lineWidth = c.lineWidth;
    a.endCap = c.arrowEndCap ? parseArrowEndCap(QString::fromStdString(*c.arrowEndCap))
                                   .value_or(ArrowEndCap::triangle)
                             : ArrowEndCap::triangle;
    return a;
}

std::optional<Annotation> textFrom(const CodableAnnotation& c) {
    const auto rect = rectOf(c.rect);
    if (!rect || !c.text || !c.fontFamily || !c.fontStyle || !c.fontSize || !c.alignment ||
        !usable(*c.fontSize)) {
        return std::nullopt;
    }
    TextAnnotation a;
    a.rect = *rect;
    a.text = QString::fromStdString(*c.text);
    a.fontFamily = QString::fromStdString(*c.fontFamily);
    a.fontStyle = QString::fromStdString(*c.fontStyle);
    a.fontSize = *c.fontSize;
    a.alignment = alignmentOf(*c.alignment);
    a.color = colorOf(c.color, c.opacity, SystemColors::red);
    a.backgroundColor = colorOf(c.fillColor, c.opacity, Color::clear());
    a.strokeColor = colorOf(c.borderColor, c.opacity, Color::clear());
    a.lineWidth = c.borderWidth.value_or(0);
    a.padding = c.padding.value_or(0);
    a.cornerRadius = c.cornerRadius.value_or(0);
    a.lineStyle = lineStyleOf(c.lineStyle);
    return a;
}

std::optional<Annotation> overlayFrom(const CodableAnnotation& c,
                                      const OverlayImageLoader& loadOverlay) {
    const auto rect = rectOf(c.rect);
    if (!rect || !c.overlayRef || !loadOverlay) {
        return std::nullopt;
    }
    const QString ref = QString::fromStdString(*c.overlayRef);
    QImage image = loadOverlay(ref);
    if (image.isNull()) {
        return std::nullopt;
    }
    OverlayAnnotation a;
    a.rect = *rect;
    a.image = std::move(image);
    a.opacity = c.opacity;
    a.overlayRef = ref;
    return a;
}

} // namespace

CodableAnnotation toCodable(const Annotation& annotation) {
    CodableAnnotation c;
    c.type = rawValue(kindOf(annotation)).toStdString();
    c.opacity = roundUnit(effectiveOpacity(annotation));
    std::visit(
        [&c](const auto& a) {
            using T = std::decay_t<decltype(a)>;
            if constexpr (std::is_same_v<T, ShapeAnnotation>) {
                c.shape = utf8(rawValue(a.shape));
                c.rect = storedRect(a.rect);
                c.color = storedColorIfVisible(a.strokeColor);
                c.lineWidth = roundLength(a.lineWidth);
                c.fillColor = storedColorIfVisible(a.fillColor);
                c.cornerRadius = positive(a.cornerRadius);
                c.lineStyle = utf8(rawValue(a.lineStyle));
            } else if constexpr (std::is_same_v<T, StrokeAnnotation>) {
                c.points = strokePoints(a.path);
                c.color = storedColorIfVisible(a.color);
                c.lineWidth = roundLength(a.lineWidth);
                c.lineStyle = utf8(rawValue(a.lineStyle));
            } else if constexpr (std::is_same_v<T, ArrowAnnotation>) {
                c.points = {storedPoint(a.start), storedPoint(a.end), storedPoint(a.controlPoint)};
                c.color = storedColorIfVisible(a.color);
                c.lineWidth = roundLength(a.lineWidth);
                c.arrowEndCap = utf8(rawValue(a.endCap));
            } else if constexpr (std::is_same_v<T, TextAnnotation>) {
                c.rect = storedRect(a.rect);
                c.text = utf8(a.text);
                c.fontFamily = utf8(a.fontFamily);
                c.fontStyle = utf8(a.fontStyle);
                c.fontSize = roundLength(a.fontSize);
                c.alignment = static_cast<long long>(a.alignment);
                c.color = storedColorIfVisible(a.color);
                c.fillColor = storedColorIfVisible(a.backgroundColor);
                c.borderColor = storedColorIfVisible(a.strokeColor);
                c.padding = positive(a.padding);
                c.borderWidth = positive(a.lineWidth);
                c.cornerRadius = positive(a.cornerRadius);
                c.lineStyle = utf8(rawValue(a.lineStyle));
                c.lineWidth = 0;
            } else {
                c.rect = storedRect(a.rect);
                c.opacity = roundUnit(a.opacity);
                if (a.overlayRef) {
                    c.overlayRef = utf8(*a.overlayRef);
                }
                c.lineWidth = 0;
            }
            if (a.isLocked) {
                c.isLocked = true;
            }
            c.id = utf8(a.id.rawValue());
        },
        annotation);
    return c;
}

std::optional<Annotation> fromCodable(const CodableAnnotation& c,
                                      const OverlayImageLoader& loadOverlay) {
    if (!usable(c.lineWidth) || !std::isfinite(c.opacity) ||
        (c.cornerRadius && !usable(*c.cornerRadius)) || (c.padding && !usable(*c.padding)) ||
        (c.borderWidth && !usable(*c.borderWidth))) {
        return std::nullopt;
    }
    if (c.type == "shape") {
        return shapeFrom(c);
    }
    if (c.type == "stroke") {
        return strokeFrom(c);
    }
    if (c.type == "arrow") {
        return arrowFrom(c);
    }
    if (c.type == "text") {
        return textFrom(c);
    }
    if (c.type == "overlay") {
        return overlayFrom(c, loadOverlay);
    }
    return std::nullopt;
}

AnnotationList decodeAnnotations(std::string_view text, const OverlayImageLoader& loadOverlay) {
    const auto records = decodeRecords(text);
    if (!records) {
        return {};
    }
    // Building annotations (paths, colours, overlay images) costs more than parsing: records
    // are converted in ranges on every core, each into its own slot, and kept in file order.
    const int count = static_cast<int>(records->size());
    std::vector<std::optional<Annotation>> built(records->size());
    const int pieces = parallelPieces(count, 512);
    runInParallel(pieces, [&](int piece) {
        const int begin = static_cast<int>(static_cast<long long>(count) * piece / pieces);
        const int end = static_cast<int>(static_cast<long long>(count) * (piece + 1) / pieces);
        for (int i = begin; i < end; ++i) {
            const CodableAnnotation& record = (*records)[static_cast<size_t>(i)];
            auto annotation = fromCodable(record, loadOverlay);
            if (!annotation) {
                continue;
            }
            if (record.isLocked.value_or(false)) {
                *annotation = withLocked(std::move(*annotation), true);
            }
            if (record.id && !record.id->empty()) {
                *annotation = withID(std::move(*annotation),
                                     *AnnotationID::decode(QString::fromStdString(*record.id)));
            }
            built[static_cast<size_t>(i)] = std::move(annotation);
        }
    });
    AnnotationList annotations;
    annotations.reserve(records->size());
    for (auto& slot : built) {
        if (slot) {
            annotations.push_back(std::move(*slot));
        }
    }
    return annotations;
}

} // namespace vellumix
