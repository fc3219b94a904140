#include "app/LinkTextField.h"
#include "app/SettingsWindowController.h"
#include "app/ShortcutRecorderView.h"
#include "desktop/LoginItem.h"
#include "editor/ColorWell.h"
#include "library/Keychain.h"
#include "library/Settings.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QColorDialog>
#include <QDesktopServices>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>
#include <map>

using namespace vellumix;

namespace {

// The keyring as a map; counts writes so that a test can tell "nothing was written".
class MemoryKeychain final : public Keychain {
public:
    std::map<QString, QString> items;
    int writes = 0;

    std::optional<QString> read(const QString& account) const override {
        const auto found = items.find(account);
        return found == items.end() ? std::nullopt : std::optional<QString>(found->second);
    }
    bool save(const QString& value, const QString& account) override {
        ++writes;
        items[account] = value;
        return true;
    }
    bool remove(const QString& account) override {
        ++writes;
        items.erase(account);
        return true;
    }
};

// Catches what the link would hand to the browser.
class UrlCatcher final : public QObject {
    Q_OBJECT

public:
    QList<QUrl> opened;

public slots:
    void open(const QUrl& url) { opened.append(url); }
};

class SettingsWindowTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    Settings settings{DefaultsStore(dir.filePath("config/defaults.json"))};
    MemoryKeychain keychain;
    QStringList logged;
    std::unique_ptr<LoginItem> loginItem;
    QString keychainProblem;
    QString shortcutProblem;
    std::unique_ptr<SettingsWindowController> window;
    int shortcutChanges = 0;
    int apiKeyChanges = 0;

    void SetUp() override { useAutostartFolder(dir.filePath("autostart")); }

    void useAutostartFolder(const QString& folder) {
        loginItem =
            std::make_unique<LoginItem>(folder, QStringList(), QStringLiteral("/usr/bin/vellumix"),
                                        [this](const QString& line) { logged << line; });
    }

    void open() {
        if (!window) {
            window = std::make_unique<SettingsWindowController>(
                SettingsServices{settings, keychain, *loginItem, [this] { return keychainProblem; },
                                 [this] { return shortcutProblem; }});
            window->onShortcutChanged = [this] { ++shortcutChanges; };
            window->onApiKeyChanged = [this] { ++apiKeyChanges; };
        }
        window->showWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }

    static void click(QWidget* widget) {
        QTest::mouseClick(widget, Qt::LeftButton, {}, widget->rect().center());
    }
    int top(QWidget* widget) const { return widget->mapTo(window.get(), QPoint(0, 0)).y(); }
    std::optional<QString> storedKey() const { return keychain.read("geminiAPIKey"); }
};

} // namespace

TEST_F(SettingsWindowTest, TitleSizeAndControlsTopToBottom) {
    open();
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Vellumix Settings"));
    EXPECT_EQ(window->size(), QSize(420, 450));
    const std::vector<QWidget*> column{window->launchCheckbox(),
                                       window->overrideRadio(),
                                       window->customRadio(),
                                       window->retainStylesCheckbox(),
                                       window->showCursorCoordsCheckbox(),
                                       window->closeAfterSaveCheckbox(),
                                       window->canvasColorWell(),
                                       window->geminiKeyField(),
                                       window->keyPageLink()};
    for (std::size_t i = 1; i < column.size(); ++i) {
        EXPECT_GT(top(column[i]), top(column[i - 1])) << i;
    }
    EXPECT_EQ(window->launchCheckbox()->mapTo(window.get(), QPoint(0, 0)), QPoint(20, 20));
    // The recorder and the clear button share the custom radio's row.
    EXPECT_LT(std::abs(top(window->shortcutRecorder()) - top(window->customRadio())), 4);
    EXPECT_LT(std::abs(top(window->clearButton()) - top(window->customRadio())), 4);
}

TEST_F(SettingsWindowTest, EachShowFillsTheControlsFromTheStoreWithNothingFocused) {
    settings.setRetainLastStylePerType(true);
    settings.setShowCursorCoords(false);
    settings.setBlankCanvasColor(Color::rgb(0.2, 0.4, 0.6));
    settings.chooseNativeCaptureOverride();
    keychain.items["geminiAPIKey"] = QStringLiteral("abc123");
    open();
    EXPECT_FALSE(window->launchCheckbox()->isChecked());
    EXPECT_TRUE(window->retainStylesCheckbox()->isChecked());
    EXPECT_FALSE(window->showCursorCoordsCheckbox()->isChecked());
    EXPECT_TRUE(window->closeAfterSaveCheckbox()->isChecked());
    EXPECT_EQ(window->canvasColorWell()->color().toQColor().rgb(), qRgb(51, 102, 153));
    EXPECT_EQ(window->geminiKeyField()->text(), QStringLiteral("abc123"));
    EXPECT_TRUE(window->overrideRadio()->isChecked());
    EXPECT_FALSE(window->customRadio()->isChecked());
    EXPECT_FALSE(window->shortcutRecorder()->isEnabled());
    EXPECT_FALSE(window->clearButton()->isEnabled());
    EXPECT_EQ(window->shortcutRecorder()->text(), QStringLiteral("—"));
    EXPECT_EQ(QApplication::focusWidget(), window.get());

    // Changed behind the window's back while it was closed.
    window->close();
    settings.chooseCustomShortcut(1, 0x800);
    settings.setCloseAfterSave(false);
    keychain.items.erase("geminiAPIKey");
    open();
    EXPECT_TRUE(window->customRadio()->isChecked());
    EXPECT_TRUE(window->shortcutRecorder()->isEnabled());
    EXPECT_TRUE(window->clearButton()->isEnabled());
    EXPECT_EQ(window->shortcutRecorder()->text(), QStringLiteral("Alt+S"));
    EXPECT_FALSE(window->closeAfterSaveCheckbox()->isChecked());
    EXPECT_EQ(window->geminiKeyField()->text(), QString());
    EXPECT_EQ(keychain.writes, 0);
}

