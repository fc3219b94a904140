#pragma once

#include "portals/PortalRequest.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QObject>

#include <functional>

namespace vellumix {

/// The capture shortcut through the GlobalShortcuts portal, where a Wayland desktop offers it
/// (KDE Plasma does; GNOME 43 does not). One session per run, holding the one shortcut
/// "capture". Desktops remember bindings per session token and may ask the user on every
/// BindShortcuts call, so the shortcut is bound only when ListShortcuts shows the desktop does
/// not know it yet; the user changes the keys in the desktop's own settings afterwards.
class PortalGlobalShortcuts final : public QObject {
    Q_OBJECT
public:
    static inline const QString shortcutId = QStringLiteral("capture");
    static inline const QString sessionToken = QStringLiteral("vellumix_capture");

    explicit PortalGlobalShortcuts(QDBusConnection bus = QDBusConnection::sessionBus(),
                                   QString service = PortalCall::desktopService);
    ~PortalGlobalShortcuts() override;

    /// Asks whether the desktop's portal has the GlobalShortcuts interface; if so, opens the
    /// session and binds the shortcut if needed, suggesting `preferredTrigger`
    /// ("CTRL+SHIFT+6"). Never blocks; reports through the callbacks below.
    void start(const QString& preferredTrigger);

    /// The shortcut was pressed.
    std::function<void()> onActivated;
    /// The shortcut is in place; `trigger` is the desktop's description of its keys.
    std::function<void(const QString& trigger)> onBound;
    /// The session or the binding failed, as one line for the log.
    std::function<void(const QString& reason)> onProblem;
    /// The desktop has no GlobalShortcuts portal (or no portal at all).
    std::function<void()> onUnavailable;

private Q_SLOTS:
    void activated(const QDBusMessage& signal);

private:
    PortalCall portalCall(const QString& method);
    void createSession();
    void listShortcuts();
    void bindShortcut();
    void report(const QString& reason);

    QDBusConnection m_bus;
    QString m_service;
    QString m_session;
    QString m_preferredTrigger;
};

} // namespace vellumix
