#pragma once

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

#include <memory>

namespace vellumix {

/// Owns the application's tray icon and its status menu.
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    explicit AppDelegate(QObject* parent = nullptr);
    ~AppDelegate() override;

    /// Installs the tray icon; call once the event loop is about to start.
    void applicationDidFinishLaunching();

    QMenu* statusMenu() const { return m_statusMenu.get(); }
    QSystemTrayIcon* trayIcon() const { return m_trayIcon.get(); }

private:
    void buildStatusMenu();

    std::unique_ptr<QMenu> m_statusMenu;
    std::unique_ptr<QSystemTrayIcon> m_trayIcon;
};

/// The application icon: a viewfinder on a blue tile.
QIcon applicationIcon();

} // namespace vellumix