TEST_F(SettingsWindowTest, CheckboxesAndTheColourWriteAtOnce) {
    open();
    click(window->retainStylesCheckbox());
    EXPECT_TRUE(settings.retainLastStylePerType());
    click(window->showCursorCoordsCheckbox());
    EXPECT_FALSE(settings.showCursorCoords());
    click(window->closeAfterSaveCheckbox());
    EXPECT_FALSE(settings.closeAfterSave());
    // From the keyboard too.
    window->closeAfterSaveCheckbox()->setFocus();
    QTest::keyClick(window->closeAfterSaveCheckbox(), Qt::Key_Space);
    EXPECT_TRUE(settings.closeAfterSave());

    click(window->canvasColorWell()->swatchButton());
    SharedColorPanel& panel = SharedColorPanel::instance();
    ASSERT_TRUE(panel.isVisible());
    panel.dialog()->setCurrentColor(QColor(255, 51, 0));
    EXPECT_EQ(settings.blankCanvasColor().toQColor().rgba(), qRgba(255, 51, 0, 255));
    panel.close();
    EXPECT_EQ(shortcutChanges, 0);
    EXPECT_EQ(apiKeyChanges, 0);
}

TEST_F(SettingsWindowTest, OverrideErasesTheCustomShortcutUntilANewOneIsRecorded) {
    open();
    ASSERT_EQ(window->shortcutRecorder()->text(), QStringLiteral("Ctrl+Shift+6"));
    click(window->overrideRadio());
    EXPECT_TRUE(settings.overrideNativeCapture());
    EXPECT_EQ(settings.captureKeyCode(), 0u);
    EXPECT_EQ(settings.captureModifierFlags(), 0u);
    EXPECT_FALSE(window->customRadio()->isChecked());
    EXPECT_FALSE(window->shortcutRecorder()->isEnabled());
    EXPECT_FALSE(window->clearButton()->isEnabled());
    EXPECT_EQ(window->shortcutRecorder()->text(), QStringLiteral("—"));
    EXPECT_EQ(shortcutChanges, 1);

    click(window->customRadio());
    EXPECT_FALSE(settings.overrideNativeCapture());
    EXPECT_EQ(settings.captureKeyCode(), 0u);
    EXPECT_FALSE(window->overrideRadio()->isChecked());
    EXPECT_TRUE(window->shortcutRecorder()->isEnabled());
    EXPECT_EQ(window->shortcutRecorder()->text(), QStringLiteral("Click to record…"));
    EXPECT_EQ(shortcutChanges, 2);

    click(window->shortcutRecorder());
    QTest::keyClick(window->shortcutRecorder(), Qt::Key_F9, Qt::ControlModifier);
    EXPECT_FALSE(settings.overrideNativeCapture());
    EXPECT_EQ(settings.captureKeyCode(), 101u);
    EXPECT_EQ(settings.captureModifierFlags(), 0x100u);
    EXPECT_EQ(window->shortcutRecorder()->text(), QStringLiteral("Ctrl+F9"));
    EXPECT_EQ(shortcutChanges, 3);
}

TEST_F(SettingsWindowTest, ShortcutProblemFollowsEachChangeOfTheShortcut) {
    shortcutProblem = QStringLiteral("Ctrl+Shift+6 is taken by another program.");
    open();
    EXPECT_TRUE(window->shortcutProblemLabel()->isVisible());
    EXPECT_EQ(window->shortcutProblemLabel()->text(), shortcutProblem);
    // The owner re-grabs on the change; the line shows what that came to.
    window->onShortcutChanged = [this] { shortcutProblem.clear(); };
    click(window->shortcutRecorder());
    QTest::keyClick(window->shortcutRecorder(), Qt::Key_F9, Qt::ControlModifier);
    EXPECT_FALSE(window->shortcutProblemLabel()->isVisible());
}

