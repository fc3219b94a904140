#pragma once

namespace vellumix {

/// Tells screen readers what the app's own widgets are where Qt cannot tell from their class:
/// the windows (plain QWidgets to Qt), the canvas, the scroll view around it, and the shortcut
/// recorder, which is a button that records the next key (its press action starts recording),
/// and the swatch grids of Qt's colour dialog.
/// Call once, after the QApplication exists.
void installAccessibleRoles();

} // namespace vellumix
