#include "AICanvasCommander.h"

#include "canvas/CanvasDocument.h"
#include "model/AnnotationGeometry.h"

#include <QTextBoundaryFinder>

#include <cmath>

namespace vellumix {

namespace {

// The stroke used when a shape would otherwise be invisible.
constexpr Color fallbackRed = Color::rgb(0.9, 0.2, 0.2);

// Opacity multiplies into the alpha; a factor of 1 leaves the colour as it is.
Color withOpacity(const Color& c, double factor) {
    return c.withAlpha(c.alpha * factor);
}

double opacityFactor(const std::optional<AIStyleOverride>& style) {
    return style && style->opacity ? *style->opacity : 1.0;
}

template <class T>
T orElse(const std::optional<AIStyleOverride>& style, std::optional<T> AIStyleOverride::*member,
         const T& fallback) {
    return style && (*style).*member ? *((*style).*member) : fallback;
}

int characterCount(const QString& text) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (finder.toNextBoundary() != -1) {
        ++count;
    }
    return count;
}

struct Counts {
    int rectangles = 0;
    int ovals = 0;
    int texts = 0;
};

class Batch {
public:
    Batch(CanvasDocument& canvas)
        : m_canvas(canvas), m_list(canvas.annotations()), m_imageSize(canvas.image().size()) {
        const double rectWidth = canvas.imageRect().width();
        m_scale = rectWidth > 0 && m_imageSize.width() > 0 ? rectWidth / m_imageSize.width() : 1;
    }

    QRectF toCanvas(const PixelRect& r) const {
        return geometry::toCanvas(
            QRectF(r.x * m_scale, r.y * m_scale, r.width * m_scale, r.height * m_scale));
    }

    void createShape(const CreateShapeCommand& c, AICommandResult& result) {
        if (c.rect.width < 1 || c.rect.height < 1) {
            ++result.failed;
            return;
        }
        const auto rect = onImage(c.rect, result);
        if (!rect) {
            return;
        }
        const AnnotationStyle& toolbar = m_canvas.style();
        const auto& style = c.style;
        const double opacity = opacityFactor(style);
        Color stroke =
            withOpacity(orElse(style, &AIStyleOverride::strokeColor, toolbar.strokeColor), opacity);
        Color fill = style && style->fillColor        ? *style->fillColor
                     : style && style->fillUseToolbar ? toolbar.fillColor
                                                      : Color::clear();
        fill = withOpacity(fill, opacity);
        if (stroke.alpha < 0.01 && fill.alpha < 0.01) {
            stroke = fallbackRed;
        }
        ShapeAnnotation shape;
        shape.shape = c.kind;
        shape.rect = *rect;
        shape.strokeColor = stroke;
        shape.fillColor = fill;
        shape.lineWidth = orElse(style, &AIStyleOverride::lineWidth, toolbar.lineWidth);
        shape.cornerRadius = orElse(style, &AIStyleOverride::cornerRadius, toolbar.cornerRadius);
        shape.lineStyle = orElse(style, &AIStyleOverride::lineStyle, toolbar.lineStyle);
        result.created.push_back(shape.id);
        (c.kind == ShapeAnnotation::Shape::oval ? m_counts.ovals : m_counts.rectangles)++;
        m_list.push_back(std::move(shape));
        store();
    }

