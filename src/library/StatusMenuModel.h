#pragma once

#include "library/HistoryStore.h"

#include <QImage>
#include <QString>

#include <vector>

namespace vellumix {

/// What choosing a status-menu item (or a button of the home window) does.
enum class MenuCommand {
    none,
    capture,
    delayedCapture, ///< a capture after MenuItem::delaySeconds
    paste,
    open,
    settings,
    quit,
    openEntry,
    revealEntry,
    deleteEntry,
};

/// Who draws the menu. The app draws its own with custom history rows (thumbnail, badge,
/// hover trash, Shift-click to reveal); a desktop that draws the exported menu itself
/// (com.canonical.dbusmenu) shows only text, icons and submenus, so there every history action
/// needs an item of its own.
enum class MenuFlavor { drawnByApp, drawnByDesktop };

/// One item of the status menu: the one description both the app's menu and the exported menu
/// are built from.
struct MenuItem {
    enum class Kind {
        header, ///< "Vellumix", disabled; the app draws it in two weights
        separator,
        command,    ///< text (and a theme icon or a thumbnail) that runs `command`
        submenu,    ///< text with `children`
        historyRow, ///< one custom row of the app's History submenu
    };
    Kind kind = Kind::command;
    QString text;
    /// A freedesktop theme icon name, or empty.
    QString iconName;
    MenuCommand command = MenuCommand::none;
    /// The countdown of a delayed capture, in seconds.
    int delaySeconds = 0;
    bool enabled = true;
    /// The History submenu, filled from the store each time the menu opens.
    bool isHistory = false;

    // History entries.
    QString bundlePath;
    bool isExternal = false;
    QString toolTip;
    QImage thumbnail;

    std::vector<MenuItem> children;
};

namespace statusmenu {

inline const QString productName = QStringLiteral("Vellumix");
inline const QString noHistoryText = QStringLiteral("No history yet");
inline const QString revealText = QStringLiteral("Show in Folder");
inline const QString deleteText = QStringLiteral("Delete");
/// The History submenu lists at most this many entries.
constexpr int historyLimit = 10;
/// The "Capture in" submenu: a capture after this many seconds.
constexpr int captureDelays[] = {3, 5, 10};
inline const QString delayedCaptureText = QStringLiteral("Capture in");

/// The status menu's items in order, the History submenu left empty (see historyItems).
std::vector<MenuItem> topLevelItems(MenuFlavor flavor);

/// The History submenu for `entries` (newest first, as the store lists them). Drawn by the
/// app: one custom row per entry. Drawn by the desktop: one item per entry that opens it,
/// then "Show in Folder" and "Delete" submenus naming the entries again (no delete for
/// external bundles). Without entries: the disabled "No history yet".
std::vector<MenuItem> historyItems(const std::vector<HistoryStore::Entry>& entries,
                                   MenuFlavor flavor);

/// A row's title: the date for a captured entry, the bundle's name for an external one.
QString entryTitle(const HistoryStore::Entry& entry);
/// "M/d, h:mm AM" in local time, as on the rows.
QString entryDate(const QDateTime& date);
/// The text of an entry in a menu the desktop draws: its title, and its date when the title
/// is not already the date ("Project one — 3/7, 2:25 PM").
QString entryText(const HistoryStore::Entry& entry);

} // namespace statusmenu

} // namespace vellumix
