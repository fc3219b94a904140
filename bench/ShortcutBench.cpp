// From the capture shortcut's key press to the capture overlay's first frame, on an X server of
// its own (Xvfb, 2560 x 1440): the key goes through the X server as a real press (XTest), the
// root-window grab hands it to the app, and the overlay freezes the screen and paints.
#include "app/GlobalShortcut.h"
#include "capture/CaptureController.h"
#include "capture/CaptureView.h"
#include "library/Settings.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

using namespace vellumix;

namespace {

// XK_Control_L, XK_Shift_L, XK_6.
constexpr xcb_keysym_t controlKey = 0xffe3, shiftKey = 0xffe1, sixKey = 0x36;

// A second client that types, as xdotool would, but without a process start in the timing.
class Typist {
public:
    Typist() : m_connection(xcb_connect(nullptr, nullptr)) {
        m_symbols = xcb_key_symbols_alloc(m_connection);
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    }
    ~Typist() {
        xcb_key_symbols_free(m_symbols);
        xcb_disconnect(m_connection);
    }
    void key(xcb_keysym_t keysym, bool down) {
        xcb_keycode_t* codes = xcb_key_symbols_get_keycode(m_symbols, keysym);
        xcb_test_fake_input(m_connection, down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, codes[0],
                            XCB_CURRENT_TIME, m_root, 0, 0, 0);
        std::free(codes);
        xcb_flush(m_connection);
    }

private:
    xcb_connection_t* m_connection;
    xcb_key_symbols_t* m_symbols;
    xcb_window_t m_root;
};

// Notes when a capture overlay paints for the first time.
struct OverlayPaintWatch final : QObject {
    bool painted = false;
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint && qobject_cast<CaptureView*>(watched)) {
            painted = true;
        }
        return QObject::eventFilter(watched, event);
    }
};

void ShortcutToOverlay(benchmark::State& state) {
    QTemporaryDir dir;
    Settings settings{DefaultsStore(dir.filePath("defaults.json"))};
    CaptureController capture;
    GlobalShortcut shortcut(settings, [&capture] { capture.start(); });
    shortcut.refresh();
    if (!shortcut.problem().isEmpty()) {
        state.SkipWithError(qPrintable(shortcut.problem()));
        return;
    }
    Typist typist;
    OverlayPaintWatch watch;
    qApp->installEventFilter(&watch);
    for (auto _ : state) {
        state.PauseTiming();
        typist.key(controlKey, true);
        typist.key(shiftKey, true);
        QApplication::processEvents();
        watch.painted = false;
        state.ResumeTiming();

        typist.key(sixKey, true);
        QElapsedTimer guard;
        guard.start();
        while (!watch.painted && guard.elapsed() < 5000) {
            QApplication::processEvents(QEventLoop::AllEvents, 1);
        }

        state.PauseTiming();
        if (!watch.painted) {
            state.SkipWithError("no overlay was painted");
        }
        typist.key(sixKey, false);
        typist.key(shiftKey, false);
        typist.key(controlKey, false);
        typist.key(0xff1b, true); // Escape closes the overlay
        typist.key(0xff1b, false);
        for (int i = 0; i < 50 && capture.isRunning(); ++i) {
            QApplication::processEvents(QEventLoop::AllEvents, 10);
        }
        state.ResumeTiming();
    }
    qApp->removeEventFilter(&watch);
}
BENCHMARK(ShortcutToOverlay)->Unit(benchmark::kMillisecond)->Iterations(20);

} // namespace

int main(int argc, char** argv) {
    // An X server of its own, so the grab and the key presses are real and nothing else runs.
    QProcess server;
    const QString display =
        QStringLiteral(":%1").arg(300 + QCoreApplication::applicationPid() % 200);
    server.start(QStringLiteral("Xvfb"), {display, QStringLiteral("-screen"), QStringLiteral("0"),
                                          QStringLiteral("2560x1440x24"),
                                          QStringLiteral("-nolisten"), QStringLiteral("tcp")});
    if (!server.waitForStarted()) {
        return 1;
    }
    qputenv("DISPLAY", display.toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qunsetenv("WAYLAND_DISPLAY");
    for (int attempt = 0; attempt < 100; ++attempt) {
        xcb_connection_t* probe = xcb_connect(nullptr, nullptr);
        const bool up = !xcb_connection_has_error(probe);
        xcb_disconnect(probe);
        if (up) {
            break;
        }
        QThread::msleep(50);
    }
    {
        QApplication app(argc, argv);
        benchmark::Initialize(&argc, argv);
        benchmark::RunSpecifiedBenchmarks();
        benchmark::Shutdown();
    }
    server.terminate();
    server.waitForFinished();
    return 0;
}