    void createText(const CreateTextCommand& c, AICommandResult& result) {
        if (c.text.isEmpty()) {
            ++result.failed;
            return;
        }
        const AnnotationStyle& toolbar = m_canvas.style();
        const auto& style = c.style;
        const double fontSize = orElse(style, &AIStyleOverride::fontSize, toolbar.fontSize);
        const double padding = orElse(style, &AIStyleOverride::textPadding, toolbar.textPadding);
        // Empty sides get an estimate from the text: 0.6 em a character, 1.8 em a line.
        qint64 w = c.rect.width;
        qint64 h = c.rect.height;
        if (w < 1) {
            w = static_cast<qint64>(2 * padding + fontSize * characterCount(c.text) * 0.6);
        }
        if (h < 1) {
            h = static_cast<qint64>(2 * padding + fontSize * 1.8);
        }
        if (w < 1 || h < 1) {
            ++result.failed;
            return;
        }
        const auto rect = onImage({c.rect.x, c.rect.y, w, h}, result);
        if (!rect) {
            return;
        }
        const Color candidateBackground =
            style && style->fillUseToolbar ? toolbar.fillColor : Color::clear();
        const Color candidateBorder =
            style && style->strokeUseToolbar ? toolbar.strokeColor : Color::clear();
        const double opacity = opacityFactor(style);
        TextAnnotation text;
        text.rect = *rect;
        text.text = c.text;
        text.color =
            withOpacity(orElse(style, &AIStyleOverride::fontColor, toolbar.fontColor), opacity);
        text.backgroundColor =
            withOpacity(orElse(style, &AIStyleOverride::fillColor, candidateBackground), opacity);
        text.strokeColor =
            withOpacity(orElse(style, &AIStyleOverride::strokeColor, candidateBorder), opacity);
        text.fontFamily = orElse(style, &AIStyleOverride::fontFamily, toolbar.fontFamily);
        text.fontStyle = orElse(style, &AIStyleOverride::fontStyle, toolbar.fontStyle);
        text.fontSize = fontSize;
        text.alignment = orElse(style, &AIStyleOverride::alignment, toolbar.alignment);
        text.padding = padding;
        text.lineWidth = orElse(style, &AIStyleOverride::lineWidth, toolbar.lineWidth);
        text.cornerRadius = orElse(style, &AIStyleOverride::cornerRadius, toolbar.cornerRadius);
        text.lineStyle = orElse(style, &AIStyleOverride::lineStyle, toolbar.lineStyle);
        result.created.push_back(text.id);
        m_counts.texts++;
        m_list.push_back(std::move(text));
        store();
    }

    void remove(const DeleteCommand& c, AICommandResult& result) {
        const auto index = find(c.id);
        if (!index) {
            ++result.failed;
            return;
        }
        m_list.erase(m_list.begin() + *index);
        store();
        result.deleted.push_back(c.id);
    }

    void update(const UpdateCommand& c, AICommandResult& result) {
        const auto index = find(c.id);
        if (!index) {
            ++result.failed;
            return;
        }
        std::optional<QRectF> rect;
        if (c.rect && !(rect = onImage(*c.rect, result))) {
            return; // a move off the picture is not half-done by its restyle
        }
        Annotation& target = m_list[static_cast<size_t>(*index)];
        if (c.style) {
            target = restyled(target, *c.style);
        }
        if (rect) {
            target = refitted(target, *rect);
        }
        store();
        result.updated.push_back(c.id);
    }

    const Counts& counts() const { return m_counts; }
    /// The index of the command being applied, for what the result says about it.
    void setCommand(std::size_t index) { m_command = index; }

private:
    // The box cut to the image, on the canvas; none (and the command failed) when it is all off.
    std::optional<QRectF> onImage(const PixelRect& box, AICommandResult& result) {
        const auto clamped = clampedToImage(box, m_imageSize);
        if (!clamped) {
            result.outside.push_back({m_command, box});
            ++result.failed;
            return std::nullopt;
        }
        return toCanvas(*clamped);
    }

    std::optional<int> find(const AnnotationID& id) const {
        for (size_t i = 0; i < m_list.size(); ++i) {
            if (idOf(m_list[i]) == id) {
                return static_cast<int>(i);
            }
        }
        return std::nullopt;
    }

    void store() { m_canvas.setAnnotationsWithoutUndo(m_list); }

    static void recolour(Color& target, const std::optional<Color>& next,
                         const std::optional<double>& opacity) {
        const double factor = opacity ? *opacity : 1.0;
        if (next) {
            target = withOpacity(*next, factor);
        } else if (opacity) {
            target = withOpacity(target, factor); // repeated updates compound
        }
    }

