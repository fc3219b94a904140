#include "library/StatusMenuModel.h"

#include <QFileInfo>
#include <QLocale>

namespace vellumix::statusmenu {

namespace {

MenuItem command(const QString& text, const char* icon, MenuCommand what) {
    MenuItem item;
    item.text = text;
    item.iconName = QString::fromLatin1(icon);
    item.command = what;
    return item;
}

MenuItem separator() {
    MenuItem item;
    item.kind = MenuItem::Kind::separator;
    return item;
}

MenuItem disabledText(const QString& text) {
    MenuItem item;
    item.text = text;
    item.enabled = false;
    return item;
}

MenuItem entryItem(const HistoryStore::Entry& entry, MenuCommand what, MenuItem::Kind kind) {
    MenuItem item;
    item.kind = kind;
    item.command = what;
    item.text = kind == MenuItem::Kind::historyRow ? entryTitle(entry) : entryText(entry);
    item.bundlePath = entry.bundlePath;
    item.isExternal = entry.isExternal;
    item.thumbnail = entry.thumbnail;
    if (entry.isExternal) {
        item.toolTip = entry.bundlePath;
    }
    return item;
}

MenuItem submenu(const QString& text, const char* icon, std::vector<MenuItem> children) {
    MenuItem item = command(text, icon, MenuCommand::none);
    item.kind = MenuItem::Kind::submenu;
    item.children = std::move(children);
    return item;
}

} // namespace

std::vector<MenuItem> topLevelItems(MenuFlavor flavor) {
    std::vector<MenuItem> items;
    if (flavor == MenuFlavor::drawnByApp) {
        MenuItem header;
        header.kind = MenuItem::Kind::header;
        header.text = productName;
        header.enabled = false;
        items.push_back(header);
    } else {
        // Desktops draw a custom view as an empty row: plain disabled text instead.
        items.push_back(disabledText(productName));
    }
    items.push_back(separator());
    items.push_back(command(QStringLiteral("Capture"), "camera-photo", MenuCommand::capture));
    // For menus and tooltips that close when the focus moves: open them while it counts.
    std::vector<MenuItem> delays;
    for (const int seconds : captureDelays) {
        MenuItem delayed =
            command(QStringLiteral("%1 s").arg(seconds), "", MenuCommand::delayedCapture);
        delayed.delaySeconds = seconds;
        delays.push_back(delayed);
    }
    items.push_back(submenu(delayedCaptureText, "chronometer", std::move(delays)));
    items.push_back(command(QStringLiteral("Paste"), "edit-paste", MenuCommand::paste));
    items.push_back(command(QStringLiteral("Open…"), "document-open", MenuCommand::open));
    MenuItem history = submenu(QStringLiteral("History"), "document-open-recent", {});
    history.isHistory = true;
    items.push_back(history);
    items.push_back(separator());
    items.push_back(
        command(QStringLiteral("Settings…"), "preferences-system", MenuCommand::settings));
    items.push_back(command(QStringLiteral("Quit"), "application-exit", MenuCommand::quit));
    return items;
}

std::vector<MenuItem> historyItems(const std::vector<HistoryStore::Entry>& entries,
                                   MenuFlavor flavor) {
    if (entries.empty()) {
        return {disabledText(noHistoryText)};
    }
    std::vector<MenuItem> items;
    if (flavor == MenuFlavor::drawnByApp) {
        for (const HistoryStore::Entry& entry : entries) {
            items.push_back(entryItem(entry, MenuCommand::openEntry, MenuItem::Kind::historyRow));
        }
        return items;
    }
    std::vector<MenuItem> reveal;
    std::vector<MenuItem> remove;
    for (const HistoryStore::Entry& entry : entries) {
        items.push_back(entryItem(entry, MenuCommand::openEntry, MenuItem::Kind::command));
        reveal.push_back(entryItem(entry, MenuCommand::revealEntry, MenuItem::Kind::command));
        if (!entry.isExternal) {
            remove.push_back(entryItem(entry, MenuCommand::deleteEntry, MenuItem::Kind::command));
        }
    }
    items.push_back(separator());
    items.push_back(submenu(revealText, "folder-open", std::move(reveal)));
    if (!remove.empty()) {
        items.push_back(submenu(deleteText, "edit-delete", std::move(remove)));
    }
    return items;
}

QString entryDate(const QDateTime& date) {
    return QLocale::c().toString(date, QStringLiteral("M/d, h:mm AP"));
}

QString entryTitle(const HistoryStore::Entry& entry) {
    return entry.isExternal ? QFileInfo(entry.bundlePath).completeBaseName()
                            : entryDate(entry.date);
}

QString entryText(const HistoryStore::Entry& entry) {
    if (!entry.isExternal) {
        return entryDate(entry.date);
    }
    return QStringLiteral("%1 — %2").arg(entryTitle(entry), entryDate(entry.date));
}

} // namespace vellumix::statusmenu
