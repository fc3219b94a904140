#include "capture/PortalScreenGrabber.h"

#include "portals/PortalRequest.h"
#include "support/Pictures.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QUrl>

#include <gtest/gtest.h>

using namespace vellumix;
using namespace std::chrono_literals;

namespace {

// Tests run in parallel on one session bus: each process's fake portal has a name of its own.
QString fakePortalName() {
    return QStringLiteral("org.vellumix.test.Portal%1").arg(QCoreApplication::applicationPid());
}

const QString fakeConnectionName = QStringLiteral("fake-portal");

// A stand-in for xdg-desktop-portal's Screenshot interface, on its own bus connection so that
// calls and signals really travel through the bus daemon.
class FakeScreenshotPortal final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Screenshot")
public:
    enum class Answer {
        picture,          // Response 0 with a PNG, sent before the method's reply
        pictureOtherPath, // like an old portal: its own request path, Response after the reply
        unreadableFile,   // Response 0 naming a file that is no image
        cancelled,        // Response 1
        otherFailure,     // Response 2
        silent,           // a reply, then nothing
        errorReply,       // a D-Bus error instead of a reply
    };

    explicit FakeScreenshotPortal(QDBusConnection bus) : m_bus(std::move(bus)) {}

    Answer answer = Answer::picture;
    QImage picture;
    QString folder;

    int calls = 0;
    QString parentWindowSeen;
    QVariantMap optionsSeen;
    QString requestPathUsed;
    QString fileWritten;

public Q_SLOTS:
    QDBusObjectPath Screenshot(const QString& parentWindow, const QVariantMap& options) {
        ++calls;
        parentWindowSeen = parentWindow;
        optionsSeen = options;
        // What xdg-desktop-portal does: ":1.7" and token "t" give ".../request/1_7/t".
        QString sender = message().service().mid(1);
        sender.replace(QLatin1Char('.'), QLatin1Char('_'));
        requestPathUsed =
            QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
                .arg(sender, options.value(QStringLiteral("handle_token")).toString());

        switch (answer) {
        case Answer::picture: {
            // Response first, then the reply: the caller must already be listening.
            setDelayedReply(true);
            const QDBusMessage reply =
                message().createReply(QVariant::fromValue(QDBusObjectPath(requestPathUsed)));
            respond(0, writePicture());
            m_bus.send(reply);
            return {};
        }
        case Answer::pictureOtherPath: {
            requestPathUsed = QStringLiteral("/org/freedesktop/portal/desktop/request/legacy/42");
            const QVariantMap results = writePicture();
            // Late enough for the caller to have read the reply and moved its subscription.
            QTimer::singleShot(200, this, [this, results] { respond(0, results); });
            return QDBusObjectPath(requestPathUsed);
        }
        case Answer::unreadableFile: {
            fileWritten = folder + QStringLiteral("/broken.png");
            QFile file(fileWritten);
            file.open(QIODevice::WriteOnly);
            file.write("not a picture");
            file.close();
            const QVariantMap results{
                {QStringLiteral("uri"), QUrl::fromLocalFile(fileWritten).toString()}};
            QTimer::singleShot(0, this, [this, results] { respond(0, results); });
            return QDBusObjectPath(requestPathUsed);
        }
        case Answer::cancelled:
            QTimer::singleShot(0, this, [this] { respond(1, {}); });
            return QDBusObjectPath(requestPathUsed);
        case Answer::otherFailure:
            QTimer::singleShot(0, this, [this] { respond(2, {}); });
            return QDBusObjectPath(requestPathUsed);
        case Answer::silent:
            return QDBusObjectPath(requestPathUsed);
        case Answer::errorReply:
            sendErrorReply(QDBusError::AccessDenied, QStringLiteral("screenshots are not allowed"));
            return {};
        }
        return {};
    }

private:
    QVariantMap writePicture() {
        fileWritten = folder + QStringLiteral("/Screenshot.png");
        picture.save(fileWritten, "PNG");
        return {{QStringLiteral("uri"), QUrl::fromLocalFile(fileWritten).toString()}};
    }

