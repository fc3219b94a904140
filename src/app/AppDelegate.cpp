#include "AppDelegate.h"

#include "DocumentOpener.h"
#include "HomeWindow.h"
#include "ai/ConsoleText.h"
#include "desktop/DisplaySession.h"
#include "desktop/StatusNotifierHost.h"
#include "library/CaptureShortcut.h"
#include "library/HistoryStore.h"

#include <QApplication>
#include <QTimer>

// The app's resources live in a static library, which must register them itself (from the
// global namespace, where the resource functions are declared).
static void registerAppResources() {
    static const bool registered = [] {
        Q_INIT_RESOURCE(resources);
        return true;
    }();
    (void)registered;
}

namespace vellumix {

namespace {

// How long the home window's capture waits for the window to be gone from the screen: the
// windows it covered must repaint before the screen is read.
constexpr int hideBeforeCaptureMs = 300;

const QString trayToolTip = QStringLiteral("Capture screen area");

} // namespace

QIcon applicationIcon() {
    registerAppResources();
    return QIcon(QStringLiteral(":/icons/vellumix.svg"));
}

AppDelegate::AppDelegate(DocumentOpener& opener, QObject* parent)
    : QObject(parent)
    , m_opener(opener)
    , m_statusMenu(std::make_unique<QMenu>())
    , m_exportedMenu(std::make_unique<QMenu>()) {
    buildMenu(m_statusMenu.get(), statusmenu::topLevelItems(MenuFlavor::drawnByApp),
              MenuFlavor::drawnByApp);
    buildMenu(m_exportedMenu.get(), statusmenu::topLevelItems(MenuFlavor::drawnByDesktop),
              MenuFlavor::drawnByDesktop);
    // The history rows, with their thumbnails, are read when a menu opens, not while the tray
    // idles.
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching(bool showHomeWithoutTray) {
    const DisplaySession session = detectDisplaySession();
    console::say(QStringLiteral("Display session: ") + describe(session));
    installTrayIcon();
    if (QSystemTrayIcon::isSystemTrayAvailable()) {
        return;
    }
    console::say(QStringLiteral("No system tray is running: the home window stands in for the "
                                "tray icon; launch vellumix again to bring it back."));
    if (showHomeWithoutTray) {
        showHomeWindow();
    }
}

void AppDelegate::installTrayIcon() {
    // Qt makes the icon a StatusNotifierItem when a host is registered (the desktop then draws
    // the exported menu on a right click) and an XEmbed icon otherwise (the app draws its own).
    const bool desktopDrawsMenu = statusNotifierHostRegistered();
    m_trayIcon = std::make_unique<QSystemTrayIcon>(applicationIcon());
    m_trayIcon->setToolTip(trayToolTip);
    m_trayIcon->setContextMenu(desktopDrawsMenu ? m_exportedMenu.get() : m_statusMenu.get());
    if (desktopDrawsMenu) {
        // A desktop may read the exported layout before it asks to show the menu.
        refreshExportedHistory();
    }
    // A left click on the icon opens the app's menu, as on the other desktops' status items.
    connect(m_trayIcon.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger) {
                    m_statusMenu->popup(QCursor::pos());
                }
            });
    console::say(desktopDrawsMenu
                     ? QStringLiteral("Tray: StatusNotifierItem, menu drawn by the desktop")
                     : QStringLiteral("Tray: XEmbed or none, menu drawn by Vellumix"));
    m_trayIcon->show();
}

void AppDelegate::showCaptureShortcut(std::uint32_t keyCode, std::uint32_t modifierFlags) {
    // Only a hint: the key itself is caught by the global shortcut, never by the menu.
    const QKeySequence keys = shortcut::menuKeySequence(keyCode, modifierFlags);
    for (QAction* item : {m_captureItem, m_exportedCaptureItem}) {
        item->setShortcut(keys);
        item->setShortcutContext(Qt::WidgetShortcut);
    }
}

void AppDelegate::showCountdown(int secondsLeft) {
    if (m_trayIcon) {
        m_trayIcon->setToolTip(secondsLeft > 0 ? QStringLiteral("Capture in %1 s").arg(secondsLeft)
                                               : trayToolTip);
    }
}

void AppDelegate::run(MenuCommand command, const QString& bundlePath, int delaySeconds) {
    const auto call = [](const std::function<void()>& handler) {
        if (handler) {
            handler();
        }
    };
    switch (command) {
    case MenuCommand::none:
        break;
    case MenuCommand::capture:
        call(onCapture);
        break;
    case MenuCommand::delayedCapture:
        if (onDelayedCapture) {
            onDelayedCapture(delaySeconds);
        }
        break;
    case MenuCommand::paste:
        call(onPaste);
        break;
    case MenuCommand::open:
        call(onOpen);
        break;
    case MenuCommand::settings:
        call(onSettings);
        break;
    case MenuCommand::quit:
        QCoreApplication::quit();
        break;
    case MenuCommand::openEntry:
        openHistoryEntry(bundlePath);
        break;
    case MenuCommand::revealEntry:
        m_opener.history().reveal(bundlePath);
        break;
    case MenuCommand::deleteEntry:
        deleteHistoryEntry(bundlePath);
        refreshExportedHistory();
        break;
    }
}

void AppDelegate::showHomeWindow() {
    if (!m_homeWindow) {
        m_homeWindow = std::make_unique<HomeWindow>(
            [this] { return m_opener.history().allEntries(statusmenu::historyLimit); });
        m_homeWindow->onCommand = [this](MenuCommand command, const QString& path) {
            if (command != MenuCommand::capture) {
                run(command, path);
                return;
            }
            // Out of the picture first.
            m_homeHiddenForCapture = true;
            m_homeWindow->hide();
            QTimer::singleShot(hideBeforeCaptureMs, this, [this] { run(MenuCommand::capture); });
        };
        // The countdown gives the window time enough to be gone.
        m_homeWindow->onDelayedCapture = [this](int seconds) {
            m_homeHiddenForCapture = true;
            m_homeWindow->hide();
            run(MenuCommand::delayedCapture, {}, seconds);
        };
    }
    m_homeWindow->setSettingsAvailable(bool(onSettings));
    m_homeHiddenForCapture = false;
    m_homeWindow->present();
}

void AppDelegate::captureEndedWithoutPicture() {
    if (m_homeHiddenForCapture && m_homeWindow) {
        m_homeHiddenForCapture = false;
        m_homeWindow->present();
    }
}

} // namespace vellumix
