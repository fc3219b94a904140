#include "CodableAnnotation.h"

#include "AnnotationStyle.h"

#include <cmath>

namespace vellumix {

using nlohmann::json;
using nlohmann::ordered_json;

namespace {

// Integral values are written without a fraction ("2", not "2.0"), as compact as possible.
ordered_json number(double value) {
    if (std::isfinite(value) && value == std::trunc(value) && std::abs(value) < 9.0e15) {
        return static_cast<long long>(value);
    }
    return value;
}

ordered_json numberArray(const std::vector<double>& values) {
    ordered_json array = ordered_json::array();
    for (double v : values) {
        array.push_back(number(v));
    }
    return array;
}

// --- strict readers: false means "wrong JSON type", which voids the whole file --------------

bool readDouble(const json& object, const char* key, std::optional<double>& out) {
    const auto it = object.find(key);
    if (it == object.end()) {
        return true;
    }
    if (!it->is_number()) {
        return false;
    }
    out = it->get<double>();
    return true;
}

bool readString(const json& object, const char* key, std::optional<std::string>& out) {
    const auto it = object.find(key);
    if (it == object.end()) {
        return true;
    }
    if (!it->is_string()) {
        return false;
    }
    out = it->get<std::string>();
    return true;
}

bool readNumbers(const json& value, std::vector<double>& out) {
    if (!value.is_array()) {
        return false;
    }
    out.clear();
    out.reserve(value.size());
    for (const json& element : value) {
        if (!element.is_number()) {
            return false;
        }
        out.push_back(element.get<double>());
    }
    return true;
}

bool readNumberArray(const json& object, const char* key, std::optional<std::vector<double>>& out) {
    const auto it = object.find(key);
    if (it == object.end()) {
        return true;
    }
    std::vector<double> values;
    if (!readNumbers(*it, values)) {
        return false;
    }
    out = std::move(values);
    return true;
}

bool readPoints(const json& object, std::optional<std::vector<std::vector<double>>>& out) {
    const auto it = object.find("points");
    if (it == object.end()) {
        return true;
    }
    if (!it->is_array()) {
        return false;
    }
    std::vector<std::vector<double>> points;
    points.reserve(it->size());
    for (const json& element : *it) {
        std::vector<double> point;
        if (!readNumbers(element, point)) {
            return false;
        }
        points.push_back(std::move(point));
    }
    out = std::move(points);
    return true;
}

// An integer field accepts any JSON number with an integral value.
bool readInteger(const json& object, const char* key, std::optional<long long>& out) {
    std::optional<double> value;
    if (!readDouble(object, key, value)) {
        return false;
    }
    if (value) {
        if (!std::isfinite(*value) || *value != std::trunc(*value) || std::abs(*value) > 9.0e15) {
            return false;
        }
        out = static_cast<long long>(*value);
    }
    return true;
}

bool readBool(const json& object, const char* key, std::optional<bool>& out) {
    const auto it = object.find(key);
    if (it == object.end()) {
        return true;
    }
    if (!it->is_boolean()) {
        return false;
    }
    out = it->get<bool>();
    return true;
}

} // namespace

double roundLength(double value) {
    return std::round(value * 100) / 100;
}

double roundUnit(double value) {
    return std::round(value * 1000) / 1000;
}

ordered_json CodableAnnotation::toJson() const {
    ordered_json o = ordered_json::object();
    o["type"] = type;
    if (shape) {
        o["shape"] = *shape;
    }
    if (rect) {
        o["rect"] = numberArray(*rect);
    }
    if (points) {
        ordered_json array = ordered_json::array();
        for (const auto& p : *points) {
            array.push_back(numberArray(p));
        }
        o["points"] = std::move(array);
    }
    if (color) {
        o["color"] = numberArray(*color);
    }
    o["lineWidth"] = number(lineWidth);
    if (fillColor) {
        o["fillColor"] = numberArray(*fillColor);
    }
    o["opacity"] = number(opacity);
    if (overlayRef) {
        o["overlayRef"] = *overlayRef;
    }
    if (text) {
        o["text"] = *text;
    }
    if (fontFamily) {
        o["fontFamily"] = *fontFamily;
    }
    if (fontStyle) {
        o["fontStyle"] = *fontStyle;
    }
    if (fontSize) {
        o["fontSize"] = number(*fontSize);
    }
    if (alignment) {
        o["alignment"] = *alignment;
    }
    if (padding) {
        o["padding"] = number(*padding);
    }
    if (borderColor) {
        o["borderColor"] = numberArray(*borderColor);
    }
    if (borderWidth) {
        o["borderWidth"] = number(*borderWidth);
    }
    if (cornerRadius) {
        o["cornerRadius"] = number(*cornerRadius);
    }
    if (lineStyle) {
        o["lineStyle"] = *lineStyle;
    }
    if (arrowEndCap) {
        o["arrowEndCap"] = *arrowEndCap;
    }
    if (isLocked) {
        o["isLocked"] = *isLocked;
    }
    if (id) {
        o["id"] = *id;
    }
    return o;
}

std::optional<CodableAnnotation> CodableAnnotation::fromJson(const json& o) {
    if (!o.is_object()) {
        return std::nullopt;
    }
    CodableAnnotation c;
    std::optional<std::string> type;
    std::optional<double> lineWidth;
    std::optional<double> opacity;
    const bool typesOk =
        readString(o, "type", type) && readString(o, "shape", c.shape) &&
        readNumberArray(o, "rect", c.rect) && readPoints(o, c.points) &&
        readNumberArray(o, "color", c.color) && readDouble(o, "lineWidth", lineWidth) &&
        readNumberArray(o, "fillColor", c.fillColor) && readDouble(o, "opacity", opacity) &&
        readString(o, "overlayRef", c.overlayRef) && readString(o, "text", c.text) &&
        readString(o, "fontFamily", c.fontFamily) && readString(o, "fontStyle", c.fontStyle) &&
        readDouble(o, "fontSize", c.fontSize) && readInteger(o, "alignment", c.alignment) &&
        readDouble(o, "padding", c.padding) && readNumberArray(o, "borderColor", c.borderColor) &&
        readDouble(o, "borderWidth", c.borderWidth) &&
        readDouble(o, "cornerRadius", c.cornerRadius) && readString(o, "lineStyle", c.lineStyle) &&
        readString(o, "arrowEndCap", c.arrowEndCap) && readBool(o, "isLocked", c.isLocked) &&
        readString(o, "id", c.id);
    if (!typesOk || !type || !lineWidth || !opacity) {
        return std::nullopt;
    }
    c.type = std::move(*type);
    c.lineWidth = *lineWidth;
    c.opacity = *opacity;
    return c;
}

std::string encodeAnnotations(const AnnotationList& annotations) {
    ordered_json array = ordered_json::array();
    for (const Annotation& annotation : annotations) {
        array.push_back(toCodable(annotation).toJson());
    }
    return array.dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace vellumix
