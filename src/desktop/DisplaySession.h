#pragma once

#include <QString>

#include <functional>

namespace vellumix {

/// Which display server the app talks to; decides once at start-up whether screen capture and
/// the global shortcut go through X11 or through the desktop portals.
struct DisplaySession {
    enum class Kind { x11, wayland, headless };

    Kind kind = Kind::headless;
    /// Qt's platform plugin ("xcb", "wayland", "offscreen", …).
    QString platformName;
    /// An X11 connection inside a Wayland session (XWayland) cannot see native windows or keys.
    bool viaXWayland = false;

    bool usesPortals() const { return kind == Kind::wayland; }
};

using EnvironmentLookup = std::function<QString(const char* name)>;

/// Decides the session from Qt's platform name and the session environment variables.
DisplaySession detectDisplaySession(const QString& platformName, const EnvironmentLookup& env);
/// The session of the running application.
DisplaySession detectDisplaySession();

/// One line for the log, e.g. "x11 (xcb)" or "wayland via XWayland (xcb)".
QString describe(const DisplaySession& session);

} // namespace vellumix
