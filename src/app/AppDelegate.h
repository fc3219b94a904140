#pragma once

#include <QMenu>
#include <QObject>
#include <QPointer>
#include <QSystemTrayIcon>

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace vellumix {

class DocumentOpener;

/// The running application's face: the tray icon and its status menu (capture, paste, open,
/// history, settings, quit). What the entries do beyond the history is handed in by `main`.
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    explicit AppDelegate(DocumentOpener& opener, QObject* parent = nullptr);
    ~AppDelegate() override;

    /// Installs the tray icon; call once the event loop is about to start.
    void applicationDidFinishLaunching();

    QMenu* statusMenu() const { return m_statusMenu.get(); }
    QMenu* historyMenu() const { return m_historyMenu; }
    QSystemTrayIcon* trayIcon() const { return m_trayIcon.get(); }
    QAction* captureMenuItem() const { return m_captureItem; }
    /// Shows the stored capture shortcut beside "Capture" (none for key code 0).
    void showCaptureShortcut(std::uint32_t keyCode, std::uint32_t modifierFlags);

    std::function<void()> onCapture;
    std::function<void()> onPaste;
    std::function<void()> onOpen;
    /// None until the settings window exists; the item stays disabled without it.
    std::function<void()> onSettings;

    /// Fills the History submenu from the store: the newest 10 entries, or "No history yet".
    void rebuildHistoryMenu();
    /// Brings the entry's window forward if it is open; otherwise closes every editor and
    /// opens the entry with its annotations.
    void openHistoryEntry(const QString& bundlePath);
    /// Closes the entry's window if it is open, then deletes its bundle.
    void deleteHistoryEntry(const QString& bundlePath);

private:
    void buildStatusMenu();

    DocumentOpener& m_opener;
    std::unique_ptr<QMenu> m_statusMenu;
    QMenu* m_historyMenu = nullptr;
    QAction* m_captureItem = nullptr;
    // Items and the theme icons they get when the menu first opens.
    std::vector<std::pair<QAction*, const char*>> m_pendingIcons;
    QAction* m_settingsItem = nullptr;
    std::unique_ptr<QSystemTrayIcon> m_trayIcon;
};

/// The application icon: a viewfinder on a blue tile.
QIcon applicationIcon();

} // namespace vellumix
