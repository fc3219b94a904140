#include "app/ShortcutRecorderView.h"

#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QTest>
#include <QVBoxLayout>

#include <gtest/gtest.h>

using namespace vellumix;

namespace {

struct Recorded {
    std::uint32_t code;
    std::uint32_t flags;
    bool operator==(const Recorded&) const = default;
};

// The recorder in a window beside a text field that can take the focus from it.
class ShortcutRecorderViewTest : public ::testing::Test {
protected:
    QWidget window;
    ShortcutRecorderView* recorder = nullptr;
    QLineEdit* other = nullptr;
    std::vector<Recorded> recorded;

    void SetUp() override {
        auto* layout = new QVBoxLayout(&window);
        recorder = new ShortcutRecorderView(22, 0x300);
        other = new QLineEdit;
        layout->addWidget(recorder);
        layout->addWidget(other);
        recorder->onShortcutRecorded = [this](std::uint32_t code, std::uint32_t flags) {
            recorded.push_back({code, flags});
        };
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    void startByClick() {
        QTest::mouseClick(recorder, Qt::LeftButton, {}, recorder->rect().center());
        ASSERT_TRUE(recorder->isRecording());
    }
};

} // namespace

TEST_F(ShortcutRecorderViewTest, ShowsTheShortcutOrWhatToDo) {
    EXPECT_EQ(recorder->text(), QStringLiteral("Ctrl+Shift+6"));
    EXPECT_EQ(recorder->height(), 22);
    EXPECT_GE(recorder->width(), 90);
    recorder->setShortcut(0, 0);
    EXPECT_EQ(recorder->text(), QStringLiteral("Click to record…"));
    recorder->setEnabled(false);
    EXPECT_EQ(recorder->text(), QStringLiteral("—"));
}

TEST_F(ShortcutRecorderViewTest, ClickRecordsTheNextKeyWithARealModifier) {
    startByClick();
    EXPECT_EQ(recorder->text(), QStringLiteral("Recording…"));
    EXPECT_TRUE(recorder->hasFocus());
    EXPECT_EQ(QWidget::keyboardGrabber(), recorder);

    // "7" alone and Shift+7 are typing, not shortcuts.
    QTest::keyClick(recorder, Qt::Key_7);
    QTest::keyClick(recorder, Qt::Key_Ampersand, Qt::ShiftModifier);
    EXPECT_TRUE(recorder->isRecording());
    EXPECT_TRUE(recorded.empty());

    QTest::keyClick(recorder, Qt::Key_7, Qt::AltModifier);
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_EQ(recorder->text(), QStringLiteral("Alt+7"));
    EXPECT_EQ(recorded, (std::vector<Recorded>{{26, 0x800}}));
    EXPECT_EQ(recorder->keyCode(), 26u);
    EXPECT_EQ(recorder->modifierFlags(), 0x800u);
    EXPECT_EQ(QWidget::keyboardGrabber(), nullptr);
}

// Each key replaces the shortcut; the field shows what it recorded.
TEST_F(ShortcutRecorderViewTest, KeysRecordAsTheirCodeAndFlags) {
    const struct {
        Qt::Key key;
        Qt::KeyboardModifiers held;
        Recorded recorded;
        const char* text;
    } cases[] = {
        {Qt::Key_F5, Qt::ControlModifier | Qt::MetaModifier, {96, 0x1100}, "Ctrl+Super+F5"},
        // Ctrl+Shift+6 arrives as "^" on a US keyboard: the unshifted key is recorded.
        {Qt::Key_AsciiCircum, Qt::ControlModifier | Qt::ShiftModifier, {22, 0x300}, "Ctrl+Shift+6"},
        // Key code 0 is the A key's, and a stored 0 means none.
        {Qt::Key_A, Qt::ControlModifier, {0, 0x100}, "Click to record…"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        startByClick();
        QTest::keyClick(recorder, c.key, c.held);
        EXPECT_EQ(recorded.back(), c.recorded);
        EXPECT_EQ(recorder->text(), QString::fromUtf8(c.text));
    }
}

TEST_F(ShortcutRecorderViewTest, EscapeOrLosingTheFocusRestoresThePreviousShortcut) {
    startByClick();
    QTest::keyClick(recorder, Qt::Key_Escape);
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_EQ(recorder->text(), QStringLiteral("Ctrl+Shift+6"));
    EXPECT_EQ(QWidget::keyboardGrabber(), nullptr);

    startByClick();
    QTest::mouseClick(other, Qt::LeftButton, {}, other->rect().center());
    EXPECT_TRUE(other->hasFocus());
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_EQ(recorder->text(), QStringLiteral("Ctrl+Shift+6"));
    EXPECT_EQ(QWidget::keyboardGrabber(), nullptr);
    EXPECT_TRUE(recorded.empty());
}

TEST_F(ShortcutRecorderViewTest, KeysThatCannotBeAShortcutKeepItWaiting) {
    startByClick();
    // A modifier on its own, a key outside the table, plain Tab (no focus move either).
    QTest::keyClick(recorder, Qt::Key_Control, Qt::ControlModifier);
    QTest::keyClick(recorder, Qt::Key_Left, Qt::ControlModifier);
    QTest::keyClick(recorder, Qt::Key_Tab);
    EXPECT_TRUE(recorder->isRecording());
    EXPECT_TRUE(recorder->hasFocus());
    EXPECT_TRUE(recorded.empty());
    QTest::keyClick(recorder, Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(recorded, (std::vector<Recorded>{{48, 0x100}}));
}

TEST_F(ShortcutRecorderViewTest, WindowShortcutsDoNotFireWhileRecording) {
    int quits = 0;
    auto* quit = new QAction(&window);
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    window.addAction(quit);
    QObject::connect(quit, &QAction::triggered, [&quits] { ++quits; });

    startByClick();
    QTest::keyClick(recorder, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quits, 0);
    EXPECT_EQ(recorded, (std::vector<Recorded>{{12, 0x100}}));
    // Idle again, the window's shortcut works as before.
    QTest::keyClick(recorder, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quits, 1);
    EXPECT_EQ(recorded.size(), 1u);
}

TEST_F(ShortcutRecorderViewTest, SpaceStartsRecordingFromTheKeyboard) {
    other->setFocus();
    QTest::keyClick(other, Qt::Key_Backtab, Qt::ShiftModifier);
    ASSERT_TRUE(recorder->hasFocus());
    QTest::keyClick(recorder, Qt::Key_Space);
    EXPECT_TRUE(recorder->isRecording());
    QTest::keyClick(recorder, Qt::Key_P, Qt::AltModifier | Qt::ShiftModifier);
    EXPECT_EQ(recorder->text(), QStringLiteral("Alt+Shift+P"));
}

TEST_F(ShortcutRecorderViewTest, DisablingOrHidingStopsRecordingAndReleasesTheKeyboard) {
    startByClick();
    recorder->setEnabled(false);
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_EQ(recorder->text(), QStringLiteral("Ctrl+Shift+6"));
    EXPECT_EQ(QWidget::keyboardGrabber(), nullptr);

    recorder->setEnabled(true);
    recorder->setShortcut(0, 0);
    startByClick();
    window.hide();
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_EQ(QWidget::keyboardGrabber(), nullptr);
    EXPECT_TRUE(recorded.empty());
}
