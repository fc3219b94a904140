// The texts the models read about each directive field, kept verbatim in one place.
#include "Directives.h"

namespace vellumix {

const std::array<FieldGuide, 20>& annotationDirectiveGuides() {
    static const std::array<FieldGuide, 20> guides{{
        {"shouldDraw", "boolean",
         "True if you can fulfill the request; false if the target or content is unclear."},
        {"operation", "string",
         "What to do: 'create' adds a new annotation (default \u2014 circle X, label Y, etc.). "
         "'delete' removes an existing annotation; requires targetId to match one of the IDs "
         "listed in 'Existing annotations'. When in doubt prefer 'create'."},
        {"targetId", "string",
         "5-character ID of the annotation to operate on. Required when operation='delete'; must "
         "match an ID listed in 'Existing annotations' in the context. Empty string for "
         "operation='create'."},
        {"kind", "string",
         "Always 'shape' or 'text'. 'shape' = draw a rect/oval (the most common case \u2014 "
         "circling, boxing, highlighting something). 'text' = place a text LABEL near or on "
         "something, with actual text characters to display."},
        {"shape", "string",
         "When kind='shape': 'rect' or 'oval'. When kind='text': use empty string."},
        {"x", "integer", "Top-left X in image pixels \u2014 NOT the center."},
        {"y", "integer", "Top-left Y in image pixels \u2014 NOT the center."},
        {"width", "integer", "Width in image pixels."},
        {"height", "integer", "Height in image pixels."},
        {"color", "string",
         "Stroke color. Empty string for the user's current toolbar color. Otherwise a common "
         "color name (\"red\", \"blue\", \"orange\", \"green\", \"yellow\", \"purple\", \"pink\", "
         "\"brown\", \"black\", \"white\", \"gray\", \"cyan\", \"magenta\") OR a hex string like "
         "\"#FF0000\" or \"#F00\"."},
        {"fillColor", "string",
         "Fill color. Empty string for the user's current toolbar fill. \"none\" / "
         "\"transparent\" / \"clear\" for no fill (outline only). Otherwise same name or hex "
         "format as `color`."},
        {"lineWidth", "integer",
         "Stroke thickness in pixels. 0 to use the user's current toolbar thickness; positive "
         "values override (e.g. 2 = thin, 8 = medium, 24 = very thick)."},
        {"cornerRadius", "integer",
         "Corner radius in pixels for rect shapes (ignored for ovals). -1 to use the user's "
         "current toolbar value; 0+ overrides (0 = sharp corners, 16 = rounded)."},
        {"opacity", "integer",
         "Opacity as a percentage (0\u2013100). -1 to use the user's current toolbar opacity; 0+ "
         "overrides (e.g. 50 = half-transparent, 100 = opaque)."},
        {"lineStyle", "string",
         "Line style. Empty string to use the user's current toolbar style. Otherwise one of: "
         "\"solid\", \"dotted\", \"dashed\", \"dashDot\"."},
        {"text", "string",
         "When kind='text': the text content to display in the label. When kind='shape': use "
         "empty string."},
        {"fontColor", "string",
         "When kind='text': color of the text characters (DISTINCT from `color` which is the box "
         "border). Same format as `color`. Empty to use the user's current toolbar font color."},
        {"fontSize", "integer",
         "When kind='text': font size in points. 0 to use the user's current toolbar size; "
         "positive overrides (e.g. 14 = small, 24 = medium, 48 = large)."},
        {"fontFamily", "string",
         "When kind='text': font family name as installed on this computer (e.g. \"DejaVu "
         "Sans\", \"Liberation Serif\", \"Noto Sans\", \"DejaVu Sans Mono\"). Empty string to use "
         "the user's current "
         "toolbar font family. Only emit when the user explicitly names a font."},
        {"summary", "string",
         "Short label for this shape (e.g. \"the title\", \"button\"). When shouldDraw=false, a "
         "short user-facing reason or clarifying question."},
    }};
    return guides;
}

const std::array<FieldGuide, 4>& filterDirectiveGuides() {
    static const std::array<FieldGuide, 4> guides{{
        {"shouldApply", "boolean",
         "True if you can apply a supported filter; false if the request is ambiguous or "
         "unsupported."},
        {"kind", "string",
         "Filter kind. Exactly one of: 'sharpen', 'contrast', 'brightness', 'blur'."},
        {"strength", "number",
         "Strength 0.0\u20131.0. 'slightly' = 0.3, default = 0.5, 'moderately' = 0.7, 'strongly' "
         "= 0.9."},
        {"summary", "string", "One short sentence describing what you did, or why you couldn't."},
    }};
    return guides;
}

nlohmann::ordered_json detectionSchema() {
    nlohmann::ordered_json properties = nlohmann::ordered_json::object();
    nlohmann::ordered_json required = nlohmann::ordered_json::array();
    for (const FieldGuide& field : annotationDirectiveGuides()) {
        nlohmann::ordered_json property = {{"type", field.type}};
        if (std::string_view(field.name) == "operation") {
            property["enum"] = {"create", "delete", "update"};
        } else if (std::string_view(field.name) == "kind") {
            property["enum"] = {"shape", "text"};
        }
        properties[field.name] = std::move(property);
        required.push_back(field.name);
    }
    return {{"type", "object"},
            {"properties", std::move(properties)},
            {"required", std::move(required)}};
}

} // namespace vellumix