    void respond(uint code, const QVariantMap& results) {
        QDBusMessage signal = QDBusMessage::createSignal(
            requestPathUsed, QStringLiteral("org.freedesktop.portal.Request"),
            QStringLiteral("Response"));
        signal.setArguments({QVariant::fromValue(code), QVariant::fromValue(results)});
        m_bus.send(signal);
    }

    QDBusConnection m_bus;
};

struct Outcome {
    int doneCalls = 0;
    int failedCalls = 0;
    ScreenGrab grab;
    QString reason;

    bool answered() const { return doneCalls + failedCalls > 0; }
};

// 40 × 30, every pixel different, including a translucent column: a lossless round trip
// through the PNG leaves each one as it was.
QImage knownPicture() {
    return vellumix::testing::generate(
        QSize(40, 30),
        [](int x, int y) { return qRgba(x * 6, y * 8, (x + y) % 256, x == 39 ? 128 : 255); },
        QImage::Format_ARGB32);
}

class PortalScreenGrabberTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!QDBusConnection::sessionBus().isConnected()) {
            GTEST_SKIP() << "no session bus (run the tests under dbus-run-session)";
        }
        ASSERT_TRUE(folder.isValid());
        fakeBus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, fakeConnectionName);
        ASSERT_TRUE(fakeBus.isConnected());
        portal = std::make_unique<FakeScreenshotPortal>(fakeBus);
        portal->picture = knownPicture();
        portal->folder = folder.path();
        ASSERT_TRUE(fakeBus.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"),
                                           portal.get(), QDBusConnection::ExportAllSlots));
        ASSERT_TRUE(fakeBus.registerService(fakePortalName()));
    }

    void TearDown() override {
        if (portal) {
            fakeBus.unregisterService(fakePortalName());
            fakeBus.unregisterObject(QStringLiteral("/org/freedesktop/portal/desktop"));
            portal.reset();
        }
        QDBusConnection::disconnectFromBus(fakeConnectionName);
    }

    void grab(PortalScreenGrabber& grabber, Outcome& outcome) {
        grabber.grab(
            QGuiApplication::primaryScreen(),
            [&outcome](ScreenGrab grab) {
                ++outcome.doneCalls;
                outcome.grab = std::move(grab);
            },
            [&outcome](QString reason) {
                ++outcome.failedCalls;
                outcome.reason = std::move(reason);
            });
    }

    // Grabs and waits for the first answer, then a little past `timeout` so a second answer
    // (a timer left running, a late signal) would be counted.
    Outcome grabAndSettle(std::chrono::milliseconds timeout) {
        PortalScreenGrabber grabber(QDBusConnection::sessionBus(), timeout, fakePortalName());
        Outcome outcome;
        grab(grabber, outcome);
        EXPECT_TRUE(QTest::qWaitFor([&] { return outcome.answered(); }, 5000));
        QTest::qWait(static_cast<int>(timeout.count()) + 200);
        return outcome;
    }

    QTemporaryDir folder;
    QDBusConnection fakeBus{QString()};
    std::unique_ptr<FakeScreenshotPortal> portal;
};

