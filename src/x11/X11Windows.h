#pragma once

#include <QRect>

#include <vector>

namespace vellumix {

/// The frames of the X server's shown top-level windows, topmost first, in root-window device
/// pixels, borders included. Under a reparenting window manager these are its frames, title bar
/// and all. Empty off X11.
std::vector<QRect> x11TopLevelFrames();

/// Waits until the X server has carried out every request sent so far (a window's unmap, for
/// one). Does nothing off X11.
void x11Sync();

} // namespace vellumix
