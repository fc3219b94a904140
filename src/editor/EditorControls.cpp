#include "EditorControls.h"

namespace vellumix {

StyleControlSet& StyleControlSet::operator|=(const StyleControlSet& other) {
    strokeColor = strokeColor || other.strokeColor;
    fillColor = fillColor || other.fillColor;
    opacity = opacity || other.opacity;
    lineWidth = lineWidth || other.lineWidth;
    linePattern = linePattern || other.linePattern;
    cornerRadius = cornerRadius || other.cornerRadius;
    text = text || other.text;
    fontSize = fontSize || other.fontSize;
    return *this;
}

StyleControlSet styleControlsFor(Tool tool) {
    // Field order: stroke, fill, opacity, width, pattern, radius, text, font size.
    switch (tool) {
    case Tool::rect:
        return {true, true, true, true, true, true, false};
    case Tool::oval:
        return {true, true, true, true, true, false, false};
    case Tool::arrow:
        return {true, false, true, true, false, false, false};
    case Tool::draw:
        return {true, false, true, true, true, false, false};
    case Tool::text:
        return {true, true, true, true, true, true, true};
    case Tool::step:
        return {true, true, true, false, false, false, false, true};
    case Tool::select:
        return {true, true, true, true, true, true, false};
    case Tool::editImage:
    case Tool::overlay:
        break;
    }
    return {};
}

} // namespace vellumix
