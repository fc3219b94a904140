#include "Directives.h"

#include <algorithm>
#include <cmath>

namespace vellumix {

using nlohmann::json;

namespace {

struct NamedColor {
    const char* name;
    double r, g, b;
};

// The colour names a model may use.
constexpr NamedColor colorNames[] = {
    {"red", 0.9, 0.2, 0.2},     {"green", 0.2, 0.7, 0.3},     {"blue", 0.2, 0.45, 0.95},
    {"yellow", 1.0, 0.85, 0.1}, {"orange", 0.98, 0.55, 0.15}, {"purple", 0.65, 0.35, 0.85},
    {"pink", 0.95, 0.45, 0.7},  {"brown", 0.55, 0.4, 0.25},   {"black", 0, 0, 0},
    {"white", 1, 1, 1},         {"gray", 0.55, 0.55, 0.55},   {"grey", 0.55, 0.55, 0.55},
    {"cyan", 0.1, 0.75, 0.9},   {"magenta", 0.95, 0.2, 0.75},
};

QString normalised(const QString& s) {
    return s.trimmed().toLower();
}

qint64 integerField(const json& o, const char* key) {
    const auto it = o.find(key);
    if (it == o.end() || !it->is_number()) {
        return 0;
    }
    if (it->is_number_integer()) {
        return it->get<qint64>();
    }
    const double v = it->get<double>();
    return std::isfinite(v) && std::abs(v) < 9e18 ? static_cast<qint64>(v) : 0;
}

QString stringField(const json& o, const char* key) {
    const auto it = o.find(key);
    return it != o.end() && it->is_string() ? QString::fromStdString(it->get<std::string>())
                                            : QString();
}

PixelRect rectOf(const AICanvasDirectivePublic& d) {
    return {d.x, d.y, d.width, d.height};
}

} // namespace

std::optional<PixelRect> clampedToImage(const PixelRect& rect, QSize size) {
    // Wide enough that no sum of two 64-bit values overflows.
    __extension__ typedef __int128 Wide;
    const Wide left = std::max<Wide>(rect.x, 0);
    const Wide top = std::max<Wide>(rect.y, 0);
    const Wide right = std::min<Wide>(Wide(rect.x) + rect.width, size.width());
    const Wide bottom = std::min<Wide>(Wide(rect.y) + rect.height, size.height());
    if (right - left < 1 || bottom - top < 1) {
        return std::nullopt;
    }
    return PixelRect{qint64(left), qint64(top), qint64(right - left), qint64(bottom - top)};
}

AICanvasDirectivePublic AICanvasDirectivePublic::fromJson(const json& o) {
    AICanvasDirectivePublic d;
    if (!o.is_object()) {
        return d;
    }
    const auto flag = o.find("shouldDraw");
    d.shouldDraw = flag != o.end() && flag->is_boolean() && flag->get<bool>();
    d.operation = stringField(o, "operation");
    d.targetId = stringField(o, "targetId");
    d.kind = stringField(o, "kind");
    d.shape = stringField(o, "shape");
    d.x = integerField(o, "x");
    d.y = integerField(o, "y");
    d.width = integerField(o, "width");
    d.height = integerField(o, "height");
    d.color = stringField(o, "color");
    d.fillColor = stringField(o, "fillColor");
    d.lineWidth = integerField(o, "lineWidth");
    d.cornerRadius = integerField(o, "cornerRadius");
    d.opacity = integerField(o, "opacity");
    d.lineStyle = stringField(o, "lineStyle");
    d.text = stringField(o, "text");
    d.fontColor = stringField(o, "fontColor");
    d.fontSize = integerField(o, "fontSize");
    d.fontFamily = stringField(o, "fontFamily");
    d.summary = stringField(o, "summary");
    return d;
}

Result<QueryRoute> decodeQueryRoute(const QString& raw) {
    if (const auto route = parseEnum<QueryRoute>(raw)) {
        return *route;
    }
    return Error{QStringLiteral("Unexpected rawValue \"%1\"").arg(raw)};
}

namespace ai {

std::optional<Color> parseColor(const QString& input) {
    QString s = normalised(input);
    if (s.isEmpty()) {
        return std::nullopt;
    }
    if (s == u"none" || s == u"transparent" || s == u"clear") {
        return Color::clear();
    }
    for (const NamedColor& named : colorNames) {
        if (s == QLatin1String(named.name)) {
            return Color::rgb(named.r, named.g, named.b);
        }
    }
    if (s.startsWith(QLatin1Char('#'))) {
        s.remove(0, 1);
    }
    if (s.startsWith(u"0x")) {
        s.remove(0, 2);
    }
    if (s.size() == 3) {
        const QString short3 = s;
        s.clear();
        for (QChar c : short3) {
            s.append(c).append(c);
        }
    }
    if (s.size() != 6) {
        return std::nullopt;
    }
    for (QChar c : s) {
        if (!((c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f'))) {
            return std::nullopt;
        }
    }
    const uint value = s.toUInt(nullptr, 16);
    return Color::rgb(((value >> 16) & 0xFF) / 255.0, ((value >> 8) & 0xFF) / 255.0,
                      (value & 0xFF) / 255.0);
}

std::optional<LineStyle> parseLineStyle(const QString& input) {
    QString s = normalised(input);
    s.remove(QLatin1Char(' '));
    s.remove(QLatin1Char('-'));
    s.remove(QLatin1Char('_'));
    if (s == u"solid") {
        return LineStyle::solid;
    }
    if (s == u"dotted" || s == u"dots") {
        return LineStyle::dotted;
    }
    if (s == u"dashed" || s == u"dashes") {
        return LineStyle::dashed;
    }
    if (s == u"dashdot" || s == u"dotdash" || s == u"dashdotted") {
        return LineStyle::dashDot;
    }
    return std::nullopt;
}

} // namespace ai

std::optional<AIStyleOverride> makeStyleOverride(const AICanvasDirectivePublic& d,
                                                 const FontCatalogue& fonts) {
    AIStyleOverride style;
    bool anythingSet = false;
    const QString stroke = normalised(d.color);
    if (stroke == u"default" || stroke == u"auto") {
        style.strokeUseToolbar = true;
        anythingSet = true;
    } else if (const auto c = ai::parseColor(d.color)) {
        style.strokeColor = c;
        anythingSet = true;
    }
    const QString fill = normalised(d.fillColor);
    if (fill == u"default" || fill == u"auto") {
        style.fillUseToolbar = true;
        anythingSet = true;
    } else if (const auto c = ai::parseColor(d.fillColor)) {
        style.fillColor = c;
        anythingSet = true;
    }
    if (d.lineWidth >= 1) {
        style.lineWidth = double(std::min<qint64>(d.lineWidth, 64));
        anythingSet = true;
    }
    if (d.cornerRadius >= 0) {
        style.cornerRadius = double(std::min<qint64>(d.cornerRadius, 200));
        anythingSet = true;
    }
    if (d.opacity >= 0) {
        style.opacity = double(std::min<qint64>(d.opacity, 100)) / 100.0;
        anythingSet = true;
    }
    if (const auto ls = ai::parseLineStyle(d.lineStyle)) {
        style.lineStyle = ls;
        anythingSet = true;
    }
    if (const auto c = ai::parseColor(d.fontColor)) {
        style.fontColor = c;
        anythingSet = true;
    }
    if (d.fontSize >= 1) {
        style.fontSize = double(std::min<qint64>(d.fontSize, 200));
        anythingSet = true;
    }
    const QString family = d.fontFamily.trimmed();
    if (!family.isEmpty()) {
        for (const QString& installed : fonts.families()) {
            // Qt's case folding does not depend on the locale.
            if (installed.compare(family, Qt::CaseInsensitive) == 0) {
                style.fontFamily = installed;
                anythingSet = true;
                break;
            }
        }
    }
    if (!anythingSet) {
        return std::nullopt;
    }
    return style;
}

std::optional<AICanvasCommand> makeCommand(const AICanvasDirectivePublic& d,
                                           const FontCatalogue& fonts) {
    if (!d.shouldDraw) {
        return std::nullopt;
    }
    const QString op = normalised(d.operation);
    if (op == u"delete") {
        const QString id = d.targetId.trimmed();
        if (id.isEmpty()) {
            return std::nullopt;
        }
        return DeleteCommand{*AnnotationID::decode(id)};
    }
    if (op == u"update" || op == u"updatestyle") {
        const QString id = d.targetId.trimmed();
        if (id.isEmpty()) {
            return std::nullopt;
        }
        auto style = makeStyleOverride(d, fonts);
        std::optional<PixelRect> rect;
        if (d.x != 0 || d.y != 0 || d.width != 0 || d.height != 0) {
            rect = rectOf(d);
        }
        if (!rect && !style) {
            return std::nullopt;
        }
        return UpdateCommand{*AnnotationID::decode(id), std::move(style), rect};
    }
    if (normalised(d.kind) == u"text") {
        if (d.text.isEmpty()) {
            return std::nullopt;
        }
        return CreateTextCommand{d.text, rectOf(d), makeStyleOverride(d, fonts)};
    }
    // The shape word is not trimmed: " circle" is a rectangle.
    const QString shape = d.shape.toLower();
    const bool oval = shape == u"oval" || shape == u"circle" || shape == u"ellipse";
    return CreateShapeCommand{oval ? ShapeAnnotation::Shape::oval : ShapeAnnotation::Shape::rect,
                              rectOf(d), makeStyleOverride(d, fonts)};
}

} // namespace vellumix
