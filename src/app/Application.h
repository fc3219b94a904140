#pragma once

#include "app/AppAssistant.h"
#include "app/AppDelegate.h"
#include "app/DocumentOpener.h"
#include "app/GlobalShortcut.h"
#include "app/QuitShortcut.h"
#include "app/SettingsWindowController.h"
#include "app/SingleInstance.h"
#include "capture/CaptureController.h"
#include "desktop/LoginItem.h"
#include "desktop/SecretServiceKeychain.h"

#include <QStringList>

#include <memory>

namespace vellumix {

class Settings;

/// What a launch asks for: files to open, and whether to capture at once (or after
/// `--delay N` seconds).
struct LaunchRequest {
    QStringList files;
    bool captureNow = false;
    int captureDelay = 0;

    /// Reads the command line (the program name first, as QCoreApplication::arguments gives it).
    static LaunchRequest fromArguments(const QStringList& arguments);
};

/// The tray application once this process holds the session: it owns the shell's parts and
/// wires them, one method per concern. A later launch never gets this far (SingleInstance).
class Application {
public:
    /// Names, icon and quit policy, before any window exists.
    static void describe();

    Application(SingleInstance& instance, LaunchRequest launch);
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    int run();

private:
    void connectOpening();
    void connectCapture();
    void connectSettings();
    void applyShortcut();
    void showSettings();
    void openAll(const QStringList& paths);
    void finishLaunching();

    SingleInstance& m_instance;
    const LaunchRequest m_launch;
    QuitShortcut m_quitShortcut;
    Settings& m_settings;
    DocumentOpener m_opener;
    AppDelegate m_delegate;
    CaptureController m_capture;
    GlobalShortcut m_globalShortcut;
    SecretServiceKeychain m_keychain;
    LoginItem m_loginItem;
    AppAssistant m_assistant;
    std::unique_ptr<SettingsWindowController> m_settingsWindow;
};

} // namespace vellumix
