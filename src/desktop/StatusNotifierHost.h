#pragma once

#include <QDBusConnection>

namespace vellumix {

/// Whether a StatusNotifierItem host (a panel that draws tray icons and their exported menus
/// itself: KDE Plasma, XFCE, waybar, GNOME's AppIndicator extension) is registered with the
/// session's StatusNotifierWatcher. Qt makes a tray icon a StatusNotifierItem exactly then;
/// otherwise it docks into an XEmbed tray, whose menus the app draws.
bool statusNotifierHostRegistered(QDBusConnection bus = QDBusConnection::sessionBus());

} // namespace vellumix
