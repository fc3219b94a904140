#include "portals/PortalGlobalShortcuts.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

namespace vellumix {

namespace {

const QString interfaceName = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

// One entry of the portal's a(sa{sv}) shortcut lists.
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

} // namespace

} // namespace vellumix

Q_DECLARE_METATYPE(vellumix::PortalShortcut)

namespace vellumix {

namespace {

QList<PortalShortcut> shortcutsIn(const QVariant& value) {
    QList<PortalShortcut> shortcuts;
    if (value.canConvert<QDBusArgument>()) {
        value.value<QDBusArgument>() >> shortcuts;
    }
    return shortcuts;
}

// The portal documents the session handle as an object path but sends a string.
QString sessionHandleIn(const QVariantMap& results) {
    const QVariant handle = results.value(QStringLiteral("session_handle"));
    if (handle.metaType() == QMetaType::fromType<QDBusObjectPath>()) {
        return handle.value<QDBusObjectPath>().path();
    }
    return handle.toString();
}

} // namespace

PortalGlobalShortcuts::PortalGlobalShortcuts(QDBusConnection bus, QString service)
    : m_bus(std::move(bus)), m_service(std::move(service)) {
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
}

PortalGlobalShortcuts::~PortalGlobalShortcuts() = default;

PortalCall PortalGlobalShortcuts::portalCall(const QString& method) {
    PortalCall call;
    call.bus = m_bus;
    call.service = m_service;
    call.interface = interfaceName;
    call.method = method;
    // The desktop may show a dialog for the binding.
    call.timeout = std::chrono::minutes(5);
    call.onFailure = [this](const QString& reason) { report(reason); };
    return call;
}

void PortalGlobalShortcuts::start(const QString& preferredTrigger) {
    m_preferredTrigger = preferredTrigger;
    if (!m_bus.isConnected()) {
        if (onUnavailable) {
            onUnavailable();
        }
        return;
    }
    // Listening first: the bus resolves the portal's name while the calls below go out.
    m_bus.connect(m_service, PortalCall::desktopPath, interfaceName, QStringLiteral("Activated"),
                  this, SLOT(activated(QDBusMessage)));
    // The portal exports only the interfaces some backend implements: reading the version of
    // a missing one is an error.
    QDBusMessage get = QDBusMessage::createMethodCall(
        m_service, PortalCall::desktopPath, QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    get << interfaceName << QStringLiteral("version");
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(get, 10000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                if (finished->isError()) {
                    if (onUnavailable) {
                        onUnavailable();
                    }
                    return;
                }
                createSession();
            });
}

namespace {

QList<PortalShortcut> wantedShortcuts(const QString& preferredTrigger) {
    return {{PortalGlobalShortcuts::shortcutId,
             {{QStringLiteral("description"), QStringLiteral("Capture screen area")},
              {QStringLiteral("preferred_trigger"), preferredTrigger}}}};
}

} // namespace

void PortalGlobalShortcuts::createSession() {
    PortalCall call = portalCall(QStringLiteral("CreateSession"));
    // The shortcuts go into CreateSession as well: backends of the portal's draft API (KDE's
    // 5.27) bind only what CreateSession names and ignore a later BindShortcuts.
    call.options = {
        {QStringLiteral("session_handle_token"), sessionToken},
        {QStringLiteral("shortcuts"), QVariant::fromValue(wantedShortcuts(m_preferredTrigger))}};
    call.onResponse = [this](uint response, const QVariantMap& results) {
        m_session = sessionHandleIn(results);
        if (response != 0 || m_session.isEmpty()) {
            report(QStringLiteral("the GlobalShortcuts portal gave no session (response %1)")
                       .arg(response));
            return;
        }
        listShortcuts();
    };
    startPortalCall(std::move(call), this);
}

void PortalGlobalShortcuts::listShortcuts() {
    PortalCall call = portalCall(QStringLiteral("ListShortcuts"));
    call.arguments = {QVariant::fromValue(QDBusObjectPath(m_session))};
    call.onResponse = [this](uint response, const QVariantMap& results) {
        if (response == 0) {
            for (const PortalShortcut& shortcut :
                 shortcutsIn(results.value(QStringLiteral("shortcuts")))) {
                if (shortcut.id == shortcutId) {
                    if (onBound) {
                        onBound(shortcut.properties.value(QStringLiteral("trigger_description"))
                                    .toString());
                    }
                    return;
                }
            }
        }
        bindShortcut();
    };
    startPortalCall(std::move(call), this);
}

void PortalGlobalShortcuts::bindShortcut() {
    PortalCall call = portalCall(QStringLiteral("BindShortcuts"));
    call.arguments = {QVariant::fromValue(QDBusObjectPath(m_session)),
                      QVariant::fromValue(wantedShortcuts(m_preferredTrigger)), QString()};
    call.onResponse = [this](uint response, const QVariantMap& results) {
        if (response != 0) {
            report(response == 1
                       ? QStringLiteral("the capture shortcut was not allowed by the user")
                       : QStringLiteral("the GlobalShortcuts portal could not bind the capture "
                                        "shortcut (response %1)")
                             .arg(response));
            return;
        }
        QString trigger;
        for (const PortalShortcut& shortcut :
             shortcutsIn(results.value(QStringLiteral("shortcuts")))) {
            if (shortcut.id == shortcutId) {
                trigger =
                    shortcut.properties.value(QStringLiteral("trigger_description")).toString();
            }
        }
        if (onBound) {
            onBound(trigger);
        }
    };
    startPortalCall(std::move(call), this);
}

void PortalGlobalShortcuts::activated(const QDBusMessage& signal) {
    // Activated(o session_handle, s shortcut_id, t timestamp, a{sv} options); the session may
    // come as a path or, like the handle in CreateSession's answer, as a string.
    const QVariantList arguments = signal.arguments();
    if (arguments.size() < 2) {
        return;
    }
    const QVariant session = arguments[0];
    const QString path = session.metaType() == QMetaType::fromType<QDBusObjectPath>()
                             ? session.value<QDBusObjectPath>().path()
                             : session.toString();
    if (path == m_session && arguments[1].toString() == shortcutId && onActivated) {
        onActivated();
    }
}

void PortalGlobalShortcuts::report(const QString& reason) {
    if (onProblem) {
        onProblem(reason);
    }
}

} // namespace vellumix
