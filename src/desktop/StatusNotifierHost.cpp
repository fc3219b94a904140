#include "desktop/StatusNotifierHost.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>

namespace vellumix {

bool statusNotifierHostRegistered(QDBusConnection bus) {
    const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
    if (!bus.isConnected() || !bus.interface() ||
        !bus.interface()->isServiceRegistered(watcher).value()) {
        return false;
    }
    QDBusMessage get = QDBusMessage::createMethodCall(
        watcher, QStringLiteral("/StatusNotifierWatcher"),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << watcher << QStringLiteral("IsStatusNotifierHostRegistered");
    const QDBusMessage reply = bus.call(get, QDBus::Block, 2000);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return false;
    }
    return reply.arguments().constFirst().value<QDBusVariant>().variant().toBool();
}

} // namespace vellumix