    static Annotation restyled(Annotation annotation, const AIStyleOverride& s) {
        std::visit(
            [&s](auto& a) {
                using T = std::decay_t<decltype(a)>;
                if constexpr (std::is_same_v<T, ShapeAnnotation>) {
                    recolour(a.strokeColor, s.strokeColor, s.opacity);
                    recolour(a.fillColor, s.fillColor, s.opacity);
                    a.lineWidth = s.lineWidth.value_or(a.lineWidth);
                    a.cornerRadius = s.cornerRadius.value_or(a.cornerRadius);
                    a.lineStyle = s.lineStyle.value_or(a.lineStyle);
                } else if constexpr (std::is_same_v<T, StrokeAnnotation>) {
                    recolour(a.color, s.strokeColor, s.opacity);
                    a.lineWidth = s.lineWidth.value_or(a.lineWidth);
                    a.lineStyle = s.lineStyle.value_or(a.lineStyle);
                } else if constexpr (std::is_same_v<T, ArrowAnnotation>) {
                    recolour(a.color, s.strokeColor, s.opacity);
                    a.lineWidth = s.lineWidth.value_or(a.lineWidth);
                } else if constexpr (std::is_same_v<T, TextAnnotation>) {
                    recolour(a.color, s.fontColor, s.opacity);
                    const double factor = s.opacity ? *s.opacity : 1.0;
                    if (s.fillColor) {
                        a.backgroundColor = withOpacity(*s.fillColor, factor);
                    }
                    if (s.strokeColor) {
                        a.strokeColor = withOpacity(*s.strokeColor, factor);
                    }
                    a.lineWidth = s.lineWidth.value_or(a.lineWidth);
                    a.cornerRadius = s.cornerRadius.value_or(a.cornerRadius);
                    a.lineStyle = s.lineStyle.value_or(a.lineStyle);
                    a.fontFamily = s.fontFamily.value_or(a.fontFamily);
                    a.fontStyle = s.fontStyle.value_or(a.fontStyle);
                    a.fontSize = s.fontSize.value_or(a.fontSize);
                    a.alignment = s.alignment.value_or(a.alignment);
                    a.padding = s.textPadding.value_or(a.padding);
                } else {
                    a.opacity = s.opacity.value_or(a.opacity); // replaced, not multiplied
                }
            },
            annotation);
        return annotation;
    }

    // Rectangular kinds take the new rectangle; strokes and arrows are mapped from their bounds
    // onto it, and left as they are when those bounds have no area.
    static Annotation refitted(const Annotation& annotation, const QRectF& target) {
        const AnnotationKind kind = kindOf(annotation);
        if (kind != AnnotationKind::stroke && kind != AnnotationKind::arrow) {
            Annotation result = annotation;
            std::visit(
                [&target](auto& a) {
                    if constexpr (requires { a.rect; }) {
                        a.rect = target;
                    }
                },
                result);
            return result;
        }
        const QRectF b = geometry::bounds(annotation);
        if (!(b.width() > 0 && b.height() > 0)) {
            return annotation;
        }
        return geometry::mapAnnotations({annotation}, b, target).front();
    }

    CanvasDocument& m_canvas;
    AnnotationList m_list;
    QSize m_imageSize;
    std::size_t m_command = 0;
    double m_scale = 1;
    Counts m_counts;
};

QString capitalised(QString s) {
    if (!s.isEmpty()) {
        s[0] = s[0].toUpper();
    }
    return s;
}

QString mixedSummary(int added, int removed, int updated) {
    QStringList parts;
    if (added >= 1) {
        parts << QStringLiteral("added %1").arg(added);
    }
    if (removed >= 1) {
        parts << QStringLiteral("removed %1").arg(removed);
    }
    if (updated >= 1) {
        parts << QStringLiteral("updated %1").arg(updated);
    }
    return capitalised(parts.join(QStringLiteral(", "))) + QLatin1Char('.');
}

QString summaryOf(const Counts& c, int deleted, int updated) {
    const int added = c.rectangles + c.ovals + c.texts;
    if (added == 0) {
        if (updated == 0) {
            return deleted == 1 ? QStringLiteral("Deleted 1 annotation.")
                                : QStringLiteral("Deleted %1 annotations.").arg(deleted);
        }
        if (deleted == 0) {
            return updated == 1 ? QStringLiteral("Updated 1 annotation.")
                                : QStringLiteral("Updated %1 annotations.").arg(updated);
        }
        return mixedSummary(added, deleted, updated);
    }
    if (deleted != 0 || updated != 0) {
        return mixedSummary(added, deleted, updated);
    }
    if (added == 1) {
        return c.rectangles ? QStringLiteral("Drew 1 rectangle.")
               : c.ovals    ? QStringLiteral("Drew 1 oval.")
                            : QStringLiteral("Added 1 text label.");
    }
    QStringList parts;
    if (c.rectangles) {
        parts << QStringLiteral("rect × %1").arg(c.rectangles);
    }
    if (c.ovals) {
        parts << QStringLiteral("oval × %1").arg(c.ovals);
    }
    if (c.texts) {
        parts << QStringLiteral("text × %1").arg(c.texts);
    }
    return QStringLiteral("Added %1 annotations (%2).")
        .arg(added)
        .arg(parts.join(QStringLiteral(", ")));
}

} // namespace