TEST_F(PortalScreenGrabberTest, DeliversThePortalsPicturePixelForPixelAndRemovesTheFile) {
    const Outcome outcome = grabAndSettle(400ms);

    ASSERT_EQ(outcome.doneCalls, 1) << outcome.reason.toStdString();
    EXPECT_EQ(outcome.failedCalls, 0);
    EXPECT_EQ(portal->calls, 1);
    EXPECT_EQ(portal->parentWindowSeen, QString());
    EXPECT_EQ(portal->optionsSeen.value(QStringLiteral("modal")), QVariant(true));
    EXPECT_EQ(portal->optionsSeen.value(QStringLiteral("interactive")), QVariant(false));
    const QString token = portal->optionsSeen.value(QStringLiteral("handle_token")).toString();
    EXPECT_FALSE(token.isEmpty());
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^[A-Za-z0-9_]+$")).match(token).hasMatch())
        << token.toStdString();

    // The offscreen platform has one screen, so the picture is that screen as it is.
    const ScreenGrab& grab = outcome.grab;
    const QImage expected = knownPicture();
    ASSERT_EQ(grab.image.size(), QSize(40, 30));
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 40; ++x) {
            ASSERT_EQ(grab.image.pixel(x, y), expected.pixel(x, y)) << x << "," << y;
        }
    }
    EXPECT_EQ(grab.image.devicePixelRatio(), 1.0);
    EXPECT_EQ(grab.geometry, QGuiApplication::primaryScreen()->geometry());
    EXPECT_EQ(grab.devicePixelRatio, QGuiApplication::primaryScreen()->devicePixelRatio());
    EXPECT_FALSE(QFile::exists(portal->fileWritten));
}

TEST_F(PortalScreenGrabberTest, FollowsTheRequestPathThePortalReturns) {
    portal->answer = FakeScreenshotPortal::Answer::pictureOtherPath;
    const Outcome outcome = grabAndSettle(1000ms);

    ASSERT_EQ(outcome.doneCalls, 1) << outcome.reason.toStdString();
    EXPECT_EQ(outcome.failedCalls, 0);
    EXPECT_EQ(outcome.grab.image.size(), QSize(40, 30));
    EXPECT_FALSE(QFile::exists(portal->fileWritten));
}

TEST_F(PortalScreenGrabberTest, GivesUpWhenThePortalNeverResponds) {
    portal->answer = FakeScreenshotPortal::Answer::silent;
    QElapsedTimer clock;
    clock.start();
    PortalScreenGrabber grabber(QDBusConnection::sessionBus(), 250ms, fakePortalName());
    Outcome outcome;
    grab(grabber, outcome);
    ASSERT_TRUE(QTest::qWaitFor([&] { return outcome.answered(); }, 5000));
    // QTimer's default coarse timers may fire up to 5 % early.
    EXPECT_GE(clock.elapsed(), 235);
    QTest::qWait(300);

    EXPECT_EQ(outcome.doneCalls, 0);
    EXPECT_EQ(outcome.failedCalls, 1);
    EXPECT_TRUE(outcome.reason.contains(QStringLiteral("did not answer within 0.25 s")))
        << outcome.reason.toStdString();
}

TEST_F(PortalScreenGrabberTest, FailuresReportAReasonAndDeliverNothing) {
    using Answer = FakeScreenshotPortal::Answer;
    const struct {
        Answer answer;
        const char* reason; // part of the reason given
    } cases[] = {{Answer::cancelled, "cancelled"},
                 {Answer::otherFailure, "response 2"},
                 {Answer::errorReply, "screenshots are not allowed"},
                 {Answer::unreadableFile, ""}};
    for (const auto& c : cases) {
        SCOPED_TRACE(int(c.answer));
        portal->answer = c.answer;
        const Outcome outcome = grabAndSettle(300ms);
        EXPECT_EQ(outcome.doneCalls, 0);
        EXPECT_EQ(outcome.failedCalls, 1);
        EXPECT_TRUE(outcome.reason.contains(QLatin1String(c.reason)))
            << outcome.reason.toStdString();
    }
    EXPECT_FALSE(QFile::exists(portal->fileWritten)); // the unreadable one

    // No portal on the bus at all.
    fakeBus.unregisterService(fakePortalName());
    const Outcome absent = grabAndSettle(300ms);
    EXPECT_EQ(absent.doneCalls, 0);
    EXPECT_EQ(absent.failedCalls, 1);
}

