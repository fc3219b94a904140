// Global key grabs against a real X server: the test starts its own Xvfb, presses keys with
// xdotool as a user would, and has a second process hold a combination to see the refusal.
#include "x11/X11KeyGrab.h"

#include <QDir>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

using namespace vellumix;

namespace {

constexpr std::uint32_t keysym6 = 0x36, keysymP = 0x70, keysymPrint = 0xff61;
using Grab = X11KeyGrab;

class X11KeyGrabTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (QStandardPaths::findExecutable("Xvfb").isEmpty() ||
            QStandardPaths::findExecutable("xdotool").isEmpty()) {
            GTEST_SKIP() << "Xvfb and xdotool are needed";
        }
        // A display number of its own: the process id keeps parallel runs apart.
        m_display = QStringLiteral(":%1").arg(200 + QCoreApplication::applicationPid() % 300);
        m_server.start(QStringLiteral("Xvfb"),
                       {m_display, QStringLiteral("-screen"), QStringLiteral("0"),
                        QStringLiteral("640x480x24"), QStringLiteral("-nolisten"),
                        QStringLiteral("tcp")});
        ASSERT_TRUE(m_server.waitForStarted());
        for (int attempt = 0; attempt < 100 && !m_connection; ++attempt) {
            xcb_connection_t* c = xcb_connect(qPrintable(m_display), nullptr);
            if (xcb_connection_has_error(c)) {
                xcb_disconnect(c);
                QThread::msleep(50);
            } else {
                m_connection = c;
            }
        }
        ASSERT_NE(m_connection, nullptr) << "Xvfb did not start";
        m_grab = std::make_unique<X11KeyGrab>(m_connection);
        m_grab->onPress = [this](Grab::Combination pressed) { m_pressed.push_back(pressed); };
    }

    void TearDown() override {
        m_grab.reset();
        if (m_connection) {
            xcb_disconnect(m_connection);
        }
        m_server.terminate();
        m_server.waitForFinished();
    }

    void press(const QString& keys) {
        QProcess xdotool;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DISPLAY"), m_display);
        xdotool.setProcessEnvironment(env);
        xdotool.start(QStringLiteral("xdotool"), {QStringLiteral("key"), keys});
        ASSERT_TRUE(xdotool.waitForFinished(10000));
    }

    // Reads the connection's events for a while, as the app's event loop would.
    void pumpEvents(int milliseconds) {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < milliseconds) {
            while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
                m_grab->handleEvent(event);
                std::free(event);
            }
            QThread::msleep(10);
        }
    }

    QString m_display;
    QProcess m_server;
    xcb_connection_t* m_connection = nullptr;
    std::unique_ptr<X11KeyGrab> m_grab;
    std::vector<Grab::Combination> m_pressed;
};

TEST_F(X11KeyGrabTest, PressesOfGrabbedCombinationsArriveWhateverTheLockKeys) {
    const Grab::Combination ctrlShift6{keysym6, Grab::controlMask | Grab::shiftMask};
    const Grab::Combination print{keysymPrint, 0};
    EXPECT_TRUE(m_grab->grab({ctrlShift6, print}).empty());

    press(QStringLiteral("ctrl+shift+6"));
    press(QStringLiteral("Print"));
    press(QStringLiteral("ctrl+6")); // not grabbed: no Shift
    press(QStringLiteral("ctrl+Print"));
    press(QStringLiteral("Caps_Lock")); // CapsLock on: the shortcut still works
    press(QStringLiteral("ctrl+shift+6"));
    press(QStringLiteral("Caps_Lock"));
    pumpEvents(400);
    EXPECT_EQ(m_pressed, (std::vector{ctrlShift6, print, ctrlShift6}));
}

TEST_F(X11KeyGrabTest, ReplacedCombinationsNoLongerFire) {
    const Grab::Combination old{keysym6, Grab::controlMask | Grab::shiftMask};
    const Grab::Combination replacement{keysymP, Grab::altMask | Grab::superMask};
    m_grab->grab({old});
    EXPECT_TRUE(m_grab->grab({replacement}).empty());
    press(QStringLiteral("ctrl+shift+6"));
    press(QStringLiteral("alt+super+p"));
    pumpEvents(400);
    EXPECT_EQ(m_pressed, std::vector{replacement});

    m_grab->ungrabAll();
    press(QStringLiteral("alt+super+p"));
    pumpEvents(300);
    EXPECT_EQ(m_pressed.size(), 1u);
}

TEST_F(X11KeyGrabTest, CombinationHeldByAnotherProgramIsRefused) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const QByteArray display = m_display.toLocal8Bit();
    const pid_t holder = fork();
    ASSERT_GE(holder, 0);
    if (holder == 0) {
        // Another program: grabs Ctrl+Alt+P (keycodes found the same way) and keeps it.
        xcb_connection_t* c = xcb_connect(display.constData(), nullptr);
        X11KeyGrab other(c);
        const bool granted = other.grab({{keysymP, Grab::controlMask | Grab::altMask}}).empty();
        const char answer = granted ? 'y' : 'n';
        (void)!write(ready[1], &answer, 1);
        pause();
        _exit(0);
    }
    char answer = 0;
    ASSERT_EQ(read(ready[0], &answer, 1), 1);
    EXPECT_EQ(answer, 'y');

    const Grab::Combination taken{keysymP, Grab::controlMask | Grab::altMask};
    const Grab::Combination free{keysym6, Grab::controlMask | Grab::shiftMask};
    EXPECT_EQ(m_grab->grab({taken, free}), std::vector{taken});
    press(QStringLiteral("ctrl+shift+6"));
    pumpEvents(300);
    EXPECT_EQ(m_pressed, std::vector{free});

    kill(holder, SIGTERM);
    waitpid(holder, nullptr, 0);
    close(ready[0]);
    close(ready[1]);
}

TEST_F(X11KeyGrabTest, KeysymWithoutAKeyIsRefused) {
    // A character (U+0FFF) that no key of the default layout produces.
    const Grab::Combination unmapped{0x1000fff, Grab::controlMask};
    EXPECT_EQ(m_grab->grab({unmapped}), std::vector{unmapped});
}

} // namespace
