#include "app/AppDelegate.h"
#include "app/DocumentOpener.h"
#include "app/HistoryMenuItemView.h"
#include "app/HomeWindow.h"
#include "app/OpenPanel.h"
#include "app/QuitShortcut.h"
#include "app/ShortcutRecorderView.h"
#include "app/SingleInstance.h"
#include "bundle/ProjectBundle.h"
#include "canvas/AnnotationCanvasView.h"
#include "capture/CaptureView.h"
#include "editor/EditorModel.h"
#include "library/HistoryStore.h"
#include "library/Settings.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QWidgetAction>

#include <gtest/gtest.h>

using namespace vellumix;

namespace {

QImage picture(int w, int h) {
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    return image;
}

class StatusMenuTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    std::unique_ptr<Settings> settings;
    std::unique_ptr<DocumentOpener> opener;
    std::unique_ptr<AppDelegate> delegate;

    void SetUp() override {
        // The store lives under XDG_DATA_HOME: a throw-away one per test.
        qputenv("XDG_DATA_HOME", dir.filePath("data").toUtf8());
        settings = std::make_unique<Settings>(DefaultsStore(dir.filePath("defaults.json")));
        opener = std::make_unique<DocumentOpener>(*settings);
        delegate = std::make_unique<AppDelegate>(*opener);
    }
    void TearDown() override {
        delegate.reset();
        opener.reset();
    }
    QStringList titles(QMenu* menu) const {
        QStringList list;
        for (QAction* a : menu->actions()) {
            list << (a->isSeparator() ? QStringLiteral("-") : a->text());
        }
        return list;
    }
    std::vector<HistoryMenuItemView*> rows() const {
        std::vector<HistoryMenuItemView*> found;
        for (QAction* a : delegate->historyMenu()->actions()) {
            if (auto* item = qobject_cast<QWidgetAction*>(a)) {
                found.push_back(qobject_cast<HistoryMenuItemView*>(item->defaultWidget()));
            }
        }
        return found;
    }
    // A captured history entry (320 × 200) and an external project, "Project one".
    std::pair<QString, QString> twoEntries() {
        const auto captured = opener->history().createBundle(picture(320, 200), {});
        const QString external = dir.filePath("Project one.vellumix");
        EXPECT_TRUE(captured && bundle::write(picture(200, 200), {}, external, BundleServices{}));
        opener->history().recordExternal(external);
        return {captured ? *captured : QString(), external};
    }
    // Clicks a row where a person would: on its title, or on its trash zone.
    void click(HistoryMenuItemView* row, bool trash, Qt::KeyboardModifiers m = {}) {
        const QPoint at = trash ? QPoint(row->width() - 17, 18) : QPoint(100, 18);
        QTest::mouseRelease(row, Qt::LeftButton, m, at);
        QApplication::processEvents();
    }
};

} // namespace

TEST_F(StatusMenuTest, ItemsInTheirOrder) {
    QMenu* menu = delegate->statusMenu();
    ASSERT_EQ(menu->actions().size(), 10);
    EXPECT_FALSE(menu->actions()[0]->isEnabled()); // the "Vellumix" header
    EXPECT_EQ(titles(menu).mid(1), (QStringList{"-", "Capture", "Capture in", "Paste", "Open…",
                                                "History", "-", "Settings…", "Quit"}));
    EXPECT_EQ(delegate->captureMenuItem()->text(), QStringLiteral("Capture"));
    emit menu->aboutToShow();
    EXPECT_FALSE(menu->actions()[8]->isEnabled()); // no settings window yet
    delegate->onSettings = [] {};
    emit menu->aboutToShow();
    EXPECT_TRUE(menu->actions()[8]->isEnabled());
    int pasted = 0;
    delegate->onPaste = [&] { ++pasted; };
    menu->actions()[4]->trigger();
    EXPECT_EQ(pasted, 1);
    QMenu* delays = menu->actions()[3]->menu();
    ASSERT_NE(delays, nullptr);
    EXPECT_EQ(titles(delays), (QStringList{"3 s", "5 s", "10 s"}));
    int delay = 0;
    delegate->onDelayedCapture = [&](int seconds) { delay = seconds; };
    delays->actions()[2]->trigger();
    EXPECT_EQ(delay, 10);
}

