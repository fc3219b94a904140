// The GlobalShortcuts portal client against a fake portal on the test's session bus, reached
// through the bus daemon like the real one.
#include "portals/PortalGlobalShortcuts.h"

#include "app/GlobalShortcut.h"
#include "desktop/DisplaySession.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace vellumix;

// Outside any anonymous namespace: QtDBus matches the fake's slot by the type's name, and an
// anonymous namespace would be part of the list type's name.
struct Shortcut {
    QString id;
    QVariantMap properties;
};
Q_DECLARE_METATYPE(Shortcut)

QDBusArgument& operator<<(QDBusArgument& argument, const Shortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Shortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

namespace {

QString fakePortalName() {
    return QStringLiteral("org.vellumix.test.Shortcuts%1").arg(QCoreApplication::applicationPid());
}

// A desktop that remembers bindings per session token, as KDE's portal does.
class FakeShortcutsPortal final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.GlobalShortcuts")
    Q_PROPERTY(uint version READ version)
public:
    explicit FakeShortcutsPortal(QDBusConnection bus) : m_bus(std::move(bus)) {}

    uint version() const { return 1; }

    uint bindAnswer = 0;
    QMap<QString, QList<Shortcut>> remembered; // session token -> its shortcuts
    QStringList sessionTokens;
    QList<QList<Shortcut>> createCalls;
    QList<QList<Shortcut>> bindCalls;

    void activate(const QString& session, const QString& id) {
        QDBusMessage signal = QDBusMessage::createSignal(
            QStringLiteral("/org/freedesktop/portal/desktop"),
            QStringLiteral("org.freedesktop.portal.GlobalShortcuts"), QStringLiteral("Activated"));
        signal << QVariant::fromValue(QDBusObjectPath(session)) << id << qulonglong(1)
               << QVariantMap();
        m_bus.send(signal);
    }

public Q_SLOTS:
    QDBusObjectPath CreateSession(const QVariantMap& options) {
        const QString token = options.value(QStringLiteral("session_handle_token")).toString();
        sessionTokens << token;
        QList<Shortcut> named;
        options.value(QStringLiteral("shortcuts")).value<QDBusArgument>() >> named;
        createCalls << named;
        // As xdg-desktop-portal does: the handle arrives as a string.
        return answer(options, 0,
                      {{QStringLiteral("session_handle"),
                        QStringLiteral("/org/freedesktop/portal/desktop/session/1_1/") + token}});
    }

    QDBusObjectPath ListShortcuts(const QDBusObjectPath& session, const QVariantMap& options) {
        return answer(options, 0,
                      {{QStringLiteral("shortcuts"),
                        QVariant::fromValue(remembered.value(tokenOf(session)))}});
    }

    QDBusObjectPath BindShortcuts(const QDBusObjectPath& session, const QList<Shortcut>& shortcuts,
                                  const QString&, const QVariantMap& options) {
        bindCalls << shortcuts;
        QList<Shortcut> bound;
        for (const Shortcut& shortcut : shortcuts) {
            bound << Shortcut{
                shortcut.id,
                {{QStringLiteral("description"),
                  shortcut.properties.value(QStringLiteral("description"))},
                 {QStringLiteral("trigger_description"), QStringLiteral("Ctrl+Shift+6")}}};
        }
        if (bindAnswer == 0) {
            remembered[tokenOf(session)] = bound;
        }
        return answer(options, bindAnswer,
                      {{QStringLiteral("shortcuts"), QVariant::fromValue(bound)}});
    }

private:
    static QString tokenOf(const QDBusObjectPath& session) {
        return session.path().section(QLatin1Char('/'), -1);
    }

    QDBusObjectPath answer(const QVariantMap& options, uint code, const QVariantMap& results) {
        QString sender = message().service().mid(1);
        sender.replace(QLatin1Char('.'), QLatin1Char('_'));
        const QString path =
            QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
                .arg(sender, options.value(QStringLiteral("handle_token")).toString());
        QTimer::singleShot(0, this, [this, path, code, results] {
            QDBusMessage signal = QDBusMessage::createSignal(
                path, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
            signal << code << results;
            m_bus.send(signal);
        });
        return QDBusObjectPath(path);
    }

    QDBusConnection m_bus;
};

class PortalGlobalShortcutsTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!QDBusConnection::sessionBus().isConnected()) {
            GTEST_SKIP() << "no session bus (run the tests under dbus-run-session)";
        }
        qDBusRegisterMetaType<Shortcut>();
        qDBusRegisterMetaType<QList<Shortcut>>();
        fakeBus =
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("fake"));
        portal = std::make_unique<FakeShortcutsPortal>(fakeBus);
        ASSERT_TRUE(fakeBus.registerObject(
            QStringLiteral("/org/freedesktop/portal/desktop"), portal.get(),
            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties));
        ASSERT_TRUE(fakeBus.registerService(fakePortalName()));
    }

    void TearDown() override {
        if (portal) {
            fakeBus.unregisterService(fakePortalName());
            fakeBus.unregisterObject(QStringLiteral("/org/freedesktop/portal/desktop"));
            portal.reset();
        }
        QDBusConnection::disconnectFromBus(QStringLiteral("fake"));
    }

    struct Client {
        PortalGlobalShortcuts shortcuts{QDBusConnection::sessionBus(), fakePortalName()};
        QStringList bound;
        QStringList problems;
        bool unavailable = false;
        int activations = 0;

        Client() {
            shortcuts.onBound = [this](const QString& trigger) { bound << trigger; };
            shortcuts.onProblem = [this](const QString& reason) { problems << reason; };
            shortcuts.onActivated = [this] { ++activations; };
            shortcuts.onUnavailable = [this] { unavailable = true; };
        }
        bool settled() const { return !bound.isEmpty() || !problems.isEmpty() || unavailable; }
    };

    QDBusConnection fakeBus{QString()};
    std::unique_ptr<FakeShortcutsPortal> portal;
};

