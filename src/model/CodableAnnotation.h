#pragma once

#include "Annotation.h"

#include <QString>

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace vellumix {

/// The stored form of one annotation in "annotations.json". Fields are in their on-disk key
/// order; absent optionals are left out of the object.
struct CodableAnnotation {
    std::string type;
    std::optional<std::string> shape;
    std::optional<std::vector<double>> rect;
    std::optional<std::vector<std::vector<double>>> points;
    std::optional<std::vector<double>> color;
    double lineWidth = 0;
    std::optional<std::vector<double>> fillColor;
    double opacity = 1;
    std::optional<std::string> overlayRef;
    std::optional<std::string> text;
    std::optional<std::string> fontFamily;
    std::optional<std::string> fontStyle;
    std::optional<double> fontSize;
    std::optional<long long> alignment;
    std::optional<double> padding;
    std::optional<std::vector<double>> borderColor;
    std::optional<double> borderWidth;
    std::optional<double> cornerRadius;
    std::optional<std::string> lineStyle;
    std::optional<std::string> arrowEndCap;
    std::optional<bool> isLocked;
    std::optional<std::string> id;

    nlohmann::ordered_json toJson() const;
    /// Strict decoding: a missing `type`, `lineWidth` or `opacity`, or any key of the wrong
    /// JSON type, is no value.
    static std::optional<CodableAnnotation> fromJson(const nlohmann::json& object);
};

/// Converts an annotation into its stored form (numbers rounded, one shared alpha).
CodableAnnotation toCodable(const Annotation& annotation);

/// Reads an overlay's image given its reference; a null image drops the overlay.
using OverlayImageLoader = std::function<QImage(const QString& overlayRef)>;

/// Rebuilds an annotation from its stored form; no value when the record is unusable. The ID
/// and lock flag are applied by the caller (see decodeAnnotations).
std::optional<Annotation> fromCodable(const CodableAnnotation& codable,
                                      const OverlayImageLoader& loadOverlay);

/// The whole "annotations.json" text for a list (compact, keys in field order).
std::string encodeAnnotations(const AnnotationList& annotations);
/// Decodes a whole file. Never fails: anything undecodable gives an empty list; unusable
/// records are skipped.
AnnotationList decodeAnnotations(std::string_view json, const OverlayImageLoader& loadOverlay);

/// Round half away from zero to 2 (lengths) or 3 (colours, opacity) decimals.
double roundLength(double value);
double roundUnit(double value);

} // namespace vellumix
