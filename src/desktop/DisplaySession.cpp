#include "DisplaySession.h"

#include <QGuiApplication>

namespace vellumix {

DisplaySession detectDisplaySession(const QString& platformName, const EnvironmentLookup& env) {
    DisplaySession session;
    session.platformName = platformName;
    const bool waylandEnvironment =
        !env("WAYLAND_DISPLAY").isEmpty() || env("XDG_SESSION_TYPE").compare(u"wayland") == 0;
    if (platformName.startsWith(u"wayland")) {
        session.kind = DisplaySession::Kind::wayland;
    } else if (platformName == u"xcb") {
        // Qt falls back to xcb when its Wayland plugin is missing; under XWayland root-window
        // grabs and key grabs miss native Wayland clients, so the portals are used there too.
        session.viaXWayland = waylandEnvironment;
        session.kind =
            waylandEnvironment ? DisplaySession::Kind::wayland : DisplaySession::Kind::x11;
    } else {
        session.kind = DisplaySession::Kind::headless;
    }
    return session;
}

DisplaySession detectDisplaySession() {
    return detectDisplaySession(QGuiApplication::platformName(),
                                [](const char* name) { return qEnvironmentVariable(name); });
}

QString describe(const DisplaySession& session) {
    QString kind;
    switch (session.kind) {
    case DisplaySession::Kind::x11:
        kind = QStringLiteral("x11");
        break;
    case DisplaySession::Kind::wayland:
        kind = session.viaXWayland ? QStringLiteral("wayland via XWayland")
                                   : QStringLiteral("wayland");
        break;
    case DisplaySession::Kind::headless:
        kind = QStringLiteral("headless");
        break;
    }
    return QStringLiteral("%1 (%2)").arg(kind, session.platformName);
}

} // namespace vellumix
