#pragma once

#include <QString>

#include <functional>
#include <memory>

namespace vellumix {

class PortalGlobalShortcuts;
class Settings;
class X11KeyGrab;

/// The capture shortcut pressed anywhere on the desktop. In an X11 session the custom shortcut
/// (and Print when taking over the desktop's screenshot key) is grabbed on the root window; in
/// a Wayland session the GlobalShortcuts portal holds it where the desktop offers one. The
/// settings are read afresh on every press, so what the settings window stores counts at once.
class GlobalShortcut {
public:
    GlobalShortcut(Settings& settings, std::function<void()> capture);
    ~GlobalShortcut();
    GlobalShortcut(const GlobalShortcut&) = delete;
    GlobalShortcut& operator=(const GlobalShortcut&) = delete;

    /// Takes the keys the settings name now: at start-up and after every change of them.
    void refresh();

    /// Why the shortcut does not work, as one sentence for the settings window; empty when it
    /// does.
    QString problem() const { return m_problem; }

private:
    void refreshX11();
    void refreshPortal();
    void pressed(std::uint32_t keysym, std::uint16_t x11Modifiers);

    Settings& m_settings;
    std::function<void()> m_capture;
    std::unique_ptr<X11KeyGrab> m_grab;
    std::unique_ptr<PortalGlobalShortcuts> m_portal;
    bool m_portalStarted = false;
    QString m_problem;
    QString m_lastLogged;
};

struct DisplaySession;

/// Where the capture shortcut is taken: a key grab on the X server, the GlobalShortcuts
/// portal, or nowhere (no display).
enum class ShortcutRoute { none, x11, portal };

/// The session decides (X11: key grab; Wayland, XWayland included: portal) unless `override`
/// ($VELLUMIX_SHORTCUT_ROUTE) names "portal" or "x11": KDE Plasma on X11 serves both, and a
/// user may prefer the desktop's own shortcut settings there. Other values are ignored.
ShortcutRoute shortcutRoute(const DisplaySession& session, const QString& override);

/// The portal's name for a shortcut: "CTRL+SHIFT+6", "ALT+LOGO+a"; empty for no shortcut.
QString portalTrigger(std::uint32_t code, std::uint32_t flags);

} // namespace vellumix
