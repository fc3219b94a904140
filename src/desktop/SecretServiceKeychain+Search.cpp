#include "SecretServiceKeychain.h"

#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QTimer>

namespace vellumix {

namespace {

using Attributes = QMap<QString, QString>;

// qtkeychain keeps the key on KDE in KWallet, which the Secret Service search does not see.
bool keyMayLiveInKWallet() {
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP")
        .contains(QLatin1String("KDE"), Qt::CaseInsensitive);
}

std::optional<bool> storedFromReply(const QDBusPendingCall& call) {
    const QDBusPendingReply<QList<QDBusObjectPath>, QList<QDBusObjectPath>> reply = call;
    if (reply.isError()) {
        // No Secret Service on the bus (and none to start): nothing can be stored there. A
        // timeout or any other failure says nothing.
        const QDBusError::ErrorType type = reply.error().type();
        if (type == QDBusError::ServiceUnknown || type == QDBusError::Disconnected) {
            return false;
        }
        return std::nullopt;
    }
    // The first list holds unlocked items, the second locked ones; either is a stored key.
    return !reply.argumentAt<0>().isEmpty() || !reply.argumentAt<1>().isEmpty();
}

} // namespace

void SecretServiceKeychain::askStored(const QString& account,
                                      std::function<void(std::optional<bool>)> done) const {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (keyMayLiveInKWallet() || !bus.isConnected()) {
        const std::optional<bool> answer =
            bus.isConnected() ? std::nullopt : std::optional<bool>(false);
        QTimer::singleShot(0, [done = std::move(done), answer] { done(answer); });
        return;
    }
    static const QMetaType registered = qDBusRegisterMetaType<Attributes>();
    Q_UNUSED(registered);
    // qtkeychain's items carry `server` (the service) and `user` (the account).
    QDBusMessage search = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.secrets"), QStringLiteral("/org/freedesktop/secrets"),
        QStringLiteral("org.freedesktop.Secret.Service"), QStringLiteral("SearchItems"));
    search << QVariant::fromValue(
        Attributes{{QStringLiteral("server"), m_service}, {QStringLiteral("user"), account}});
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(search, m_searchTimeoutMs));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [done = std::move(done)](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         done(storedFromReply(*finished));
                     });
}

} // namespace vellumix