TEST_F(SettingsWindowTest, ClearStopsRecordingAndStoresNoShortcut) {
    open();
    click(window->shortcutRecorder());
    ASSERT_TRUE(window->shortcutRecorder()->isRecording());
    click(window->clearButton());
    EXPECT_FALSE(window->shortcutRecorder()->isRecording());
    EXPECT_EQ(window->shortcutRecorder()->text(), QStringLiteral("Click to record…"));
    EXPECT_EQ(settings.captureKeyCode(), 0u);
    EXPECT_EQ(settings.captureModifierFlags(), 0u);
    EXPECT_FALSE(settings.overrideNativeCapture());
    EXPECT_TRUE(window->customRadio()->isChecked());
    EXPECT_EQ(shortcutChanges, 1);
    EXPECT_EQ(QWidget::keyboardGrabber(), nullptr);
}

TEST_F(SettingsWindowTest, PastedKeyIsStoredTrimmedAndClearingRemovesIt) {
    open();
    QApplication::clipboard()->setText(QStringLiteral("AIza-pasted-key\n"));
    QLineEdit* field = window->geminiKeyField();
    click(field);
    QTest::keyClick(field, Qt::Key_V, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(storedKey(), QStringLiteral("AIza-pasted-key"));
    EXPECT_EQ(apiKeyChanges, 1);

    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Backspace);
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(storedKey(), std::nullopt);
    EXPECT_EQ(apiKeyChanges, 2);

    // Only spaces count as empty; leaving the field by a click elsewhere ends the edit too.
    QTest::keyClicks(field, "   ");
    click(window->retainStylesCheckbox());
    EXPECT_EQ(storedKey(), std::nullopt);
    EXPECT_EQ(apiKeyChanges, 3);
}

TEST_F(SettingsWindowTest, ClosingCommitsAKeyStillBeingTypedAndNothingElse) {
    open();
    window->close();
    EXPECT_EQ(keychain.writes, 0);
    EXPECT_EQ(apiKeyChanges, 0);

    open();
    click(window->geminiKeyField());
    QTest::keyClicks(window->geminiKeyField(), "typed-key");
    window->close();
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(storedKey(), QStringLiteral("typed-key"));
    EXPECT_EQ(apiKeyChanges, 1);
    EXPECT_EQ(keychain.writes, 1);
}

TEST_F(SettingsWindowTest, LoginItemTurnsOnAndOff) {
    open();
    click(window->launchCheckbox());
    EXPECT_TRUE(window->launchCheckbox()->isChecked());
    EXPECT_TRUE(settings.launchOnStartup());
    EXPECT_TRUE(QFile::exists(dir.filePath("autostart/vellumix.desktop")));
    click(window->launchCheckbox());
    EXPECT_FALSE(settings.launchOnStartup());
    EXPECT_FALSE(QFile::exists(dir.filePath("autostart/vellumix.desktop")));
}

TEST_F(SettingsWindowTest, RefusedLoginItemLeavesTheBoxOffAndTheSettingUnchanged) {
    // A file where the autostart folder should be: no folder can be made there.
    QFile blocker(dir.filePath("blocked"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    useAutostartFolder(dir.filePath("blocked/autostart"));
    open();
    click(window->launchCheckbox());
    EXPECT_FALSE(window->launchCheckbox()->isChecked());
    EXPECT_FALSE(settings.store().value("launchOnStartup").has_value());
    ASSERT_EQ(logged.size(), 1);
    EXPECT_TRUE(logged[0].startsWith(QStringLiteral("Vellumix: failed to toggle login item: ")));
}

TEST_F(SettingsWindowTest, KeyringProblemIsExplainedUnderTheKeyRow) {
    open();
    EXPECT_FALSE(window->keychainProblemLabel()->isVisible());
    window->close();

    keychainProblem = QStringLiteral("The keyring is locked.");
    open();
    QLabel* line = window->keychainProblemLabel();
    EXPECT_TRUE(line->isVisible());
    EXPECT_EQ(line->text(), QStringLiteral("The keyring is locked."));
    EXPECT_GT(top(line), top(window->geminiKeyField()));
    EXPECT_LT(top(line), top(window->keyPageLink()));

    // Unlocked meanwhile: the next save works and the line goes.
    keychainProblem.clear();
    click(window->geminiKeyField());
    QTest::keyClicks(window->geminiKeyField(), "k");
    QTest::keyClick(window->geminiKeyField(), Qt::Key_Return);
    EXPECT_FALSE(line->isVisible());
}

TEST_F(SettingsWindowTest, LinkOpensTheKeyPageByClickOrKeyboard) {
    UrlCatcher catcher;
    QDesktopServices::setUrlHandler(QStringLiteral("https"), &catcher, "open");
    open();
    click(window->keyPageLink());
    window->keyPageLink()->setFocus(Qt::TabFocusReason);
    QTest::keyClick(window->keyPageLink(), Qt::Key_Return);
    QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
    EXPECT_EQ(catcher.opened, (QList<QUrl>{QUrl("https://aistudio.google.com/apikey"),
                                           QUrl("https://aistudio.google.com/apikey")}));
}

#include "SettingsWindowTest.moc"