TEST_F(StatusMenuTest, HistoryRowsOpenRevealAndDelete) {
    emit delegate->statusMenu()->aboutToShow();
    ASSERT_EQ(titles(delegate->historyMenu()), QStringList{"No history yet"});
    EXPECT_FALSE(delegate->historyMenu()->actions()[0]->isEnabled());

    const auto entries = twoEntries();
    const QString &captured = entries.first, &external = entries.second;
    emit delegate->statusMenu()->aboutToShow();
    const auto shown = rows();
    ASSERT_EQ(shown.size(), 2u);
    HistoryMenuItemView* externalRow = shown[0]->isExternal() ? shown[0] : shown[1];
    HistoryMenuItemView* capturedRow = shown[0]->isExternal() ? shown[1] : shown[0];
    EXPECT_EQ(externalRow->title(), QStringLiteral("Project one"));
    EXPECT_EQ(externalRow->toolTip(), external);
    EXPECT_FALSE(capturedRow->isExternal());

    // A click opens the entry; a second click brings the same window forward.
    click(capturedRow, false);
    ASSERT_EQ(opener->editors().size(), 1u);
    EXPECT_EQ(opener->editors()[0]->bundlePath(), captured);
    EXPECT_EQ(opener->editors()[0]->model().image().size(), QSize(320, 200));
    click(capturedRow, false);
    EXPECT_EQ(opener->editors().size(), 1u);
    // Another entry replaces the open one.
    click(externalRow, false);
    ASSERT_EQ(opener->editors().size(), 1u);
    EXPECT_EQ(opener->editors()[0]->bundlePath(), external);
    // External entries have no trash: a click there opens too.
    click(externalRow, true);
    EXPECT_EQ(opener->editors().size(), 1u);

    // The trash of a captured entry deletes it and its row; the menu keeps the external one.
    emit delegate->statusMenu()->aboutToShow();
    for (HistoryMenuItemView* row : rows()) {
        if (!row->isExternal()) {
            click(row, true);
        }
    }
    EXPECT_FALSE(QDir(captured).exists());
    EXPECT_EQ(rows().size(), 1u);
    EXPECT_TRUE(QDir(external).exists());
}

TEST_F(StatusMenuTest, AnOpenEntryComesForwardAsItWas) {
    const auto entry = opener->history().createBundle(picture(320, 200), {});
    ASSERT_TRUE(entry);
    delegate->openHistoryEntry(*entry);
    ASSERT_EQ(opener->editors().size(), 1u);
    EditorWindowController* editor = opener->editors()[0];

    editor->showMaximized();
    delegate->openHistoryEntry(*entry);
    EXPECT_TRUE(editor->isMaximized());
    editor->showMinimized(); // a maximised window minimised comes back maximised
    delegate->openHistoryEntry(*entry);
    EXPECT_FALSE(editor->isMinimized());
    EXPECT_TRUE(editor->isMaximized());
    EXPECT_TRUE(editor->isVisible());
    EXPECT_EQ(opener->editors().size(), 1u);
}

TEST_F(StatusMenuTest, CtrlQQuitsFromAnyWindowUnlessTheFocusedFieldRecordsIt) {
    int quits = 0;
    const QuitShortcut shortcut([&] { ++quits; });
    opener->openNewImage(picture(200, 100), std::nullopt);
    EditorWindowController* editor = opener->editors().back();
    OpenPanel panel;
    panel.show();
    CaptureView overlay(picture(200, 100), QRect(0, 0, 200, 100), 1);
    overlay.show();
    const std::pair<QWidget*, const char*> targets[] = {
        {editor->canvasView(), "editor canvas"},
        {editor->promptField(), "assistant prompt field"},
        {panel.findChild<QLineEdit*>(QStringLiteral("fileNameEdit")), "open panel"},
        {&overlay, "capture overlay"},
    };
    for (const auto& [target, name] : targets) {
        ASSERT_NE(target, nullptr) << name;
        const int before = quits;
        QTest::keyClick(target, Qt::Key_Q);
        QTest::keyClick(target, Qt::Key_Q, Qt::ControlModifier | Qt::ShiftModifier);
        EXPECT_EQ(quits, before) << name;
        QTest::keyClick(target, Qt::Key_Q, Qt::ControlModifier);
        EXPECT_EQ(quits, before + 1) << name;
    }

    // A shortcut field that is recording takes Ctrl+Q as the new shortcut.
    ShortcutRecorderView recorder(0, 0);
    recorder.show();
    recorder.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&recorder));
    QTest::mouseClick(&recorder, Qt::LeftButton);
    ASSERT_TRUE(recorder.isRecording());
    const int before = quits;
    QTest::keyClick(&recorder, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quits, before);
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_NE(recorder.keyCode(), 0u);
}

