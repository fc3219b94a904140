#pragma once

#include "EnumNames.h"

namespace vellumix {

/// The editor's tools; the six drawing tools (rect … step) each carry a style. The step tool
/// places numbered circles, stored as text annotations.
enum class Tool { select, rect, oval, arrow, draw, text, step, editImage, overlay };

/// Dash pattern of outlines, strokes and text-box borders.
enum class LineStyle { solid, dotted, dashed, dashDot };

/// What an arrow draws at its ends.
enum class ArrowEndCap { triangle, triangleBoth, dot, dotBoth, line };

/// Selection handles of a rectangle, in the order they are hit-tested.
enum class ResizeHandle {
    topLeft,
    topCenter,
    topRight,
    centerLeft,
    centerRight,
    bottomLeft,
    bottomCenter,
    bottomRight
};

/// The crop rectangle's handles: the eight resize handles, then the interior.
enum class CropHandle {
    topLeft,
    topCenter,
    topRight,
    centerLeft,
    centerRight,
    bottomLeft,
    bottomCenter,
    bottomRight,
    interior
};

/// The three draggable points of an arrow.
enum class ArrowAnchor { start, end, control };

/// Horizontal text alignment; stored as its number (0 left, 1 center, 2 right).
enum class TextAlignment { left = 0, center = 1, right = 2 };

bool isDrawingTool(Tool tool);

/// The crop handle with the same name as a resize handle, and back (interior has none).
CropHandle toCropHandle(ResizeHandle handle);
std::optional<ResizeHandle> toResizeHandle(CropHandle handle);

template <> struct EnumNames<Tool> {
    static constexpr std::array<QStringView, 9> names{
        u"select", u"rect", u"oval", u"arrow", u"draw", u"text", u"step", u"editImage", u"overlay"};
};
template <> struct EnumNames<LineStyle> {
    static constexpr std::array<QStringView, 4> names{u"solid", u"dotted", u"dashed", u"dashDot"};
};
template <> struct EnumNames<ArrowEndCap> {
    static constexpr std::array<QStringView, 5> names{u"triangle", u"triangleBoth", u"dot",
                                                      u"dotBoth", u"line"};
};
template <> struct EnumNames<ResizeHandle> {
    static constexpr std::array<QStringView, 8> names{
        u"topLeft",     u"topCenter",  u"topRight",     u"centerLeft",
        u"centerRight", u"bottomLeft", u"bottomCenter", u"bottomRight"};
};
template <> struct EnumNames<CropHandle> {
    static constexpr std::array<QStringView, 9> names{
        u"topLeft",    u"topCenter",    u"topRight",    u"centerLeft", u"centerRight",
        u"bottomLeft", u"bottomCenter", u"bottomRight", u"interior"};
};
template <> struct EnumNames<ArrowAnchor> {
    static constexpr std::array<QStringView, 3> names{u"start", u"end", u"control"};
};
template <> struct EnumNames<TextAlignment> {
    static constexpr std::array<QStringView, 3> names{u"left", u"center", u"right"};
};

inline std::optional<Tool> parseTool(QStringView raw) {
    return parseEnum<Tool>(raw);
}
inline std::optional<LineStyle> parseLineStyle(QStringView raw) {
    return parseEnum<LineStyle>(raw);
}
inline std::optional<ArrowEndCap> parseArrowEndCap(QStringView raw) {
    return parseEnum<ArrowEndCap>(raw);
}
inline std::optional<ResizeHandle> parseResizeHandle(QStringView raw) {
    return parseEnum<ResizeHandle>(raw);
}
inline std::optional<CropHandle> parseCropHandle(QStringView raw) {
    return parseEnum<CropHandle>(raw);
}
inline std::optional<ArrowAnchor> parseArrowAnchor(QStringView raw) {
    return parseEnum<ArrowAnchor>(raw);
}

} // namespace vellumix
