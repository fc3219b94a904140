#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>

#include <chrono>
#include <functional>

namespace vellumix {

/// One call to an xdg-desktop-portal method that answers through a Request object: the method
/// returns the Request's path at once, and the result comes later in its Response signal
/// (0 success, 1 cancelled, 2 failed). The Response is subscribed before the call, on the path
/// predicted from the handle token, and followed to the path the portal returns if that
/// differs. Exactly one of the two callbacks runs, from the event loop, unless `context` is
/// destroyed first, in which case neither does.
struct PortalCall {
    static inline const QString desktopService = QStringLiteral("org.freedesktop.portal.Desktop");
    static inline const QString desktopPath = QStringLiteral("/org/freedesktop/portal/desktop");

    QDBusConnection bus = QDBusConnection::sessionBus();
    QString service = desktopService;
    QString interface;
    QString method;
    /// The arguments before the trailing options map.
    QVariantList arguments;
    /// The options; "handle_token" is added.
    QVariantMap options;
    std::chrono::milliseconds timeout{30000};

    std::function<void(uint response, const QVariantMap& results)> onResponse;
    /// A D-Bus error, no way to listen, or no Response within the timeout.
    std::function<void(const QString& reason)> onFailure;
};

void startPortalCall(PortalCall call, QObject* context);

/// The Request object path the portal will use for `handleToken`, predicted from the caller's
/// unique bus name (":1.42" becomes "1_42").
QString portalRequestPath(const QString& uniqueName, const QString& handleToken);

/// A token for a portal's handle_token or session_handle_token: letters, digits and '_'.
QString freshPortalToken();

} // namespace vellumix