TEST_F(StatusMenuTest, HomeWindowOffersTheMenusCommandsAndTheHistory) {
    delegate->showHomeWindow();
    HomeWindow* home = delegate->homeWindow();
    ASSERT_NE(home, nullptr);
    EXPECT_TRUE(home->isVisible());
    QStringList buttons;
    for (QPushButton* button : home->findChildren<QPushButton*>()) {
        buttons << button->text();
    }
    EXPECT_EQ(buttons,
              (QStringList{"Capture", "Capture in", "Paste", "Open…", "Settings…", "Quit"}));
    EXPECT_TRUE(home->tiles().empty());
    const auto texts = [home] {
        QStringList shown;
        for (QLabel* label : home->findChildren<QLabel*>()) {
            if (label->isVisibleTo(home)) {
                shown << label->text();
            }
        }
        return shown;
    };
    EXPECT_TRUE(texts().contains(QStringLiteral("No history yet")));

    const QString captured = twoEntries().first;
    delegate->showHomeWindow();
    const auto tiles = home->tiles();
    ASSERT_EQ(tiles.size(), 2u);
    EXPECT_FALSE(texts().contains(QStringLiteral("No history yet")));
    QToolButton* externalTile = tiles[0]->text() == "Project one" ? tiles[0] : tiles[1];
    QToolButton* capturedTile = externalTile == tiles[0] ? tiles[1] : tiles[0];
    const auto menuTexts = [](QToolButton* tile) {
        QStringList list;
        for (QAction* a : tile->menu()->actions()) {
            list << a->text();
        }
        return list;
    };
    EXPECT_EQ(menuTexts(externalTile), QStringList{"Show in Folder"});
    EXPECT_EQ(menuTexts(capturedTile), (QStringList{"Show in Folder", "Delete"}));

    // A click opens the entry; Delete in a tile's menu removes the bundle and the tile.
    QTest::mouseClick(capturedTile, Qt::LeftButton, {}, QPoint(40, 40));
    ASSERT_TRUE(QTest::qWaitFor([&] { return opener->editors().size() == 1; }, 2000));
    EXPECT_EQ(opener->editors()[0]->bundlePath(), captured);
    capturedTile->menu()->actions()[1]->trigger();
    ASSERT_TRUE(QTest::qWaitFor([&] { return home->tiles().size() == 1; }, 2000));
    EXPECT_FALSE(QDir(captured).exists());
    EXPECT_TRUE(opener->editors().empty());

    // Capture hides the window first, so it is not in the picture; a cancelled capture
    // brings it back.
    int captures = 0;
    delegate->onCapture = [&] { ++captures; };
    home->button(MenuCommand::capture)->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return captures == 1; }, 2000));
    EXPECT_FALSE(home->isVisible());
    delegate->captureEndedWithoutPicture();
    EXPECT_TRUE(home->isVisible());
    // So does a delayed one, at once: the countdown leaves it time to go.
    int delay = 0;
    delegate->onDelayedCapture = [&](int seconds) { delay = seconds; };
    home->delayedCaptureButton()->menu()->actions()[0]->trigger();
    ASSERT_TRUE(QTest::qWaitFor([&] { return delay == 3; }, 2000));
    EXPECT_FALSE(home->isVisible());
}

TEST(SingleInstance, ALaterLaunchHandsItsFilesToTheFirst) {
    if (!QDBusConnection::sessionBus().isConnected()) {
        GTEST_SKIP() << "no session bus (the test command starts one)";
    }
    SingleInstance first;
    QStringList received;
    first.onOpenFiles = [&](const QStringList& paths) { received = paths; };
    ASSERT_TRUE(first.claim({}));
    // A second process has a connection of its own.
    QDBusConnection other =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("second-launch"));
    SingleInstance second;
    int captures = 0;
    int delay = -1;
    first.onCapture = [&](int seconds) {
        ++captures;
        delay = seconds;
    };
    EXPECT_FALSE(
        second.claim({QStringLiteral("shot.png"), QStringLiteral("/tmp/a.pdf")}, true, other));
    EXPECT_EQ(captures, 1);
    EXPECT_EQ(delay, 0);
    // --capture --delay 5
    EXPECT_FALSE(second.claim({}, true, other, 5));
    EXPECT_EQ(delay, 5);
    captures = 1;
    EXPECT_EQ(received, (QStringList{QDir::current().absoluteFilePath("shot.png"),
                                     QStringLiteral("/tmp/a.pdf")}));
    // A launch with nothing to open asks the running one to show itself.
    int activations = 0;
    first.onActivate = [&] { ++activations; };
    EXPECT_FALSE(second.claim({}, false, other));
    EXPECT_EQ(activations, 1);
    EXPECT_EQ(captures, 1);
    QDBusConnection::disconnectFromBus(QStringLiteral("second-launch"));
    QDBusConnection::sessionBus().unregisterService(SingleInstance::serviceName);
}
