#include "ai/AIService.h"
#include "ai/GeminiService.h"
#include "ai/Routing.h"
#include "app/AccessibleRoles.h"
#include "app/AppDelegate.h"
#include "app/DocumentOpener.h"
#include "app/GlobalShortcut.h"
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

#include <malloc.h>

int main(int argc, char* argv[]) {
    // Text recognition runs one engine per core; OpenMP threads inside each would fight them.
    // The variable must be set before the process starts: without it, this restarts once.
    vellumix::ensureOcrThreadLimit(argc, argv);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vellumix"));
    QApplication::setOrganizationName(QStringLiteral("Vellumix"));
    QApplication::setDesktopFileName(QStringLiteral("vellumix"));
    QApplication::setWindowIcon(vellumix::applicationIcon());
    vellumix::installAccessibleRoles();
    // A tray application: closing the last editor window must not quit it.
    QApplication::setQuitOnLastWindowClosed(false);

    QStringList files;
    bool captureNow = false;
    for (const QString& argument : QApplication::arguments().mid(1)) {
        if (argument == QLatin1String("--capture")) {
            captureNow = true;
        } else if (!argument.startsWith(QLatin1Char('-'))) {
            files << argument;
        }
    }
    // A second launch hands its files (and --capture) to the running Vellumix and ends.
    vellumix::SingleInstance instance;
    if (!instance.claim(files, captureNow)) {
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
    instance.onCapture = [&capture] { capture.start(); };
    instance.onActivate = [&delegate] { delegate.showHomeWindow(); };
    delegate.onPaste = [&opener] { opener.openFromClipboard(); };
    delegate.onOpen = [&opener] {
        if (const auto request = vellumix::runOpenPanel()) {
            opener.open(*request);
        }
    };

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

    // The assistant's prompt field in each window. Whether a cloud key is stored is read when
    // the first window needs it and again after each change in the settings window. The local
    // model server is asked for its state whenever a window opens; the open windows follow
    // its answer.
    std::optional<bool> hasApiKey;
    vellumix::AIService localModel;
    auto localAvailability = vellumix::LocalModelAvailability::otherUnavailable;
    std::unique_ptr<vellumix::LocalModelCall> availabilityCheck;
    bool applyingCheck = false;
    // The assistant's clients, shared by every window and kept beyond them.
    vellumix::GeminiService gemini;
    vellumix::EditorWindowController::setAssistantServices(
        {&gemini, &localModel,
         [&keychain]() -> std::optional<QString> {
             const QString fromEnv = qEnvironmentVariable("VELLUMIX_GEMINI_API_KEY").trimmed();
             if (!fromEnv.isEmpty()) {
                 return fromEnv;
             }
             return vellumix::ApiKeyStore(keychain).apiKey();
         },
         [&opener] { opener.refreshPromptFields(); }});
    opener.promptFieldState = [&] {
        if (!hasApiKey) {
            hasApiKey = vellumix::ApiKeyStore(keychain).hasKey();
        }
        if (!applyingCheck && !availabilityCheck) {
            availabilityCheck =
                localModel.checkAvailability([&](vellumix::LocalModelStatus status) {
                    localAvailability = status.availability;
                    applyingCheck = true;
                    opener.refreshPromptFields();
                    applyingCheck = false;
                    // Not from inside the call's own callback.
                    QTimer::singleShot(0, [&availabilityCheck] { availabilityCheck.reset(); });
                });
        }
        return vellumix::promptFieldState(settings.aiProvider(), *hasApiKey, localAvailability);
    };
    delegate.onSettings = [&] {
        if (!settingsWindow) {
            settingsWindow =
                std::make_unique<vellumix::SettingsWindowController>(vellumix::SettingsServices{
                    settings, keychain, loginItem, [&keychain] { return keychain.lastProblem(); },
                    [&globalShortcut] { return globalShortcut.problem(); }});
            settingsWindow->onShortcutChanged = applyShortcut;
            settingsWindow->onApiKeyChanged = [&] {
                hasApiKey.reset();
                opener.refreshPromptFields();
            };
        }
        settingsWindow->showWindow();
    };

    QTimer::singleShot(0, &delegate,
                       [&delegate, &capture, applyShortcut, openAll, files, captureNow] {
                           delegate.applicationDidFinishLaunching(files.isEmpty() && !captureNow);
                           applyShortcut();
                           openAll(files);
                           if (captureNow) {
                               capture.start();
                           }
                           // Start-up's scratch memory goes back to the system: the tray
                           // process mostly waits.
                           QTimer::singleShot(1000, [] { malloc_trim(0); });
                       });
    return QApplication::exec();
}
