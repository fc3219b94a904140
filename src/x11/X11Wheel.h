#pragma once

#include <QPoint>

namespace vellumix {

/// True when the session's X server accepts synthetic input (the XTEST extension).
bool x11WheelAvailable();

/// Moves the pointer to `rootPixel` (root-window device pixels) and turns the wheel one notch
/// down there, as the user would: the window under the pointer scrolls. False without XTEST.
bool x11WheelDown(QPoint rootPixel);

} // namespace vellumix
