#include "portals/PortalRequest.h"

#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPointer>
#include <QRandomGenerator>
#include <QTimer>

namespace vellumix {

namespace {

const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");

} // namespace

/// One call from the method call to its Response (or error, or timeout). Deletes itself once
/// finished; dies with its context when that goes first.
class PortalRequestWatcher final : public QObject {
    Q_OBJECT
public:
    PortalRequestWatcher(PortalCall call, QObject* context)
        : QObject(context), m_call(std::move(call)) {}

    ~PortalRequestWatcher() override {
        unsubscribe();
        // The watcher may be the one emitting right now; it must not be deleted under itself.
        if (m_watcher) {
            m_watcher->deleteLater();
        }
    }

    void start() {
        if (!m_call.bus.isConnected()) {
            fail(QStringLiteral("no session bus for the %1 portal: %2")
                     .arg(shortInterface(), m_call.bus.lastError().message()));
            return;
        }
        const QString token = freshPortalToken();
        // Subscribe first: the portal may emit Response before its reply to the call arrives.
        if (!subscribe(portalRequestPath(m_call.bus.baseService(), token))) {
            fail(QStringLiteral("cannot listen for the %1 portal's answer on the session bus (%2)")
                     .arg(shortInterface(), m_call.bus.lastError().message()));
            return;
        }
        QDBusMessage message = QDBusMessage::createMethodCall(
            m_call.service, PortalCall::desktopPath, m_call.interface, m_call.method);
        QVariantMap options = m_call.options;
        options.insert(QStringLiteral("handle_token"), token);
        message.setArguments(m_call.arguments + QVariantList{options});
        const auto timeout = m_call.timeout;
        // A little past our own deadline, so an unanswered call ends in our timeout message.
        m_watcher = new QDBusPendingCallWatcher(
            m_call.bus.asyncCall(message, static_cast<int>(timeout.count()) + 1000));
        connect(m_watcher, &QDBusPendingCallWatcher::finished, this,
                &PortalRequestWatcher::onCallFinished);
        m_timer.setSingleShot(true);
        connect(&m_timer, &QTimer::timeout, this, [this, timeout] {
            closePortalRequest();
            fail(QStringLiteral("the %1 portal did not answer within %2 s")
                     .arg(shortInterface())
                     .arg(static_cast<double>(timeout.count()) / 1000.0));
        });
        m_timer.start(timeout);
    }

public Q_SLOTS:
    void onResponse(uint response, const QVariantMap& results) {
        if (m_finished) {
            return;
        }
        const auto respond = std::move(m_call.onResponse);
        finish();
        respond(response, results);
    }

private:
    QString shortInterface() const { return m_call.interface.section(QLatin1Char('.'), -1); }

    void onCallFinished(QDBusPendingCallWatcher* watcher) {
        watcher->deleteLater();
        m_watcher = nullptr;
        if (m_finished) {
            return;
        }
        const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
        if (reply.isError()) {
            fail(QStringLiteral("the %1 portal call failed: %2 (%3)")
                     .arg(shortInterface(), reply.error().message(), reply.error().name()));
            return;
        }
        // Portals older than the handle_token convention pick their own path: follow it.
        const QString handle = reply.value().path();
        if (handle != m_path) {
            unsubscribe();
            if (!subscribe(handle)) {
                fail(QStringLiteral("cannot listen for the %1 portal's answer on %2")
                         .arg(shortInterface(), handle));
            }
        }
    }

    bool subscribe(const QString& path) {
        if (!m_call.bus.connect(m_call.service, path, requestInterface, QStringLiteral("Response"),
                                this, SLOT(onResponse(uint, QVariantMap)))) {
            return false;
        }
        m_path = path;
        return true;
    }

    void unsubscribe() {
        if (!m_path.isEmpty()) {
            m_call.bus.disconnect(m_call.service, m_path, requestInterface,
                                  QStringLiteral("Response"), this,
                                  SLOT(onResponse(uint, QVariantMap)));
            m_path.clear();
        }
    }

    // Lets the portal take down a dialog nobody is waiting for any more.
    void closePortalRequest() {
        if (!m_path.isEmpty()) {
            m_call.bus.asyncCall(QDBusMessage::createMethodCall(
                m_call.service, m_path, requestInterface, QStringLiteral("Close")));
        }
    }

    void fail(const QString& reason) {
        const auto failed = std::move(m_call.onFailure);
        finish();
        failed(reason);
    }

    // Everything is torn down before the callback runs, which may destroy the context and so
    // this watcher.
    void finish() {
        m_finished = true;
        m_timer.stop();
        unsubscribe();
        deleteLater();
    }

    PortalCall m_call;
    QPointer<QDBusPendingCallWatcher> m_watcher;
    QTimer m_timer;
    QString m_path;
    bool m_finished = false;
};

void startPortalCall(PortalCall call, QObject* context) {
    (new PortalRequestWatcher(std::move(call), context))->start();
}

QString portalRequestPath(const QString& uniqueName, const QString& handleToken) {
    QString sender = uniqueName;
    if (sender.startsWith(QLatin1Char(':'))) {
        sender.remove(0, 1);
    }
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    return QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, handleToken);
}

QString freshPortalToken() {
    // Unique per call within the process.
    static quint32 counter = 0;
    return QStringLiteral("vellumix_%1_%2")
        .arg(++counter)
        .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'));
}

} // namespace vellumix

#include "PortalRequest.moc"