TEST_F(PortalScreenGrabberTest, AGrabberDestroyedWhileWaitingCallsNothing) {
    portal->answer = FakeScreenshotPortal::Answer::pictureOtherPath;
    Outcome outcome;
    {
        PortalScreenGrabber grabber(QDBusConnection::sessionBus(), 100ms, fakePortalName());
        grab(grabber, outcome);
        ASSERT_TRUE(QTest::qWaitFor([&] { return portal->calls == 1; }, 5000));
    }
    // Past both the portal's Response and the old timeout.
    QTest::qWait(400);
    EXPECT_EQ(outcome.doneCalls, 0);
    EXPECT_EQ(outcome.failedCalls, 0);
}

TEST(PortalRequestPath, IsBuiltFromTheUniqueNameAndToken) {
    EXPECT_EQ(portalRequestPath(QStringLiteral(":1.42"), QStringLiteral("vellumix_7")),
              QStringLiteral("/org/freedesktop/portal/desktop/request/1_42/vellumix_7"));
    EXPECT_EQ(portalRequestPath(QStringLiteral(":1.1.3"), QStringLiteral("t")),
              QStringLiteral("/org/freedesktop/portal/desktop/request/1_1_3/t"));
}

// Left of x = 2000 red, right of it blue, a green pixel at (2000, 0): a 3200 × 1000 desktop
// picture of two screens at scale 2.
QImage twoScreenDesktop() {
    QImage image = vellumix::testing::generate(
        QSize(3200, 1000), [](int x, int) { return x < 2000 ? qRgb(255, 0, 0) : qRgb(0, 0, 255); });
    image.setPixel(2000, 0, qRgb(0, 255, 0));
    return image;
}

TEST(PortalImageForScreen, CutsTheScreenOutOfAWholeDesktopPicture) {
    // Screens (0,0 1000×500) and (1000,0 600×400) at scale 2: desktop 1600×500 logical,
    // 3200×1000 device; the second screen is device (2000,0 1200×800).
    const QImage desktop = twoScreenDesktop();
    const QImage right = capture::portalImageForScreen(desktop, QRect(1000, 0, 600, 400),
                                                       QRect(0, 0, 1600, 500), 2.0);
    ASSERT_EQ(right.size(), QSize(1200, 800));
    EXPECT_EQ(right.pixel(0, 0), qRgb(0, 255, 0));
    EXPECT_EQ(right.pixel(1, 0), qRgb(0, 0, 255));
    EXPECT_EQ(right.pixel(1199, 799), qRgb(0, 0, 255));
    EXPECT_EQ(right.devicePixelRatio(), 1.0);

    const QImage left =
        capture::portalImageForScreen(desktop, QRect(0, 0, 1000, 500), QRect(0, 0, 1600, 500), 2.0);
    ASSERT_EQ(left.size(), QSize(2000, 1000));
    EXPECT_EQ(left.pixel(1999, 999), qRgb(255, 0, 0));

    // A desktop reaching left of the origin: screen (-800,0 800×600) next to (0,0 1000×600),
    // scale 1.25; desktop 2250×750 device, the second screen starts at device x 1000.
    QImage shifted(2250, 750, QImage::Format_RGB32);
    shifted.fill(Qt::black);
    shifted.setPixel(1000, 0, qRgb(1, 2, 3));
    const QImage second = capture::portalImageForScreen(shifted, QRect(0, 0, 1000, 600),
                                                        QRect(-800, 0, 1800, 600), 1.25);
    ASSERT_EQ(second.size(), QSize(1250, 750));
    EXPECT_EQ(second.pixel(0, 0), qRgb(1, 2, 3));
}

TEST(PortalImageForScreen, TakesAPictureOfAnyOtherSizeAsTheScreenItself) {
    QImage screenOnly(1200, 800, QImage::Format_RGB32);
    screenOnly.fill(Qt::white);
    screenOnly.setDevicePixelRatio(2.0);
    const QImage result = capture::portalImageForScreen(screenOnly, QRect(1000, 0, 600, 400),
                                                        QRect(0, 0, 1600, 500), 2.0);
    EXPECT_EQ(result.size(), QSize(1200, 800));
    EXPECT_EQ(result.devicePixelRatio(), 1.0);
}

} // namespace

#include "PortalScreenGrabberTest.moc"
