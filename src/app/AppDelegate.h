#pragma once

#include "library/StatusMenuModel.h"

#include <QMenu>
#include <QObject>
#include <QPointer>
#include <QSystemTrayIcon>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace vellumix {

class DocumentOpener;
class HomeWindow;

/// The running application's face: the tray icon and its status menu (capture, paste, open,
/// history, settings, quit), and the home window for desktops without a tray and for a later
/// launch from the desktop. What the entries do beyond the history is handed in by `main`.
///
/// The status menu exists twice, built from one description (StatusMenuModel): the menu the
/// app draws itself, with its custom history rows, and a plain one that a StatusNotifierItem
/// tray receives over D-Bus and draws itself.
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    explicit AppDelegate(DocumentOpener& opener, QObject* parent = nullptr);
    ~AppDelegate() override;

    /// Installs the tray icon and, where no tray is running, shows the home window; call once
    /// the event loop is about to start. `showHomeWithoutTray` is false when the launch asked
    /// for something else (files to open, a capture).
    void applicationDidFinishLaunching(bool showHomeWithoutTray = true);

    /// The menu the app draws (a click on the icon; the context menu of an XEmbed tray).
    QMenu* statusMenu() const { return m_statusMenu.get(); }
    QMenu* historyMenu() const { return m_historyMenu; }
    /// The menu handed to a desktop that draws it (com.canonical.dbusmenu).
    QMenu* exportedMenu() const { return m_exportedMenu.get(); }
    QMenu* exportedHistoryMenu() const { return m_exportedHistory; }
    QSystemTrayIcon* trayIcon() const { return m_trayIcon.get(); }
    QAction* captureMenuItem() const { return m_captureItem; }
    /// Shows the stored capture shortcut beside "Capture" (none for key code 0).
    void showCaptureShortcut(std::uint32_t keyCode, std::uint32_t modifierFlags);

    std::function<void()> onCapture;
    /// "Capture in" › "3 s" and the like, from the status menu or the home window.
    std::function<void(int delaySeconds)> onDelayedCapture;
    std::function<void()> onPaste;
    std::function<void()> onOpen;
    /// None until the settings window exists; the item stays disabled without it.
    std::function<void()> onSettings;

    /// Runs what a menu item or a home-window button stands for.
    void run(MenuCommand command, const QString& bundlePath = {}, int delaySeconds = 0);
    /// The tray icon's tool tip tells the seconds left before a delayed capture (0: none).
    void showCountdown(int secondsLeft);

    /// Fills the History submenu from the store: the newest 10 entries, or "No history yet".
    void rebuildHistoryMenu();
    /// The exported menu's History submenu, rebuilt only when the entries changed (a desktop
    /// showing the menu keeps the items it has).
    void refreshExportedHistory();
    /// Brings the entry's window forward if it is open; otherwise closes every editor and
    /// opens the entry with its annotations.
    void openHistoryEntry(const QString& bundlePath);
    /// Closes the entry's window if it is open, then deletes its bundle.
    void deleteHistoryEntry(const QString& bundlePath);

    /// Shows (or raises) the home window: launched again from the desktop, or no tray.
    void showHomeWindow();
    HomeWindow* homeWindow() const { return m_homeWindow.get(); }
    /// The capture started from the home window was cancelled or failed: the window comes
    /// back.
    void captureEndedWithoutPicture();

private:
    void buildMenu(QMenu* menu, const std::vector<MenuItem>& items, MenuFlavor flavor);
    QAction* addCommand(QMenu* menu, const MenuItem& item, MenuFlavor flavor);
    void addHistoryRow(QMenu* menu, const MenuItem& item);
    void applyPendingIcons();
    void installTrayIcon();

    DocumentOpener& m_opener;
    std::unique_ptr<QMenu> m_statusMenu;
    std::unique_ptr<QMenu> m_exportedMenu;
    QMenu* m_historyMenu = nullptr;
    QMenu* m_exportedHistory = nullptr;
    QAction* m_captureItem = nullptr;
    QAction* m_exportedCaptureItem = nullptr;
    // Items and the theme icons they get when a menu first opens.
    std::vector<std::pair<QPointer<QAction>, QString>> m_pendingIcons;
    std::vector<QAction*> m_settingsItems;
    // What the exported History submenu shows now, to leave it alone when nothing changed.
    std::optional<QStringList> m_exportedSignature;
    bool m_iconsLoaded = false;
    std::unique_ptr<QSystemTrayIcon> m_trayIcon;
    std::unique_ptr<HomeWindow> m_homeWindow;
    bool m_homeHiddenForCapture = false;
};

/// The application icon: a viewfinder on a blue tile.
QIcon applicationIcon();

} // namespace vellumix