TEST_F(PortalGlobalShortcutsTest, BindsOnceThenFindsTheBindingOnLaterStarts) {
    {
        Client first;
        first.shortcuts.start(QStringLiteral("CTRL+SHIFT+6"));
        ASSERT_TRUE(QTest::qWaitFor([&] { return first.settled(); }, 5000));
        EXPECT_EQ(first.bound, QStringList{QStringLiteral("Ctrl+Shift+6")});
        // The shortcut goes into CreateSession too: the portal's draft API binds only that.
        ASSERT_EQ(portal->bindCalls.size(), 1);
        ASSERT_EQ(portal->createCalls.size(), 1);
        for (const QList<Shortcut>& named : {portal->bindCalls[0], portal->createCalls[0]}) {
            ASSERT_EQ(named.size(), 1);
            EXPECT_EQ(named[0].id, QStringLiteral("capture"));
            EXPECT_EQ(named[0].properties.value(QStringLiteral("preferred_trigger")),
                      QStringLiteral("CTRL+SHIFT+6"));
            EXPECT_EQ(named[0].properties.value(QStringLiteral("description")),
                      QStringLiteral("Capture screen area"));
        }
    }
    // The next run uses the same session token and does not ask the desktop again.
    Client second;
    second.shortcuts.start(QStringLiteral("CTRL+ALT+K"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return second.settled(); }, 5000));
    EXPECT_EQ(second.bound, QStringList{QStringLiteral("Ctrl+Shift+6")});
    EXPECT_EQ(portal->bindCalls.size(), 1);
    EXPECT_EQ(portal->sessionTokens, (QStringList{QStringLiteral("vellumix_capture"),
                                                  QStringLiteral("vellumix_capture")}));
}

