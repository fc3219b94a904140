#include "app/Application.h"

#include "app/AccessibleRoles.h"
#include "app/IdleMemory.h"
#include "app/OpenPanel.h"
#include "library/Keychain.h"
#include "library/Settings.h"
#include "process/TerminationSignals.h"

#include <QApplication>
#include <QTimer>

#include <algorithm>

namespace vellumix {

LaunchRequest LaunchRequest::fromArguments(const QStringList& arguments) {
    LaunchRequest request;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
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

void Application::describe() {
    QApplication::setApplicationName(QStringLiteral("Vellumix"));
    QApplication::setOrganizationName(QStringLiteral("Vellumix"));
    QApplication::setDesktopFileName(QStringLiteral("vellumix"));
    QApplication::setWindowIcon(applicationIcon());
    installAccessibleRoles();
    // A tray application: closing the last editor window must not quit it.
    QApplication::setQuitOnLastWindowClosed(false);
}

// Ctrl+Q in any of its windows quits like the Quit item: windows save on their way out.
Application::Application(SingleInstance& instance, LaunchRequest launch)
    : m_instance(instance)
    , m_launch(std::move(launch))
    , m_quitShortcut([] { QCoreApplication::quit(); })
    , m_settings(Settings::shared())
    , m_opener(m_settings)
    , m_delegate(m_opener)
    , m_globalShortcut(m_settings, [this] { m_capture.start(); })
    , m_keychain(ApiKeyStore::service)
    , m_assistant(m_opener, m_settings, m_keychain) {
    // So do logging out and `kill`.
    quitOnTerminationSignals([] { QCoreApplication::quit(); });
    connectOpening();
    connectCapture();
    connectSettings();
}

int Application::run() {
    QTimer::singleShot(0, &m_delegate, [this] { finishLaunching(); });
    return QApplication::exec();
}

// Files handed over on the command line or by a later launch open as if chosen in the open
// panel; so do pastes and the open panel itself.
void Application::connectOpening() {
    m_instance.onOpenFiles = [this](const QStringList& paths) { openAll(paths); };
    m_instance.onActivate = [this] { m_delegate.showHomeWindow(); };
    m_delegate.onPaste = [this] { m_opener.openFromClipboard(); };
    m_delegate.onOpen = [this] {
        if (const auto request = runOpenPanel()) {
            m_opener.open(*request);
        }
    };
}

// Captures asked for from the status menu, the home window, a later launch or the shortcut.
void Application::connectCapture() {
    m_capture.onCaptured = [this](QImage image) {
        m_opener.openNewImage(std::move(image), std::nullopt);
    };
    // A capture started from the home window hides it; cancelled or failed, it comes back.
    m_capture.onCancelled = [this] {
        m_delegate.captureEndedWithoutPicture();
        m_opener.releaseMemorySoon();
    };
    m_capture.onFailed = m_capture.onCancelled;
    m_delegate.onCapture = [this] { m_capture.start(); };
    m_delegate.onDelayedCapture = [this](int seconds) { m_capture.start(seconds); };
    m_instance.onCapture = [this](int seconds) { m_capture.start(seconds); };
    m_capture.onCountdown = [this](int secondsLeft) { m_delegate.showCountdown(secondsLeft); };
}

void Application::connectSettings() {
    m_delegate.onSettings = [this] { showSettings(); };
}

// The capture shortcut, pressed anywhere; shown beside "Capture" in the status menu.
void Application::applyShortcut() {
    m_globalShortcut.refresh();
    m_delegate.showCaptureShortcut(m_settings.captureKeyCode(), m_settings.captureModifierFlags());
}

// The settings window, made the first time it is asked for.
void Application::showSettings() {
    if (!m_settingsWindow) {
        m_settingsWindow = std::make_unique<SettingsWindowController>(SettingsServices{
            m_settings, m_keychain, m_loginItem, [this] { return m_keychain.lastProblem(); },
            [this] { return m_globalShortcut.problem(); }});
        m_settingsWindow->onShortcutChanged = [this] { applyShortcut(); };
        m_settingsWindow->onApiKeyChanged = [this] { m_assistant.apiKeyChanged(); };
    }
    m_settingsWindow->showWindow();
}

void Application::openAll(const QStringList& paths) {
    for (const QString& path : paths) {
        m_opener.openPath(path);
    }
}

void Application::finishLaunching() {
    m_delegate.applicationDidFinishLaunching(m_launch.files.isEmpty() && !m_launch.captureNow);
    applyShortcut();
    openAll(m_launch.files);
    if (m_launch.captureNow) {
        m_capture.start(m_launch.captureDelay);
    }
    // Start-up's scratch memory goes back to the system: the tray process mostly waits.
    QTimer::singleShot(1000, &IdleMemory::releaseNow);
}

} // namespace vellumix
