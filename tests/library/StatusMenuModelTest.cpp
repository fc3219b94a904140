#include "library/StatusMenuModel.h"

#include <gtest/gtest.h>

using namespace vellumix;

namespace {

using Kind = MenuItem::Kind;

HistoryStore::Entry entry(const QString& path, bool external, int minute) {
    QImage thumbnail(44, 30, QImage::Format_RGB32);
    thumbnail.fill(Qt::darkCyan);
    return {path, QDateTime(QDate(2025, 3, 7), QTime(14, minute)), thumbnail, external};
}

// One line per item: its text and what it does, submenus indented below.
QStringList outline(const std::vector<MenuItem>& items, const QString& indent = {}) {
    QStringList lines;
    for (const MenuItem& item : items) {
        QString line = indent;
        switch (item.kind) {
        case Kind::separator:
            line += "-";
            break;
        case Kind::header:
            line += "[header] " + item.text;
            break;
        case Kind::historyRow:
            line += "[row] " + item.text;
            break;
        default:
            line += item.text;
        }
        if (!item.enabled) {
            line += " (disabled)";
        }
        if (!item.bundlePath.isEmpty()) {
            line += " -> " + QString::number(int(item.command)) + " " + item.bundlePath;
        }
        lines << line;
        lines << outline(item.children, indent + "  ");
    }
    return lines;
}

const std::vector<HistoryStore::Entry> twoEntries{
    entry("/store/2025-03-07-142501.vellumix", false, 25),
    entry("/home/me/Project & one.vellumix", true, 5)};

} // namespace

TEST(StatusMenuModel, BothMenusHoldTheSameCommandsInOrder) {
    const QStringList app = outline(statusmenu::topLevelItems(MenuFlavor::drawnByApp));
    const QStringList desktop = outline(statusmenu::topLevelItems(MenuFlavor::drawnByDesktop));
    const QStringList rest{"-",     "Capture", "Capture in", "  3 s", "  5 s",     "  10 s",
                           "Paste", "Open…",   "History",    "-",     "Settings…", "Quit"};
    EXPECT_EQ(app, QStringList{"[header] Vellumix (disabled)"} + rest);
    // A desktop draws a custom view as an empty row: the name is plain disabled text there.
    EXPECT_EQ(desktop, QStringList{"Vellumix (disabled)"} + rest);
    const auto items = statusmenu::topLevelItems(MenuFlavor::drawnByDesktop);
    EXPECT_TRUE(items[6].isHistory);
    EXPECT_EQ(items[2].command, MenuCommand::capture);
    EXPECT_EQ(items[9].command, MenuCommand::quit);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(items[3].children[i].command, MenuCommand::delayedCapture);
        EXPECT_EQ(items[3].children[i].delaySeconds, statusmenu::captureDelays[i]);
    }
}

TEST(StatusMenuModel, HistoryForEachKindOfMenu) {
    const QString captured = "/store/2025-03-07-142501.vellumix";
    const QString external = "/home/me/Project & one.vellumix";
    const QString open = QString::number(int(MenuCommand::openEntry));
    const QString reveal = QString::number(int(MenuCommand::revealEntry));
    const QString remove = QString::number(int(MenuCommand::deleteEntry));
    const struct {
        MenuFlavor flavor;
        std::vector<HistoryStore::Entry> entries;
        QStringList expected;
    } cases[] = {
        {MenuFlavor::drawnByApp, {}, {"No history yet (disabled)"}},
        {MenuFlavor::drawnByDesktop, {}, {"No history yet (disabled)"}},
        {MenuFlavor::drawnByApp,
         twoEntries,
         {"[row] 3/7, 2:25 PM -> " + open + " " + captured,
          "[row] Project & one -> " + open + " " + external}},
        // Every action has an item of its own; external bundles cannot be deleted.
        {MenuFlavor::drawnByDesktop,
         twoEntries,
         {"3/7, 2:25 PM -> " + open + " " + captured,
          "Project & one — 3/7, 2:05 PM -> " + open + " " + external, "-", "Show in Folder",
          "  3/7, 2:25 PM -> " + reveal + " " + captured,
          "  Project & one — 3/7, 2:05 PM -> " + reveal + " " + external, "Delete",
          "  3/7, 2:25 PM -> " + remove + " " + captured}},
        {MenuFlavor::drawnByDesktop,
         {twoEntries[1]},
         {"Project & one — 3/7, 2:05 PM -> " + open + " " + external, "-", "Show in Folder",
          "  Project & one — 3/7, 2:05 PM -> " + reveal + " " + external}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(outline(statusmenu::historyItems(c.entries, c.flavor)), c.expected)
            << int(c.flavor) << " with " << c.entries.size() << " entries";
    }
    // Rows and items carry the thumbnail (the desktop shows it as the item's icon) and the
    // external bundle's path as a tool tip.
    for (MenuFlavor flavor : {MenuFlavor::drawnByApp, MenuFlavor::drawnByDesktop}) {
        const auto items = statusmenu::historyItems(twoEntries, flavor);
        EXPECT_EQ(items[0].thumbnail.size(), QSize(44, 30));
        EXPECT_TRUE(items[0].toolTip.isEmpty());
        EXPECT_EQ(items[1].toolTip, external);
    }
}
