#include "app/AccessibleRoles.h"
#include "app/AppAssistant.h"
#include "app/AppDelegate.h"
#include "app/DocumentOpener.h"
#include "app/GlobalShortcut.h"
#include "app/IdleMemory.h"
#include "app/OpenPanel.h"
#include "app/QuitShortcut.h"
#include "app/SettingsWindowController.h"
#include "app/SingleInstance.h"
#include "capture/CaptureController.h"
#include "library/Keychain.h"
#include "library/Settings.h"
#include "platform/LoginItem.h"
#include "platform/OcrEnvironment.h"
#include "platform/SecretServiceKeychain.h"
#include "platform/TerminationSignals.h"

#include <QApplication>
#include <QTimer>

namespace {

// What a launch asks for: files to open, and whether to capture at once (or after `--delay N`
// seconds).
struct LaunchRequest {
    QStringList files;
    bool captureNow = false;
    int captureDelay = 0;
};

LaunchRequest readArguments() {
    LaunchRequest request;
    const QStringList arguments = QApplication::arguments().mid(1);
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (argument == QLatin1String("--capture")) {
            request.captureNow = true;
        } else if (argument == QLatin1String("--delay") && i + 1 < arguments.size()) {
            request.captureDelay = std::max(arguments[++i].toInt(), 0);
        } else if (!argument.startsWith(QLatin1Char('-'))) {
            request.files << argument;
        }
    }
    return request;
}

void describeApplication() {
    QApplication::setApplicationName(QStringLiteral("Vellumix"));
    QApplication::setOrganizationName(QStringLiteral("Vellumix"));
    QApplication::setDesktopFileName(QStringLiteral("vellumix"));
    QApplication::setWindowIcon(vellumix::applicationIcon());
    vellumix::installAccessibleRoles();
    // A tray application: closing the last editor window must not quit it.
    QApplication::setQuitOnLastWindowClosed(false);
}

// Captures, pastes and opens asked for from the status menu, the home window or a later
// launch.
void connectShell(vellumix::DocumentOpener& opener, vellumix::AppDelegate& delegate,
                  vellumix::SingleInstance& instance, vellumix::CaptureController& capture) {
    capture.onCaptured = [&opener](QImage image) {
        opener.openNewImage(std::move(image), std::nullopt);
    };
    // A capture started from the home window hides it; cancelled or failed, it comes back.
    capture.onCancelled = [&delegate, &opener] {
        delegate.captureEndedWithoutPicture();
        opener.releaseMemorySoon();
    };
    capture.onFailed = capture.onCancelled;
    delegate.onCapture = [&capture] { capture.start(); };
    delegate.onDelayedCapture = [&capture](int seconds) { capture.start(seconds); };
    instance.onCapture = [&capture](int seconds) { capture.start(seconds); };
    capture.onCountdown = [&delegate](int secondsLeft) { delegate.showCountdown(secondsLeft); };
    instance.onActivate = [&delegate] { delegate.showHomeWindow(); };
    delegate.onPaste = [&opener] { opener.openFromClipboard(); };
    delegate.onOpen = [&opener] {
        if (const auto request = vellumix::runOpenPanel()) {
            opener.open(*request);
        }
    };
}

} // namespace

int main(int argc, char* argv[]) {
    // Text recognition runs one engine per core; OpenMP threads inside each would fight them.
    // The variable must be set before the process starts: without it, this restarts once.
    vellumix::ensureOcrThreadLimit(argc, argv);
    QApplication app(argc, argv);
    describeApplication();

    const auto [files, captureNow, captureDelay] = readArguments();
    // A second launch hands its files (and --capture) to the running Vellumix and ends.
    vellumix::SingleInstance instance;
    if (!instance.claim(files, captureNow, QDBusConnection::sessionBus(), captureDelay)) {
        return 0;
    }

    // Logging out or `kill` quits like the Quit item: windows save on their way out.
    vellumix::quitOnTerminationSignals([] { QCoreApplication::quit(); });
    // So does Ctrl+Q in any of its windows.
    vellumix::QuitShortcut quitShortcut([] { QCoreApplication::quit(); });

    vellumix::DocumentOpener opener(vellumix::Settings::shared());
    vellumix::AppDelegate delegate(opener);
    // Files handed over on the command line or by a later launch open as if chosen in the
    // open panel.
    const auto openAll = [&opener](const QStringList& paths) {
        for (const QString& path : paths) {
            opener.openPath(path);
        }
    };
    instance.onOpenFiles = openAll;
    vellumix::CaptureController capture;
    connectShell(opener, delegate, instance, capture);

    // The capture shortcut, pressed anywhere; shown beside "Capture" in the status menu.
    vellumix::Settings& settings = vellumix::Settings::shared();
    vellumix::GlobalShortcut globalShortcut(settings, [&capture] { capture.start(); });
    const auto applyShortcut = [&] {
        globalShortcut.refresh();
        delegate.showCaptureShortcut(settings.captureKeyCode(), settings.captureModifierFlags());
    };

    // The settings window, made the first time it is asked for.
    vellumix::SecretServiceKeychain keychain(vellumix::ApiKeyStore::service);
    vellumix::LoginItem loginItem;
    std::unique_ptr<vellumix::SettingsWindowController> settingsWindow;

    // The assistant's clients and its prompt field in every window.
    vellumix::AppAssistant assistant(opener, settings, keychain);
    delegate.onSettings = [&] {
        if (!settingsWindow) {
            settingsWindow =
                std::make_unique<vellumix::SettingsWindowController>(vellumix::SettingsServices{
                    settings, keychain, loginItem, [&keychain] { return keychain.lastProblem(); },
                    [&globalShortcut] { return globalShortcut.problem(); }});
            settingsWindow->onShortcutChanged = applyShortcut;
            settingsWindow->onApiKeyChanged = [&assistant] { assistant.apiKeyChanged(); };
        }
        settingsWindow->showWindow();
    };

    QTimer::singleShot(
        0, &delegate,
        [&delegate, &capture, applyShortcut, openAll, files, captureNow, captureDelay] {
            delegate.applicationDidFinishLaunching(files.isEmpty() && !captureNow);
            applyShortcut();
            openAll(files);
            if (captureNow) {
                capture.start(captureDelay);
            }
            // Start-up's scratch memory goes back to the system: the tray
            // process mostly waits.
            QTimer::singleShot(1000, &vellumix::IdleMemory::releaseNow);
        });
    return QApplication::exec();
}
