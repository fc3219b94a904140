#pragma once

#include "Annotation.h"

#include <QString>

#include <array>
#include <functional>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace vellumix {

/// A short JSON array of numbers (a rectangle or a colour). Only the first four values are
/// kept; `count` is the array's real length, which decides whether it is usable.
struct NumberList {
    std::array<double, 4> values{};
    size_t count = 0;

    NumberList() = default;
    NumberList(std::initializer_list<double> list) {
        for (double v : list) {
            push(v);
        }
    }
    void push(double v) {
        if (count < values.size()) {
            values[count] = v;
        }
        ++count;
    }
    friend bool operator==(const NumberList&, const NumberList&) = default;
};

/// One entry of `points`: its first two numbers and how many numbers it had.
struct StoredPoint {
    double x = 0;
    double y = 0;
    size_t count = 0;
    friend bool operator==(const StoredPoint&, const StoredPoint&) = default;
};

/// The stored form of one annotation in "annotations.json". Fields are in their on-disk key
/// order; absent optionals are left out of the object.
struct CodableAnnotation {
    std::string type;
    std::optional<std::string> shape;
    std::optional<NumberList> rect;
    std::optional<std::vector<StoredPoint>> points;
    std::optional<NumberList> color;
    double lineWidth = 0;
    std::optional<NumberList> fillColor;
    double opacity = 1;
    std::optional<std::string> overlayRef;
    std::optional<std::string> text;
    std::optional<std::string> fontFamily;
    std::optional<std::string> fontStyle;
    std::optional<double> fontSize;
    std::optional<long long> alignment;
    std::optional<double> padding;
    std::optional<NumberList> borderColor;
    std::optional<double> borderWidth;
    std::optional<double> cornerRadius;
    std::optional<std::string> lineStyle;
    std::optional<std::string> arrowEndCap;
    std::optional<bool> isLocked;
    std::optional<std::string> id;

    nlohmann::ordered_json toJson() const;
};

/// Converts an annotation into its stored form (numbers rounded, one shared alpha).
CodableAnnotation toCodable(const Annotation& annotation);

/// Reads an overlay's image given its reference; a null image drops the overlay.
using OverlayImageLoader = std::function<QImage(const QString& overlayRef)>;

/// Strict decoding of the records of a whole file; no value when any record fails to decode.
std::optional<std::vector<CodableAnnotation>> decodeRecords(std::string_view json);

/// Rebuilds an annotation from its stored form; no value when the record is unusable. The ID
/// and lock flag are applied by the caller (see decodeAnnotations).
std::optional<Annotation> fromCodable(const CodableAnnotation& codable,
                                      const OverlayImageLoader& loadOverlay);

/// The whole "annotations.json" text for a list (compact, keys in field order).
std::string encodeAnnotations(const AnnotationList& annotations);
/// Decodes a whole file. Never fails: a file that is not an array of records, or any record
/// with a missing `type`, `lineWidth` or `opacity` or a key of the wrong JSON type, gives an
/// empty list; records that decode but cannot be used are skipped.
AnnotationList decodeAnnotations(std::string_view json, const OverlayImageLoader& loadOverlay);

/// Round half away from zero to 2 (lengths) or 3 (colours, opacity) decimals.
double roundLength(double value);
double roundUnit(double value);

} // namespace vellumix
