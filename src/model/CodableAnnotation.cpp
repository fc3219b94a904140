#include "CodableAnnotation.h"

#include "AnnotationStyle.h"

#include <algorithm>
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

ordered_json numberArray(const NumberList& list) {
    ordered_json array = ordered_json::array();
    for (size_t i = 0; i < std::min(list.count, list.values.size()); ++i) {
        array.push_back(number(list.values[i]));
    }
    return array;
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
        for (const StoredPoint& p : *points) {
            array.push_back(ordered_json::array({number(p.x), number(p.y)}));
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

std::string encodeAnnotations(const AnnotationList& annotations) {
    ordered_json array = ordered_json::array();
    for (const Annotation& annotation : annotations) {
        array.push_back(toCodable(annotation).toJson());
    }
    return array.dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace vellumix
