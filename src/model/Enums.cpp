#include "Enums.h"

namespace vellumix {

bool isDrawingTool(Tool tool) {
    switch (tool) {
    case Tool::rect:
    case Tool::oval:
    case Tool::arrow:
    case Tool::draw:
    case Tool::text:
    case Tool::step:
        return true;
    case Tool::select:
    case Tool::editImage:
    case Tool::overlay:
        return false;
    }
    return false;
}

CropHandle toCropHandle(ResizeHandle handle) {
    // The eight shared names have the same positions in both enumerations.
    return static_cast<CropHandle>(static_cast<int>(handle));
}

std::optional<ResizeHandle> toResizeHandle(CropHandle handle) {
    if (handle == CropHandle::interior) {
        return std::nullopt;
    }
    return static_cast<ResizeHandle>(static_cast<int>(handle));
}

} // namespace vellumix