AICommandResult AICanvasCommander::apply(const std::vector<AICanvasCommand>& commands,
                                         const QString& actionName, CanvasDocument& canvas) {
    AICommandResult result;
    const AnnotationList before = canvas.annotations();
    Batch batch(canvas);
    for (std::size_t i = 0; i < commands.size(); ++i) {
        batch.setCommand(i);
        std::visit(
            [&](const auto& c) {
                using T = std::decay_t<decltype(c)>;
                if constexpr (std::is_same_v<T, CreateShapeCommand>) {
                    batch.createShape(c, result);
                } else if constexpr (std::is_same_v<T, CreateTextCommand>) {
                    batch.createText(c, result);
                } else if constexpr (std::is_same_v<T, DeleteCommand>) {
                    batch.remove(c, result);
                } else {
                    batch.update(c, result);
                }
            },
            commands[i]);
    }
    if (!result.created.empty()) {
        canvas.setSelection({static_cast<int>(canvas.annotations().size()) - 1});
    } else if (!result.deleted.empty()) {
        canvas.setSelection({});
    }
    if (result.created.empty() && result.deleted.empty() && result.updated.empty()) {
        result.summary = QStringLiteral("No annotations changed.");
        return result;
    }
    canvas.registerUndo(before, actionName);
    result.summary = summaryOf(batch.counts(), static_cast<int>(result.deleted.size()),
                               static_cast<int>(result.updated.size()));
    return result;
}

QString AICanvasCommander::actionName(const AICanvasCommand& command) {
    return std::visit(
        [](const auto& c) -> QString {
            using T = std::decay_t<decltype(c)>;
            if constexpr (std::is_same_v<T, CreateShapeCommand>) {
                return c.kind == ShapeAnnotation::Shape::oval
                           ? QStringLiteral("Add Oval (AI)")
                           : QStringLiteral("Add Rectangle (AI)");
            } else if constexpr (std::is_same_v<T, CreateTextCommand>) {
                return QStringLiteral("Add Text (AI)");
            } else if constexpr (std::is_same_v<T, DeleteCommand>) {
                return QStringLiteral("Delete Annotation (AI)");
            } else {
                return QStringLiteral("Modify Annotation (AI)");
            }
        },
        command);
}

QString AICanvasCommander::batchActionName(const std::vector<AICanvasCommand>& commands) {
    int a = 0;
    int d = 0;
    int u = 0;
    for (const AICanvasCommand& c : commands) {
        if (std::holds_alternative<DeleteCommand>(c)) {
            ++d;
        } else if (std::holds_alternative<UpdateCommand>(c)) {
            ++u;
        } else {
            ++a;
        }
    }
    const auto many = [](const char* verb, int n) {
        return QStringLiteral("%1 %2 Annotations (AI)").arg(QLatin1String(verb)).arg(n);
    };
    if ((a > 0) + (d > 0) + (u > 0) >= 2) {
        return many("Modify", a + d + u);
    }
    if (a >= 1) {
        return a == 1 ? QStringLiteral("Add Shape (AI)") : many("Add", a);
    }
    if (d == 0) {
        return u > 1 ? many("Modify", u) : QStringLiteral("Modify Annotation (AI)");
    }
    return d > 1 ? many("Delete", d) : QStringLiteral("Delete Annotation (AI)");
}

} // namespace vellumix
