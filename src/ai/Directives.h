#pragma once

#include "model/Annotation.h"
#include "model/Fonts.h"
#include "model/Result.h"

#include <QSize>
#include <QString>

#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <variant>

namespace vellumix {

/// What a model asks the canvas to do, in image pixels: the plain form of the guided-generation
/// directive, used by both model clients and everything downstream.
struct AICanvasDirectivePublic {
    bool shouldDraw = false;
    QString operation;
    QString targetId;
    QString kind;
    QString shape;
    qint64 x = 0;
    qint64 y = 0;
    qint64 width = 0;
    qint64 height = 0;
    QString color;
    QString fillColor;
    qint64 lineWidth = 0;
    qint64 cornerRadius = 0;
    qint64 opacity = 0;
    QString lineStyle;
    QString text;
    QString fontColor;
    qint64 fontSize = 0;
    QString fontFamily;
    QString summary;

    /// From a JSON object keyed by field name; missing or mistyped fields keep their defaults.
    static AICanvasDirectivePublic fromJson(const nlohmann::json& object);
};

/// A whole-image filter request from the local model.
struct FilterDirectivePublic {
    bool shouldApply = false;
    QString kind;
    double strength = 0;
    QString summary;
};

/// The three kinds of request.
enum class QueryRoute { question, imageEdit, annotationEdit };
template <> struct EnumNames<QueryRoute> {
    static constexpr std::array<QStringView, 3> names{u"question", u"imageEdit", u"annotationEdit"};
};
/// Decodes a route; an unknown value is an error beginning `Unexpected rawValue "`.
Result<QueryRoute> decodeQueryRoute(const QString& raw);

/// A rectangle in image pixels, origin at the image's top-left corner.
struct PixelRect {
    qint64 x = 0;
    qint64 y = 0;
    qint64 width = 0;
    qint64 height = 0;
    friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

/// The part of `rect` that lies on an image of `size`; none when not even a pixel of it does.
/// A model's box can be anything (10^15 pixels wide, far off the picture): drawn as it came, it
/// would grow the canvas without bound.
std::optional<PixelRect> clampedToImage(const PixelRect& rect, QSize size);

/// The styling a directive asks for; absent members come from the toolbar (create) or stay as
/// they are (update).
struct AIStyleOverride {
    std::optional<Color> strokeColor;
    std::optional<Color> fillColor;
    std::optional<double> lineWidth;
    std::optional<LineStyle> lineStyle;
    std::optional<double> cornerRadius;
    std::optional<double> opacity;
    std::optional<Color> fontColor;
    std::optional<QString> fontFamily;
    std::optional<QString> fontStyle;
    std::optional<double> fontSize;
    std::optional<TextAlignment> alignment;
    std::optional<double> textPadding;
    bool fillUseToolbar = false;
    bool strokeUseToolbar = false;
};

struct CreateShapeCommand {
    ShapeAnnotation::Shape kind = ShapeAnnotation::Shape::rect;
    PixelRect rect;
    std::optional<AIStyleOverride> style;
};
struct CreateTextCommand {
    QString text;
    PixelRect rect;
    std::optional<AIStyleOverride> style;
};
struct DeleteCommand {
    AnnotationID id;
};
struct UpdateCommand {
    AnnotationID id;
    std::optional<AIStyleOverride> style;
    std::optional<PixelRect> rect;
};
/// One change to the canvas: create a shape, create a text label, delete, update.
using AICanvasCommand =
    std::variant<CreateShapeCommand, CreateTextCommand, DeleteCommand, UpdateCommand>;

/// A field of a guided-generation schema: its name, type and the description the model reads.
struct FieldGuide {
    const char* name;
    const char* type;
    const char* guide;
};
/// The annotation directive's 20 fields and the filter directive's 4, in order, with their
/// guides verbatim.
const std::array<FieldGuide, 20>& annotationDirectiveGuides();
const std::array<FieldGuide, 4>& filterDirectiveGuides();
/// The response schema of one directive for the cloud detection request.
nlohmann::ordered_json detectionSchema();

namespace ai {
/// Colour names, "none"/"transparent"/"clear", and 3- or 6-digit hex with "#" or "0x".
std::optional<Color> parseColor(const QString& input);
/// Forgiving line-style words: "dash-dot", "Dash_Dot", "dots", …
std::optional<LineStyle> parseLineStyle(const QString& input);
} // namespace ai

/// The styling a directive overrides, or none when it overrides nothing.
std::optional<AIStyleOverride> makeStyleOverride(const AICanvasDirectivePublic& directive,
                                                 const FontCatalogue& fonts);
/// The command a directive asks for, or none when there is nothing to do.
std::optional<AICanvasCommand> makeCommand(const AICanvasDirectivePublic& directive,
                                           const FontCatalogue& fonts);

} // namespace vellumix