TEST_F(PortalGlobalShortcutsTest, OnlyItsOwnShortcutInItsOwnSessionStartsACapture) {
    Client client;
    client.shortcuts.start(QStringLiteral("CTRL+SHIFT+6"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return client.settled(); }, 5000));
    const QString session =
        QStringLiteral("/org/freedesktop/portal/desktop/session/1_1/vellumix_capture");
    portal->activate(session, QStringLiteral("capture"));
    portal->activate(session, QStringLiteral("something-else"));
    portal->activate(QStringLiteral("/org/freedesktop/portal/desktop/session/1_1/other"),
                     QStringLiteral("capture"));
    // The signals arrive in order: once the first has, the other two would have as well.
    EXPECT_TRUE(QTest::qWaitFor([&] { return client.activations > 0; }, 5000));
    QTest::qWait(200);
    EXPECT_EQ(client.activations, 1);
}

TEST_F(PortalGlobalShortcutsTest, RefusedBindingIsReported) {
    portal->bindAnswer = 1;
    Client client;
    client.shortcuts.start(QStringLiteral("CTRL+SHIFT+6"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return client.settled(); }, 5000));
    EXPECT_TRUE(client.bound.isEmpty());
    EXPECT_EQ(client.problems,
              QStringList{QStringLiteral("the capture shortcut was not allowed by the user")});
}

TEST_F(PortalGlobalShortcutsTest, DesktopWithoutThePortalIsToldApart) {
    Client client;
    // A portal service without the GlobalShortcuts interface, as on GNOME 43.
    fakeBus.unregisterObject(QStringLiteral("/org/freedesktop/portal/desktop"));
    client.shortcuts.start(QStringLiteral("CTRL+SHIFT+6"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return client.settled(); }, 5000));
    EXPECT_TRUE(client.unavailable);
    EXPECT_TRUE(client.bound.isEmpty());
    EXPECT_TRUE(portal->sessionTokens.isEmpty());
}

TEST(PortalTrigger, NamesModifiersAndKeysTheWayThePortalReadsThem) {
    EXPECT_EQ(portalTrigger(22, 0x300), QStringLiteral("CTRL+SHIFT+6"));
    EXPECT_EQ(portalTrigger(40, 0x1800), QStringLiteral("ALT+LOGO+k"));
    EXPECT_EQ(portalTrigger(49, 0x100), QStringLiteral("CTRL+space"));
    EXPECT_EQ(portalTrigger(105, 0), QStringLiteral("Print"));
    EXPECT_EQ(portalTrigger(0, 0x300), QString());
}

} // namespace

#include "PortalGlobalShortcutsTest.moc"

TEST(ShortcutRoute, TheSessionDecidesUnlessTheUserNamesARoute) {
    const auto session = [](DisplaySession::Kind kind, const char* platform, bool xwayland) {
        DisplaySession s;
        s.kind = kind;
        s.platformName = QString::fromLatin1(platform);
        s.viaXWayland = xwayland;
        return s;
    };
    using K = DisplaySession::Kind;
    const struct {
        DisplaySession session;
        const char* override;
        ShortcutRoute expected;
    } cases[] = {
        {session(K::x11, "xcb", false), "", ShortcutRoute::x11},
        {session(K::wayland, "wayland", false), "", ShortcutRoute::portal},
        {session(K::wayland, "xcb", true), "", ShortcutRoute::portal},
        {session(K::headless, "offscreen", false), "portal", ShortcutRoute::none},
        {session(K::x11, "xcb", false), "portal", ShortcutRoute::portal},
        {session(K::wayland, "xcb", true), "x11", ShortcutRoute::x11},
        // No X server of its own under native Wayland; unknown words change nothing.
        {session(K::wayland, "wayland", false), "x11", ShortcutRoute::portal},
        {session(K::x11, "xcb", false), "kde", ShortcutRoute::x11},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(shortcutRoute(c.session, QString::fromLatin1(c.override)), c.expected)
            << qPrintable(describe(c.session)) << " with \"" << c.override << '"';
    }
}
